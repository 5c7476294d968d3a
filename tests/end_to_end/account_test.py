"""Whose account the tokens of a drive belong to."""

import re
import unittest

from support import drives, log, sandbox
from support.drive_case import DriveTest, for_each_drive
from support.drive_sessions import AMAZON_DRIVE, DROPBOX, GOOGLE_DRIVE, ONE_DRIVE
from support.service_client import Account, account_of

TOTAL = {
    GOOGLE_DRIVE: 15 * 2**30, ONE_DRIVE: 2**40, DROPBOX: 2 * 2**30, AMAZON_DRIVE: 5 * 2**30
}  # fmt: skip
PATHS = {
    GOOGLE_DRIVE: ["/drive/v3/about"],
    ONE_DRIVE: ["/v1.0/me", "/v1.0/me/drive"],
    DROPBOX: ["/2/users/get_current_account", "/2/users/get_space_usage"],
    AMAZON_DRIVE: ["/drive/v1/account/quota", "/user/profile"],
}
# What consent is asked for in place of all scopes.
FEWER_SCOPES = {
    GOOGLE_DRIVE: "email profile",
    ONE_DRIVE: "https://graph.microsoft.com/files.readwrite offline_access",
    DROPBOX: "files.metadata.read files.metadata.write",
    AMAZON_DRIVE: "clouddrive:read_all clouddrive:write",
}


class AccountCalls:
    """What the test cases below share. `drive` is the drive under test."""

    def setUp(self):
        super().setUp()
        self.port = sandbox.state()["internet"]["proxyPort"]

    def tokens(self, scope=None):
        """The access token and the refresh token of an account. Exchanged without the library,
        which does not hand out Dropbox's refresh token."""
        url = self.session().authorize_url()
        if scope is not None:
            parameter = "scope=" + scope.replace(" ", "%20")
            url = re.sub(r"scope=[^&]*", parameter, url) if "scope=" in url else f"{url}&{parameter}"
        code = drives.query_of(drives.consent(url, self.holder))["code"]
        tokens = drives.exchange(self.drive.word, code)
        sandbox.control("DELETE", "log")
        return tokens

    def look_up(self, access_token, refresh_token=None):
        with log.captured() as capture:
            code, account = account_of(self.drive, access_token, refresh_token, self.port)
        self.assertEqual(capture.log.text, "", "nothing is logged")
        return code, account

    def paths(self):
        return [(entry["path"].split("?")[0], entry["status"]) for entry in sandbox.requests()]

    def seed_a_file(self, size):
        self.control(
            "seed", account=self.holder, items=[{"name": "a", "kind": "file", "size": size}]
        )

    def owner(self, used=0):
        name = f"{self.holder.split('@')[0].capitalize()} Example"
        return Account(name, self.holder, used, TOTAL[self.drive])


@for_each_drive
class Accounts(AccountCalls):
    def test_the_owner_and_the_space(self):
        access, refresh = self.tokens()
        self.seed_a_file(4096)
        self.assertEqual(self.look_up(access, refresh), (0, self.owner(used=4096)))
        self.assertEqual(self.paths(), [(path, 200) for path in PATHS[self.drive]])

    def test_an_expired_token_is_renewed(self):
        access, refresh = self.tokens()
        self.control("expire")
        self.assertEqual(self.look_up(access, refresh), (0, self.owner()))
        first = PATHS[self.drive][0]
        token = (drives.token_path(self.drive.word), 200)
        rest = [(path, 200) for path in PATHS[self.drive]]
        self.assertEqual(self.paths(), [(first, 401), token, *rest])
        self.assertEqual(self.refreshes(), 1)

    def test_a_refresh_token_is_enough(self):
        _, refresh = self.tokens()
        self.assertEqual(self.look_up("", refresh), (0, self.owner()))
        self.assertEqual(self.refreshes(), 1)

    def test_an_account_that_is_no_longer_linked(self):
        access, refresh = self.tokens()
        self.control("expire")
        self.control("revoke")
        code, _ = self.look_up(access, refresh)
        self.assertGreater(code, 0)
        self.assertEqual([status for _, status in self.paths()], [401, 400])

    def test_an_expired_token_that_cannot_be_renewed(self):
        access, _ = self.tokens()
        self.control("expire")
        code, _ = self.look_up(access)
        self.assertGreater(code, 0)
        self.assertEqual(self.paths(), [(PATHS[self.drive][0], 401)])

    def test_what_the_scopes_do_not_allow_is_empty(self):
        access, refresh = self.tokens(scope=FEWER_SCOPES[self.drive])
        space = (0, TOTAL[self.drive]) if self.drive in (ONE_DRIVE, AMAZON_DRIVE) else (-1, -1)
        self.assertEqual(self.look_up(access, refresh), (0, Account("", "", *space)))
        self.assertEqual(self.refreshes(), 0)
        self.assertEqual([path for path, _ in self.paths()], PATHS[self.drive])

    def test_nobody_listens(self):
        self.port = 1
        code, _ = self.look_up("token", "refresh")
        self.assertEqual(code, 259 if self.drive in (GOOGLE_DRIVE, AMAZON_DRIVE) else 2)


class DropboxTokens(AccountCalls, DriveTest):
    drive = DROPBOX

    def test_both_tokens_in_one_text(self):
        access, refresh = self.tokens()
        self.control("expire")
        self.assertEqual(self.look_up(f"{access}|{refresh}"), (0, self.owner()))
        self.assertEqual(self.refreshes(), 1)

    def test_the_space_of_a_team(self):
        allocation = {
            ".tag": "team", "used": 9, "allocated": 700, "user_within_team_space_allocated": 0
        }  # fmt: skip
        access, _ = self.tokens()
        self.configure(allocation=allocation)
        self.assertEqual(self.look_up(access)[1].total_space, 700)
        self.configure(allocation={**allocation, "user_within_team_space_allocated": 40})
        self.assertEqual(self.look_up(access)[1].total_space, 40)


class OneDriveUsers(AccountCalls, DriveTest):
    drive = ONE_DRIVE

    def test_of_an_organization_have_a_mailbox(self):
        self.configure(driveType="business")
        access, _ = self.tokens()
        self.assertEqual(self.look_up(access), (0, self.owner()))


if __name__ == "__main__":
    unittest.main()

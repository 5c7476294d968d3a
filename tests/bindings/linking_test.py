"""Linking accounts of the drives."""

import unittest

from support import drives, sandbox

from binding_case import (
    AMAZON_DRIVE, DROPBOX, GOOGLE_DRIVE, ONE_DRIVE, comparable, for_each_drive
)  # fmt: skip

SPACE = {
    GOOGLE_DRIVE: 15 * 2**30, ONE_DRIVE: 2**40, DROPBOX: 2 * 2**30, AMAZON_DRIVE: 5 * 2**30
}  # fmt: skip


@for_each_drive
class Linking:
    def test_the_state_comes_back(self):
        state = "a b&c=d%2F"
        self.assertEqual(self.consent(self.driver, "d", state)["state"], state)
        self.assertNotIn("state", self.consent(self.driver, "d"))

    def test_a_state_that_is_not_acceptable(self):
        for state in ("a\nb", "x" * 501):
            self.assert_bad_arguments("url", "d", state)

    def test_the_tokens_of_the_account(self):
        access, refresh = self.tokens
        self.assertTrue(access)
        self.assertEqual(refresh == "", self.drive == DROPBOX)
        # Dropbox's access token holds both, so that the account outlives its four hours.
        if self.drive == DROPBOX:
            self.assertIn("|", access)

    def test_stored_tokens_authorize_another_session(self):
        for driver in self.drivers:
            self.drive.open(driver, "stored")
            driver.do("tokens", "stored", *self.tokens)
            self.assertEqual(driver.value("root", "stored")[1], self.root)
            driver.do("close", "stored")

    def test_a_code_belongs_to_the_session_that_asked_for_it(self):
        for driver in self.drivers:
            self.drive.open(driver, "other")
        code = [self.consent(driver, "d")["code"] for driver in self.drivers]
        failed = self.assert_fails("link again", "link", "other", code[0])
        self.assertEqual(failed.operation, "exchangeAuthorizationCode")
        self.on_all("close", "other")

    def test_the_root_folder(self):
        (folder,) = self.assert_same("root", "d")
        self.assertEqual(folder[0], "folder")
        if self.drive == DROPBOX:
            self.assertEqual(folder[1:], ["/", "/"])
            self.assertEqual(sandbox.requests(), [])

    def test_the_address_that_signs_out(self):
        ((url,),) = [line[1:] for line in self.assert_same("logout-url", "d")]
        self.assertEqual(url != "", self.drive == ONE_DRIVE, url)

    def test_the_owner_of_the_account(self):
        (account,) = self.assert_same(
            "account", self.drive.word, *self.proxy(), *self.tokens
        )  # fmt: skip
        name, email, used, total = account[1:]
        self.assertEqual(email, self.holder)
        self.assertEqual(name, f"{self.holder.split('@')[0].capitalize()} Example")
        self.assertEqual((int(used), int(total)), (0, SPACE[self.drive]))

    def test_without_a_session_and_tokens(self):
        self.assert_bad_arguments("account", self.drive.word, *self.proxy(), "", "")
        self.assert_bad_arguments("account", "s3", *self.proxy(), *self.tokens)

    @staticmethod
    def proxy():
        internet = sandbox.state()["internet"]
        return internet["proxyHost"], internet["proxyPort"]


@for_each_drive
class LinkingAsInC:
    """With the settings of the C interface."""

    settings = (0, 0, 0)

    def test_a_code_is_not_bound_to_a_session(self):
        self.drive.open(self.driver, "other")
        (url,) = self.driver.value("url", "d", "")
        self.assertNotIn("code_challenge", url)
        query = drives.query_of(drives.consent(url, self.holder))
        self.driver.do("link", "other", query["code"])
        self.driver.do("close", "other")

    def test_the_access_token_of_dropbox_is_the_services_own(self):
        if self.drive == DROPBOX:
            self.assertNotIn("|", self.tokens[0])


@for_each_drive
class TheHostsApplication:
    """Its secret is wrong, so it cannot link accounts."""

    @classmethod
    def setUpClass(cls):
        client = sandbox.state()["drives"]["services"][drives.NAMES[cls.drive.word]]
        redirect_uri = sandbox.state()["drives"]["redirectUri"]
        cls.application = (cls.drive.word, client["clientId"], "wrong", redirect_uri)
        super(cls.__mro__[2], cls).setUpClass()
        cls.holder = "ann@example.test"
        for driver in cls.drivers:
            cls.drive.open(driver, "d")

    def test_it_is_at_fault(self):
        failed = [
            driver.fail("link", "d", self.consent(driver, "d")["code"]) for driver in self.drivers
        ]  # fmt: skip
        self.assertEqual(failed[0].kind, "host fault")
        self.assertEqual({comparable(failure) for failure in failed}, {comparable(failed[0])})


if __name__ == "__main__":
    unittest.main()

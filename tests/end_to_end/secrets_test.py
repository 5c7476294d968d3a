"""What the tests before this one, and the programs that they ran, have said to the world: no token,
no code and no secret, but for the one record of a failed exchange that shows them."""

import os
import re
import unittest
import urllib.parse

from support import sandbox
from support.drive_case import DriveTest
from support.drive_sessions import GOOGLE_DRIVE

# What it shows comes before and after what the service said, which must not.
EXCHANGE_RECORD = re.compile(
    r"Failed to perform exchange authorization code\. authorizationCode = [^,\n]*, "
    r"(?P<status>[^\n]*?)(?:, accessToken = [^,\n]*, refreshToken = [^,\n]*)?$",
    re.MULTILINE,
)


def all_secrets():
    """Every one that the sandbox has given or was started with."""
    issued = sandbox.control("GET", "issued", part="drives")
    applications = sandbox.state()["drives"]["services"].values()
    own = [application["clientSecret"] for application in applications]
    # What a test makes up itself it also prints in its own messages.
    given = [secret for secret in sandbox.secrets() if secret != sandbox.MADE_UP_SECRET]
    return [*issued, *own, *given]


def spellings(secret):
    """As it is, and as it stands in a form or an address."""
    return {secret, urllib.parse.quote(secret, safe=""), urllib.parse.quote(secret)}


def given_away(text, secrets):
    """The numbers of the lines that show a secret outside of the records that have to."""
    forbidden = [spelling for secret in secrets for spelling in spellings(secret)]
    lines = EXCHANGE_RECORD.sub(r"\g<status>", text).splitlines()
    return [
        number
        for number, line in enumerate(lines, 1)
        if any(spelling in line for spelling in forbidden)
    ]


class Output(DriveTest):
    drive = GOOGLE_DRIVE

    def setUp(self):
        super().setUp()
        self.account = self.session()
        self.tokens = self.link(self.account)

    def written(self):
        with open(os.environ["VEMLO_OUTPUT"], encoding="utf-8") as file:
            return file.read()

    def test_shows_no_secret(self):
        # One record at least, whichever tests ran before.
        failed = self.account.get_token("made-up")
        self.assertEqual(failed.code, GOOGLE_DRIVE.exchange_failed)
        text = self.written()
        self.assertIn(failed.log.text, text)
        self.assertTrue(EXCHANGE_RECORD.search(text))
        secrets = all_secrets()
        self.assertLessEqual(set(self.tokens), set(secrets))
        self.assertEqual(given_away(text, secrets), [])

    def test_would_be_found_to_show_one(self):
        """A token of each kind where it must not be, in any spelling, beside a record that may."""
        failed = self.account.get_token("made-up")
        secrets = all_secrets()
        self.assertEqual(given_away(failed.log.text, secrets), [])
        for token in self.tokens:
            for spelling in spellings(token):
                for leak in (f"a line with {spelling} in it\n", f'{{"token":"{spelling}"}}\n'):
                    self.assertEqual(given_away(leak + failed.log.text, secrets), [1])
                    self.assertEqual(len(given_away(failed.log.text + leak, secrets)), 1)
        other_record = failed.log.text.replace("perform exchange", "do")
        self.assertEqual(given_away(other_record, secrets), [1])
        status = failed.log.text.replace("invalid_grant", self.tokens[0])
        self.assertEqual(given_away(status, secrets), [1])

    def test_is_all_of_what_a_test_process_says(self):
        """The library's words outside of a stretch that a test watches are kept, too."""
        os.write(2, b"said to standard error\n")
        os.write(1, b"said to standard output\n")
        while self.written().count("said to standard ") < 2:
            pass  # it is on its way


if __name__ == "__main__":
    unittest.main()

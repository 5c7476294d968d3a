"""The output of the earlier tests and of the programs that they ran contains no token, no code and
no secret, except in the record of a failed exchange, which shows them."""

import os
import re
import unittest
import urllib.parse

from support import sandbox
from support.drive_case import DriveTest
from support.drive_sessions import GOOGLE_DRIVE

# The record shows secrets before and after the service's message, which must not contain one.
EXCHANGE_RECORD = re.compile(
    r"Failed to perform exchange authorization code\. authorizationCode = [^,\n]*, "
    r"(?P<status>[^\n]*?)(?:, accessToken = [^,\n]*, refreshToken = [^,\n]*)?$",
    re.MULTILINE,
)


def all_secrets():
    """Every secret that the sandbox has issued or was started with."""
    issued = sandbox.control("GET", "issued", part="drives")
    applications = sandbox.state()["drives"]["services"].values()
    own = [application["clientSecret"] for application in applications]
    # Without the made-up one, which tests print in their own messages.
    given = [secret for secret in sandbox.secrets() if secret != sandbox.MADE_UP_SECRET]
    return [*issued, *own, *given]


def spellings(secret):
    """The secret unchanged and percent-encoded."""
    return {secret, urllib.parse.quote(secret, safe=""), urllib.parse.quote(secret)}


def lines_with_secrets(text, secrets):
    """The numbers of the lines that show a secret outside of the records that may show one."""
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
        # Makes at least one record, whichever tests ran before.
        failed = self.account.get_token("made-up")
        self.assertEqual(failed.code, GOOGLE_DRIVE.exchange_failed)
        text = self.written()
        self.assertIn(failed.log.text, text)
        self.assertTrue(EXCHANGE_RECORD.search(text))
        secrets = all_secrets()
        self.assertLessEqual(set(self.tokens), set(secrets))
        self.assertEqual(lines_with_secrets(text, secrets), [])

    def test_with_a_secret_is_detected(self):
        """A token of each kind in any spelling, outside of a record that shows it as well."""
        failed = self.account.get_token("made-up")
        secrets = all_secrets()
        self.assertEqual(lines_with_secrets(failed.log.text, secrets), [])
        for token in self.tokens:
            for spelling in spellings(token):
                for leak in (f"a line with {spelling} in it\n", f'{{"token":"{spelling}"}}\n'):
                    self.assertEqual(lines_with_secrets(leak + failed.log.text, secrets), [1])
                    self.assertEqual(len(lines_with_secrets(failed.log.text + leak, secrets)), 1)
        other_record = failed.log.text.replace("perform exchange", "do")
        self.assertEqual(lines_with_secrets(other_record, secrets), [1])
        status = failed.log.text.replace("invalid_grant", self.tokens[0])
        self.assertEqual(lines_with_secrets(status, secrets), [1])

    def test_includes_what_a_test_process_writes(self):
        """Also what is written while the test does not capture the log."""
        os.write(2, b"written to standard error\n")
        os.write(1, b"written to standard output\n")
        while self.written().count("written to standard ") < 2:
            pass  # the parent process has not written it yet


if __name__ == "__main__":
    unittest.main()

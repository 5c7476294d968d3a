"""Accounts of a fake S3 server that a test links by the command-line tool."""

from .account_file import AccountFileTest
from .fake_s3 import FakeS3Server
from .tool import DONE

SECRET = "a-secret-key"


class StoreTest(AccountFileTest):
    def server(self, body="", status=200, **options):
        server = self.enterContext(FakeS3Server(body, status, **options))
        self.options = ("--endpoint", server.endpoint, "--access-key", "access")
        return server

    def login(self, *options, secret=SECRET, **more):
        return self.tool(
            "login", "s3", *self.options, "--secret-key-file", "-", *options,
            input=f"{secret}\n", **more,
        )  # fmt: skip

    def assert_says(self, result, message):
        self.assertEqual((result.stdout, result.returncode), ("", DONE))
        self.assertEqual(result.stderr, f"vemlo: {message}\n")

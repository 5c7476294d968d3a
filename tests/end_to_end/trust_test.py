"""Trusted certificates. Each test runs a process, because a process reads them only once."""

import tempfile
import unittest

from support import sandbox, trust
from support.case import LibraryTest
from support.error_codes import Code
from support.programs import run_s3_host


class Trust(LibraryTest):
    def setUp(self):
        sandbox.reset_internet()
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.authority = sandbox.state()["internet"]["caFile"]

    def list(self, **certificates):
        """A listing under the public service's host name."""
        account = sandbox.account("radosgw")._replace(endpoint="https://s3.amazonaws.com")
        proxy = {
            "HOST_PROXY_HOST": sandbox.state()["internet"]["proxyHost"],
            "HOST_PROXY_PORT": str(sandbox.state()["internet"]["proxyPort"]),
        }
        return run_s3_host(account, "list", environment={**proxy, **certificates})

    def assert_untrusted(self, listing):
        self.assert_failed(listing, Code.Untrusted)
        self.assertEqual(sandbox.requests(), [])

    def test_file(self):
        self.assert_done(self.list(SSL_CERT_FILE=self.authority))

    def test_hashed_folder(self):
        self.assert_done(self.list(SSL_CERT_DIR=trust.hashed_folder(self.folder)))

    def test_folder_beside_a_file_of_another_authority(self):
        listing = self.list(
            SSL_CERT_FILE=trust.foreign_authority(self.folder),
            SSL_CERT_DIR=trust.hashed_folder(self.folder),
        )
        self.assert_done(listing)

    def test_another_authority(self):
        self.assert_untrusted(self.list(SSL_CERT_FILE=trust.foreign_authority(self.folder)))

    def test_empty_folder(self):
        self.assert_untrusted(self.list(SSL_CERT_DIR=self.folder))

    def test_the_certificates_of_the_system(self):
        self.assert_untrusted(self.list())

    def test_missing_file(self):
        missing = f"{self.folder}/missing.pem"
        listing = self.list(SSL_CERT_FILE=missing)
        self.assert_untrusted(listing)
        self.assertIn(missing, listing.log.text)


if __name__ == "__main__":
    unittest.main()

"""A host program in C that uses the drives."""

import unittest

from support import drives, sandbox
from support.drive_case import DriveTest, for_each_drive
from support.programs import run_host


@for_each_drive
class DriveHost:
    def setUp(self):
        super().setUp()
        internet = sandbox.state()["internet"]
        self.environment = {
            "HOST_PROXY_HOST": internet["proxyHost"],
            "HOST_PROXY_PORT": str(internet["proxyPort"]),
            "SSL_CERT_FILE": internet["caFile"],
            "HOST_VERBOSE": "9",
        }

    def host(self, *arguments, **options):
        return run_host("drive_host", self.drive.family, *arguments,
                        environment=self.environment, **options)  # fmt: skip

    def code(self):
        url = self.host("url").output.rstrip("\n")
        return drives.query_of(drives.consent(url, self.holder))["code"]

    def test_from_consent_to_a_folder_with_a_verbose_log(self):
        code = self.code()
        result = self.host("make", "Málaga & more", input=f"{code}\n")
        self.assertEqual((result.code, result.names), (0, ["Málaga & more"]))
        self.assertEqual(result.log.records("E"), [])
        again = self.host("make", "x", input=f"{code}\n")
        self.assertEqual((again.code, again.names), (self.drive.exchange_failed, []))
        beginning = "Failed to perform exchange authorization code. authorizationCode = "
        self.assert_lines(again.log, [f"{beginning}{code}, invalid_grant: "])


if __name__ == "__main__":
    unittest.main()

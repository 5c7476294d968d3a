"""Host programs in C and C++."""

import os
import unittest

from support import sandbox
from support.case import LibraryTest
from support.error_codes import Code
from support.programs import run_host, run_s3_host

FRANKFURT, CUSTOMIZED = "12", "16"


class S3Host(LibraryTest):
    def setUp(self):
        self.account = sandbox.account("radosgw")

    def test_buckets_are_created_and_listed(self):
        name = sandbox.new_bucket_name()
        for location in (CUSTOMIZED, FRANKFURT):
            self.assert_done(run_s3_host(self.account, "create", f"{name}-{location}", location))
        listing = run_s3_host(self.account, "list")
        self.assert_done(listing)
        self.assertEqual(listing.names, self.account.bucket_names())
        self.assertLess({f"{name}-{CUSTOMIZED}", f"{name}-{FRANKFURT}"}, {*listing.names, "more"})

    def test_failures_have_a_code_and_a_log_line(self):
        wrong = self.account._replace(secret_key=sandbox.MADE_UP_SECRET)
        calls = (("list",), ("create", sandbox.new_bucket_name(), CUSTOMIZED))
        for call in calls:
            with self.subTest(call=call):
                result = run_s3_host(wrong, *call)
                self.assert_failed(
                    result, Code.SignatureMismatch, "SignatureDoesNotMatch", status=403
                )

    def test_proxies_of_the_environment_are_ignored(self):
        nowhere = "http://127.0.0.1:1"
        names = ("http_proxy", "https_proxy", "all_proxy")
        environment = {
            **{name: nowhere for name in names},
            **{name.upper(): nowhere for name in names},
        }
        self.assert_done(run_s3_host(self.account, "list", environment=environment))

    def test_nothing_secret_is_logged_at_any_level(self):
        """Log raises an error for a secret; here the library writes all that it can log."""
        verbose = {"HOST_VERBOSE": "9"}
        wrong = self.account._replace(secret_key=sandbox.MADE_UP_SECRET)
        self.assertEqual(run_s3_host(self.account, "list", environment=verbose).code, 0)
        refused = run_s3_host(wrong, "list", environment=verbose)
        self.assertEqual(len(refused.log.records("E")), 1)

    def test_errors_are_red_on_a_terminal_with_colours(self):
        wrong = self.account._replace(secret_key=sandbox.MADE_UP_SECRET)
        for terminal, coloured in (("xterm", True), ("dumb", False)):
            with self.subTest(terminal=terminal):
                log = run_s3_host(wrong, "list", environment={"TERM": terminal}).log
                self.assertEqual(log.text.startswith("\x1b[0;31mE"), coloured)


class OtherHosts(LibraryTest):
    def setUp(self):
        self.account = sandbox.account("radosgw")

    def test_sessions_of_all_services(self):
        result = run_host("sessions_host")
        self.assertEqual((result.output, result.log.text), ("", ""))

    def test_loading_the_library_twice(self):
        keys = {
            "HOST_ACCESS_KEY": self.account.access_key,
            "HOST_SECRET_KEY": self.account.secret_key,
        }
        library = os.environ["VEMLO_LIBRARY"]
        result = run_host("reload_host", library, self.account.endpoint, environment=keys)
        self.assertEqual((result.output, result.log.text), ("code 0\n" * 2, ""))

    def test_a_host_that_has_initialised_the_logger_itself(self):
        result = run_host("logging_host", self.account.endpoint)
        self.assertEqual(result.code, Code.UnknownAccessKey)
        self.assertEqual(result.log.records("W"), ["before the library", "after the library"])
        self.assertEqual(len(result.log.records("E")), 1)


if __name__ == "__main__":
    unittest.main()

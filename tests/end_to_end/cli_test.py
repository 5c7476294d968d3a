"""The command-line tool with an account on a real server."""

import json
import pathlib
import tempfile
import unittest

from support import programs, sandbox
from support.case import LibraryTest
from support.tool import BAD_USAGE, DONE, LOCAL_FAILURE, SERVICE_FAILED, TOOL


def keys_of(account):
    """The environment variables that make the tool use the account."""
    return {
        "VEMLO_S3_ENDPOINT": account.endpoint,
        "VEMLO_S3_ACCESS_KEY": account.access_key,
        "VEMLO_S3_SECRET_KEY": account.secret_key,
    }


class S3ToolTest(LibraryTest):
    def setUp(self):
        self.account = sandbox.account("radosgw")
        self.keys = keys_of(self.account)

    def tool(self, *arguments, environment=None, **options):
        environment = self.keys if environment is None else environment
        return programs.run([TOOL, *arguments], environment, **options)

    def secret_file(self, content):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        path = pathlib.Path(folder) / "secret"
        path.write_text(content, encoding="utf-8")
        return str(path)

    def assert_prints(self, result, output):
        self.assertEqual((result.log.text, result.status), ("", DONE))
        self.assertEqual(result.output, output)

    def assert_refused(self, result, words):
        """One line of the tool, and nothing on standard output."""
        self.assertEqual((result.status, result.output), (SERVICE_FAILED, ""))
        self.assertRegex(result.log.text, rf"\Avemlo: cannot [^\n]*{words}[^\n]*\n\Z")


class Buckets(S3ToolTest):
    def table(self):
        names = self.account.bucket_names()
        self.assertNotEqual(names, [])
        return "NAME\n" + "".join(f"{name}\n" for name in names)

    def setUp(self):
        super().setUp()
        self.assert_prints(self.tool("s3", "create-bucket", sandbox.new_bucket_name()), "")

    def test_table(self):
        self.assert_prints(self.tool("s3", "buckets"), self.table())

    def test_json(self):
        result = self.tool("s3", "buckets", "--json")
        self.assertEqual((result.log.text, result.status), ("", DONE))
        expected = [{"name": name} for name in self.account.bucket_names()]
        self.assertEqual(json.loads(result.output), expected)

    def test_keys_as_options_and_secret_from_a_file(self):
        options = ("--endpoint", self.account.endpoint, "--access-key", self.account.access_key)
        path = self.secret_file(self.account.secret_key + "\nsecond line\n")
        result = self.tool("s3", "buckets", *options, "--secret-key-file", path, environment={})
        self.assert_prints(result, self.table())

    def test_secret_from_a_file_that_the_environment_names(self):
        path = self.secret_file(self.account.secret_key)
        environment = {**self.keys, "VEMLO_S3_SECRET_KEY_FILE": path}
        del environment["VEMLO_S3_SECRET_KEY"]
        self.assert_prints(self.tool("s3", "buckets", environment=environment), self.table())

    def test_secret_from_standard_input(self):
        environment = {**self.keys, "VEMLO_S3_SECRET_KEY": "outweighed"}
        result = self.tool(
            "s3", "buckets", "--secret-key-file", "-",
            environment=environment, input=self.account.secret_key + "\n",
        )  # fmt: skip
        self.assert_prints(result, self.table())

    def test_verbose_prints_the_same_and_no_secret(self):
        result = self.tool("s3", "buckets", "--verbose=9")
        self.assertEqual((result.status, result.output), (DONE, self.table()))
        self.assertEqual(result.log.records("E"), [])

    def test_an_account_without_buckets(self):
        environment = keys_of(sandbox.empty_account("radosgw"))
        result = self.tool("s3", "buckets", environment=environment)
        self.assertEqual((result.status, result.output), (DONE, ""))
        self.assertEqual(result.log.text, "vemlo: no buckets\n")
        self.assert_prints(self.tool("s3", "buckets", "--json", environment=environment), "[]\n")


class Refusals(S3ToolTest):
    def test_wrong_secret(self):
        environment = {**self.keys, "VEMLO_S3_SECRET_KEY": sandbox.MADE_UP_SECRET}
        result = self.tool("s3", "buckets", environment=environment)
        self.assert_refused(
            result, "the secret key is wrong; check --access-key and --secret-key-file"
        )

    def test_unknown_key(self):
        result = self.tool("s3", "buckets", "--access-key", "nobody")
        self.assert_refused(result, "the service does not know the access key")

    def test_unreachable_server(self):
        result = self.tool("s3", "buckets", "--endpoint", "http://127.0.0.1:1")
        self.assert_refused(result, "not reached; check the network, the proxy and the endpoint")

    def test_bad_usage_sends_no_request(self):
        result = self.tool("s3", "buckets", "--endpoint", "http://127.0.0.1:1", "--colour")
        self.assertEqual((result.status, result.output), (BAD_USAGE, ""))
        self.assertEqual(result.log.records("E"), [])

    def test_secret_file_that_is_missing(self):
        result = self.tool("s3", "buckets", "--secret-key-file", "/nonexistent/secret")
        self.assertEqual((result.status, result.output), (LOCAL_FAILURE, ""))


class CreateBucket(S3ToolTest):
    def setUp(self):
        super().setUp()
        self.bucket = sandbox.new_bucket_name()

    def create(self, *arguments):
        return self.tool("s3", "create-bucket", self.bucket, *arguments)

    def test_without_a_region(self):
        self.assert_prints(self.create(), "")
        self.assertIn(self.bucket, self.account.bucket_names())

    def test_region_by_name(self):
        self.assert_prints(self.create("--flavour", "aws", "--region", "Frankfurt"), "")
        self.assertIn(self.bucket, self.account.bucket_names())

    def test_region_that_the_server_does_not_have(self):
        result = self.create("--flavour", "aws", "--region", "Northern California")
        self.assert_refused(result, "no such region; choose another one with --region")
        self.assertNotIn(self.bucket, self.account.bucket_names())

    def test_bucket_of_another_owner(self):
        self.assert_prints(self.create(), "")
        self.keys = keys_of(sandbox.account("radosgw", "other"))
        result = self.create()
        self.assert_refused(result, "taken by another account")


class Proxy(S3ToolTest):
    """Without an endpoint, that is, with the host name of the public service."""

    def setUp(self):
        super().setUp()
        sandbox.reset_internet()
        self.internet = sandbox.state()["internet"]
        self.keys["SSL_CERT_FILE"] = self.internet["caFile"]
        del self.keys["VEMLO_S3_ENDPOINT"]

    def address(self, port):
        return f"{self.internet['proxyHost']}:{self.internet[port]}"

    def assert_lists(self, result):
        self.assertEqual((result.log.text, result.status), ("", DONE))
        listed = [bucket["name"] for bucket in json.loads(result.output)]
        self.assertEqual(listed, self.account.bucket_names())
        hosts = [request["host"] for request in sandbox.requests()]
        self.assertEqual(hosts, ["s3.amazonaws.com"])

    def test_option(self):
        address = f"http://{self.address('proxyPort')}/"
        self.assert_lists(self.tool("s3", "buckets", "--json", "--proxy", address))

    def test_environment(self):
        self.keys["VEMLO_PROXY"] = self.address("proxyPort")
        self.assert_lists(self.tool("s3", "buckets", "--json"))

    def test_user_and_password_beside_the_secret_on_standard_input(self):
        del self.keys["VEMLO_S3_SECRET_KEY"]
        options = (
            "--proxy", self.address("authProxyPort"), "--proxy-user", self.internet["proxyUser"],
            "--proxy-password-file", "-", "--secret-key-file", "-",
        )  # fmt: skip
        secrets = f"{self.account.secret_key}\n{self.internet['proxyPassword']}\n"
        self.assert_lists(self.tool("s3", "buckets", "--json", *options, input=secrets))

    def test_credentials_that_are_missing(self):
        result = self.tool("s3", "buckets", "--proxy", self.address("authProxyPort"))
        self.assert_refused(result, "not reached; check the network, the proxy and the endpoint")
        self.assertEqual(sandbox.requests(), [])

    def test_a_region_by_name_is_requested_at_its_own_host(self):
        self.keys["VEMLO_PROXY"] = self.address("proxyPort")
        bucket = sandbox.new_bucket_name()
        self.assert_prints(self.tool("s3", "create-bucket", bucket, "--region", "Frankfurt"), "")
        hosts = [request["host"] for request in sandbox.requests()]
        self.assertEqual(hosts, ["s3.eu-central-1.amazonaws.com"])


if __name__ == "__main__":
    unittest.main()

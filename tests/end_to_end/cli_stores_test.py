"""What the command-line tool does where an account of an object store may not see everything, and
where another process works at the same time."""

import json
import unittest

from support.fake_s3 import buckets, error, folders, tree
from support.store_case import StoreTest
from support.tool import BAD_USAGE, DONE, SERVICE_FAILED

DENIED = (403, error("AccessDenied"))


class MakeFolder(StoreTest):
    def link(self, body, **options):
        self.fake = self.server(body, **options)
        self.login("--no-check")
        self.fake.requests.clear()

    def made(self):
        return [request for request in self.fake.requests if request.startswith("PUT")]

    def assert_made(self, *requests, location="s3:/photos/a/b"):
        self.assert_prints(self.tool("mkdir", "-p", location), "")
        self.assertEqual(self.made(), list(requests))

    def test_in_a_bucket_of_an_account_that_may_not_list_buckets(self):
        self.link(lambda bucket, _: (200, folders()) if bucket else DENIED, upload=self.in_photos)
        self.assert_made("PUT /photos/a/b/")
        self.fake.requests.clear()
        self.assert_made(location="s3:/photos")

    @staticmethod
    def in_photos(path):
        return (200, "") if path.count("/") > 1 else DENIED

    def test_of_an_account_that_may_list_nothing(self):
        self.link(lambda *_: DENIED, upload=self.in_photos)
        result = self.tool("mkdir", "-p", "s3:/photos/a/b")
        self.assertEqual((result.stdout, result.returncode), ("", DONE))
        self.assertEqual(self.made(), ["PUT /photos/a/b/"])

    def test_in_a_missing_bucket_of_an_account_that_may_list_nothing(self):
        def upload(path):
            is_made = self.fake.requests.count("PUT /photos")
            is_missing = path != "/photos" and not is_made
            return (404, error("NoSuchBucket")) if is_missing else (200, "")

        self.link(lambda *_: DENIED, upload=upload)
        result = self.tool("mkdir", "-p", "s3:/photos/a/b")
        self.assertEqual((result.stdout, result.returncode), ("", DONE))
        self.assertEqual(self.made(), ["PUT /photos/a/b/", "PUT /photos", "PUT /photos/a/b/"])

    def test_in_a_bucket_that_another_process_makes_meanwhile(self):
        def upload(path):
            is_bucket = path == "/photos"
            return (409, error("BucketAlreadyOwnedByYou")) if is_bucket else (200, "")

        self.link(tree(), upload=upload)
        self.assert_made("PUT /photos", "PUT /photos/a/b/")
        self.fake.requests.clear()
        self.assert_made("PUT /photos", location="s3:/photos")

    def test_in_a_bucket_of_another_account(self):
        self.link(tree(), upload=lambda _: (409, error("BucketAlreadyExists")))
        for location in ("s3:/photos", "s3:/photos/a"):
            result = self.tool("mkdir", "-p", location)
            message = "cannot create bucket 's3:/photos': the name is taken by another account"
            self.assert_fails(result, SERVICE_FAILED, message)

    def test_in_a_bucket_that_the_list_of_buckets_does_not_show(self):
        """The list has further pages, which the service does not say how to ask for."""
        self.link(lambda bucket, _: (200, folders() if bucket else CUT_SHORT))
        self.assert_made(location="s3:/photos")
        self.assert_made("PUT /photos/a/b/")

    def test_without_a_name_is_refused_before_any_request(self):
        self.link(tree())
        for options in ((), ("-p",)):
            result = self.tool("mkdir", *options, "s3:/photos//a")
            self.assert_fails(result, BAD_USAGE, "a folder's name is empty: there are two slashes")
        self.assertEqual(self.fake.requests, [])

    def test_a_region_that_does_not_exist_is_refused_before_any_request(self):
        self.link(tree(photos=["a/"]))
        for location in ("s3:/photos", "s3:/photos/a", "s3:/new"):
            result = self.tool("mkdir", "-p", "--region", "nope", location)
            self.assert_fails(result, BAD_USAGE, "the flavour 'custom' has no region 'nope'")
        self.assertEqual(self.fake.requests, [])

    def test_a_name_that_no_bucket_has_is_refused_before_any_request(self):
        self.link(tree())
        commands = ("ls",), ("tree",), ("mkdir",), ("mkdir", "-p"), ("ls", "-R")
        for command in commands:
            for name in (".", ".."):
                result = self.tool(*command, f"s3:/{name}/a")
                self.assert_fails(result, BAD_USAGE, f"no bucket is called '{name}'")
        for command in (("ls", ".."), ("mkdir", "..", "a"), ("create-bucket", "..")):
            result = self.tool("s3", *command, environment=self.fake.environment)
            self.assert_fails(result, BAD_USAGE, "no bucket is called '..'")
        self.assertEqual(self.fake.requests, [])


CUT_SHORT = buckets("letters").replace(
    "</ListAllMyBucketsResult>",
    "<ContinuationToken>next</ContinuationToken></ListAllMyBucketsResult>",
)


class ListOfBucketsThatIsCutShort(StoreTest):
    def setUp(self):
        super().setUp()
        self.fake = self.server(lambda bucket, _: (200, folders() if bucket else CUT_SHORT))
        self.login("--no-check")

    def assert_incomplete(self, result, listed, what):
        message = f"vemlo: the listing of {what} is incomplete: the service has more entries"
        self.assertEqual((result.stdout, result.returncode), (listed, SERVICE_FAILED))
        self.assertTrue(result.stderr.startswith(message), result.stderr)

    def test_fails_when_it_is_shown(self):
        by_options = self.tool("s3", "buckets", environment=self.fake.environment)
        self.assert_incomplete(by_options, "NAME\nletters\n", "the buckets")
        self.assert_incomplete(self.tool("ls", "s3:/"), "NAME\nletters\n", "'s3:/'")
        self.assert_incomplete(self.tool("ls", "-R", "s3:/"), "s3:/letters\n", "'s3:/'")
        as_json = self.tool("ls", "--json", "s3:/")
        self.assert_incomplete(as_json, '[{"name":"letters"}]\n', "'s3:/'")

    def test_is_not_counted_as_whole(self):
        self.assertIn("buckets   more than 1\n", self.tool("whoami", "s3").stdout)
        (described,) = json.loads(self.tool("whoami", "--json", "s3").stdout)
        self.assertIsNone(described["buckets"])


class WhoAmI(StoreTest):
    def test_of_an_account_that_may_not_list_buckets(self):
        fake = self.server(*reversed(DENIED))
        self.login("--no-check")
        result = self.tool("whoami", "s3")
        fields = (
            ("service", "s3"), ("endpoint", fake.endpoint), ("keys", "not known"), ("buckets", "-"),
        )  # fmt: skip
        self.assertEqual(result.stdout, "".join(f"{name:<10}{value}\n" for name, value in fields))
        message = "vemlo: the account may not list its buckets, or its keys are wrong\n"
        self.assertEqual((result.stderr, result.returncode), (message, DONE))

    def test_of_an_account_with_wrong_keys(self):
        self.server(error("SignatureDoesNotMatch"), 403)
        self.login("--no-check")
        message = "cannot list the buckets of 's3': the secret key is wrong"
        self.assert_fails(self.tool("whoami", "s3"), SERVICE_FAILED, message)


class Endpoints(StoreTest):
    WRONG = (
        "ftp://localhost", "a b", "http://[::1", "http://", "localhost:0", "localhost:65536",
        "localhost:x", "localhost:", "http://a..b", "http://.a", "localhost?x", "localhost#x",
        "http://[x]", "http://h\u00f6st", "[::1]x",
    )  # fmt: skip
    RIGHT = (
        "localhost", "localhost:1", "http://localhost/", "HTTPS://Local_host-1.example:65535/a/b",
        "http://127.0.0.1:1", "http://[::1]:1", "[::1]",
    )  # fmt: skip

    def link(self, endpoint):
        self.options = ("--endpoint", endpoint, "--access-key", "access")
        return self.login("--no-check")

    def test_that_are_none_are_refused_without_being_repeated(self):
        message = "--endpoint or VEMLO_S3_ENDPOINT must be given as [http[s]://]HOST[:PORT][/BASE]"
        for endpoint in self.WRONG:
            with self.subTest(endpoint=endpoint):
                result = self.link(endpoint)
                self.assert_fails(result, BAD_USAGE, message)
                self.assertNotIn(endpoint, result.stderr)
                result = self.tool("s3", "buckets", environment={"VEMLO_S3_ENDPOINT": endpoint})
                self.assert_fails(result, BAD_USAGE, message)
        self.assertFalse(self.file.exists())

    def test_that_are_right_are_linked(self):
        for endpoint in self.RIGHT:
            with self.subTest(endpoint=endpoint):
                self.assertEqual(self.link(endpoint).returncode, DONE)
                self.assertEqual(self.accounts()["s3"]["endpoint"], endpoint)

    def test_that_are_right_are_endpoints_to_the_library(self):
        """It sends a request, which fails because the proxy is not reached."""
        for endpoint in self.RIGHT:
            with self.subTest(endpoint=endpoint):
                self.link(endpoint)
                result = self.tool("ls", "s3:/", "--proxy", "127.0.0.1:1")
                self.assert_fails(result, SERVICE_FAILED, "the service was not reached")

    def test_names_that_no_storage_account_has_are_refused(self):
        command = ("login", "azure", "--no-check", "--key-file", "-", "--account")
        for name in ("bad name!", "a/b", "ab", "A" * 3, "a" * 25, "\u00e9\u00e9\u00e9"):
            with self.subTest(name=name):
                result = self.tool(*command, name, input="a2V5\n")
                self.assert_fails(result, BAD_USAGE, "--account or VEMLO_AZURE_ACCOUNT must be")
        for name in ("abc", "0" * 24):
            self.assertEqual(self.tool(*command, name, input="a2V5\n").returncode, DONE)


if __name__ == "__main__":
    unittest.main()

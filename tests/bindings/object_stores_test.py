"""Buckets and folders of the object stores."""

import unittest

from support import sandbox

from binding_case import (
    LANGUAGE, S3, BindingCase, StoreCase, for_each_store, named, new_name
)  # fmt: skip

NAMES = (
    " leading space", "trailing space ", "a&b<c>d\"e'f+g%h", "%41", "a=b;c,d", "grüße",
    "e\u0301t\u00e9", "日本語", "עברית", "🗂️", "#?",
)  # fmt: skip
LOCATIONS = {
    "aws": [
        ["0", "US Standard"], ["1", "Ohio"], ["2", "Northern California"], ["3", "Oregon"],
        ["4", "Mumbai"], ["5", "Singapore"], ["6", "Sydney"], ["7", "Tokyo"], ["8", "Seoul"],
        ["9", "Sao Paulo"], ["12", "Frankfurt"], ["13", "Ireland"], ["14", "London"],
        ["15", "Montreal"],
    ],
    "china": [["10", "Beijing"], ["11", "Ningxia"]],
    "wasabi": [["0", "US Standard"]],
    "custom": [["16", ""]],
}  # fmt: skip


@for_each_store
class Folders:
    def folders(self, bucket, prefix=""):
        """The names of the folders below a prefix, which all drivers list alike."""
        lines = self.assert_same("list", "s", bucket, prefix)
        self.assertEqual(lines[-1], ["cut", "0"])
        found = named(lines, "folder")
        self.assertEqual({folder for _, folder in found} - {""}, set())
        return [name for name, _ in found]

    def new_bucket(self):
        name = new_name()
        self.driver.do("create-bucket", "s", name, 0)
        return name

    def make(self, bucket, path):
        self.assertEqual(self.driver.do("create", "s", bucket, path), [])

    def test_a_new_bucket_is_listed(self):
        bucket = self.new_bucket()
        lines = self.assert_same("buckets", "s")
        self.assertEqual(lines[-1], ["cut", "0"])
        names = [name for (name,) in named(lines, "bucket")]
        self.assertEqual((names.count(bucket), sorted(names)), (1, names))

    def test_an_empty_bucket(self):
        self.assertEqual(self.folders(self.new_bucket()), [])

    def test_folders_are_made_and_found_again(self):
        bucket = self.new_bucket()
        for path in ("photos/", "photos/2019/", "photos/2020/", "letters/"):
            self.make(bucket, path)
        self.make(bucket, "photos/")  # replaces an empty object
        self.assertEqual(self.folders(bucket), ["letters/", "photos/"])
        self.assertEqual(self.folders(bucket, "photos/"), ["photos/2019/", "photos/2020/"])
        self.assertEqual(self.folders(bucket, "photos/2020/"), [])

    def test_names_in_every_script(self):
        bucket = self.new_bucket()
        for name in NAMES:
            self.make(bucket, name + "/")
        self.assertEqual(sorted(self.folders(bucket)), sorted(name + "/" for name in NAMES))
        for name in NAMES:
            self.assertEqual(self.folders(bucket, name + "/"), [])

    def test_paths_that_are_not_acceptable(self):
        for path in ("", "/", "photos", "/photos/"):
            self.assert_bad_arguments("create", "s", self.bucket, path)

    @unittest.skipIf(LANGUAGE == "c", "a text of C ends at a NUL")
    def test_a_nul_is_never_the_end_of_a_text(self):
        del self.drivers[1:]
        for words in (
            ("list", "s", self.bucket + "\0", ""), ("list", "s", self.bucket, "photos\0/"),
            ("create", "s", self.bucket, "photos/\0"), ("create", "s", "\0", "photos/"),
            ("create-bucket", "s", "bucket\0", 0), ("encrypt", "a\0b"), ("decrypt", "a\0b"),
        ):  # fmt: skip
            self.assert_bad_arguments(*words)


class S3Buckets(StoreCase):
    store = S3

    def test_bytes_that_are_no_utf_8_are_sent_as_they_are(self):
        self.results("create", "s", "b", b"\xff\xfe-\xc3(/")
        paths = {entry["path"] for entry in sandbox.requests()}
        self.assertEqual(paths, {"/b/%FF%FE-%C3%28/"})

    def test_locations(self):
        for flavour, expected in LOCATIONS.items():
            self.assertEqual(named(self.driver.do("locations", flavour), "location"), expected)

    def test_a_bucket_is_made_in_its_location(self):
        account = sandbox.account("swift")
        endpoint = sandbox.state()["swift"]["endpoints"]["eu-central-1"]
        self.driver.do(
            "open", "eu", "s3", "", 0, endpoint, "eu-central-1", account.access_key,
            account.secret_key,
        )  # fmt: skip
        bucket = new_name()
        self.driver.do("create-bucket", "eu", bucket, 12)
        self.assertIn(["bucket", bucket], self.driver.do("buckets", "eu"))
        refused = self.driver.fail("create-bucket", "eu", new_name(), 13)
        self.assertEqual((refused.kind, refused.code), ("wrong region", 24))
        self.driver.do("close", "eu")

    def test_encrypted_texts(self):
        for text in ("", "geheim", "grüße 日本 🗂️", "x" * 500, "\udcff\udcfe no UTF-8"):
            ((encrypted,),) = [line[1:] for line in self.assert_same("encrypt", text)]
            self.assertEqual(self.assert_same("decrypt", encrypted), [["text", text]])
            in_one_line = "".join(encrypted.split())
            self.assertEqual(self.assert_same("decrypt", in_one_line), [["text", text]])

    def test_a_key_of_azure_that_is_no_base64(self):
        azure = sandbox.state()["azure"]
        for _, failed in self.results(
            "open", "a", "azure", "", 0, "", azure["accountName"], "no*base64"
        ):  # fmt: skip
            self.assertEqual((failed.kind, failed.code, failed.status), ("wrong keys", -1, 0))

    def test_what_cannot_be_decrypted(self):
        for _, failed in self.results("decrypt", "of no use"):
            self.assertEqual((failed.kind, failed.code), ("host fault", -1))


def page(*prefixes, token=None):
    """A response to a listing, with the token of a further page if there is one."""
    more = f"<IsTruncated>true</IsTruncated><NextContinuationToken>{token}</NextContinuationToken>"
    folders = "".join(f"<CommonPrefixes><Prefix>{name}</Prefix></CommonPrefixes>"
                      for name in prefixes)
    return {
        "kind": "status", "status": 200, "headers": {"Content-Type": "application/xml"},
        "body": f"<ListBucketResult>{more if token else ''}{folders}</ListBucketResult>",
    }  # fmt: skip


class ListingsOfS3:
    """Of two pages. `settings` says whether they are followed to the end."""

    expected = None

    def test_of_two_pages(self):
        for driver in self.drivers:
            S3.open(driver, "s")
        lines = self.assert_same("list", "s", "bucket", "", prepare=self.respond)
        self.assertEqual(lines, self.expected)

    def respond(self):
        sandbox.reset_internet()
        self.fault(**page("a/", token="next"))
        self.fault(**page("b/"))


class WholeListingsOfS3(ListingsOfS3, BindingCase):
    expected = [["folder", "a/", ""], ["folder", "b/", ""], ["cut", "0"]]


class FirstPagesOfS3(ListingsOfS3, BindingCase):
    settings = (1, 0, 1)
    expected = [["folder", "a/", ""], ["cut", "1"]]


if __name__ == "__main__":
    unittest.main()

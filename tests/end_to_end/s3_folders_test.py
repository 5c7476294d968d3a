"""Folders in buckets of the S3 servers."""

import concurrent.futures
import contextlib
import unittest

from support import sandbox
from support.case import LibraryTest, for_each_server
from support.error_codes import Code
from support.folders import ODD_NAMES, NAMES_INVALID_IN_XML, S3Folders
from support.libvemlo import proxy_setting
from support.trust import trust_sandbox

PAGE = 1000  # the largest page of S3


@for_each_server
class S3FolderTree:
    def setUp(self):
        self.account = sandbox.account(self.server)
        self.session = self.enterContext(S3Folders(self.account))
        self.bucket = sandbox.new_bucket_name()
        self.assert_done(self.session.create(self.bucket))

    def assert_folders(self, prefix, names):
        found = self.session.folders(self.bucket, prefix)
        self.assert_done(found)
        self.assertEqual(found.names, names)

    def test_levels(self):
        self.assert_folders(b"", [])
        for path in (b"photos/", b"photos/2019/", b"photos/2020/summer/", b"a/"):
            self.assert_done(self.session.make_folder(self.bucket, path))
        self.assert_folders(b"", [b"a/", b"photos/"])
        self.assert_folders(b"photos/", [b"photos/2019/", b"photos/2020/"])
        self.assert_folders(b"photos/2020/", [b"photos/2020/summer/"])
        self.assert_folders(b"photos/2020/summer/", [])
        self.assert_folders(b"nothing/", [])

    def test_making_a_folder_again_leaves_it_as_it_is(self):
        for path in (b"a/b/", b"a/", b"a/"):
            self.assert_done(self.session.make_folder(self.bucket, path))
        self.assert_folders(b"a/", [b"a/b/"])

    def test_names_come_back_byte_for_byte(self):
        # Swift responds to any listing with one of the latter with 500 InternalError.
        names = ODD_NAMES + (NAMES_INVALID_IN_XML if self.server == "radosgw" else [])
        for name in names:
            self.assert_done(self.session.make_folder(self.bucket, name + b"/" + name + b"/"))
        self.assert_folders(b"", sorted(name + b"/" for name in names))
        for name in names:
            self.assert_folders(name + b"/", [name + b"/" + name + b"/"])

    def test_a_listing_is_one_page_in_order(self):
        names = [f"many/{number:04}/".encode() for number in range(PAGE + 50)]
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            client = self.account.independent_client()
            put = lambda name: client.put_object(Bucket=self.bucket, Key=name.decode(), Body=b"")
            list(pool.map(put, names))
        self.assert_folders(b"many/", names[:PAGE])

    def test_a_missing_bucket(self):
        missing = sandbox.new_bucket_name()
        self.assert_failed(self.session.folders(missing), 19, "NoSuchBucket", 404)
        made = self.session.make_folder(missing, b"a/")
        self.assertEqual((made.code, made.log.text), (19, ""))

    def test_the_library_and_boto3_see_each_others_folders(self):
        self.assert_done(self.session.make_folder(self.bucket, b"ours/\xc3\xa9 +/"))
        with contextlib.closing(self.account.independent_client()) as client:
            client.put_object(Bucket=self.bucket, Key="folder of theirs/", Body=b"")
            client.put_object(Bucket=self.bucket, Key="theirs/x", Body=b"1")
            found = client.list_objects_v2(Bucket=self.bucket, Prefix="ours/")["Contents"]
        self.assertEqual([(entry["Key"], entry["Size"]) for entry in found], [("ours/é +/", 0)])
        self.assert_folders(b"", [b"folder of theirs/", b"ours/", b"theirs/"])


class Regions(LibraryTest):
    """A bucket in another region than the session's; the proxy counts the requests."""

    host = "s3.wasabisys.com"

    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        account = sandbox.account("swift")
        sandbox.control("POST", "routes", {"host": self.host, "target": account.endpoint})
        self.bucket = sandbox.new_bucket_name()
        proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
        account = account._replace(endpoint=f"https://{self.host}")
        right = self.enterContext(S3Folders(account, "us-east-1", proxy))
        self.assert_done(right.create(self.bucket))
        sandbox.control("DELETE", "log")
        self.session = self.enterContext(S3Folders(account, "eu-central-1", proxy))

    def statuses(self):
        found = [entry["status"] for entry in sandbox.requests()]
        sandbox.control("DELETE", "log")
        return found

    def test_the_region_is_determined_once(self):
        self.assert_done(self.session.folders(self.bucket))
        # Refused, and retried with the right region in the signature.
        self.assertEqual(self.statuses(), [400, 200])
        self.assert_done(self.session.make_folder(self.bucket, b"a/"))
        self.assertEqual(self.session.folders(self.bucket).names, [b"a/"])
        self.assertEqual(self.statuses(), [200, 200])

    def test_the_first_request_may_be_a_write(self):
        self.assert_done(self.session.make_folder(self.bucket, b"a/"))
        self.assertEqual(self.statuses(), [400, 200])


class Redirects(LibraryTest):
    host = "s3.amazonaws.com"
    regional = "s3.eu-central-1.amazonaws.com"

    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        self.bucket = sandbox.new_bucket_name()
        account = sandbox.account("radosgw")._replace(endpoint="")
        proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
        self.session = self.enterContext(S3Folders(account, proxy=proxy))
        self.assert_done(self.session.create(self.bucket, 0))
        sandbox.control("DELETE", "log")

    def requests(self):
        return [(entry["host"], entry["method"], entry["status"]) for entry in sandbox.requests()]

    def redirect(self, status, **headers):
        sandbox.control(
            "POST", "faults",
            {"kind": "status", "status": status,
             "headers": {name.replace("_", "-"): value for name, value in headers.items()}},
        )  # fmt: skip

    def test_virtual_hosted_bucket_names(self):
        self.assert_done(self.session.make_folder(self.bucket, b"a/"))
        self.assert_done(self.session.folders(self.bucket))
        host = f"{self.bucket}.{self.host}"
        self.assertEqual(self.requests(), [(host, "PUT", 200), (host, "GET", 200)])

    def test_later_requests_go_to_the_host_of_a_redirect(self):
        self.redirect(301, x_amz_bucket_region="eu-central-1")
        self.assert_done(self.session.folders(self.bucket))
        self.assert_done(self.session.folders(self.bucket))
        there = (f"{self.bucket}.{self.regional}", "GET", 200)
        first = (f"{self.bucket}.{self.host}", "GET", 301)
        self.assertEqual(self.requests(), [first, there, there])

    def test_a_temporary_redirect_keeps_the_method(self):
        target = f"{self.bucket}.{self.regional}"
        self.redirect(307, Location=f"https://{target}/a/")
        self.assert_done(self.session.make_folder(self.bucket, b"a/"))
        first = (f"{self.bucket}.{self.host}", "PUT", 307)
        self.assertEqual(self.requests(), [first, (target, "PUT", 200)])

    def test_nothing_is_sent_to_a_foreign_host(self):
        self.redirect(307, Location="https://store.example/a/")
        made = self.session.make_folder(self.bucket, b"a/")
        self.assertEqual((made.code, made.log.text), (Code.Redirected, ""))
        self.assertEqual(len(self.requests()), 1)
        hosts = {tunnel["host"] for tunnel in sandbox.tunnels()}
        self.assertNotIn("store.example", hosts)


if __name__ == "__main__":
    unittest.main()

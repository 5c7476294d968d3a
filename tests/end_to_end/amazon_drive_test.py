"""Behaviour specific to Amazon Drive."""

import unittest

from support import sandbox
from support.drive_case import API, DriveTest
from support.drive_sessions import AMAZON_DRIVE, Folder

ENDPOINT = ("drive.amazonaws.com", "/drive/v1/account/endpoint")
NODES = ("cdws.us-east-1.amazonaws.com", "/drive/v1/nodes")
PROFILE = ("api.amazon.com", "/user/profile")


class AmazonDriveTest(DriveTest):
    drive = AMAZON_DRIVE

    def setUp(self):
        super().setUp()
        self.account = self.linked()

    def assert_requests(self, *addresses):
        found = [(entry["host"], entry["path"]) for entry in sandbox.requests()]
        self.assertEqual(found, list(addresses))


class Endpoints(AmazonDriveTest):
    def test_are_requested_once_in_a_session(self):
        root = self.root_of(self.account)
        self.assert_names(self.account, root, [])
        self.assert_done(self.account.make_folder(root, b"Photos"))
        self.assert_requests(ENDPOINT, NODES, NODES, NODES)

    def test_are_requested_again_on_demand(self):
        self.root_of(self.account)
        self.assert_done(self.account.get_endpoint())
        self.assert_requests(ENDPOINT, NODES, ENDPOINT)

    def test_are_those_in_the_response(self):
        base = f"https://{NODES[0]}/drive/v1"  # without the usual slash at the end
        self.configure(endpoint={"metadataUrl": base})
        self.root_of(self.account)
        self.assert_requests(ENDPOINT, NODES)

    def test_without_tls_receive_no_token(self):
        for wrong in ({"metadataUrl": f"http://{NODES[0]}/drive/v1/"}, {"contentUrl": None}):
            with self.subTest(wrong=wrong):
                sandbox.control("DELETE", "log")
                self.configure(endpoint=wrong)
                self.assert_call_failed(
                    self.account.root(),
                    "Failed to get Endpoint. error: MalformedResponse The answer names no pair",
                )
                self.assert_call_failed(
                    self.account.get_endpoint(), "Failed to get Endpoint. The answer names no pair"
                )
                self.assert_requests(ENDPOINT, ENDPOINT)

    def test_of_others_receive_no_token(self):
        for host in ("example.test", "notamazonaws.com", f"{NODES[0]}:8443", "127.0.0.1"):
            with self.subTest(host=host):
                sandbox.control("DELETE", "log")
                self.configure(endpoint={"metadataUrl": f"https://{host}/drive/v1/"})
                self.assert_call_failed(
                    self.account.root(),
                    "Failed to get Endpoint. error: MalformedResponse The answer names an address",
                )
                self.assert_requests(ENDPOINT)

    def test_that_are_known_survive_a_failure(self):
        root = self.root_of(self.account)
        self.fault(kind="status", status=404)
        self.assert_call_failed(self.account.get_endpoint(), "Failed to get Endpoint. Not Found")
        self.assert_names(self.account, root, [])
        self.assert_requests(ENDPOINT, NODES, ENDPOINT, NODES)


class Profile(AmazonDriveTest):
    def test_is_logged_with_the_severity_of_errors(self):
        proved = self.account.test_api()
        self.assertEqual(proved.code, 0)
        name = self.holder.split("@")[0].capitalize()
        self.assertEqual(
            proved.log.records("E"),
            [f"resource.getName(): {name} Example", f"resource.getEmail(): {self.holder}"],
        )
        self.assertEqual(len(proved.log.lines), 2)
        self.assert_requests(ENDPOINT, PROFILE)

    def test_that_cannot_be_read_is_reported_under_another_name(self):
        self.fault(kind="status", status=404, after=1)
        self.assert_call_failed(self.account.test_api(), "Failed to create directory. Not Found")
        self.assert_requests(ENDPOINT, PROFILE)

    def test_is_not_requested_without_endpoints(self):
        self.fault(kind="status", status=404)
        failed = self.account.test_api()
        self.assert_call_failed(failed, "Failed to get Endpoint. error: HTTP404 Not Found")
        self.assert_requests(ENDPOINT)


class Listings(AmazonDriveTest):
    def test_more_than_two_pages(self):
        root = self.root_of(self.account)
        self.seed(folders=250)
        sandbox.control("DELETE", "log")
        names = [b"folder-%05d" % number for number in range(250)]
        self.assert_names(self.account, root, names)
        self.assert_requests(NODES, NODES, NODES)
        entries = sandbox.requests()
        self.assertEqual(len({entry["connection"] for entry in entries}), 1)
        self.assertEqual(["startToken" in entry["queryNames"] for entry in entries],
                         [False, True, True])  # fmt: skip

    def test_a_failure_on_the_third_page(self):
        root = self.root_of(self.account)
        self.seed(folders=5)
        self.configure(pageSizes=[1])
        sandbox.control("DELETE", "log")
        self.fault(kind="status", status=400, after=2)
        self.assert_call_failed(self.account.folders(root), "Failed to list directories. ")
        self.assertEqual(self.calls(), [(API, 200), (API, 200), (API, 400)])

    def test_files_and_trashed_folders_are_not_listed(self):
        self.seed(items=[
            {"name": "Photos"},
            {"name": "a.txt", "kind": "file", "size": 1},
            {"name": "old", "status": "TRASH"},
        ])  # fmt: skip
        self.assert_names(self.account, self.root_of(self.account), [b"Photos"])

    def test_a_parent_id_is_not_escaped_in_the_filter(self):
        """So a quotation mark in it makes a filter that the service refuses."""
        failed = self.account.folders(Folder(b'a"b', b""))
        self.assert_call_failed(failed, "Failed to list directories. ")

    def test_throttled_calls_are_retried(self):
        root = self.root_of(self.account)
        sandbox.control("DELETE", "log")
        self.fault(kind="status", status=429)
        self.assert_done(self.account.make_folder(root, b"Photos"))
        self.assertEqual(self.calls(), [(API, 429), (API, 201)])

    def test_an_existing_name(self):
        root = self.root_of(self.account)
        self.seed(items=[{"name": "Photos"}])
        failed = self.account.make_folder(root, b"photos")
        self.assert_call_failed(failed, "Failed to create directory. ")


if __name__ == "__main__":
    unittest.main()

"""Containers and folders of a storage account, under its production host name."""

import json
import pathlib
import subprocess
import unittest
import uuid

from support import sandbox
from support.case import LibraryTest
from support.folders import ODD_NAMES, AzureSession
from support.libvemlo import proxy_setting
from support.trust import trust_sandbox

VENDORS_CLIENT = pathlib.Path(__file__).with_name("azure_client.mjs")


class AzureTest(LibraryTest):
    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        self.azure = sandbox.state()["azure"]
        self.container = f"e2e-{uuid.uuid4().hex[:20]}"

    def session(self, account=None, key=None, region=""):
        return self.enterContext(
            AzureSession(
                account or self.azure["accountName"], key or self.azure["accessKey"],
                proxy_setting(sandbox.state()["internet"]["proxyPort"]), region,
            )
        )  # fmt: skip

    def requests(self):
        return [(entry["method"], entry["status"]) for entry in sandbox.requests()]

    def vendors_client(self, *arguments):
        result = subprocess.run(
            ["node", VENDORS_CLIENT, self.azure["endpoint"], self.azure["accountName"], *arguments],
            input=self.azure["accessKey"], check=True, capture_output=True, encoding="utf-8",
            timeout=60,
        )  # fmt: skip
        return json.loads(result.stdout)


class Containers(AzureTest):
    def test_all_pages_in_order(self):
        session = self.session(self.azure["otherAccountName"], self.azure["otherAccessKey"])
        names = session.containers().names  # those of the next test, if it has run
        for number in range(250 - len(names)):
            names.append(f"all-{number:03}".encode())
            self.assert_done(session.make_container(names[-1].decode()))
        sandbox.control("DELETE", "log")
        found = session.containers()
        self.assert_done(found)
        self.assertEqual(found.names, sorted(names))
        self.assertEqual(self.requests(), [("GET", 200)] * 3)
        markers = ["marker" in entry["queryNames"] for entry in sandbox.requests()]
        self.assertEqual(markers, [False, True, True])
        self.assertEqual(len({entry["connection"] for entry in sandbox.requests()}), 1)

    def test_a_failure_on_page_two_fails_the_call(self):
        session = self.session(self.azure["otherAccountName"], self.azure["otherAccessKey"])
        for number in range(120):
            session.make_container(f"pages-{number:03}")  # may exist after the previous test
        sandbox.control("POST", "faults", {"kind": "status", "status": 404, "after": 1})
        self.assert_failed(session.containers(), 18, "HTTP404", 404)

    def test_refusals(self):
        session = self.session()
        self.assert_done(session.make_container(self.container))
        self.assert_failed(
            session.make_container(self.container), 21, "ContainerAlreadyExists", 409
        )
        self.assert_failed(session.make_container("No_Such_Name"), 22, "InvalidResourceName", 400)
        wrong = self.session(key="bm90IHRvIGJlIHNob3du")
        self.assert_failed(wrong.containers(), 15, "AuthorizationFailure", 403)

    def test_the_clouds_have_hosts_of_their_own(self):
        for region, suffix in (
            ("westeurope", "core.windows.net"), ("chinaeast2", "core.chinacloudapi.cn"),
            ("usgovvirginia", "core.usgovcloudapi.net"), ("germanycentral", "core.cloudapi.de"),
        ):  # fmt: skip
            with self.subTest(region=region):
                sandbox.control("DELETE", "log")
                self.assert_done(self.session(region=region).containers())
                hosts = {entry["host"] for entry in sandbox.requests()}
                self.assertEqual(hosts, {f"{self.azure['accountName']}.blob.{suffix}"})

    def test_an_invalid_account_name_sends_no_request(self):
        session = self.session(account="evil.example#")
        self.assert_failed(session.containers(), 1, "InvalidRequest", 0)
        self.assertEqual(sandbox.tunnels(), [])


class FolderTree(AzureTest):
    def setUp(self):
        super().setUp()
        self.azure_session = self.session()
        self.assert_done(self.azure_session.make_container(self.container))
        sandbox.control("DELETE", "log")

    def make(self, path):
        self.assert_done(self.azure_session.make_folder(self.container, path))

    def assert_folders(self, prefix, names):
        found = self.azure_session.folders(self.container, prefix)
        self.assert_done(found)
        self.assertEqual(found.names, names)

    def test_levels(self):
        self.assert_folders(b"", [])
        for path in (b"photos/", b"photos/2019/", b"photos/2020/summer/"):
            self.make(path)
        self.assert_folders(b"", [b"photos/"])
        self.assert_folders(b"photos/", [b"photos/2019/", b"photos/2020/"])
        self.assert_folders(b"photos/2020/summer/", [])

    def test_names_come_back_byte_for_byte(self):
        # Names that are invalid in XML make Azurite fail; they are tested with scripted responses.
        names = ODD_NAMES
        for name in names:
            self.make(b"odd/" + name + b"/")
        found = self.azure_session.folders(self.container, b"odd/")
        self.assert_done(found)
        self.assertEqual(sorted(found.names), sorted(b"odd/" + name + b"/" for name in names))

    def test_all_pages_in_order_after_a_request_for_the_first(self):
        names = [f"many/{number:03}/".encode() for number in range(230)]
        for name in names:
            self.make(name)
        sandbox.control("DELETE", "log")
        self.assert_folders(b"many/", names)
        markers = ["marker" in entry["queryNames"] for entry in sandbox.requests()]
        self.assertEqual(markers, [False, False, True, True])

    def test_a_missing_container(self):
        failed = self.azure_session.folders("nothing-here")
        self.assert_failed(failed, 19, "ContainerNotFound", 404)
        self.assertEqual(self.requests(), [("GET", 404)])
        made = self.azure_session.make_folder("nothing-here", b"a/")
        self.assertEqual((made.code, made.log.text), (19, ""))

    def test_the_library_and_the_vendors_client_see_each_others_folders(self):
        self.make(b"ours/\xc3\xa9 +/")
        self.assertEqual(
            self.vendors_client("list", self.container),
            [{"name": "ours/é +/", "size": 0, "type": "BlockBlob"}],
        )
        for blob in ("folder of theirs/", "theirs/x"):
            self.vendors_client("put", self.container, blob)
        self.assert_folders(b"", [b"folder of theirs/", b"ours/", b"theirs/"])


if __name__ == "__main__":
    unittest.main()

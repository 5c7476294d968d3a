"""Behaviour specific to OneDrive."""

import unittest
import urllib.parse

from support import sandbox
from support.drive_case import API, DriveTest
from support.drive_sessions import ONE_DRIVE, Folder

LIST_FAILED = "Failed to list directories. "
GRAPH = "graph.microsoft.com"


class OneDriveTest(DriveTest):
    drive = ONE_DRIVE

    def setUp(self):
        super().setUp()
        self.account = self.linked()
        self.start()

    def start(self):
        self.root = self.root_of(self.account)
        sandbox.control("DELETE", "log")

    def seed_all_kinds(self):
        return self.seed(items=[
            {"name": "Photos"},
            {"name": "Team", "kind": "remote", "items": [{"name": "Minutes"}]},
            {"name": "a.txt", "kind": "file", "size": 1},
            {"name": "Notebook", "kind": "package"},
        ])  # fmt: skip


class Listings(OneDriveTest):
    def test_the_root_is_named_by_a_slash(self):
        self.assertEqual(self.root.name, b"/")
        self.assertNotEqual(self.root.id, b"root")

    def test_more_than_two_pages(self):
        self.seed(folders=1100)
        names = [b"folder-%05d" % number for number in range(1100)]
        self.assert_names(self.account, self.root, names)
        entries = sandbox.requests()
        paths = [entry["path"].removeprefix("/v1.0/me/drive") for entry in entries]
        children = f"/items/{urllib.parse.quote(self.root.id)}/children"
        self.assertEqual(paths, ["", *[children] * 3])
        self.assertEqual(["$skiptoken" in entry["queryNames"] for entry in entries],
                         [False, False, True, True])  # fmt: skip
        self.assertEqual(len({entry["connection"] for entry in entries}), 1)

    def test_on_a_personal_drive_shared_folders_are_listed(self):
        ids = self.seed_all_kinds()
        listed = self.account.folders(self.root)
        self.assert_done(listed)
        # By the id of the entry in the user's own drive.
        own = [Folder(ids["Photos"], b"Photos"), Folder(ids["Team"], b"Team")]
        self.assertEqual(listed.value, own)

    def test_shared_folders_are_opened_and_extended_in_their_own_drive(self):
        ids = self.seed_all_kinds()
        team = Folder(ids["Team"], b"Team")
        self.assert_names(self.account, self.root, [b"Photos", b"Team"])
        sandbox.control("DELETE", "log")
        self.assert_names(self.account, team, [b"Minutes"])
        made = self.account.make_folder(team, b"2024")
        self.assert_done(made)
        self.assert_done(self.account.make_folder(made.value, b"January"))
        self.assert_names(self.account, made.value, [b"January"])
        # Each listing is a request for the drive and one for the page.
        self.assertEqual([call[1] for call in self.calls()], [200, 200, 201, 201, 200, 200])
        own = [entry["path"] for entry in sandbox.requests() if "/me/drive/" in entry["path"]]
        self.assertEqual(own, [])

    def test_shared_folders_that_were_not_listed_are_found(self):
        ids = self.seed_all_kinds()
        team = Folder(ids["Team"], b"Team")
        self.assert_done(self.account.make_folder(team, b"2024"))
        self.assertEqual([call[1] for call in self.calls()], [404, 200, 201])
        other = self.linked()
        self.assert_names(other, team, [b"2024", b"Minutes"])
        self.assertEqual([call[1] for call in self.calls()], [200, 404, 200, 200])

    def test_on_a_business_drive_they_are_not(self):
        self.configure(driveType="business")
        self.start()
        self.seed_all_kinds()
        self.assert_names(self.account, self.root, [b"Photos"])

    def test_however_the_service_handles_the_filter(self):
        for drive_type, names in (("personal", [b"Photos", b"Team"]), ("business", [b"Photos"])):
            self.configure(driveType=drive_type, pageSizes=[1])
            self.start()
            self.seed_all_kinds()
            # One request for the drive, then pages of one entry; a refused filter adds one request.
            requests = {"applied": 1 + len(names), "ignored": 5, 400: 6, 501: 6}
            for filtering, count in requests.items():
                with self.subTest(drive_type=drive_type, filter=filtering):
                    self.configure(filter=filtering)
                    sandbox.control("DELETE", "log")
                    self.assert_names(self.account, self.root, names)
                    self.assertEqual(len(self.calls()), count)


class ForeignPages(OneDriveTest):
    def test_no_token_is_sent_there(self):
        self.seed(folders=3)
        self.configure(pageSizes=[1])
        # An unknown host, that of another service, and one with the right name as a prefix.
        for host in ("store.example", "www.googleapis.com", f"{GRAPH}.store.example"):
            with self.subTest(host=host):
                self.configure(nextLinkHost=host)
                sandbox.control("DELETE", "log")
                failed = self.account.folders(self.root)
                self.assert_call_failed(failed, LIST_FAILED + "The page token leads away")
                self.assertEqual(self.calls(), [(API, 200)] * 2)
                reached = sandbox.requests() + sandbox.tunnels()
                self.assertLessEqual({entry["host"] for entry in reached}, {GRAPH})


class Failures(OneDriveTest):
    def test_throttled_calls_are_not_retried(self):
        self.fault(kind="status", status=429, headers={"Retry-After": "1"})
        failed = self.account.make_folder(self.root, b"Photos")
        self.assert_call_failed(failed, "Failed to create directory. ")
        self.assertEqual(self.calls(), [(API, 429)])

    def test_a_failure_on_the_third_page(self):
        self.seed(folders=5)
        self.configure(pageSizes=[1])
        self.fault(kind="status", status=500, after=3)
        self.assert_call_failed(self.account.folders(self.root), LIST_FAILED)
        self.assertEqual(self.calls(), [(API, 200)] * 3 + [(API, 500)])

    def test_a_failure_for_the_drive_ends_the_listing(self):
        self.fault(kind="status", status=404)
        failed = self.account.folders(self.root)
        self.assert_call_failed(failed, "Failed to get Drive Metadata. error: HTTP404 Not Found")
        self.assertEqual(self.calls(), [(API, 404)])

    def test_an_existing_name(self):
        self.seed(items=[{"name": "Photos"}])
        failed = self.account.make_folder(self.root, b"photos")
        self.assert_call_failed(failed, "Failed to create directory. ")
        self.assertEqual(self.calls(), [(API, 409)])


if __name__ == "__main__":
    unittest.main()

"""Behaviour specific to Google Drive."""

import json
import unittest

from support import sandbox
from support.drive_case import API, DriveTest
from support.drive_sessions import GOOGLE_DRIVE, Folder

LIST_FAILED = "Failed to list directories. "


def refusal(status, reason, message="No."):
    """A fault with an error response in the service's format."""
    error = {"code": status, "message": message, "errors": [{"reason": reason}]}
    headers = {"Content-Type": "application/json; charset=UTF-8"}
    return {
        "kind": "status", "status": status, "headers": headers, "body": json.dumps({"error": error})
    }  # fmt: skip


class GoogleDriveTest(DriveTest):
    drive = GOOGLE_DRIVE

    def setUp(self):
        super().setUp()
        self.account = self.linked()
        self.root = self.root_of(self.account)
        sandbox.control("DELETE", "log")


class Listings(GoogleDriveTest):
    def test_50000_folders(self):
        ids = self.seed(items=[{"name": "Photos"}])
        photos = Folder(ids["Photos"], b"Photos")
        self.control("seed", account=self.holder, parent=photos.id.decode(), folders=50_000)
        names = [b"folder-%05d" % number for number in range(50_000)]
        self.assert_names(self.account, photos, names)
        self.assertEqual(self.calls(), [(API, 200)] * 100)
        self.assertEqual(len({entry["connection"] for entry in sandbox.requests()}), 1)

    def test_a_failure_on_page_60(self):
        self.seed(folders=100)
        self.configure(pageSizes=[1])
        self.fault(after=59, **refusal(404, "notFound", "File not found: 60."))
        failed = self.account.folders(self.root)
        self.assert_call_failed(failed, LIST_FAILED + "File not found: 60")
        self.assertEqual(self.calls(), [(API, 200)] * 59 + [(API, 404)])

    def test_the_root_has_its_own_id(self):
        self.configure(rootName="Mein Laufwerk")
        root = self.root_of(self.account)
        self.assertEqual(root.name, "Mein Laufwerk".encode())
        self.assertNotEqual(root.id, b"root")
        self.assertEqual([entry["path"] for entry in sandbox.requests()], ["/drive/v3/files/root"])

    def test_files_and_trashed_folders_are_not_listed(self):
        self.seed(items=[
            {"name": "Photos"},
            {"name": "a.txt", "kind": "file", "size": 1},
            {"name": "old", "trashed": True},
        ])  # fmt: skip
        self.assert_names(self.account, self.root, [b"Photos"])

    def test_one_name_twice(self):
        made = [self.account.make_folder(self.root, b"Photos").value for _ in range(2)]
        self.assertNotEqual(made[0].id, made[1].id)
        listed = self.account.folders(self.root)
        self.assert_done(listed)
        self.assertEqual(sorted(listed.value), sorted(made))

    def test_a_parent_id_is_not_escaped_in_the_query(self):
        """So a quotation mark in it makes a query that the service refuses."""
        self.assert_call_failed(self.account.folders(Folder(b"it's", b"")), LIST_FAILED)
        self.assertEqual(self.calls(), [(API, 400)])


class Failures(GoogleDriveTest):
    def test_throttled_calls_are_retried(self):
        self.fault(**refusal(429, "rateLimitExceeded"))
        self.assert_names(self.account, self.root, [])
        self.assertEqual(self.calls(), [(API, 429), (API, 200)])

        sandbox.control("DELETE", "log")
        self.fault(**refusal(403, "userRateLimitExceeded"))
        self.assert_done(self.account.make_folder(self.root, b"Photos"))
        self.assertEqual(self.calls(), [(API, 403), (API, 200)])
        self.assert_names(self.account, self.root, [b"Photos"])

    def test_other_refusals_are_not_retried(self):
        self.fault(**refusal(403, "insufficientFilePermissions", "Not yours."))
        failed = self.account.make_folder(self.root, b"Photos")
        self.assert_call_failed(failed, "Failed to create directory. Not yours")
        self.assertEqual(self.calls(), [(API, 403)])

    def test_a_creation_is_never_done_twice(self):
        """The connection breaks after the service has made the folder."""
        self.fault(kind="resetBody", method="POST")
        failed = self.account.make_folder(self.root, b"Photos")
        self.assert_call_failed(failed, "Failed to create directory. ")
        self.assert_names(self.account, self.root, [b"Photos"])


if __name__ == "__main__":
    unittest.main()

"""Behaviour specific to Dropbox."""

import unittest

from support import sandbox
from support.drive_case import API, DriveTest
from support.drive_sessions import DROPBOX, Folder

LIST_FAILED = "Failed to list directories. "
LIST, CONTINUE, CREATE = "list_folder", "list_folder/continue", "create_folder_v2"
ROOT = Folder(b"/", b"")


class DropboxTest(DriveTest):
    drive = DROPBOX

    def setUp(self):
        super().setUp()
        self.account = self.session()
        self.token = self.link(self.account)[0]

    def assert_calls(self, *functions):
        entries = sandbox.requests()
        paths = [entry["path"].removeprefix("/2/files/") for entry in entries]
        self.assertEqual(paths, list(functions))


class Folders(DropboxTest):
    def test_5000_folders_are_listed_completely(self):
        self.seed(items=[{"name": "Many", "items": []}])
        self.control("seed", account=self.holder, parent="/Many", folders=5000)
        names = [b"folder-%05d" % number for number in range(5000)]
        self.assert_names(self.account, Folder(b"/Many", b""), names)
        self.assert_calls(LIST, CONTINUE, CONTINUE)
        self.assertEqual(len({entry["connection"] for entry in sandbox.requests()}), 1)

    def test_a_folder_under_the_root_record(self):
        made = self.account.make_folder(ROOT, b"Photos")
        self.assert_done(made)
        self.assertEqual(made.value, Folder(b"/Photos", b"Photos"))
        self.assert_calls(CREATE)
        below = self.account.make_folder(made.value, b"2019")
        self.assertEqual(below.value, Folder(b"/Photos/2019", b"2019"))
        listed = self.account.folders(ROOT)
        self.assert_done(listed)
        self.assertEqual(listed.value, [made.value])

    def test_the_root_has_two_ids(self):
        self.seed(items=[{"name": "Photos"}, {"name": "a.txt", "kind": "file", "size": 1}])
        for parent in (ROOT, Folder(b"", b"")):
            with self.subTest(parent=parent):
                self.assert_names(self.account, parent, [b"Photos"])
        made = self.account.make_folder(Folder(b"", b""), b"Letters")
        self.assertEqual(made.value, Folder(b"/Letters", b"Letters"))

    def test_an_existing_name(self):
        self.seed(items=[{"name": "Photos"}])
        failed = self.account.make_folder(ROOT, b"photos")
        self.assert_call_failed(failed, "Failed to create directory. path/conflict/folder")


class Pages(DropboxTest):
    def setUp(self):
        super().setUp()
        self.seed(folders=5)
        self.names = [b"folder-%05d" % number for number in range(5)]
        self.configure(pageSizes=[2])

    def test_a_listing_that_was_reset_starts_over(self):
        self.configure(resetOnContinuation=2)
        self.assert_names(self.account, ROOT, self.names)
        self.assert_calls(LIST, CONTINUE, CONTINUE, LIST, CONTINUE, CONTINUE)

    def test_a_failure_on_the_third_page(self):
        self.fault(kind="status", status=503, after=2)
        self.assert_call_failed(self.account.folders(ROOT), LIST_FAILED)
        self.assertEqual(self.calls(), [(API, 200), (API, 200), (API, 503)])


class StoredToken(DropboxTest):
    def test_without_a_refresh_token_it_ends_with_the_access_token(self):
        restored = self.session()
        restored.set_token(self.token)
        self.assert_names(restored, ROOT, [])
        self.control("expire")
        sandbox.control("DELETE", "log")
        why = "Failed to refresh OAuth2 credential. There is no refresh token"
        self.assert_call_failed(restored.folders(ROOT), *[why] * 3, LIST_FAILED + "expired")
        self.assertEqual(self.calls(), [(API, 401)] * 4)
        self.assertEqual(self.refreshes(), 0)


if __name__ == "__main__":
    unittest.main()

"""Behaviour common to all four drives, under their production host names."""

import unittest

from support import log, sandbox
from support.drive_case import API, PORT_WITHOUT_PROXY, DriveTest, at_once, for_each_drive, listings
from support.drive_sessions import AMAZON_DRIVE, DRIVES, DROPBOX, GOOGLE_DRIVE, ONE_DRIVE
from support.folders import ODD_NAMES

FAILED = "Failed to list directories. "
# On OneDrive a listing starts with a request for the drive.
METADATA_FAILED = "Failed to get Drive Metadata. error: "
# On Amazon Drive the first request of a session is for the account's endpoint.
ENDPOINT_FAILED = "Failed to get Endpoint. error: "
# Names that are left out for a service, because it refuses or changes them.
REFUSED = {
    GOOGLE_DRIVE: (),
    AMAZON_DRIVE: (),
    ONE_DRIVE: (" leading space", "trailing space ", "  ", "a&b<c>d\"e'f+g%h", "#?"),
    DROPBOX: ("trailing space ", "  "),
}


@for_each_drive
class Folders:
    def setUp(self):
        super().setUp()
        self.account = self.linked()
        self.root = self.root_of(self.account)

    def make(self, parent, name):
        made = self.account.make_folder(parent, name)
        self.assert_done(made)
        self.assertEqual(made.value.name, name)
        return made.value

    def test_levels(self):
        self.assert_names(self.account, self.root, [])
        photos = self.make(self.root, b"Photos")
        letters = self.make(self.root, b"Letters")
        summer = self.make(photos, b"Summer 2020")
        listed = self.account.folders(self.root)
        self.assert_done(listed)
        self.assertEqual(listed.value, [letters, photos])
        self.assertEqual(self.account.folders(photos).value, [summer])
        self.assert_names(self.account, summer, [])

    def test_names_come_back_byte_for_byte(self):
        refused = [name.encode() for name in REFUSED[self.drive]]
        names = [b"a&b'c+d%e#f", *(name for name in ODD_NAMES if name not in refused)]
        self.assertEqual(len(names), 1 + len(ODD_NAMES) - len(refused))
        made = [self.make(self.root, name) for name in names]
        listed = self.account.folders(self.root)
        self.assert_done(listed)
        self.assertEqual(sorted(listed.value), sorted(made))
        for folder in made:
            self.assert_names(self.account, folder, [])
        for name in refused:
            failed = self.account.make_folder(self.root, name)
            self.assert_call_failed(failed, "Failed to create directory. ")

    def test_all_pages_in_order(self):
        self.seed(folders=7, items=[{"name": "a file", "kind": "file", "size": 1}])
        self.configure(pageSizes=[3, 0, 2])
        sandbox.control("DELETE", "log")
        self.assert_names(self.account, self.root, [b"folder-%05d" % n for n in range(7)])
        self.assertGreater(len(self.calls()), 3)
        self.assertEqual(len({entry["connection"] for entry in sandbox.requests()}), 1)

    def test_a_missing_folder(self):
        photos = self.make(self.root, b"Photos")
        nowhere = photos._replace(id=photos.id + b"x")
        listed = self.account.folders(nowhere)
        if self.drive != AMAZON_DRIVE:
            self.assert_call_failed(listed, FAILED)
            return
        # On Amazon Drive a listing is a query, which has an empty result.
        self.assert_done(listed)
        self.assertEqual(listed.value, [])
        made = self.account.make_folder(nowhere, b"2019")
        self.assert_call_failed(made, "Failed to create directory. ")

    def test_an_html_page_as_a_response(self):
        page = {"headers": {"Content-Type": "text/html"}, "body": "<html>Welcome!</html>"}
        self.assert_names(self.account, self.root, [])
        sandbox.control("DELETE", "log")
        self.fault(kind="status", status=200, **page)
        self.assert_call_failed(self.account.folders(self.root), failure_of(self.drive))
        self.assertEqual(self.calls(), [(API, 200)])

    def test_closing_while_a_call_runs(self):
        self.make(self.root, b"Photos")
        sandbox.control("DELETE", "log")
        self.fault(kind="latency", milliseconds=300)

        def close():
            while not sandbox.requests():
                pass
            self.account.close()

        with log.captured() as capture:
            listed, _ = at_once(lambda: self.account.folders_quietly(self.root), close)
        self.assertEqual(capture.log.text, "")
        self.assertEqual((listed[0], [found.name for found in listed[1]]), (0, [b"Photos"]))


class Unavailable(DriveTest):
    def test_a_503_is_retried_if_the_policy_requires_it(self):
        for drive in DRIVES:
            with self.subTest(drive=drive.word):
                session = self.linked(drive)
                root = self.root_of(session)
                self.assert_names(session, root, [])
                sandbox.control("DELETE", "log")
                self.fault(kind="status", status=503)
                listed = session.folders(root)
                if drive in (GOOGLE_DRIVE, AMAZON_DRIVE):
                    self.assert_done(listed)
                    self.assertEqual(self.calls(), [(API, 503), (API, 200)])
                else:
                    self.assert_call_failed(listed, failure_of(drive))
                    self.assertEqual(self.calls(), [(API, 503)])

    def test_an_unreachable_service(self):
        """In parallel, because two of the policies pause for six seconds in total."""
        sessions = [self.session(drive, port=PORT_WITHOUT_PROXY) for drive in DRIVES]
        root = self.session(DROPBOX).root().value
        with log.captured() as capture:
            results = at_once(*listings(sessions, [root] * len(DRIVES)))
        self.assertEqual(results, [(1, None)] * len(DRIVES))
        self.assert_lines(capture.log, [METADATA_FAILED, ENDPOINT_FAILED, FAILED, FAILED], sorted)
        self.assertEqual(sandbox.tunnels(), [])


def failure_of(drive):
    return METADATA_FAILED if drive == ONE_DRIVE else FAILED


if __name__ == "__main__":
    unittest.main()

"""The libraries built with durable tokens for Dropbox."""

import os
import pathlib
import unittest

from support import sandbox
from support.drive_case import API, TOKEN, DriveTest
from support.drive_sessions import DROPBOX, Folder

ROOT = Folder(b"/", b"")


class StoredToken(DriveTest):
    drive = DROPBOX

    def setUp(self):
        super().setUp()
        self.account = self.session()
        self.token = self.link(self.account)[0]

    def test_these_libraries_are_loaded(self):
        with open("/proc/self/maps", encoding="utf-8") as maps:
            paths = {line.split()[-1] for line in maps if "libvemlo" in line}
        layer = pathlib.Path(os.environ["LD_LIBRARY_PATH"]) / "libvemlo_service_client.so.1"
        shipped = pathlib.Path(os.environ["VEMLO_LIBRARY"])
        self.assertEqual(paths, {str(shipped.resolve()), str(layer.resolve())})

    def test_it_outlives_the_access_token(self):
        made = self.account.make_folder(ROOT, b"Photos").value
        for _ in range(2):
            self.control("expire")
            restored = self.session()
            restored.set_token(self.token)
            sandbox.control("DELETE", "log")
            listed = restored.folders(ROOT)
            self.assert_done(listed)
            self.assertEqual(listed.value, [made])
            self.assertEqual(self.calls(), [(API, 401), (TOKEN, 200), (API, 200)])

    def test_a_plain_access_token_still_works(self):
        access_token, bar, refresh_token = self.token.partition("|")
        self.assertTrue(access_token and bar and refresh_token)
        restored = self.session()
        restored.set_token(access_token)
        self.assert_names(restored, ROOT, [])


if __name__ == "__main__":
    unittest.main()

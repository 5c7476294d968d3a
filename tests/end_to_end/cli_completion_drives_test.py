"""Completion of the folders of drives."""

from cli_drives_test import DriveTest, for_each_drive
from support import drives
from support.tool import DONE


class Completing:
    def candidates(self, *words):
        result = self.tool("complete", "--", *words)
        self.assertEqual((result.stderr, result.returncode), ("", DONE))
        return result.stdout.splitlines()

    def seed(self, service, *items):
        return drives.control("seed", service, account=self.holder, items=[*items])["items"]


@for_each_drive
class Folders(Completing):
    def test_folders_below_the_typed_path(self):
        self.link(self.service)
        root = f"{self.service}:/"
        self.assertEqual(self.candidates("ls", root), [])
        photos = {"name": "Photos 1", "items": [{"name": "2019"}]}
        self.seed(self.service, photos, {"name": "Plans"}, {"name": "Letters"})
        found = self.candidates("ls", f"{root}P")
        self.assertCountEqual(found, [f"{root}Photos 1/", f"{root}Plans/"])
        self.assertEqual(self.candidates("ls", f"{root}Photos 1/"), [f"{root}Photos 1/2019/"])
        self.assertEqual(self.candidates("ls", f"{root}Nowhere/"), [])

    def test_an_expired_access_token_is_renewed(self):
        self.link(self.service)
        self.seed(self.service, {"name": "Photos"})
        drives.control("expire", self.service)
        self.assertEqual(self.candidates("ls", f"{self.service}:/"), [f"{self.service}:/Photos/"])


class SingleServices(Completing, DriveTest):
    def test_a_refresh_token_that_was_replaced_is_kept(self):
        """The service accepts the former one no more, so the second call needs the new one."""
        drives.control("rotation", "onedrive", rotation="replaceOnce")
        self.link("onedrive")
        self.seed("onedrive", {"name": "Photos"})
        before = self.accounts()["onedrive"]
        drives.control("expire", "onedrive")
        self.assertEqual(self.candidates("ls", "onedrive:/"), ["onedrive:/Photos/"])
        self.assertNotEqual(self.accounts()["onedrive"]["refreshToken"], before["refreshToken"])
        drives.control("expire", "onedrive")
        self.assertEqual(self.candidates("ls", "onedrive:/"), ["onedrive:/Photos/"])

    def test_names_that_cannot_stand_in_a_path_are_left_out_and_twins_are_named_once(self):
        self.link("google-drive")
        self.seed("google-drive", {"name": "AC/DC"}, {"name": "Photos"}, {"name": "Photos"})
        self.assertEqual(self.candidates("ls", "google-drive:/"), ["google-drive:/Photos/"])

    def test_paths_that_begin_at_an_id(self):
        self.link("google-drive")
        letters, _ = self.seed(
            "google-drive", {"name": "Letters", "items": [{"name": "2019"}]}, {"name": "Photos"}
        )
        self.assertEqual(self.candidates("ls", "--id", letters["id"], "google-drive:/"),
                         ["google-drive:/2019/"])

"""Folders of the drives."""

import unittest

from binding_case import AMAZON_DRIVE, DROPBOX, GOOGLE_DRIVE, for_each_drive, named

# Names that no service refuses or changes.
NAMES = (
    "grüße", "e\u0301t\u00e9", "日本語", "עברית", "🗂️", "a&b'c+d%e#f", "%41", "a+b", "a=b;c,d", "..a"
)  # fmt: skip


@for_each_drive
class Folders:
    def folders(self, parent):
        """The names and ids in a folder, which all drivers list alike."""
        lines = self.assert_same("folders", "d", parent)
        self.assertEqual(lines[-1], ["cut", "0"])
        return named(lines, "folder")

    def make(self, parent, name):
        (folder,) = named(self.driver.do("create", "d", parent, name), "folder")
        self.assertEqual(folder[0], name)
        return folder

    def test_an_empty_folder(self):
        self.assertEqual(self.folders(self.new_folder()), [])

    def test_several_pages(self):
        folder = self.new_folder(folders=250)
        self.configure(pageSizes=[100])
        names = [name for name, _ in self.folders(folder)]
        self.assertEqual(names, [f"folder-{number:05}" for number in range(250)])

    def test_folders_are_made_and_found_again(self):
        parent = self.new_folder()
        photos = self.make(parent, "Photos")
        summer = self.make(photos[1], "Summer 2020")
        self.assertEqual(self.folders(parent), [photos])
        self.assertEqual(self.folders(photos[1]), [summer])
        self.assertEqual(self.folders(summer[1]), [])

    def test_names_in_every_script(self):
        parent = self.new_folder()
        made = [self.make(parent, name) for name in NAMES]
        self.assertEqual(sorted(self.folders(parent)), sorted(made))
        for name, folder in made:
            self.assertEqual(self.folders(folder), [], name)

    def test_one_name_twice(self):
        parent = self.new_folder()
        first = self.make(parent, "Photos")
        if self.drive == GOOGLE_DRIVE:
            second = self.make(parent, "Photos")
            self.assertEqual(sorted(self.folders(parent)), sorted([first, second]))
        else:
            self.assert_fails("exists already", "create", "d", parent, "Photos")
            self.assertEqual(self.folders(parent), [first])

    def test_a_missing_folder(self):
        missing = self.new_folder() + "x"
        if self.drive != AMAZON_DRIVE:  # where a listing is a query, which finds nothing
            self.assert_fails("not found", "folders", "d", missing)
        if self.drive != DROPBOX:  # which makes the missing folder, too
            self.assert_fails("not found", "create", "d", missing, "Photos")


if __name__ == "__main__":
    unittest.main()

"""Files that the command-line tool refuses to take accounts from."""

import os
import socket
import unittest

from support.account_file import AccountFileTest
from support.tool import LOCAL_FAILURE

COMMANDS = (
    ("accounts",), ("login", "dropbox", "--no-browser"), ("logout", "dropbox"),
    ("ls", "dropbox:/"), ("mkdir", "dropbox:/Photos"), ("whoami", "amazon-drive"),
)  # fmt: skip


class RefusedFile(AccountFileTest):
    def assert_refused(self, message):
        """Each command fails before it asks for anything, and leaves the file as it is."""
        before = os.lstat(self.file)
        for command in COMMANDS:
            with self.subTest(command=command):
                self.assert_fails(self.tool(*command), LOCAL_FAILURE, message)
                self.assertEqual(os.lstat(self.file).st_ino, before.st_ino)
                self.assertEqual(os.lstat(self.file).st_mode, before.st_mode)

    def test_others_can_read_it_until_it_is_fixed(self):
        self.keep_accounts("onedrive")
        command = f"`chmod 600 '{self.file}'`"
        for mode in (0o644, 0o640, 0o604, 0o620):
            with self.subTest(mode=mode):
                self.file.chmod(mode)
                self.assert_refused(f"(mode {mode:o}), and so to the drives; run {command}")
        self.file.chmod(0o600)
        self.assertIn("onedrive", self.tool("accounts").stdout)

    def test_a_folder(self):
        self.file.mkdir(parents=True)
        self.assert_refused(f"'{self.file}' is a folder; move it away")

    def test_a_named_pipe_is_not_waited_for(self):
        self.folder.mkdir()
        os.mkfifo(self.file, 0o600)
        self.assert_refused(f"'{self.file}' is a named pipe; move it away")

    def test_a_socket(self):
        self.folder.mkdir()
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(str(self.file))
            self.assert_refused(f"cannot read '{self.file}'")

    def test_a_symbolic_link_wherever_it_leads(self):
        self.keep_accounts("dropbox")
        target = self.home / "target"
        self.file.rename(target)
        for end in (target, "/dev/zero", "/dev/tty", "nowhere", self.file):
            with self.subTest(end=end):
                self.file.unlink(missing_ok=True)
                self.file.symlink_to(end)
                self.assert_refused(f"'{self.file}' is a symbolic link; move it away")

    def test_a_file_without_end(self):
        self.keep("")
        os.truncate(self.file, 1 << 40)
        self.assert_refused(f"'{self.file}' is too large; move it away")


class Lock(AccountFileTest):
    def test_a_symbolic_link_is_not_followed(self):
        self.keep_accounts("dropbox")
        target = self.home / "target"
        (self.folder / "accounts.lock").symlink_to(target)
        self.assert_fails(self.tool("logout", "dropbox"), LOCAL_FAILURE, "cannot lock")
        self.assertFalse(target.exists())
        self.assertIn("dropbox", self.accounts())


if __name__ == "__main__":
    unittest.main()

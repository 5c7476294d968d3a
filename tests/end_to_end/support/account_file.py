"""The command-line tool's file of linked accounts, in a temporary folder for each test."""

import json
import os
import pathlib
import stat
import tempfile

from .tool import ToolTest, run


WAITS = "vemlo: waiting for another vemlo, which changes the accounts\n"


class AccountFileTest(ToolTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.folder = self.home / "vemlo"
        self.file = self.folder / "accounts.json"
        self.environment = {"XDG_CONFIG_HOME": str(self.home)}

    def tool(self, *arguments, environment=None, **options):
        return run(*arguments, environment={**self.environment, **(environment or {})}, **options)

    def accounts(self):
        return json.loads(self.file.read_text(encoding="utf-8"))

    def keep(self, text):
        """Writes any text to the file, which only its owner may access."""
        self.folder.mkdir(exist_ok=True)
        self.file.write_text(text, encoding="utf-8")
        self.file.chmod(0o600)

    def keep_accounts(self, *services):
        """Writes accounts of these services with empty tokens; returns the content as an object."""
        accounts = {
            service: {"linked": f"2026-0{month}-01T00:00:00Z", "accessToken": "", "refreshToken": ""}
            for month, service in enumerate(services, 1)
        }
        self.keep(json.dumps(accounts))
        return accounts

    def assert_private(self):
        """Only the owner may access the file and its folder, which has no temporary files."""
        for path, mode in ((self.folder, 0o700), (self.file, 0o600)):
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), mode)
        self.assertEqual(sorted(os.listdir(self.folder)), ["accounts.json", "accounts.lock"])

    def wait_for_lock(self, process):
        """Returns when the process, whose standard error is a pipe, says that it waits."""
        self.assertEqual(process.stderr.readline(), WAITS)

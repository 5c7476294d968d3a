"""The library, the vendors' own clients and rclone: each lists the folders that the others made."""

import json
import os
import pathlib
import subprocess
import unittest

from support import drives, sandbox
from support.drive_case import DriveTest, for_each_drive
from support.drive_sessions import AMAZON_DRIVE, DROPBOX

CLIENTS = pathlib.Path(__file__).with_name("drive_clients.mjs")


@for_each_drive
class Clients:
    def listed_by_others(self):
        """The folders that the other clients list after each has made one."""
        internet = sandbox.state()["internet"]
        environment = {
            **os.environ,
            "HTTPS_PROXY": f"http://{internet['proxyHost']}:{internet['proxyPort']}",
            "NODE_EXTRA_CA_CERTS": internet["caFile"],
        }
        result = subprocess.run(
            ["node", CLIENTS, drives.NAMES[self.drive.word], self.holder],
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, encoding="utf-8",
            check=True, timeout=90,
        )  # fmt: skip
        return json.loads(result.stdout)

    def test_each_lists_the_folders_of_the_others(self):
        session = self.linked()
        root = self.root_of(session)
        ours = "ours, é + 100%"
        self.assert_done(session.make_folder(root, ours.encode()))

        found = self.listed_by_others()
        expected = {AMAZON_DRIVE: ["rclone"], DROPBOX: ["python", "rclone", "vendor"]}
        names = expected.get(self.drive, ["rclone", "vendor"])
        self.assertEqual(sorted(found), names)
        everything = [*(f"by {name}" for name in names), ours]
        for client, folders in found.items():
            self.assertEqual(sorted(folders), everything, client)
        self.assert_names(session, root, [name.encode() for name in everything])


if __name__ == "__main__":
    unittest.main()

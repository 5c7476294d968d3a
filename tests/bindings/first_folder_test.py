"""The shortest host in each language: the four programs do and print the same.

VEMLO_PROGRAMS is the folder of those that are compiled.
"""

import os
import pathlib
import re
import subprocess
import unittest
import uuid

from support import drives, sandbox

ROOT = pathlib.Path(__file__).parents[2]
PROGRAMS = pathlib.Path(os.environ["VEMLO_PROGRAMS"])
COMMANDS = {
    "c": [PROGRAMS / "first_folder_c"],
    "cpp": [PROGRAMS / "first_folder_cpp"],
    "python": ["/usr/bin/python3", "-B", ROOT / "examples/python/first_folder.py"],
    "go": [PROGRAMS / "first_folder_go"],
}


class FirstFolder(unittest.TestCase):
    def setUp(self):
        sandbox.reset_internet()
        self.holder = f"{uuid.uuid4().hex[:12]}@example.test"
        seeded = drives.control("seed", "google-drive", account=self.holder,
                                items=[{"name": "Grüße"}, {"name": "Photos"}])  # fmt: skip
        self.folders = [f"{item['name']} ({item['id']})" for item in seeded["items"]]

    def run_program(self, language, code=None):
        """Links the account, with `code` if it is given; returns the exit code and the lines."""
        internet = sandbox.state()["internet"]
        environment = {**os.environ, "SSL_CERT_FILE": internet["caFile"],
                       "PYTHONPATH": str(ROOT / "bindings/python")}  # fmt: skip
        command = [*COMMANDS[language], internet["proxyHost"], str(internet["proxyPort"])]
        with subprocess.Popen(command, env=environment, encoding="utf-8", stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as program:
            url = program.stdout.readline().strip()
            consent = drives.query_of(drives.consent(url, self.holder))
            output, _ = program.communicate((code or consent["code"]) + "\n", timeout=60)
        return program.returncode, output.splitlines()

    def test_an_account_is_linked_and_a_folder_made(self):
        for language in COMMANDS:
            with self.subTest(language=language):
                code, lines = self.run_program(language)
                self.assertEqual((code, lines[:-1]), (0, self.folders))
                made = re.fullmatch(r"Made (Transfers \(\S+\))", lines[-1])
                self.assertIsNotNone(made, lines)
                self.folders.append(made[1])

    def test_a_failure_is_described(self):
        description = "exchangeAuthorizationCode failed (link again): invalid_grant"
        for language in COMMANDS:
            with self.subTest(language=language):
                code, lines = self.run_program(language, "wrong")
                self.assertEqual((code, len(lines)), (1, 1), lines)
                self.assertTrue(lines[0].startswith(description), lines)


if __name__ == "__main__":
    unittest.main()

"""The types of the package are complete, and programs that use it are checked against them."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[3]
PACKAGE = ROOT / "bindings/python"
HOST = """
import asyncio
import vemlo
with vemlo.Library(), vemlo.Drive(vemlo.Service.DROPBOX) as drive:
    for folder in asyncio.run(vemlo.aio.call(drive.folders, drive.root(), timeout=5)):
        print(folder.name.upper())
"""


class Types(unittest.TestCase):
    def mypy(self, *arguments, folder=ROOT):
        """What mypy reports, and whether that is nothing."""
        cache = self.enterContext(tempfile.TemporaryDirectory())
        result = subprocess.run(
            [sys.executable, "-m", "mypy", "--cache-dir", cache, *arguments], cwd=folder,
            env={**os.environ, "MYPYPATH": str(PACKAGE)}, text=True, check=False,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        )  # fmt: skip
        return result.stdout, result.returncode == 0

    def host(self, text):
        path = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "host.py"
        path.write_text(text, encoding="utf-8")
        return str(path)

    def test_the_package_is_strict(self):
        output, passed = self.mypy(folder=PACKAGE)
        self.assertTrue(passed, output)
        self.assertRegex(output, r"no issues found in 1\d source files")

    def test_the_programs_that_use_it(self):
        for program in ("examples/python/link_account.py", "tests/bindings/drivers/driver.py"):
            with self.subTest(program=program):
                output, passed = self.mypy("--check-untyped-defs", str(ROOT / program))
                self.assertTrue(passed, output)

    def test_wrong_uses_are_found(self):
        self.assertTrue(self.mypy("--strict", self.host(HOST))[1])
        for right, wrong in (
            ("timeout=5", "timeout='5'"), (".upper()", ".upper"), ("folder.name", "folder.title"),
            ("drive.root()", "None"), ("Service.DROPBOX", "Kind.WAIT"),
        ):  # fmt: skip
            with self.subTest(wrong=wrong):
                text = HOST.replace(right, wrong).replace("print(", "text: str = (")
                output, passed = self.mypy("--strict", self.host(text))
                self.assertFalse(passed, output)


if __name__ == "__main__":
    unittest.main()

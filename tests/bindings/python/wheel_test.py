"""The wheel: made without a network, for every version of Python, and usable when installed."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

from cloud import Cloud, s3_buckets

ROOT = pathlib.Path(__file__).parents[3]
LIST = """
import sys, vemlo
print(vemlo.__file__)
with vemlo.Library(), vemlo.S3(sys.argv[1], "", "key", "secret") as s3:
    print(*s3.buckets())
"""


def run(*command, **variables):
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    result = subprocess.run([*map(str, command)], capture_output=True, text=True, check=False,
                            env={**environment, **variables})  # fmt: skip
    return result.stdout + result.stderr, result.returncode


class Wheel(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        # In a copy, because the build writes into the source tree.
        sources = shutil.copytree(ROOT / "bindings/python", cls.folder / "python")
        output, code = run(
            sys.executable, "-m", "pip", "wheel", "--no-build-isolation", "--no-deps", "--no-index",
            "--quiet", "--wheel-dir", cls.folder, sources,
        )  # fmt: skip
        if code != 0:
            raise AssertionError(output)
        (cls.wheel,) = cls.folder.glob("*.whl")

    def test_its_name_has_the_version_of_the_library_and_no_platform(self):
        project = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
        version = re.search(r"project\(libvemlo VERSION ([\d.]+)", project)[1]
        self.assertEqual(self.wheel.name, f"vemlo-{version}-py3-none-any.whl")

    def test_it_has_the_modules_and_nothing_compiled(self):
        names = {name for name in zipfile.ZipFile(self.wheel).namelist() if "dist-info" not in name}
        package = ROOT / "bindings/python/vemlo"
        expected = {f"vemlo/{path.name}" for path in package.iterdir() if path.is_file()}
        self.assertEqual(names, expected)
        self.assertIn("vemlo/py.typed", names)
        self.assertEqual({pathlib.PurePath(name).suffix for name in names}, {".py", ".typed"})

    def test_an_installed_package_lists_buckets(self):
        environment = self.folder / "environment"
        for command in (
            (sys.executable, "-m", "venv", "--without-pip", environment),
            (sys.executable, "-m", "pip", "--python", environment / "bin/python", "install",
             "--no-index", "--quiet", self.wheel),
        ):  # fmt: skip
            output, code = run(*command)
            self.assertEqual(code, 0, output)
        python = environment / "bin/python"
        with Cloud(s3_buckets(["one", "two"])) as cloud:
            output, code = run(python, "-c", LIST, cloud.endpoint)
        self.assertEqual(code, 0, output)
        file, buckets = output.splitlines()
        self.assertTrue(pathlib.Path(file).is_relative_to(environment), file)
        self.assertEqual(buckets, "one two")

        output, code = run(python, "-c", LIST, "", LIBVEMLO="/nowhere/libvemlo.so.1")
        self.assertNotEqual(code, 0)
        self.assertIn("Install the Debian package libvemlo1", output)


if __name__ == "__main__":
    unittest.main()

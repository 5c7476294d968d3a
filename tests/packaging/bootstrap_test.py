"""scripts/bootstrap installs what each purpose takes, and no more.

The programs that it calls are replaced by ones that note their arguments.
"""

import os
import pathlib
import tempfile
import unittest

from installed import ROOT, run

STUBS = {
    "dpkg-query": "exit 1",  # nothing is installed
    "node": "exit 1",
    "id": "echo 1000",
    "sudo": 'echo "sudo $*" >>"$CALLS"',
    "npm": 'echo "npm $*" >>"$CALLS"; mkdir -p sandbox/node_modules',
}
LIBRARIES = {"libpoco-dev", "libgoogle-glog-dev", "libcurl4-openssl-dev", "libssl-dev",
             "libpugixml-dev", "libsimdjson-dev", "libcli11-dev", "nlohmann-json3-dev"}
TOOLS = {"g++", "cmake", "ninja-build", "python3", "dpkg-dev", "file"}


class Bootstrap(unittest.TestCase):
    def calls_for(self, purpose):
        """The commands for a purpose, in a source tree with the script alone."""
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "scripts").mkdir()
        (folder / "sandbox").mkdir()
        (folder / "sandbox/package-lock.json").write_text("{}", encoding="utf-8")
        script = folder / "scripts/bootstrap"
        script.write_bytes((ROOT / "scripts/bootstrap").read_bytes())
        for name, text in STUBS.items():
            stub = folder / name
            stub.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
            stub.chmod(0o755)
        run("bash", script, purpose, env={"PATH": f"{folder}:{os.environ['PATH']}",
                                          "CALLS": str(folder / "calls")})
        return (folder / "calls").read_text(encoding="utf-8").splitlines()

    def packages_for(self, purpose):
        marker = " install --yes --no-install-recommends "
        lists = [call.partition(marker)[2] for call in self.calls_for(purpose) if marker in call]
        self.assertEqual(len(lists), 1)
        return set(lists[0].split())

    def test_building_takes_a_toolchain_and_libraries_alone(self):
        self.assertEqual(self.packages_for("build"), TOOLS | LIBRARIES)
        self.assertFalse(any(call.startswith("npm") for call in self.calls_for("build")))

    def test_each_purpose_includes_the_one_before(self):
        build, demo, test = (self.packages_for(purpose) for purpose in ("build", "demo", "test"))
        self.assertLess(build, demo)
        self.assertLess(demo, test)
        self.assertTrue(any(call.startswith("npm ci") for call in self.calls_for("demo")))


if __name__ == "__main__":
    unittest.main()

"""The API reference is made without warnings, and groups the functions of a service."""

import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
FAMILIES = ("s3_", "azure_ssb_", "amazon_drive_", "google_drive_", "one_drive_", "dropbox_")


class Reference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.result = subprocess.run([ROOT / "scripts/api-reference", folder], capture_output=True,
                                 text=True, check=False)
        text = "".join(path.read_text(encoding="utf-8")
                       for path in pathlib.Path(folder).rglob("*.html"))
        cls.groups = {}
        for group, name in re.findall(r'href="group__(\w+)\.html#\w+">(\w+)<', text):
            cls.groups.setdefault(name, set()).add(group.replace("__", "_"))

    def test_there_are_no_warnings(self):
        self.assertEqual((self.result.stderr, self.result.returncode), ("", 0))

    def test_every_name_is_in_one_group(self):
        for file in ("exported_symbols.txt", "exported_client_symbols.txt"):
            symbols = (ROOT / "tests/unit" / file).read_text(encoding="utf-8")
            for name in re.findall(r"^(\w+)@@", symbols, re.M):
                with self.subTest(name=name):
                    self.assertEqual(len(self.groups.get(name, ())), 1)

    def test_the_functions_of_a_service_are_together(self):
        for family in FAMILIES:
            with self.subTest(family=family):
                groups = {group for name, found in self.groups.items() if name.startswith(family)
                          for group in found}
                self.assertEqual(groups, {family.rstrip("_")})


class KindsOfFailures(unittest.TestCase):
    def test_there_is_advice_on_each(self):
        header = (ROOT / "service_client/include/libvemlo_service_client.h").read_text(
            encoding="utf-8")
        body = re.search(r"typedef enum vemlo_client_kind \{(.*?)\}", header, re.S)[1]
        kinds = re.findall(r"\bVEMLO_CLIENT_(\w+) =", body)
        hosting = (ROOT / "docs/hosting.md").read_text(encoding="utf-8")
        table = hosting.partition("| kind | for the user | the host |")[2].partition("\n\n")[0]
        self.assertEqual(re.findall(r"^\| `(\w+)` \|", table, re.M), kinds[1:])
        self.assertEqual(kinds[0], "NO_FAILURE")


if __name__ == "__main__":
    unittest.main()

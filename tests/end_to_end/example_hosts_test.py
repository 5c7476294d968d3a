"""The example hosts, as far as no service is needed.

VEMLO_HOSTS is the folder of the programs in C.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from support import output

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"
PYTHON_HOST = [sys.executable, "-B", EXAMPLES / "python" / "link_account.py", "google-drive"]
# A port that no process listens on.
NOWHERE = ("127.0.0.1", "1")
REDIRECT = "https://vemlo.example/redirect.php"


class PastedCode(unittest.TestCase):
    def setUp(self):
        c_host = pathlib.Path(os.environ["VEMLO_HOSTS"]) / "link_google_drive"
        self.hosts = {"c": [c_host], "python": PYTHON_HOST}

    def link(self, host, pasted):
        tokens = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "tokens"
        environment = {**os.environ, "LIBVEMLO": os.environ["VEMLO_LIBRARY"]}
        result = subprocess.run(
            [*self.hosts[host], tokens, *NOWHERE], input=pasted + "\n", env=environment,
            capture_output=True, encoding="utf-8", timeout=60, check=False,
        )  # fmt: skip
        output.keep(result.stdout + result.stderr)
        self.assertEqual(result.returncode, 1)
        return result

    def test_it_is_found_and_decoded_once(self):
        cases = {
            "4/0Ab_c-d": "4/0Ab_c-d",
            "a+b": "a+b",
            "4%2F0Ab%2d1": "4/0Ab-1",
            "a%2526b": "a%26b",
            "%zz%4": "%zz%4",
            REDIRECT + "?code=4%2F0Ab&scope=email%20x": "4/0Ab",
            REDIRECT + "?state=&code=4/0Ab#_=_": "4/0Ab",
        }
        for host in self.hosts:
            for pasted, code in cases.items():
                with self.subTest(host=host, pasted=pasted):
                    # The log line of a failed exchange contains the code that was sent.
                    log = self.link(host, pasted).stderr
                    self.assertEqual(re.search(r"authorizationCode = (.*?), ", log)[1], code)

    def test_an_address_without_a_code_is_reported(self):
        for host in self.hosts:
            with self.subTest(host=host):
                result = self.link(host, REDIRECT + "?error=access_denied&barcode=1")
                shown = result.stdout + result.stderr
                self.assertIn("There is no code in that address.", shown)
                self.assertNotIn("authorizationCode", shown)


if __name__ == "__main__":
    unittest.main()

"""The example hosts, as far as no service is needed.

VEMLO_HOSTS is the folder of the programs in C and C++.
"""

import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

from support import drives, output

ROOT = pathlib.Path(__file__).parents[2]
PYTHON_HOST = [sys.executable, "-B", ROOT / "examples/python/link_account.py", "google-drive"]
# A port that no process listens on.
NOWHERE = ("127.0.0.1", "1")
REDIRECT = "https://vemlo.example/redirect.php"


class HostsCase(unittest.TestCase):
    def setUp(self):
        programs = pathlib.Path(os.environ["VEMLO_HOSTS"])
        self.hosts = {"c": [programs / "link_google_drive"],
                      "cpp": [programs / "link_account_cpp", "google-drive"],
                      "go": [programs / "link_account_go", "google-drive"],
                      "python": PYTHON_HOST}  # fmt: skip
        self.tokens = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "tokens"

    def start(self, host, proxy):
        environment = {**os.environ, "LIBVEMLO": os.environ["VEMLO_LIBRARY"],
                       "PYTHONPATH": str(ROOT / "bindings/python")}  # fmt: skip
        process = subprocess.Popen(
            [*self.hosts[host], self.tokens, *proxy], env=environment, encoding="utf-8",
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        )  # fmt: skip
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def finish(self, process, text=""):
        """The outputs of a host that fails."""
        shown, log = process.communicate(text, timeout=60)
        output.keep(shown + log)
        self.assertEqual(process.returncode, 1, shown + log)
        return shown, log


class StoredTokens(HostsCase):
    """Hosts with tokens from an earlier run, which need no consent."""

    def setUp(self):
        super().setUp()
        lines = [drives.enciphered(text) for text in ("access token", "refresh token")]
        self.tokens.write_text("".join(line + "\n" for line in lines), encoding="ascii")

    def assert_shown(self, shown, message):
        self.assertIn(message, "".join(shown))
        self.assertNotIn("Open this address", shown[0])

    def test_a_proxy_that_is_not_reached_is_no_reason_for_consent(self):
        # At once, because each pauses between its attempts.
        processes = {host: self.start(host, NOWHERE) for host in self.hosts}
        for host, process in processes.items():
            with self.subTest(host=host):
                shown = self.finish(process)
                self.assert_shown(shown, "Cannot reach the account (offline). "
                                         "Check the network and the proxy.\n")

    def test_ctrl_c_ends_a_call(self):
        for host in self.hosts:
            with self.subTest(host=host), socket.create_server(("127.0.0.1", 0)) as silent:
                silent.settimeout(60)
                process = self.start(host, ("127.0.0.1", str(silent.getsockname()[1])))
                connection, _ = silent.accept()
                with connection:
                    connection.settimeout(60)
                    self.assertTrue(connection.recv(1))  # the call is on its way
                    process.send_signal(signal.SIGINT)
                    shown = self.finish(process)
                self.assert_shown(shown, "Cannot reach the account (cancelled). You ended it.\n")


class PastedCode(HostsCase):
    def link(self, host, pasted):
        return self.finish(self.start(host, NOWHERE), pasted + "\n")

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
                    _, log = self.link(host, pasted)
                    self.assertEqual(re.search(r"authorizationCode = (.*?), ", log)[1], code)

    def test_an_address_without_a_code_is_reported(self):
        for host in self.hosts:
            with self.subTest(host=host):
                shown = "".join(self.link(host, REDIRECT + "?error=access_denied&barcode=1"))
                self.assertIn("There is no code in that address.", shown)
                self.assertNotIn("authorizationCode", shown)


if __name__ == "__main__":
    unittest.main()

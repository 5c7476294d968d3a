"""Runs the command-line tool in tests that need no account on a real server.

VEMLO_CLI is the path of the tool.
"""

import os
import subprocess
import unittest

from . import output

TOOL = os.environ["VEMLO_CLI"]

DONE, SERVICE_FAILED, BAD_USAGE, LOCAL_FAILURE = 0, 1, 2, 3
KEYS = {"VEMLO_S3_ACCESS_KEY": "access", "VEMLO_S3_SECRET_KEY": "confidential"}
AZURE_KEYS = {"VEMLO_AZURE_ACCOUNT": "account", "VEMLO_AZURE_KEY": "Y29uZmlkZW50aWFs"}


def environment_with(environment):
    """The environment of the tests with these variables and no other VEMLO_ variables."""
    clean = {k: v for k, v in os.environ.items() if not k.startswith("VEMLO_")}
    return {**clean, **(environment or {})}


def run(*arguments, environment=None, **options):
    """Runs the tool until it ends."""
    options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, **options}
    if "input" in options:
        del options["stdin"]
    result = subprocess.run(
        [TOOL, *arguments], env=environment_with(environment),
        stderr=subprocess.PIPE, encoding="utf-8", timeout=60, check=False, **options,
    )  # fmt: skip
    output.keep(result.stdout)
    output.keep(result.stderr)
    return result


class ToolTest(unittest.TestCase):
    def assert_fails(self, result, code, message):
        """One line on standard error that contains `message`, and nothing on standard output."""
        self.assertRegex(result.stderr, r"\Avemlo: [^\n]+\n\Z")
        self.assertIn(message, result.stderr)
        self.assertEqual(result.returncode, code)
        self.assertIn(result.stdout, ("", None))

    def assert_prints(self, result, output):
        """Success, `output` on standard output, and nothing on standard error."""
        self.assertEqual((result.stderr, result.returncode), ("", DONE))
        self.assertEqual(result.stdout, output)

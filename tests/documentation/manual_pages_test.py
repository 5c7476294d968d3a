"""The manual pages are well-formed, and that of the tool covers everything in its help texts.

VEMLO_CLI is the tool.
"""

import os
import pathlib
import re
import subprocess
import unittest

PAGES = pathlib.Path(__file__).parents[2] / "docs" / "man"


def output_of(*command):
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "1000", "MANROFFSEQ": ""}
    return subprocess.run(command, env=environment, check=True, capture_output=True, text=True)


def help_texts(*commands):
    """The help texts of a command and of its subcommands, each with its command."""
    text = output_of(os.environ["VEMLO_CLI"], *commands, "--help").stdout
    yield commands, text
    _, _, subcommands = text.partition("\nSubcommands:\n")
    for name in re.findall(r"^  (\w\S*)", subcommands.partition("\nOptions of")[0], re.M):
        yield from help_texts(*commands, name)


class ManualPages(unittest.TestCase):
    def test_both_formatters_accept_them(self):
        for page in ("vemlo.1", "libvemlo.3"):
            with self.subTest(page=page):
                lint = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", PAGES / page],
                                      capture_output=True, text=True, check=False)
                self.assertEqual((lint.stdout + lint.stderr, lint.returncode), ("", 0))
                shown = output_of("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z",
                                  PAGES / page)
                self.assertEqual(shown.stderr, "")

    def test_the_tool_is_described_completely(self):
        page = re.sub(r".\x08", "", output_of("mandoc", "-T", "utf8", PAGES / "vemlo.1").stdout)
        checked = 0
        for commands, text in help_texts():
            words = {*commands, *re.findall(r"--[a-z][a-z-]*", text),
                     *re.findall(r"\bVEMLO_\w+|\bSSL_\w+", text)}
            checked += len(words)
            with self.subTest(command=commands):
                missing = {word for word in words if not re.search(rf"(?<![\w-]){word}\b", page)}
                self.assertEqual(missing, set())
        self.assertGreater(checked, 30)

    def test_the_exit_codes_are_those_of_the_help(self):
        page = (PAGES / "vemlo.1").read_text(encoding="utf-8")
        documented = re.findall(r"^\.It (\d)$", page.partition(".Sh EXIT STATUS")[2], re.M)
        _, _, help_text = next(help_texts())[1].partition("Exit codes:\n")
        self.assertEqual(documented, re.findall(r"^  (\d)  ", help_text, re.M))


if __name__ == "__main__":
    unittest.main()

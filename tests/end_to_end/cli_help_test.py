"""The help texts of the command-line tool."""

import contextlib
import itertools
import os
import pty
import termios
import unittest

from support.tool import DONE, ToolTest, run


def help_on_terminal(level, columns):
    """The help text as it is written to a terminal of that width."""
    screen, terminal = pty.openpty()
    termios.tcsetwinsize(terminal, (24, columns))
    run(*level, "--help", stdout=terminal, environment={"COLUMNS": ""})
    os.close(terminal)
    shown = b""
    # Reading fails when everything has been read.
    with contextlib.suppress(OSError):
        while more := os.read(screen, 65536):
            shown += more
    os.close(screen)
    return shown.decode().replace("\r\n", "\n")


class Help(ToolTest):
    def test_version_is_a_line_of_its_own(self):
        result = run("--version")
        self.assertEqual((result.stderr, result.returncode), ("", DONE))
        self.assertRegex(result.stdout, r"\Avemlo \d+\.\d+\.\d+\n\Z")

    def test_every_level_describes_itself_and_the_exit_codes(self):
        levels = {
            (): "s3",
            ("s3",): "--secret-key-file",
            ("s3", "buckets"): "--json",
            ("s3", "create-bucket"): "--region",
            ("s3", "regions"): "--flavour",
            ("s3", "ls"): "the '/' at its end may be left out",
            ("s3", "mkdir"): "without '/' at its beginning",
            ("azure",): "--key-file",
            ("azure", "containers"): "--json",
            ("azure", "create-container"): "NAME",
            ("azure", "ls"): "the '/' at its end may be left out",
            ("azure", "mkdir"): "without '/' at its beginning",
            ("login",): "hides them from a glance but does not protect them",
            ("login", "--as", "work"): "One of google-drive, onedrive, dropbox, amazon-drive, s3",
            ("completion",): "in ~/.zshrc, after compinit",
            ("logout",): "The account's name",
            ("whoami",): "the space in use",
            ("tree",): "--ascii",
            ("accounts",): "--json",
            ("ls",): "such as google-drive:/Photos/2019",
            ("mkdir",): "in a folder that is there",
        }
        for level, mentioned in levels.items():
            with self.subTest(level=level):
                result = run(*level, "--help", environment={"COLUMNS": "100"})
                self.assertEqual((result.stderr, result.returncode), ("", DONE))
                self.assertIn(mentioned, " ".join(result.stdout.split()))
                exit_codes = r"Exit codes:\n  0  .+\n  1  .+\n  2  .+\n  3  .+\n"
                self.assertRegex(result.stdout, exit_codes)

    def help_of(self, *level):
        shown = run(*level, "--help", environment={"COLUMNS": "100"}).stdout
        return " ".join(shown.split())

    def test_options_may_stand_behind_the_commands_that_it_names(self):
        named = "Options of `vemlo`, `vemlo s3` and `vemlo azure` may also stand behind the command"
        self.assertIn(named, self.help_of())
        for command in (("s3", "buckets", "--endpoint"), ("azure", "containers", "--account")):
            result = run(*command, "a", "--colour")
            self.assertIn("--colour", result.stderr)
            self.assertNotIn("must stand", result.stderr)

    def test_other_lines_of_input_are_named_where_there_are_any(self):
        line = "'-' reads a line of standard input"
        orders = {
            ("login",): ", after the key's, before the code's",
            ("s3",): ", after the key's",
            ("azure",): ", after the key's",
            ("ls",): "", ("tree",): "", ("mkdir",): "", ("whoami",): "",
        }  # fmt: skip
        for level, order in orders.items():
            with self.subTest(level=level):
                self.assertIn(f"{line}{order} (Env:VEMLO_PROXY_PASSWORD", self.help_of(*level))

    def test_json_is_described_by_what_it_replaces(self):
        self.assertIn("a JSON array of objects instead of a table", self.help_of("ls"))
        self.assertIn("the new folder as a JSON array of one object", self.help_of("mkdir"))
        self.assertNotIn("instead of a table", self.help_of("mkdir"))

    def test_the_texts_fit_the_terminal(self):
        levels = ((), ("s3",), ("s3", "create-bucket"), ("azure", "ls"), ("login",), ("mkdir",))
        for level, columns in itertools.product(levels, (40, 79, 200)):
            with self.subTest(level=level, columns=columns):
                shown = run(*level, "--help", environment={"COLUMNS": str(columns)}).stdout
                self.assertEqual(shown, help_on_terminal(level, columns))
                too_long = [
                    line for line in shown.splitlines()
                    if len(line) > min(columns, 100) and " " in line.strip()
                ]  # fmt: skip
                self.assertEqual(too_long, [])

    def test_80_columns_where_nobody_says_how_many_there_are(self):
        for columns in ("", "0", "-1", "many", "99999999999999999999999"):
            with self.subTest(columns=columns):
                shown = run("login", "--help", environment={"COLUMNS": columns}).stdout
                self.assertEqual(max(len(line) for line in shown.splitlines()), 80)


if __name__ == "__main__":
    unittest.main()

"""Ctrl-C in the command-line tool."""

import contextlib
import os
import signal
import subprocess
import termios
import threading
import unittest

from support.account_file import AccountFileTest
from support.fake_s3 import FakeS3Server, buckets, folders
from support.terminal import Terminal, lines_shown
from support.tool import DONE, TOOL, environment_with

CANCELLED = "vemlo: cancelled"


class Interrupt(AccountFileTest):
    def setUp(self):
        super().setUp()
        # Lets the server respond, at the latest when the test ends.
        self.released = threading.Event()
        self.asked = threading.Event()

    def server(self, body):
        def wait():
            self.asked.set()
            self.released.wait(60)

        server = self.enterContext(FakeS3Server(body, wait=wait))
        self.addCleanup(self.released.set)
        return server

    def start(self, server, *arguments, **options):
        variables = {**self.environment, **server.environment}
        terminal = Terminal(*arguments, **options, **variables)
        self.addCleanup(terminal.process.kill)
        return terminal

    def assert_cancelled(self, terminal):
        output, sent = terminal.read_to_end()
        self.assertEqual((output, terminal.process.returncode), ("", -signal.SIGINT))
        self.assertEqual(lines_shown(sent)[-2:], [CANCELLED, ""])
        return lines_shown(sent)[:-2]

    def test_ends_a_call_while_the_service_does_not_respond(self):
        terminal = self.start(self.server(folders()), "s3", "ls", "photos")
        self.assertTrue(self.asked.wait(60))
        terminal.process.send_signal(signal.SIGINT)
        self.assertEqual(self.assert_cancelled(terminal), [])
        self.assertFalse(self.released.is_set())

    def test_erases_the_spinner(self):
        terminal = self.start(self.server(folders()), "s3", "ls", "photos")
        terminal.read_until(r"[|/\\-] \d+ s")
        terminal.process.send_signal(signal.SIGINT)
        self.assertEqual(self.assert_cancelled(terminal), [])

    def test_ends_a_walk_at_once_and_not_at_the_folder_where_it_is(self):
        # The second request is not responded to.
        requests = []

        def respond(_, prefix):
            requests.append(prefix)
            if len(requests) == 2:
                self.asked.set()
                self.released.wait(60)
            return 200, folders(f"{prefix}a/", f"{prefix}b/")

        server = self.enterContext(FakeS3Server(respond))
        self.addCleanup(self.released.set)
        self.tool("login", "s3", "--no-check", environment=server.environment)
        terminal = self.start(server, "ls", "-R", "s3:/photos")
        self.assertTrue(self.asked.wait(60))
        terminal.process.send_signal(signal.SIGINT)
        output, sent = terminal.read_to_end()
        self.assertEqual((output, terminal.process.returncode), ("s3:/photos/a\n", -signal.SIGINT))
        self.assertEqual(lines_shown(sent), [CANCELLED, ""])
        self.assertEqual(requests, ["", "a/"])

    def test_changes_no_account(self):
        before = self.keep_accounts("dropbox")
        terminal = self.start(self.server(buckets()), "login", "s3")
        self.assertTrue(self.asked.wait(60))
        terminal.process.send_signal(signal.SIGINT)
        self.assert_cancelled(terminal)
        self.assertEqual(self.accounts(), before)
        self.assertEqual(os.listdir(self.folder), ["accounts.json"])

    def test_ends_the_wait_for_a_pasted_code(self):
        server = self.server("")
        terminal = self.start(server, "login", "dropbox", "--no-browser", is_input=True)
        terminal.read_until("shows:")
        self.wait_for_read(terminal.process)
        terminal.type("\x03")
        self.assertIn(CANCELLED, terminal.read_until(CANCELLED))
        terminal.read_to_end()
        self.assertEqual(terminal.process.returncode, -signal.SIGINT)
        self.assertFalse(self.file.exists())

    def test_shows_what_is_typed_again_after_the_wait_for_a_secret(self):
        server = self.server("")
        del server.environment["VEMLO_S3_SECRET_KEY"]
        terminal = self.start(server, "login", "s3", is_input=True)
        terminal.read_until("Secret key: ")
        self.wait_for_read(terminal.process)
        hidden = termios.tcgetattr(terminal.screen)[3] & termios.ECHO
        terminal.type("\x03")
        terminal.read_until(CANCELLED)
        shown = termios.tcgetattr(terminal.screen)[3] & termios.ECHO
        terminal.read_to_end()
        self.assertEqual((hidden, bool(shown)), (0, True))
        self.assertEqual(terminal.process.returncode, -signal.SIGINT)

    @staticmethod
    def status_of(process):
        """The lines of /proc/PID/status by their names."""
        with open(f"/proc/{process.pid}/status", encoding="utf-8") as file:
            return dict(line.rstrip("\n").split(":\t", 1) for line in file)

    def wait_for_read(self, process):
        """Returns when the process sleeps, as it does when it waits for input."""
        while not self.status_of(process)["State"].startswith("S"):
            self.assertIsNone(process.poll())

    def wait_until_interrupts(self, process, name, are):
        """Returns when the named set of signals in the status contains SIGINT, or when not."""
        bit = 1 << (signal.SIGINT - 1)
        while bool(int(self.status_of(process)[name], 16) & bit) != are:
            self.assertIsNone(process.poll())

    def start_with_full_pipe(self, *arguments, environment, **options):
        """Starts a process that waits at its first message, and interrupts it there.

        Returns it and the other end of the pipe.
        """
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        os.set_blocking(writing, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(writing, b"x" * 4096)
        os.set_blocking(writing, True)
        process = subprocess.Popen(
            [TOOL, *arguments], stderr=writing, stdout=subprocess.DEVNULL,
            env=environment_with({**self.environment, **environment}), **options,
        )  # fmt: skip
        self.addCleanup(process.kill)
        os.close(writing)
        self.wait_until_interrupts(process, "SigCgt", True)
        process.send_signal(signal.SIGINT)
        self.wait_until_interrupts(process, "ShdPnd", False)
        return process, reading

    def assert_ends_when_the_pipe_is_read(self, process, reading):
        messages = b""
        while more := os.read(reading, 65536):
            messages += more
        self.assertEqual(process.wait(60), -signal.SIGINT)
        self.assertTrue(messages.decode().endswith(f"{CANCELLED}\n"), messages[-200:])

    def test_before_the_wait_for_a_pasted_code_is_not_lost(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        command = ("login", "dropbox", "--no-browser")
        started = self.start_with_full_pipe(*command, environment={}, stdin=reading)
        self.assert_ends_when_the_pipe_is_read(*started)

    def test_before_the_wait_for_a_secret_is_not_lost(self):
        screen, terminal = os.openpty()
        self.addCleanup(os.close, screen)
        self.addCleanup(os.close, terminal)
        started = self.start_with_full_pipe(
            "login", "s3", environment={"VEMLO_S3_ACCESS_KEY": "access"}, stdin=terminal
        )
        self.assert_ends_when_the_pipe_is_read(*started)
        self.assertTrue(termios.tcgetattr(screen)[3] & termios.ECHO)

    def test_other_signals_show_what_is_typed_again(self):
        server = self.server("")
        del server.environment["VEMLO_S3_SECRET_KEY"]
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            with self.subTest(signal=number):
                terminal = self.start(server, "login", "s3", is_input=True)
                terminal.read_until("Secret key: ")
                self.assertFalse(termios.tcgetattr(terminal.screen)[3] & termios.ECHO)
                terminal.process.send_signal(number)
                self.assertEqual(terminal.process.wait(60), -number)
                self.assertTrue(termios.tcgetattr(terminal.screen)[3] & termios.ECHO)
                terminal.read_to_end()

    def test_other_signals_erase_the_spinner(self):
        terminal = self.start(self.server(folders()), "s3", "ls", "photos")
        before = terminal.read_until(r"[|/\\-] \d+ s")
        terminal.process.send_signal(signal.SIGTERM)
        _, sent = terminal.read_to_end()
        self.assertEqual(terminal.process.returncode, -signal.SIGTERM)
        self.assertEqual(lines_shown(before + sent), [""])

    def test_other_signals_are_ignored_where_the_parent_ignores_them(self):
        server = self.server(folders("2019/"))
        previous = signal.signal(signal.SIGHUP, signal.SIG_IGN)
        try:
            terminal = self.start(server, "s3", "ls", "photos")
        finally:
            signal.signal(signal.SIGHUP, previous)
        self.assertTrue(self.asked.wait(60))
        terminal.process.send_signal(signal.SIGHUP)
        self.released.set()
        self.assertEqual(terminal.read_to_end()[0], "NAME\n2019/\n")
        self.assertEqual(terminal.process.returncode, DONE)

    def test_a_second_one_ends_the_process_whatever_it_does(self):
        # The message that follows the first one cannot be written, because the pipe is full.
        environment = self.server(folders()).environment
        process, _ = self.start_with_full_pipe("s3", "ls", "photos", environment=environment)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(60), -signal.SIGINT)

    def test_is_ignored_where_the_parent_ignores_it(self):
        server = self.server(folders("2019/"))
        previous = signal.signal(signal.SIGINT, signal.SIG_IGN)
        try:
            terminal = self.start(server, "s3", "ls", "photos")
        finally:
            signal.signal(signal.SIGINT, previous)
        self.assertTrue(self.asked.wait(60))
        terminal.process.send_signal(signal.SIGINT)
        self.released.set()
        self.assertEqual(terminal.read_to_end(), ("NAME\n2019/\n", ""))
        self.assertEqual(terminal.process.returncode, DONE)


if __name__ == "__main__":
    unittest.main()

"""The command-line tool with a terminal as its standard error."""

import contextlib
import fcntl
import os
import pty
import re
import subprocess
import termios

from .tool import TOOL, environment_with


class Terminal:
    """A process whose standard error is a terminal.

    With `is_input`, so is its standard input, and the terminal controls the process: what is typed
    there can interrupt it.
    """

    def __init__(self, *arguments, is_input=False, **variables):
        self.screen, terminal = pty.openpty()
        variables = {"TERM": "xterm", "NO_COLOR": "", **variables}
        self.process = subprocess.Popen(
            [TOOL, *arguments], env=environment_with(variables),
            stdin=terminal if is_input else subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=terminal, encoding="utf-8", start_new_session=is_input,
            preexec_fn=(lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)) if is_input else None,
        )  # fmt: skip
        os.close(terminal)

    def type(self, text):
        os.write(self.screen, text.encode())

    def read_until(self, pattern):
        """What is sent to the terminal, up to what the pattern matches."""
        received = b""
        while not re.search(pattern, received.decode()):
            received += os.read(self.screen, 65536)
        return received.decode()

    def read_to_end(self, on_more=lambda received: None):
        """Returns standard output and the text sent to the terminal."""
        received = b""
        # Reading fails when the process has closed the terminal.
        with contextlib.suppress(OSError):
            while more := os.read(self.screen, 65536):
                received += more
                on_more(received.decode())
        os.close(self.screen)
        output, _ = self.process.communicate(timeout=60)
        return output, received.decode()


def lines_shown(sent):
    """The lines that a terminal finally shows. A carriage return lets text overwrite a line."""
    shown = []
    for line in re.sub(r"\x1b\[[0-9;]*m", "", sent).split("\n"):
        cells = ""
        for part in line.split("\r"):
            cells = part + cells[len(part) :]
        shown.append(cells.rstrip())
    return shown

"""A driver: a program that carries out commands with the binding of one language.

A line is words between single spaces. Each is percent-encoded; an empty word is a lone "%".
"""

import os
import pathlib
import subprocess
import tempfile
import urllib.parse
from typing import NamedTuple


class Failed(NamedTuple):
    """What a driver reports about a call that failed."""

    kind: str
    service: str
    code: int
    error: int
    status: int
    retry_after: int
    operation: str
    service_code: str
    message: str
    request_id: str


class Renewed(NamedTuple):
    service: str
    used: str
    access: str
    refresh: str
    lifetime: int


def encoded(word):
    text = word if isinstance(word, bytes) else str(word).encode("utf-8", "surrogateescape")
    return urllib.parse.quote_from_bytes(text, safe="-._~") or "%"


def decoded(word):
    return "" if word == "%" else urllib.parse.unquote(word, errors="surrogateescape")


def _record(kind, words):
    """The words as a tuple of `kind`, whose numbers are converted."""
    types = kind.__annotations__.values()
    assert len(words) == len(kind._fields), words
    return kind(*(convert(word) for convert, word in zip(types, words)))


class Driver:
    """A running driver. `renewed` is what it has been told about renewed tokens."""

    def __init__(self, command):
        self._log = tempfile.TemporaryFile("w+", encoding="utf-8", errors="replace")
        environment = {
            name: value for name, value in os.environ.items()
            if not name.startswith("SSL_CERT_") and not name.lower().endswith("_proxy")
        }  # fmt: skip
        environment["PYTHONPATH"] = environment.get("DRIVER_PYTHONPATH", "")
        self.process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._log,
            encoding="ascii", env=environment,
        )  # fmt: skip
        self.renewed = []

    def run(self, *words):
        """Carries out a command; returns its lines as lists of words, and its failure if any."""
        self.process.stdin.write(" ".join(map(encoded, words)) + "\n")
        self.process.stdin.flush()
        lines = []
        for text in self.process.stdout:
            name, *rest = text.rstrip("\n").split(" ")
            line = [decoded(word) for word in rest]
            if name == "done":
                return lines, None
            if name == "failed":
                return lines, _record(Failed, line)
            if name == "renewed":
                self.renewed.append(_record(Renewed, line))
            else:
                lines.append([name, *line])
        raise AssertionError(f"the driver ended during {words[0]}: {self.log()}")

    def do(self, *words):
        """The lines of a command that succeeds."""
        lines, failed = self.run(*words)
        if failed is not None:
            raise AssertionError(f"{words} failed: {failed}")
        return lines

    def fail(self, *words):
        """The failure of a command that fails."""
        lines, failed = self.run(*words)
        if failed is None:
            raise AssertionError(f"{words} succeeded: {lines}")
        return failed

    def value(self, *words):
        """The words of the only line of a command, without its name."""
        (line,) = self.do(*words)
        return line[1:]

    def log(self):
        """What the process has written to standard error."""
        self._log.seek(0)
        return self._log.read()

    def resident_kilobytes(self):
        pages = pathlib.Path(f"/proc/{self.process.pid}/statm").read_text("ascii").split()[1]
        return int(pages) * os.sysconf("SC_PAGESIZE") // 1024

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def quit(self):
        """Ends the process, which must succeed."""
        try:
            rest, _ = self.process.communicate("quit\n", timeout=60)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        log = self.log()
        self._log.close()
        assert rest == "", rest
        if self.process.returncode != 0:
            raise AssertionError(f"the driver ended with {self.process.returncode}: {log[-4000:]}")

"""The text that a process with the library writes to standard error."""

import contextlib
import os
import re
import sys
import tempfile
from typing import NamedTuple

from . import output, sandbox

COLOUR = re.compile(r"\x1b\[[0-9;]*m")
LINE = re.compile(
    r"(?P<severity>[IWEF])\d{8} \d\d:\d\d:\d\d\.\d{6} +\d+ (?P<place>[\w.]+:\d+)\] (?P<message>.*)"
)
ERROR = re.compile(
    r"\{ Error type: (\d+), Exception: (.*?), Message: (.*), "
    r"HttpResponseCode: (-?\d+), Retryable: ([01]) \}"
)
# A signature or a signing key has 64 hexadecimal digits; the rest are texts beside them.
CONFIDENTIAL = re.compile(
    r"\b[0-9a-f]{64}\b|AWS4-HMAC|Signature=|Credential=|authorization\s*[:=]", re.IGNORECASE
)


class ServiceError(NamedTuple):
    """The fields of an error's one-line form."""

    code: int
    exception: str
    message: str
    status: int
    retryable: bool


class Log:
    """The lines of a log. The constructor raises an AssertionError if the text shows a secret."""

    def __init__(self, text):
        found = CONFIDENTIAL.search(text)
        if found:
            raise AssertionError("standard error shows a signature, a key or what belongs to one")
        if any(secret in text for secret in sandbox.secrets()):
            raise AssertionError("standard error shows a secret")
        self.text = text
        self.lines = [line for line in COLOUR.sub("", text).split("\n") if line]

    def records(self, severity):
        """The messages of one severity ("E" for errors)."""
        matches = [LINE.fullmatch(line) for line in self.lines]
        return [match["message"] for match in matches if match and match["severity"] == severity]

    def service_error(self):
        """The only error; the log must have no other line."""
        errors = self.records("E")
        if len(self.lines) != 1 or len(errors) != 1:
            raise AssertionError(f"expected one ERROR line, got: {self.text!r}")
        match = ERROR.fullmatch(errors[0])
        if not match:
            raise AssertionError(f"not the one-line form of an error: {errors[0]!r}")
        code, exception, message, status, retryable = match.groups()
        return ServiceError(int(code), exception, message, int(status), retryable == "1")


class Capture:
    log: Log


@contextlib.contextmanager
def captured():
    """Captures what this process, including the library, writes to standard error."""
    capture = Capture()
    with tempfile.TemporaryFile() as file:
        sys.stderr.flush()
        original = os.dup(2)
        os.dup2(file.fileno(), 2)
        try:
            yield capture
        finally:
            os.dup2(original, 2)
            os.close(original)
            file.seek(0)
            text = file.read().decode()
            output.keep(text)
            capture.log = Log(text)

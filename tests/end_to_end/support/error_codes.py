"""The result codes for object stores that occur in these tests, as documented for hosts."""

import enum
import pathlib
import re

MANUAL = pathlib.Path(__file__).parents[3] / "docs" / "error-codes.md"


class Code(enum.IntEnum):
    LocalFailure = 1
    NetworkFailure = 2
    Untrusted = 4
    Redirected = 10
    UnknownAccessKey = 12
    SignatureMismatch = 13
    AccessDenied = 15
    WrongRegion = 17
    NotFound = 18
    BucketAlreadyExists = 20
    BucketAlreadyOwned = 21
    InvalidBucketName = 22
    InvalidLocation = 24


def documented():
    """The documented codes, number -> name, from rows such as `| 13 | SignatureMismatch |`."""
    row = re.compile(r"^\|\s*`?(\d+)`?\s*\|\s*`?(\w+)`?\s*\|", re.MULTILINE)
    return {int(number): name for number, name in row.findall(MANUAL.read_text())}

#!/usr/bin/env python3
"""Compares a library with the stored description of its binary interface.

usage: check_abi.py DESCRIPTION C_COMPILER HEADER LIBRARY [ERROR_NUMBERS LOCATION_TABLES]
"""
import sys
from pathlib import Path

from describe_abi import described

ADVICE = """
What is no longer so breaks programs that are installed already: undo it, or read docs/abi.md.
What is new belongs into the description: tests/abi/describe_abi.py prints it.
"""


def difference(stored, found):
    return ([f"no longer so: {line}" for line in stored if line not in found] +
            [f"new: {line}" for line in found if line not in stored])


def main():
    if len(sys.argv) not in (5, 7):
        sys.exit(__doc__)
    stored = Path(sys.argv[1]).read_text(encoding="utf-8").splitlines()
    differences = difference(stored, described(*sys.argv[2:]))
    if differences:
        sys.exit("\n".join(differences) + "\n" + ADVICE)


if __name__ == "__main__":
    main()

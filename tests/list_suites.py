"""Writes a ctest entry for each suite of a googletest program.

usage: list_suites.py PROGRAM PREFIX FILE [PROPERTY VALUE]...

An entry for each test would start a process for each, which takes a quarter of a second with a
sanitizer.
"""

import subprocess
import sys
from pathlib import Path


def suites_of(program):
    listing = subprocess.run([program, "--gtest_list_tests"], check=True, capture_output=True,
                             encoding="utf-8").stdout  # fmt: skip
    for line in listing.splitlines():
        name = line.split("#")[0].rstrip()
        if name.endswith(".") and not name.startswith(" "):
            yield name[:-1]


def main():
    program, prefix, file, *properties = sys.argv[1:]
    properties = " ".join(f"[==[{word}]==]" for word in properties)
    lines = []
    for suite in suites_of(program):
        entry = f"[==[{prefix}{suite}]==]"
        lines.append(f"add_test({entry} [==[{program}]==] [==[--gtest_filter={suite}.*]==])\n")
        lines.append(f"set_tests_properties({entry} PROPERTIES {properties})\n")
    Path(file).write_text("".join(lines), encoding="utf-8")


main()

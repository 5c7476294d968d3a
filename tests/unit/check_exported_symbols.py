#!/usr/bin/env python3
"""Checks what a library exports against the checked-in list and the public header.

usage: check_exported_symbols.py LIBRARY HEADER EXPORTED

EXPORTED lists what the library defines, each name with its version. In the service-client library
that is the C interface; its C++ classes have no version.
"""
import re
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple


class Interface(NamedTuple):
    macro: str
    version: str
    includes: list
    # Whether the library exports nothing else.
    is_alone: bool


INTERFACES = {
    "libvemlo.h": Interface("LIBVEMLO_API", "LIBVEMLO_1", ["<stdint.h>"], True),
    "libvemlo_service_client.h":
        Interface("VEMLO_CLIENT_API", "VEMLO_CLIENT_1", ["<stddef.h>", "<stdint.h>"], False),
}


def lines_of(path):
    with open(path, encoding="utf-8") as file:
        return file.read().splitlines()


def exported_by(library):
    """Maps each exported name, with its version, to whether it is a function or a variable."""
    listing = subprocess.run(
        ["nm", "-D", "--defined-only", "--with-symbol-versions", library],
        check=True, capture_output=True, text=True).stdout
    kinds = {"T": "function", "B": "variable", "D": "variable"}
    exported = {}
    for line in listing.splitlines():
        _, kind, name = line.split()
        if kind != "A":  # the version itself
            exported[name] = kinds.get(kind, "symbol of type " + kind)
    return exported


def is_of_c_interface(name):
    """Whether an exported name has a version, or could be that of a function that lacks it."""
    return "@@" in name or name.startswith("vemlo_client_")


def declared_in(header, macro):
    """Maps each name that the header declares as part of the interface to what it is."""
    with open(header, encoding="utf-8") as file:
        text = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.S)
    text = re.sub(r"^\s*#.*$", "", text, flags=re.M)
    declared = {}
    for declaration in re.findall(rf"\b{macro}\b([^;]*);", text):
        before_arguments, parenthesis, _ = declaration.partition("(")
        name = re.findall(r"\w+", before_arguments)[-1]
        declared[name] = "function" if parenthesis else "variable"
    return declared


def includes_of(header):
    with open(header, encoding="utf-8") as file:
        return re.findall(r"^\s*#\s*include\s*(\S+)", file.read(), flags=re.M)


def difference(what, actual, expected):
    missing = sorted(set(expected) - set(actual))
    surplus = sorted(set(actual) - set(expected))
    return ([f"{what}: {name} is missing" for name in missing] +
            [f"{what}: {name} is not expected" for name in surplus])


def complaints(library, header, exported_list):
    interface = INTERFACES[Path(header).name]
    listed = lines_of(exported_list)
    exported = {name: kind for name, kind in exported_by(library).items()
                if interface.is_alone or is_of_c_interface(name)}
    declared = declared_in(header, interface.macro)
    kinds = {name.partition("@@")[0]: kind for name, kind in exported.items()}

    found = difference("exported", exported, listed)
    if listed != sorted(set(listed)):
        found.append(f"{exported_list} is not sorted, or names something twice")
    found += [f"{name} is exported without the version {interface.version}" for name in exported
              if not name.endswith(f"@@{interface.version}")]
    found += difference("declared", declared, kinds)
    found += [f"{name} is declared as a {declared[name]} and exported as a {kind}"
              for name, kind in kinds.items() if declared.get(name, kind) != kind]
    if includes_of(header) != interface.includes:
        found.append(f"the header includes not just {' and '.join(interface.includes)}")
    return found


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    found = complaints(*sys.argv[1:])
    for complaint in found:
        print(complaint, file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()

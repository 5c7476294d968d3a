#!/usr/bin/env python3
"""Prints the binary interface that programs compiled against a library use, one fact a line.

usage: describe_abi.py C_COMPILER HEADER LIBRARY [ERROR_NUMBERS LOCATION_TABLES]

HEADER is a public C header, LIBRARY what exports its names. ERROR_NUMBERS is the layer's header
with the numbers of failures, LOCATION_TABLES the program that prints the tables of locations.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path


def output_of(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def declarations_in(compiler, header):
    """The preprocessed header, without the headers that it includes."""
    text = re.sub(r"^\s*#\s*include.*$", "", Path(header).read_text(encoding="utf-8"), flags=re.M)
    text = output_of(compiler, "-E", "-P", "-x", "c", "-", input=text)
    return re.sub(r"\s+", " ", re.sub(r"__attribute__ ?\(\(.*?\)\) ?\)?", "", text))


def tidy(type_text):
    return re.sub(r" ?(\*+) ?", r" \1", type_text).strip()


def type_of(parameter):
    """The type alone, because a compiled program does not contain names of parameters."""
    if parameter.strip() in ("", "void"):
        return "void"
    return tidy(re.sub(r"\b\w+ *$", "", parameter))


def functions(declarations):
    for result, name, parameters in re.findall(
            r"(?:^|(?<=[;}{]))\s*((?:\w+[ *]+)+?)(\w+) ?\(([^()]*)\);", declarations):
        types = ", ".join(type_of(parameter) for parameter in parameters.split(","))
        yield f"function {tidy(result)} {name}({types})"


def callbacks(declarations):
    for result, name, parameters in re.findall(
            r"\btypedef ((?:\w+[ *]+)+?)\(\*(\w+)\) ?\(([^()]*)\);", declarations):
        types = ", ".join(type_of(parameter) for parameter in parameters.split(","))
        yield f"callback {tidy(result)} {name}({types})"


def variables(declarations):
    for kind, name in re.findall(r"\bextern ((?:\w+[ *]+)+?)(\w+) ?;", declarations):
        yield f"variable {tidy(kind)} {name}"


def records(declarations):
    """Maps each record to its members: pairs of type and name, in order."""
    return {
        name: [(tidy(kind), member)
               for kind, member in re.findall(r"([^;{}]*?)(\w+) ?;", body)]
        for name, body in re.findall(r"struct (\w+) ?\{(.*?)\}", declarations)
    }


def enumerators(declarations):
    """Maps each enum to the names in it."""
    return {name: re.findall(r"(\w+) ?=", body)
            for name, body in re.findall(r"enum (\w+) ?\{(.*?)\}", declarations)}


def layouts(compiler, header, declarations):
    statements = [f'printf("number {enum} %d {name}\\n", (int){name});'
                  for enum, names in enumerators(declarations).items() for name in names]
    for record, members in records(declarations).items():
        # A record that begins with its size may grow at the end.
        if members[0] == ("size_t", "size"):
            statements.append(f'printf("record {record} of variable size, alignment %zu\\n", '
                              f"_Alignof({record}));")
        else:
            statements.append(f'printf("record {record} size %zu alignment %zu\\n", '
                              f"sizeof({record}), _Alignof({record}));")
        statements += [
            f'printf("record {record} member {member} at %zu size %zu: {kind}\\n", '
            f"offsetof({record}, {member}), sizeof((({record} *)0)->{member}));"
            for kind, member in members
        ]
    program = (f'#include "{Path(header).resolve()}"\n#include <stddef.h>\n#include <stdio.h>\n'
               "int main(void) {\n" + "\n".join(statements) + "\nreturn 0;\n}\n")
    with tempfile.TemporaryDirectory() as folder:
        binary = str(Path(folder) / "layouts")
        output_of(compiler, "-std=c11", "-x", "c", "-", "-o", binary, input=program)
        return output_of(binary).splitlines()


def symbols(library):
    listing = output_of("nm", "-D", "--defined-only", "--with-symbol-versions", library)
    for line in listing.splitlines():
        _, kind, name = line.split()
        # Not the version itself, nor C++ classes, which have none.
        if kind != "A" and "@@" in name:
            yield f"symbol {name} {'function' if kind == 'T' else 'variable'}"
    dynamic = output_of("readelf", "--dynamic", "--wide", library)
    yield "soname " + re.search(r"\(SONAME\).*\[(.+)\]", dynamic).group(1)


def error_numbers(header):
    text = re.sub(r"//.*$", "", Path(header).read_text(encoding="utf-8"), flags=re.M)
    for name, number in re.findall(r"\b(\w+)\s*=\s*(-?\d+)", text):
        yield f"failure {number} {name}"


def by_number(line):
    """A sort key that orders numbers by value."""
    return [(part.isdigit(), int(part) if part.isdigit() else 0, part) for part in line.split()]


def described(compiler, header, library, error_header=None, location_tables=None):
    declarations = declarations_in(compiler, header)
    lines = [*functions(declarations), *callbacks(declarations), *variables(declarations),
             *layouts(compiler, header, declarations), *symbols(library)]
    if error_header:
        lines += error_numbers(error_header)
        lines += ["location " + line for line in output_of(location_tables).splitlines()]
    return sorted(lines, key=by_number)


if __name__ == "__main__":
    if len(sys.argv) not in (4, 6):
        sys.exit(__doc__)
    print("\n".join(described(*sys.argv[1:])))

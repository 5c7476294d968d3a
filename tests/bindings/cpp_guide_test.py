"""The code in the guide to the C++ binding compiles.

VEMLO_CXX is the compiler.
"""

import os
import pathlib
import re
import subprocess
import textwrap
import unittest

ROOT = pathlib.Path(__file__).parents[2]
GUIDE = ROOT / "docs/bindings/cpp.md"
FLAGS = ["-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-x", "c++", "-"]
FOLDERS = ("include", "service_client/include", "bindings/cpp")
# Parts of a program use what the text around them names.
PREAMBLE = """
#include <chrono>
#include <cstddef>
#include <future>
#include <iostream>
#include <libvemlo.hpp>
#include <string>
#include <vector>
void store(const std::string& usedRefreshToken, const vemlo::Tokens& tokens);
"""
PARAMETERS = {
    "state": "const std::string& state",
    "code": "const std::string& code",
    "parentId": "const std::string& parentId",
    "drive": "vemlo::Drive& drive",
    "folders": "const std::vector<vemlo::Folder>& folders",
    "tokens": "const vemlo::Tokens& tokens",
}


def blocks():
    return re.findall(r"^```cpp\n(.*?)^```$", GUIDE.read_text(encoding="utf-8"), re.M | re.S)


def is_program(block):
    return "int main(" in block


def function(number, block):
    """A part of a program as a function, whose parameters are what the part does not declare."""
    parameters = [
        declaration for name, declaration in PARAMETERS.items()
        if re.search(rf"\b{name}\b", block) and not re.search(rf"[\w>] {name}[ (;]", block)
    ]  # fmt: skip
    return f"void part{number}({', '.join(parameters)}) {{\n{textwrap.indent(block, '  ')}}}\n"


def compile_text(text, standard="c++17"):
    folders = [f"-I{ROOT / folder}" for folder in FOLDERS]
    return subprocess.run(
        [os.environ["VEMLO_CXX"], f"-std={standard}", *folders, *FLAGS,
         "-Wno-unused-parameter", "-Wno-unused-variable"], input=text,
        capture_output=True, encoding="utf-8", check=False,
    )  # fmt: skip


class Guide(unittest.TestCase):
    def assert_compiles(self, text):
        result = compile_text(text)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_programs(self):
        programs = [block for block in blocks() if is_program(block)]
        self.assertTrue(programs)
        for program in programs:
            self.assert_compiles(program)

    def test_parts_of_programs(self):
        parts = [block for block in blocks() if not is_program(block)]
        self.assertGreater(len(parts), 5)
        self.assert_compiles(PREAMBLE + "".join(map(function, range(len(parts)), parts)))

    def test_a_wrong_part_is_found(self):
        self.assertNotEqual(compile_text(PREAMBLE + function(0, "drive.rot();\n")).returncode, 0)

    def test_an_older_standard_is_refused_with_advice(self):
        include = "#include <libvemlo.hpp>\n"
        result = compile_text(include, "c++14")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stderr.count("error:"), 1, result.stderr)
        self.assertIn("compile with -std=c++17", result.stderr)
        self.assert_compiles(include)


if __name__ == "__main__":
    unittest.main()

"""The table of the bindings states how long their shortest hosts are."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).parents[2]
INDEX = ROOT / "docs" / "bindings" / "README.md"
PROGRAMS = {
    "C": "c/first_folder.c",
    "C++": "cpp/first_folder.cpp",
    "Python": "python/first_folder.py",
    "Go": "go/first_folder/main.go",
}
SOURCES = {
    "C": [*ROOT.glob("include/*.h"), *ROOT.glob("service_client/include/*.h")],
    "C++": [*ROOT.glob("bindings/cpp/libvemlo/*.hpp")],
    "Python": [*ROOT.glob("bindings/python/vemlo/*.py")],
    "Go": [*ROOT.glob("bindings/go/*.go")],
}
COMMENT = re.compile(r'/\*.*?\*/|^(//|#!)[^\n]*|^""".*?"""', re.M | re.S)


def lines_with_code(text):
    return sum(1 for line in COMMENT.sub("", text).splitlines() if line.strip())


def row(beginning):
    (found,) = re.findall(rf"^\| *{beginning} *\|(.*)\|$", INDEX.read_text(encoding="utf-8"), re.M)
    return [cell.strip() for cell in found.split("|")]


def vocabulary():
    """Pairs of language and name in the table of the words, but none that stands for several."""
    table = INDEX.read_text(encoding="utf-8").partition("## One vocabulary\n\n")[2]
    lines = table.partition("\n\n")[0].splitlines()[2:]
    cells = [cell for line in lines for cell in zip(SOURCES, line.strip("|").split("|"))]
    terms = [(language, term) for language, cell in cells for term in re.findall("`(.+?)`", cell)]
    return [(language, name) for language, term in terms if not re.search(r"<|\.\.\.", term)
            for name in re.findall(r"\w+", term)]


class BindingsIndex(unittest.TestCase):
    def test_the_words_are_names_of_the_interfaces(self):
        names = {language: {name for path in paths
                            for name in re.findall(r"\w+", path.read_text(encoding="utf-8"))}
                 for language, paths in SOURCES.items()}
        words = vocabulary()
        self.assertEqual({language for language, _ in words}, set(SOURCES))
        for language, name in words:
            with self.subTest(language=language, name=name):
                self.assertTrue(name in names[language])

    def test_the_lines_of_the_programs(self):
        stated = dict(zip(row(""), row("lines of the program below")))
        counted = {
            language: str(lines_with_code((ROOT / "examples" / path).read_text(encoding="utf-8")))
            for language, path in PROGRAMS.items()
        }
        self.assertEqual(stated, counted)

    def test_comments_and_empty_lines_do_not_count(self):
        self.assertEqual(lines_with_code("/* a\n b */\nint a;\n\n// b\nint b;  // c\n"), 2)
        self.assertEqual(lines_with_code('#!/bin/x\n"""a\n\nb"""\n\nimport sys\n'), 1)


if __name__ == "__main__":
    unittest.main()

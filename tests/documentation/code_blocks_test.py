"""The code in the documentation is part of the examples, which other tests build and run.

That of the guide to a binding is run by a test of that binding.
"""

import pathlib
import re
import textwrap
import unittest

ROOT = pathlib.Path(__file__).parents[2]
RUN_BY_TESTS = {
    ROOT / "docs/bindings/cpp.md": ROOT / "tests/bindings/cpp_guide_test.py",
    ROOT / "docs/bindings/python.md": ROOT / "tests/bindings/python/guide_test.py",
}
LANGUAGES = {"c": [".c", ".h"], "cpp": [".cpp", ".h"], "python": [".py"], "go": [".go"]}
# By which a part of a function or a class is indented.
INDENTATIONS = ["", "  ", "    ", "      ", "        ", "\t"]


def documents():
    found = [ROOT / "README.md", *sorted((ROOT / "docs").rglob("*.md"))]
    return [path for path in found if path not in RUN_BY_TESTS]


def code_blocks(text):
    """Pairs of language and code, for the languages of the examples."""
    fences = re.findall(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S)
    return [(language, code) for language, code in fences if language in LANGUAGES]


def sources(language):
    return [path.read_text(encoding="utf-8") for path in (ROOT / "examples").rglob("*")
            if path.suffix in LANGUAGES[language]]


def is_from(code, texts):
    """Whether the code is whole lines of one of the texts."""
    candidates = ["\n" + textwrap.indent(code, indentation) for indentation in INDENTATIONS]
    return any(candidate in "\n" + text for text in texts for candidate in candidates)


class CodeBlocks(unittest.TestCase):
    def test_they_are_copies_of_the_examples(self):
        checked = 0
        for document in documents():
            for language, code in code_blocks(document.read_text(encoding="utf-8")):
                checked += 1
                with self.subTest(document=document.name, code=code):
                    self.assertTrue(is_from(code, sources(language)))
        self.assertGreaterEqual(checked, 50)

    def test_the_tests_that_run_other_blocks_name_their_documents(self):
        for document, test in RUN_BY_TESTS.items():
            with self.subTest(document=document.name):
                self.assertTrue(code_blocks(document.read_text(encoding="utf-8")))
                name = document.relative_to(ROOT).as_posix()
                self.assertIn(name, test.read_text(encoding="utf-8"))

    def test_a_different_block_is_detected(self):
        text = sources("c")[0]
        self.assertTrue(is_from(text, [text]))
        self.assertFalse(is_from(text.replace(";", " ;", 1), [text]))
        self.assertFalse(is_from("b;\n", ["a + b;\n"]))
        self.assertTrue(is_from("if a:\n    b\n", ["def f():\n    if a:\n        b\n"]))


if __name__ == "__main__":
    unittest.main()

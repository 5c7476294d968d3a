"""Every example of the documentation is there in C, C++, Python and Go, one under the other."""

import pathlib
import re
import unittest

from code_blocks_test import code_blocks

ROOT = pathlib.Path(__file__).parents[2]
PAGE = (ROOT / "docs/bindings/side-by-side.md").read_text(encoding="utf-8")
HOSTING = (ROOT / "docs/hosting.md").read_text(encoding="utf-8")
README = (ROOT / "README.md").read_text(encoding="utf-8")
LANGUAGES = {"C": "c", "C++": "cpp", "Python": "python", "Go": "go"}
# How a language begins that needs no code.
NO_CODE = "Nothing to do: "
LINK = re.compile(r"\]\(bindings/side-by-side\.md#([\w-]+)\)")


def anchor_of(title):
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def sections(text, level):
    """Pairs of title and text."""
    parts = re.split(rf"^{'#' * level} (.+)\n", text, flags=re.M)
    return list(zip(parts[1::2], parts[2::2]))


def mistakes(section):
    """What is wrong with the languages of a section."""
    languages = sections(section, 3)
    found = []
    if [title for title, _ in languages] != list(LANGUAGES):
        found.append("not the four languages in their order")
    for title, text in languages:
        used = {language for language, _ in code_blocks(text)}
        needs_code = title == "C" or not text.strip().startswith(NO_CODE)
        if used != ({LANGUAGES.get(title)} if needs_code else set()):
            found.append(f"{title} has code in {sorted(used)}")
    return found


EXAMPLES = {anchor_of(title): text for title, text in sections(PAGE, 2)}


class SideBySide(unittest.TestCase):
    def test_each_example_is_there_in_four_languages(self):
        self.assertGreaterEqual(len(EXAMPLES), 9)
        for anchor, section in EXAMPLES.items():
            with self.subTest(section=anchor):
                self.assertEqual(mistakes(section), [])

    def test_a_section_that_lacks_a_language_is_detected(self):
        languages = [f"### {title}\n\n```{name}\nx\n```\n\n" for title, name in LANGUAGES.items()]
        whole = "".join(languages)
        self.assertEqual(mistakes(whole), [])
        without_code = f"### Python\n\n{NO_CODE}it is released.\n\n"
        self.assertEqual(mistakes(whole.replace(languages[2], without_code)), [])
        wrong = [
            whole.replace(languages[3], ""),
            whole.replace(languages[1], ""),
            whole.replace(languages[2], languages[2].replace("python", "go")),
            whole.replace(languages[2], "### Python\n\nSee elsewhere.\n\n"),
            whole.replace(languages[0], without_code.replace("Python", "C")),
            languages[1] + languages[0] + languages[2] + languages[3],
        ]
        for text in wrong:
            with self.subTest(text=text):
                self.assertNotEqual(mistakes(text), [])

    def test_each_question_leads_to_a_section_and_each_section_has_a_question(self):
        self.assertEqual(set(re.findall(r"\]\(#([\w-]+)\)", PAGE)), set(EXAMPLES))

    def test_each_section_of_the_guide_for_c_leads_to_the_other_languages(self):
        checked = 0
        for title, text in re.findall(r"^###? (.+)\n((?:(?!^###? ).*\n)*)", HOSTING, re.M):
            linked = [EXAMPLES[anchor] for anchor in LINK.findall(text)]
            codes = [code for section in linked for _, code in code_blocks(section)]
            for _, code in code_blocks(text):
                checked += 1
                with self.subTest(section=title, code=code):
                    self.assertIn(code, codes)
        self.assertEqual(checked, len(code_blocks(HOSTING)))
        self.assertGreaterEqual(checked, 9)

    def test_the_shortest_hosts_are_on_the_first_page(self):
        self.assertEqual(code_blocks(README), code_blocks(EXAMPLES["list-the-buckets"]))


if __name__ == "__main__":
    unittest.main()

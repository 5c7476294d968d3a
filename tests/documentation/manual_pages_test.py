"""The manual pages are well-formed and complete.

That of the tool covers everything in its help texts, and there is one for every function.
VEMLO_CLI is the tool.
"""

import gzip
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PAGES = ROOT / "docs" / "man"
# The list of exported names of each header.
LISTS = {"libvemlo": "exported_symbols.txt",
         "libvemlo_service_client": "exported_client_symbols.txt"}


def output_of(*command):
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "1000", "MANROFFSEQ": ""}
    return subprocess.run(command, env=environment, check=True, capture_output=True, text=True)


def help_texts(*commands):
    """The help texts of a command and of its subcommands, each with its command."""
    text = output_of(os.environ["VEMLO_CLI"], *commands, "--help").stdout
    yield commands, text
    _, _, subcommands = text.partition("\nSubcommands:\n")
    for name in re.findall(r"^  (\w\S*)", subcommands.partition("\nOptions of")[0], re.M):
        yield from help_texts(*commands, name)


def functions(library):
    text = (ROOT / "tests/unit" / LISTS[library]).read_text(encoding="utf-8")
    return set(re.findall(r"^(\w+)@@", text, re.M)) - {"verbose"}


def references_in(text):
    return set(re.findall(r"^\.Xr (\w+) 3", text, re.M))


class ManualPages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        compressed = cls.folder / "compressed"
        subprocess.run([sys.executable, "-B", ROOT / "scripts/manual-pages", compressed],
                       check=True)
        cls.texts = {path.name.removesuffix(".3.gz"): gzip.decompress(path.read_bytes()).decode()
                     for path in compressed.iterdir()}

    def test_both_formatters_accept_them(self):
        pages = sorted(PAGES.iterdir())
        for text in set(self.texts.values()):
            pages.append(self.folder / f"{len(pages)}.3")
            pages[-1].write_text(text, encoding="utf-8")
        self.assertGreater(len(pages), 60)
        lint = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", *pages],
                              capture_output=True, text=True, check=False)
        self.assertEqual((lint.stdout + lint.stderr, lint.returncode), ("", 0))
        shown = output_of("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", *pages)
        self.assertEqual(shown.stderr, "")

    def test_every_function_has_a_page_that_names_it(self):
        self.assertEqual(set(self.texts), set().union(*map(functions, LISTS)))
        for name, text in self.texts.items():
            with self.subTest(function=name):
                self.assertRegex(text.partition(".Sh LIBRARY")[0], rf"(?m)^\.Nm {name}\b")
                self.assertIn(f"\n.Fo {name}\n", text.partition(".Sh DESCRIPTION")[0])

    def test_a_page_names_the_header_of_its_function(self):
        for library in LISTS:
            for name in functions(library):
                with self.subTest(function=name):
                    self.assertIn(f"\n.In {library}.h\n", self.texts[name])

    def test_pages_of_one_header_alone(self):
        folder = self.folder / "one header"
        subprocess.run([sys.executable, "-B", ROOT / "scripts/manual-pages", folder,
                        ROOT / "include/libvemlo.h"], check=True)
        self.assertEqual({path.name.removesuffix(".3.gz") for path in folder.iterdir()},
                         functions("libvemlo"))

    def test_a_page_says_what_the_header_says(self):
        text = self.texts["s3_list_bucket"]
        for part in ('.Ft "int"\n.Fo s3_list_bucket\n.Fa "session *handle"\n'
                     '.Fa "char ***buckets"\n.Fa "int *count"\n.Fc\n',
                     ".It Fa handle\nAn S3 session.\n",
                     ".Sh RETURN VALUES\n.Bl -tag -width Ds\n.It 0\n"
                     "done; release with \\fBfree_buckets\\fR().\n.It \\-1\n",
                     ".Xr free_buckets 3 ,\n.Xr libvemlo 3\n"):
            self.assertIn(part, text)

    def test_references_lead_to_pages(self):
        known = {*self.texts, *LISTS, "free"}
        for library in LISTS:
            for name in functions(library):
                with self.subTest(function=name):
                    references = references_in(self.texts[name])
                    self.assertIn(library, references)
                    self.assertEqual(references - known, set())

    def test_an_overview_refers_to_all_functions_and_to_the_other_overview(self):
        for library in LISTS:
            with self.subTest(overview=library):
                text = (PAGES / f"{library}.3").read_text(encoding="utf-8")
                self.assertEqual(references_in(text) - {"free"},
                                 functions(library) | set(LISTS) - {library})

    def test_the_example_compiles(self):
        page = (PAGES / "libvemlo_service_client.3").read_text(encoding="utf-8")
        code = page.partition(".Bd -literal -offset indent\n")[2].partition(".Ed\n")[0]
        program = ("#include <libvemlo.h>\n#include <libvemlo_service_client.h>\n"
                   "#include <stdio.h>\nvoid show(directory *folders, int count);\n"
                   + code.replace("\\e", "\\")
                   + "int main(void) { return list(NULL, NULL); }\n")
        subprocess.run(["cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
                        "-I", ROOT / "include", "-I", ROOT / "service_client/include",
                        "-x", "c", "-"], input=program, text=True, check=True)

    def test_the_tool_is_described_completely(self):
        page = re.sub(r".\x08", "", output_of("mandoc", "-T", "utf8", PAGES / "vemlo.1").stdout)
        checked = 0
        for commands, text in help_texts():
            words = {*commands, *re.findall(r"--[a-z][a-z-]*", text),
                     *re.findall(r"\bVEMLO_\w+|\bSSL_\w+", text)}
            checked += len(words)
            with self.subTest(command=commands):
                missing = {word for word in words if not re.search(rf"(?<![\w-]){word}\b", page)}
                self.assertEqual(missing, set())
        self.assertGreater(checked, 30)

    def test_the_exit_codes_are_those_of_the_help(self):
        page = (PAGES / "vemlo.1").read_text(encoding="utf-8")
        documented = re.findall(r"^\.It (\d)$", page.partition(".Sh EXIT STATUS")[2], re.M)
        _, _, help_text = next(help_texts())[1].partition("Exit codes:\n")
        self.assertEqual(documented, re.findall(r"^  (\d)  ", help_text, re.M))


if __name__ == "__main__":
    unittest.main()

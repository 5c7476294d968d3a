#!/usr/bin/env python3
"""Shows that check_exported_symbols.py finds every kind of fault. usage: C_COMPILER"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from check_exported_symbols import complaints

COMPILER = None

HEADER = """
#include <stdint.h>
#define LIBVEMLO_API
/* LIBVEMLO_API int commented_out(void); */
extern LIBVEMLO_API int variable;
LIBVEMLO_API void first(char **texts,
                        int count);
LIBVEMLO_API char *second(void);
"""
SOURCE = "int variable;\nvoid first(void) {}\nvoid second(void) {}\nvoid hidden(void) {}\n"
MAP = "LIBVEMLO_1 { global: variable; first; second; local: *; };"
EXPORTED = ["first@@LIBVEMLO_1", "second@@LIBVEMLO_1", "variable@@LIBVEMLO_1"]


# The same for a header that is one interface of several of its library.
CLIENT_HEADER = """
#include <stddef.h>
#include <stdint.h>
#define VEMLO_CLIENT_API
VEMLO_CLIENT_API int vemlo_client_first(void);
"""
CLIENT_SOURCE = "void vemlo_client_first(void) {}\nvoid a_class(void) {}\n"
CLIENT_MAP = "VEMLO_CLIENT_1 { global: vemlo_client_*; };"


class CheckExportedSymbols(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, text):
        path = self.folder / name
        path.write_text(text, encoding="utf-8")
        return str(path)

    def complaints(self, header=HEADER, source=SOURCE, version_map=MAP, exported=EXPORTED,
                   name="libvemlo.h"):
        library = str(self.folder / "library.so")
        subprocess.run([COMPILER, "-shared", "-fPIC", self.write("library.c", source),
                        "-Wl,--version-script=" + self.write("library.map", version_map),
                        "-o", library], check=True)
        names = self.write("names", "".join(name + "\n" for name in exported))
        return complaints(library, self.write(name, header), names)

    def test_accepts_what_agrees(self):
        self.assertEqual(self.complaints(), [])

    def test_finds_an_export_that_is_not_listed(self):
        self.assertEqual(self.complaints(version_map=MAP.replace("second;", "second; hidden;")),
                         ["exported: hidden@@LIBVEMLO_1 is not expected",
                          "declared: hidden is missing"])

    def test_finds_a_listed_name_that_is_not_exported(self):
        self.assertIn("exported: second@@LIBVEMLO_1 is missing",
                      self.complaints(version_map=MAP.replace("second;", "")))

    def test_finds_an_export_that_the_header_does_not_declare(self):
        self.assertEqual(self.complaints(header=HEADER.replace("LIBVEMLO_API char *second", "x")),
                         ["declared: second is missing"])

    def test_finds_a_declaration_that_is_not_defined(self):
        self.assertEqual(self.complaints(header=HEADER + "LIBVEMLO_API int undefined(void);"),
                         ["declared: undefined is not expected"])

    def test_finds_an_export_without_the_version(self):
        found = self.complaints(version_map=MAP.replace("LIBVEMLO_1", "LIBVEMLO_2"))
        self.assertIn("first@@LIBVEMLO_2 is exported without the version LIBVEMLO_1", found)

    def test_finds_a_variable_that_is_declared_as_a_function(self):
        source = SOURCE.replace("void second(void) {}", "int second;")
        self.assertEqual(self.complaints(source=source),
                         ["second is declared as a function and exported as a variable"])

    def test_finds_a_header_that_includes_more(self):
        self.assertEqual(self.complaints(header="#include <stdio.h>\n" + HEADER),
                         ["the header includes not just <stdint.h>"])

    def test_finds_a_list_that_is_not_sorted(self):
        found = self.complaints(exported=list(reversed(EXPORTED)))
        self.assertEqual(len(found), 1)
        self.assertIn("is not sorted", found[0])

    def client_complaints(self, header=CLIENT_HEADER, source=CLIENT_SOURCE, version_map=CLIENT_MAP):
        return self.complaints(header, source, version_map, ["vemlo_client_first@@VEMLO_CLIENT_1"],
                               "libvemlo_service_client.h")

    def test_accepts_classes_beside_a_c_interface(self):
        self.assertEqual(self.client_complaints(), [])

    def test_finds_faults_of_a_c_interface_beside_classes(self):
        more = CLIENT_SOURCE + "void vemlo_client_second(void) {}\n"
        self.assertEqual(self.client_complaints(source=more),
                         ["exported: vemlo_client_second@@VEMLO_CLIENT_1 is not expected",
                          "declared: vemlo_client_second is missing"])
        self.assertIn("vemlo_client_first is exported without the version VEMLO_CLIENT_1",
                      self.client_complaints(version_map="OTHER { global: a_class; };"))
        self.assertEqual(self.client_complaints(header="#include <stdlib.h>\n" + CLIENT_HEADER),
                         ["the header includes not just <stddef.h> and <stdint.h>"])


if __name__ == "__main__":
    COMPILER = sys.argv.pop(1)
    unittest.main()

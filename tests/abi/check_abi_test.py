#!/usr/bin/env python3
"""Tests that check_abi.py detects changes that break programs.

usage: check_abi_test.py C_COMPILER HEADER LIBRARY ERROR_NUMBERS LOCATION_TABLES CLIENT_HEADER
                         CLIENT_LIBRARY
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from check_abi import difference
from describe_abi import described, output_of, symbols

COMPILER = HEADER = ERROR_NUMBERS = LIBRARY = LOCATION_TABLES = None
CLIENT_HEADER = CLIENT_LIBRARY = None


class CheckAbi(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def described(self, header=None, error_numbers=None, tables=None):
        return described(COMPILER, header or HEADER, LIBRARY, error_numbers or ERROR_NUMBERS,
                         tables or LOCATION_TABLES)

    def changed(self, path, *replacements):
        """A copy of the file at `path` with replacements, pairs of texts: each occurs once."""
        text = Path(path).read_text(encoding="utf-8")
        for old, _ in replacements:
            self.assertEqual(text.count(old), 1, old)
        new_by_old = dict(replacements)
        pattern = "|".join(re.escape(old) for old in new_by_old)
        copy = self.folder / Path(path).name
        copy.write_text(re.sub(pattern, lambda match: new_by_old[match[0]], text),
                        encoding="utf-8")
        return str(copy)

    def assert_reports(self, differences, **change):
        self.assertEqual(difference(self.described(), self.described(**change)), differences)

    def test_reports_nothing_without_a_change(self):
        self.assert_reports([])

    def test_reports_an_added_member(self):
        header = self.changed(HEADER, ("  char *id;\n", "  char *id;\n  int flags;\n"))
        self.assert_reports(
            ["no longer so: record directory size 16 alignment 8",
             "new: record directory member flags at 16 size 4: int",
             "new: record directory size 24 alignment 8"],
            header=header)

    def assert_reports_of_client(self, differences, *replacements):
        header = self.changed(CLIENT_HEADER, *replacements)
        self.assertEqual(difference(described(COMPILER, CLIENT_HEADER, CLIENT_LIBRARY),
                                    described(COMPILER, header, CLIENT_LIBRARY)), differences)

    def test_a_record_with_a_size_member_grows_at_its_end_only(self):
        last, before = "  const char *request_id;\n", "  const char *operation;\n  /** The error's"
        start = "record vemlo_client_failure member"
        self.assert_reports_of_client([f"new: {start} trace at 64 size 8: const char *"],
                                      (last, last + "  const char *trace;\n"))
        old = (("code", 40), ("message", 48), ("request_id", 56))
        new = (("code", 48), ("message", 56), ("request_id", 64), ("trace", 40))
        self.assert_reports_of_client(
            [f"{change}: {start} {name} at {offset} size 8: const char *"
             for change, members in (("no longer so", old), ("new", new))
             for name, offset in members], (before, before.replace(";\n", ";\n  const char *trace;\n", 1)))

    def test_reports_a_removed_member_of_a_record_with_a_size_member(self):
        self.assert_reports_of_client(
            ["no longer so: record vemlo_client_failure member request_id at 56 size 8: "
             "const char *"], ("  const char *request_id;\n", ""))

    def test_reports_another_number_in_an_enum(self):
        self.assert_reports_of_client(
            ["no longer so: number vemlo_client_kind 2 VEMLO_CLIENT_WAIT",
             "new: number vemlo_client_kind 19 VEMLO_CLIENT_WAIT"],
            ("VEMLO_CLIENT_WAIT = 2,", "VEMLO_CLIENT_WAIT = 19,"))

    def test_reports_another_type_of_a_callback(self):
        start = "vemlo_client_token_callback(const vemlo_client_tokens *, void *)"
        self.assert_reports_of_client(
            [f"no longer so: callback void {start}", f"new: callback int {start}"],
            ("typedef void (*vemlo_client_token", "typedef int (*vemlo_client_token"))

    def test_reports_members_in_another_order(self):
        username, password = "  const char *username;\n", "  const char *password;\n"
        header = self.changed(HEADER, (username, password), (password, username))
        self.assert_reports(
            ["no longer so: record proxy_setting member password at 24 size 8: const char *",
             "no longer so: record proxy_setting member username at 16 size 8: const char *",
             "new: record proxy_setting member password at 16 size 8: const char *",
             "new: record proxy_setting member username at 24 size 8: const char *"],
            header=header)

    def test_reports_another_type_of_the_same_size(self):
        header = self.changed(HEADER, ("  int32_t location_contraint;",
                                       "  uint32_t location_contraint;"))
        start = "record location_contraint_name_mapping member location_contraint at 0 size 4: "
        self.assert_reports([f"no longer so: {start}int32_t", f"new: {start}uint32_t"],
                            header=header)

    def test_reports_another_parameter_and_another_result(self):
        header = self.changed(HEADER, ("void free_directory(directory *entry)",
                                       "int free_directory(const directory *entry)"))
        self.assert_reports(["no longer so: function void free_directory(directory *)",
                             "new: function int free_directory(const directory *)"],
                            header=header)

    def test_reports_another_type_of_a_variable(self):
        header = self.changed(HEADER, ("LIBVEMLO_API int verbose", "LIBVEMLO_API long verbose"))
        self.assert_reports(["no longer so: variable int verbose", "new: variable long verbose"],
                            header=header)

    def test_ignores_names_of_parameters(self):
        header = self.changed(HEADER, ("void free_directory(directory *entry)",
                                       "void free_directory(directory *folder)"))
        self.assert_reports([], header=header)

    def test_reports_a_number_given_to_another_failure(self):
        numbers = self.changed(ERROR_NUMBERS, ("Timeout = 3", "Timeout = 28"))
        self.assert_reports(["no longer so: failure 3 Timeout", "new: failure 28 Timeout"],
                            error_numbers=numbers)

    def test_reports_a_location_with_another_code(self):
        tables = self.folder / "tables"
        tables.write_text(f"#!/bin/sh\n'{LOCATION_TABLES}' | sed s/12.Frankfurt/18\\ Frankfurt/\n",
                          encoding="utf-8")
        tables.chmod(0o755)
        self.assert_reports(["no longer so: location s3 12 Frankfurt",
                             "new: location s3 18 Frankfurt"], tables=str(tables))

    def test_does_not_describe_classes(self):
        classes = output_of("nm", "-DC", "--defined-only", CLIENT_LIBRARY)
        self.assertIn("CloudStorage::Client::", classes)
        lines = described(COMPILER, CLIENT_HEADER, CLIENT_LIBRARY)
        self.assertEqual([line for line in lines if "CloudStorage" in line], [])
        self.assertIn("soname libvemlo_service_client.so.1", lines)

    def test_reports_symbols_versions_and_the_soname(self):
        def of(source, version, soname):
            library, script = self.folder / "library.so", self.folder / "map"
            script.write_text(version + " { global: first; second; local: *; };", encoding="utf-8")
            subprocess.run([COMPILER, "-shared", "-fPIC", "-x", "c", "-", "-o", library,
                            f"-Wl,--version-script={script},-soname,{soname}"],
                           input=source, text=True, check=True)
            return list(symbols(str(library)))

        before = of("int first; void second(void) {}", "V_1", "library.so.1")
        self.assertEqual(before, ["symbol first@@V_1 variable", "symbol second@@V_1 function",
                                  "soname library.so.1"])
        self.assertEqual(difference(before, of("int first;", "V_1", "library.so.1")),
                         ["no longer so: symbol second@@V_1 function"])
        self.assertEqual(len(difference(before, of("int first;", "V_2", "library.so.2"))), 5)


if __name__ == "__main__":
    (COMPILER, HEADER, LIBRARY, ERROR_NUMBERS, LOCATION_TABLES, CLIENT_HEADER,
     CLIENT_LIBRARY) = (sys.argv.pop(1) for _ in range(7))
    unittest.main()

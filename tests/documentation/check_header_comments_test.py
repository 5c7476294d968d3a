#!/usr/bin/env python3
"""Tests that scripts/check-header-comments reports gaps.

usage: check_header_comments_test.py SCRIPT
"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = None

# The conventions of a header are part of the comment on the file.
CONVENTIONS = """/** @file
 *  Conventions: no function throws, and no function blocks unless its comment says so. */
#include <stddef.h>
"""
HEADER = """
/** A record. */
typedef struct record {
  /** A member. */
  char *member;
} record;

/** What it is for. Not synchronized. */
extern LIBVEMLO_API int variable;

/**
 * Makes a record.
 *
 * @param handle   The session.
 * @param created  Receives the record.
 * @return 0: done; release with free_record().
 *         -1: an argument is null.
 *         1: the request failed.
 *
 * Blocks for one request.
 */
LIBVEMLO_API int make_record(session *handle,
                             record **created);

/** Releases `entry`. Does not block. */
LIBVEMLO_API void free_record(record *entry);

/** See free_record(). */
LIBVEMLO_API void free_other(record *entry);
"""


class CheckHeaderComments(unittest.TestCase):
    def gaps(self, old="", new="", text=HEADER):
        if old:
            self.assertEqual(text.count(old), 1, old)
            text = text.replace(old, new)
        with tempfile.TemporaryDirectory() as folder:
            header = Path(folder) / "header.h"
            header.write_text(text, encoding="utf-8")
            result = subprocess.run([sys.executable, "-B", SCRIPT, header], capture_output=True,
                                    text=True, check=False)
        gaps = result.stderr.splitlines()
        self.assertEqual(result.returncode, 1 if gaps else 0)
        return [line.removeprefix("header.h: ") for line in gaps]

    def test_accepts_complete_comments(self):
        self.assertEqual(self.gaps(), [])

    def test_every_gap_is_found(self):
        expected = {
            (" * @param created  Receives the record.\n", ""):
                "make_record: does not describe the parameter created",
            ("@param created ", "@param made "):
                "make_record: does not describe the parameter created",
            ("-1: an argument is null.", ""): "make_record: does not say what -1 means",
            ("0: done;", "Success:"): "make_record: does not say what 0 means",
            ("         1: the request failed.\n", ""):
                "make_record: does not say what it returns when the service call fails",
            ("; release with free_record()", ""):
                "make_record: does not say who releases what it hands out",
            (" * Blocks for one request.", " * For one request."):
                "make_record: does not say whether it blocks",
            (" * @return 0: done", " * Result 0: done"):
                "make_record: does not describe the result",
            ("/** Releases `entry`. Does not block. */\n", ""): "free_record: has no comment",
            ("/** See free_record(). */", "/* See free_record(). */"): "free_other: has no comment",
            ("Releases `entry`.", "Releases it."):
                "free_record: does not describe the parameter entry",
            ("/** A record. */\n", ""): "record: has no comment",
            ("  /** A member. */\n", ""): "record: the member member has no comment",
            ("/** What it is for. Not synchronized. */\n", ""): "variable: has no comment",
            (" Not synchronized.", ""): "variable: does not say when it may be changed",
        }
        for (old, new), gap in expected.items():
            with self.subTest(without=old):
                self.assertIn(gap, self.gaps(old, new))

    def test_a_convention_replaces_statements_on_blocking(self):
        silent = HEADER.replace("Does not block.", "")
        self.assertEqual(self.gaps(text=silent), ["free_record: does not say whether it blocks"])
        self.assertEqual(self.gaps(text=CONVENTIONS + silent), [])
        # Only as a convention: not as a remark on one function.
        remark = "/** A record. In it no function blocks. */"
        self.assertEqual(self.gaps(text=silent.replace("/** A record. */", remark)),
                         ["free_record: does not say whether it blocks"])

    def test_both_macros_begin_declarations(self):
        other = HEADER.replace("LIBVEMLO_API", "VEMLO_CLIENT_API")
        self.assertEqual(self.gaps(text=other), [])
        self.assertEqual(self.gaps("-1: an argument is null.", "", text=other),
                         ["make_record: does not say what -1 means"])

    def test_the_codes_of_a_question(self):
        question = """
/** Whether it is full. Does not block.
 *
 * @return 1: it is.
 *         0: it is not. */
LIBVEMLO_API int is_full(void);
"""
        self.assertEqual(self.gaps(text=HEADER + question), [])
        self.assertEqual(self.gaps("0: it is not.", "", text=HEADER + question),
                         ["is_full: does not say what 0 means"])
        self.assertEqual(self.gaps("1: it is.", "", text=HEADER + question),
                         ["is_full: does not say what 1 means"])

    def test_no_code_for_bad_arguments_if_there_are_none(self):
        setting = """
/** Sets it. Does not block.
 *
 * @param first   null: none.
 * @param second  null: none.
 * @return 0: done. */
LIBVEMLO_API int set(const char *first, const char *second);
"""
        self.assertEqual(self.gaps(text=HEADER + setting), [])
        self.assertEqual(self.gaps("second  null: none.", "second  A text.", text=HEADER + setting),
                         ["set: does not say what -1 means"])

    def test_callbacks_and_enums_have_comments(self):
        for declaration in ("typedef int (*thing)(const char *text, void *user);\n",
                            "typedef enum thing { ONE = 1 } thing;\n"):
            with self.subTest(declaration=declaration):
                self.assertEqual(self.gaps(text=HEADER + "\n/** A thing. */\n" + declaration), [])
                self.assertEqual(self.gaps(text=HEADER + "\n" + declaration),
                                 ["thing: has no comment"])

    def test_a_parameter_that_does_not_exist(self):
        self.assertEqual(
            self.gaps(" * @return 0", " * @param third  Nothing.\n * @return 0"),
            ["make_record: describes a parameter third that there is not"])

    def test_a_comment_that_refers_in_circles(self):
        self.assertEqual(
            self.gaps("Releases `entry`. Does not block.", "See free_other()."),
            ["free_record: refers to free_other, whose comment refers on",
             "free_other: refers to free_record, whose comment refers on"])

    def test_a_declaration_of_an_unknown_form(self):
        self.assertIn("3 functions are declared, of which 2 are understood",
                      self.gaps("void free_other(record *entry)", "void free_other[1]"))


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()

"""What the test cases share."""

import sys
import unittest


class LibraryTest(unittest.TestCase):
    def assert_done(self, outcome):
        """Success, and not a word about it."""
        self.assertEqual((outcome.log.text, outcome.code), ("", 0))

    def assert_failed(self, outcome, code, exception=None, status=0):
        """The code, the one line of the log that repeats it, and outs as they were."""
        error = outcome.log.service_error()
        self.assertEqual((outcome.code, error.code), (code, code))
        self.assertEqual(error.status, status)
        if exception is not None:
            self.assertEqual(error.exception, exception)
        self.assertNotEqual(error.message, "")
        if hasattr(outcome, "untouched"):
            self.assertTrue(outcome.untouched)
        return error


def for_each_server(case):
    """A class decorator: the tests of `case` once for every S3 server, in classes of their own.

    They are put into the module of `case`, named for the server.
    """
    module = sys.modules[case.__module__]
    for server in ("radosgw", "swift"):
        name = f"{case.__name__}On{server.title()}"
        members = {"server": server, "__module__": module.__name__}
        setattr(module, name, type(name, (case, LibraryTest), members))
    return case

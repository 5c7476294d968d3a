"""Base class and decorator of the test cases."""

import sys
import unittest


class LibraryTest(unittest.TestCase):
    def assert_done(self, outcome):
        """Success without a log line."""
        self.assertEqual((outcome.log.text, outcome.code), ("", 0))

    def assert_failed(self, outcome, code, exception=None, status=0):
        """The code, one log line with the same code, and unchanged out-parameters.

        The message may be empty: radosgw sends codes alone.
        """
        error = outcome.log.service_error()
        self.assertEqual((outcome.code, error.code), (code, code))
        self.assertEqual(error.status, status)
        if exception is not None:
            self.assertEqual(error.exception, exception)
        if hasattr(outcome, "untouched"):
            self.assertTrue(outcome.untouched)
        return error


def for_each_server(case):
    """A class decorator: adds a class with the tests of `case` for each S3 server.

    The classes are added to the module of `case`; their names end with that of the server.
    """
    module = sys.modules[case.__module__]
    for server in ("radosgw", "swift"):
        name = f"{case.__name__}On{server.title()}"
        members = {"server": server, "__module__": module.__name__}
        setattr(module, name, type(name, (case, LibraryTest), members))
    return case

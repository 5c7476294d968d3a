"""Prints the tests of the given modules, one per line. Usage: list_tests.py MODULE..."""

import os
import sys
import unittest


def names(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from names(test)
        else:
            yield test.id()


def main():
    sys.path.insert(0, os.getcwd())
    os.environ.setdefault("VEMLO_CLI", "")  # read when support.tool is imported
    loader = unittest.TestLoader()
    found = list(names(loader.loadTestsFromNames(sys.argv[1:])))
    if loader.errors or not found:
        sys.exit("\n".join(loader.errors) or "no tests")
    print("\n".join(found))


if __name__ == "__main__":
    main()

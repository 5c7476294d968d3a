"""Runs a test as `python3 -m unittest` does, and keeps the output of its process.

That includes what the library writes while a test does not capture the log.
"""

import os
import sys
import unittest

from support import output


def main():
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        for stream in (1, 2):
            os.dup2(writer, stream)
        unittest.main(module=None)
    os.close(writer)
    with open(reader, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            output.keep(line)
            sys.stderr.write(line)
    code = os.waitstatus_to_exitcode(os.wait()[1])
    sys.exit(f"ended by signal {-code}" if code < 0 else code)


if __name__ == "__main__":
    main()

"""The collected output of the test processes and of the programs that they run.

VEMLO_OUTPUT is the file that collects it; a test that runs last checks it.
"""

import os


def keep(text):
    """Adds a text. Does nothing without VEMLO_OUTPUT, as in tests that are run by hand."""
    path = os.environ.get("VEMLO_OUTPUT")
    if path and text:
        with open(path, "a", encoding="utf-8") as file:
            file.write(text)

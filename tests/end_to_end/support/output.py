"""Everything that the tests' processes, and the programs that they run, have said.

VEMLO_OUTPUT is the file that collects it, for a last look at all of it.
"""

import os


def keep(text):
    """Adds a text. Tests that are run by hand, without the file, do without."""
    path = os.environ.get("VEMLO_OUTPUT")
    if path and text:
        with open(path, "a", encoding="utf-8") as file:
            file.write(text)

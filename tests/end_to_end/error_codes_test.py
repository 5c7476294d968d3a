"""The manual documents every code that occurs in these tests."""

import unittest

from support.error_codes import Code, documented


class Manual(unittest.TestCase):
    def test_codes_and_names(self):
        manual = documented()
        for code in Code:
            with self.subTest(code=code):
                self.assertEqual(manual.get(code.value), code.name)


if __name__ == "__main__":
    unittest.main()

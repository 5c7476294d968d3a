"""Calls that the host ends. Each leaves its session usable."""

import unittest

from support import sandbox

from binding_case import DriveCase, S3, for_each_service, named

# Longer than any of these calls takes.
NEVER = 60_000


@for_each_service
class Interrupts:
    """`listing` needs several requests, except at S3."""

    @classmethod
    def setUpClass(cls):
        super(cls.__mro__[1], cls).setUpClass()
        if issubclass(cls, DriveCase):
            case = cls()
            cls.listing = ("folders", "d", case.new_folder(folders=100))
            case.configure(pageSizes=[40])
        else:
            for number in range(3 if cls.store == S3 else 120):
                cls.driver.do("create", "s", cls.bucket, f"folder-{number:05}/")

    def setUp(self):
        super().setUp()
        self.whole = self.assert_same(*self.listing)

    def assert_ended(self, kind, *words):
        """The listing ends in the same way on all drivers, and can be repeated."""
        failed = self.assert_fails(kind, *words, *self.listing, prepare=self.hang)
        self.assertEqual((failed.status, failed.retry_after), (0, -1))
        sandbox.reset_internet()
        for driver in self.drivers:
            self.assertEqual(driver.do(*self.listing), self.whole)

    def hang(self):
        """The next request gets no response."""
        sandbox.reset_internet()
        self.fault(kind="hang")

    def test_by_another_thread(self):
        self.assert_ended("cancelled", "cancel-after", 30)

    def test_by_the_deadline(self):
        self.assert_ended("deadline", "within", 30)

    def test_by_a_deadline_that_has_passed(self):
        self.assert_ended("deadline", "within", 0)

    def test_by_what_comes_first(self):
        self.assert_ended("cancelled", "within", NEVER, "cancel-after", 30)
        self.assert_ended("deadline", "cancel-after", NEVER, "within", 30)

    def test_by_the_progress(self):
        lines = self.assert_same("cancel-at-request", NEVER, *self.listing)
        self.assertEqual([line for line in lines if line[0] != "progress"], self.whole)
        steps = named(lines, "progress")
        self.assertEqual([int(step[0]) for step in steps], list(range(1, len(steps) + 1)))
        # The service may list more beside the folders.
        self.assertGreaterEqual(int(steps[-1][2]), len(self.whole) - 1)
        if len(steps) == 1:
            # A call that needs no further request is not ended.
            self.assertEqual(self.assert_same("cancel-at-request", 1, *self.listing), lines)
            return
        ended = self.results("cancel-at-request", 1, *self.listing)
        self.assertEqual([named(some, "progress") for some, _ in ended],
                         [steps[:1]] * len(ended))  # fmt: skip
        self.assertEqual({failed.kind for _, failed in ended}, {"cancelled"})
        self.assertEqual(self.assert_same(*self.listing), self.whole)


if __name__ == "__main__":
    unittest.main()

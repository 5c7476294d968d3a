"""Many threads on one session, and what processes hold after many calls."""

import pathlib
import unittest

from support.scripted_server import ScriptedServer, http_response

from binding_case import (
    GOOGLE_DRIVE, LANGUAGE, NOWHERE, S3, BindingCase, DriveCase, StoreCase, for_each, named
)  # fmt: skip

THREADS, TIMES = 64, 3
ENTRIES = 1000
# What a process may grow by while a command is repeated, in KiB. Each command is repeated so often
# that what it receives exceeds this several times. In C and C++ there is nothing that collects
# memory later, and less than 100 KiB have been seen.
GROWTH = 1024 if LANGUAGE in ("c", "cpp") else 5 * 1024
# What Python's own allocations may grow by, in bytes.
TRACED_GROWTH = 64 * 1024


class Threads:
    def assert_all_succeed(self, count):
        """The listing has `count` entries in each of the threads."""
        calls = THREADS * TIMES
        for _ in range(2):
            lines = self.driver.do("threads", THREADS, TIMES, *self.listing)
            self.assertEqual(
                lines,
                [["succeeded", str(calls)], ["entries", str(calls * count)], ["failures", "0"]],
            )  # fmt: skip


@for_each((S3,), StoreCase, "store")
class ThreadsOfAStore(Threads):
    compares_with_c = False

    def test_one_session_for_all(self):
        for name in "abc":
            self.driver.do("create", "s", self.bucket, f"{name}/")
        self.assert_all_succeed(3)


@for_each((GOOGLE_DRIVE,), DriveCase, "drive")
class ThreadsOfADrive(Threads):
    compares_with_c = False

    def test_one_session_for_all(self):
        folder = self.new_folder(folders=7)
        self.listing = ("folders", "d", folder)
        self.assert_all_succeed(7)


class Memory(BindingCase):
    compares_with_c = False

    def repeat(self, times, *words, failures=0):
        """Repeats a command; checks what the process holds in the end."""
        lines = self.driver.do("repeat", times, *words)
        self.assertIn(["failures", str(failures)], lines)
        ((before, after),) = named(lines, "memory")
        self.assertLess(int(after) - int(before), GROWTH, lines)
        for before, after in named(lines, "traced"):
            self.assertLess(int(after) - int(before), TRACED_GROWTH, lines)

    def open_s3(self, name, account):
        self.driver.do("open", name, "s3", "", 0, account.endpoint, "", *account[1:])

    def serve(self, name, body):
        """Opens a session with a server that has one response."""
        server = self.enterContext(ScriptedServer(http_response(body.encode())))
        self.open_s3(name, server.account)
        self.addCleanup(self.driver.do, "close", name)

    def test_listings_of_folders(self):
        folders = "".join(f"<CommonPrefixes><Prefix>folder-{number:05}/</Prefix></CommonPrefixes>"
                          for number in range(ENTRIES))  # fmt: skip
        self.serve("s", f"<ListBucketResult>{folders}</ListBucketResult>")
        self.assertEqual(len(self.driver.do("list", "s", "bucket", "")), ENTRIES + 1)
        self.repeat(400, "list", "s", "bucket", "")

    def test_listings_of_buckets(self):
        buckets = "".join(f"<Bucket><Name>bucket-{number:05}</Name></Bucket>"
                          for number in range(ENTRIES))  # fmt: skip
        self.serve("s", "<ListAllMyBucketsResult><Buckets>" + buckets
                   + "</Buckets></ListAllMyBucketsResult>")  # fmt: skip
        self.assertEqual(len(self.driver.do("buckets", "s")), ENTRIES + 1)
        self.repeat(500, "buckets", "s")

    def test_failures(self):
        S3.open(self.driver, "nowhere", NOWHERE)
        # Unlike the other functions, these write no line to the log.
        self.repeat(10_000, "create", "nowhere", "bucket", "photos/", failures=10_000)
        self.driver.do("close", "nowhere")

    def test_texts(self):
        text = "x" * 100_000
        (encrypted,) = self.driver.value("encrypt", text)
        self.repeat(100, "encrypt", text)
        self.repeat(100, "decrypt", encrypted)
        GOOGLE_DRIVE.open(self.driver, "d")
        self.repeat(20_000, "url", "d", "s" * 500)
        self.driver.do("close", "d")

    def test_calls_that_are_ended(self):
        """Each has a cancellation, which has a descriptor."""
        S3.open(self.driver, "nowhere", NOWHERE)
        ending = ("within", 60_000, "cancel-after", 60_000, "cancel-at-request", 5)
        self.driver.fail(*ending, "create", "nowhere", "bucket", "photos/")
        before = self.driver.descriptors()
        self.repeat(2000, *ending, "create", "nowhere", "bucket", "photos/", failures=2000)
        self.assertLessEqual(self.driver.descriptors(), before)
        self.assertLess(self.thread_count(), 30)
        self.driver.do("close", "nowhere")

    def test_sessions(self):
        def open_and_close(times):
            for _ in range(times):
                S3.open(self.driver, "one")
                GOOGLE_DRIVE.open(self.driver, "two")
                self.driver.do("close", "one")
                self.driver.do("close", "two")

        open_and_close(200)
        before = self.driver.resident_kilobytes(), self.driver.descriptors()
        open_and_close(1000)
        self.assertLess(self.driver.resident_kilobytes() - before[0], GROWTH)
        self.assertLessEqual(self.driver.descriptors(), before[1])

    def thread_count(self):
        return len(list(pathlib.Path(f"/proc/{self.driver.process.pid}/task").iterdir()))


@for_each((GOOGLE_DRIVE,), DriveCase, "drive")
class MemoryOfADrive:
    compares_with_c = False
    repeat = Memory.repeat

    def test_single_folders(self):
        self.configure(rootName="x" * 100_000)
        self.repeat(300, "root", "d")


if __name__ == "__main__":
    unittest.main()

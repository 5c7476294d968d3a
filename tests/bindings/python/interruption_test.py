"""What an interrupt at any line leaves behind, and the end of the interpreter during calls."""

import gc
import os
import signal
import subprocess
import sys
import unittest
import warnings
from unittest import mock

import vemlo
from vemlo._signals import DeferredSignals

from cloud import Cloud, response, s3_buckets

PACKAGE = os.path.dirname(vemlo.__file__)
BUCKETS = s3_buckets(["one"])

# A daemon thread makes calls until it cannot. What is registered before the package is imported
# runs after what the package does at the end.
DAEMON = """
import atexit, sys, threading
atexit.register(lambda: thread.join())
import vemlo

def look():
    while True:
        try:
            s3.folders("bucket", timeout=30, progress=lambda _: began.set())
        except vemlo.Failure as failure:
            print(type(failure).__name__, flush=True)
            if isinstance(failure, vemlo.HostFault):
                return

began = threading.Event()
library = vemlo.Library()
s3 = vemlo.S3(sys.argv[1], "", "key", "secret")
thread = threading.Thread(target=look, daemon=True)
thread.start()
began.wait()
"""


class Interrupts(unittest.TestCase):
    def at_each_line(self, function):
        """Runs the function again and again, each time with a KeyboardInterrupt at another line of
        the package. Yields after each."""
        self.enterContext(mock.patch.object(sys, "unraisablehook"))
        self.enterContext(warnings.catch_warnings())
        warnings.simplefilter("ignore")
        for number in range(10_000):
            lines = []

            def trace(frame, event, _, number=number, lines=lines):
                if not frame.f_code.co_filename.startswith(PACKAGE):
                    return None
                if event == "line":
                    lines.append(f"{frame.f_code.co_filename}:{frame.f_lineno}")
                    if len(lines) == number + 1:
                        raise KeyboardInterrupt
                return trace

            try:
                sys.settrace(trace)
                function()
            except KeyboardInterrupt:
                pass
            finally:
                sys.settrace(None)
            gc.collect()
            if len(lines) <= number:
                return
            with self.subTest(line=lines[number]):
                yield
        self.fail("It does not end.")

    def test_the_library_does_not_stay_open(self):
        def use():
            with vemlo.Library(), vemlo.S3(cloud.endpoint, "", "key", "secret") as s3:
                s3.buckets(timeout=60)

        cloud = self.enterContext(Cloud(BUCKETS))
        use()
        for _ in self.at_each_line(use):
            self.assertIsNone(vemlo.library._current)
            use()

    def test_limits_do_not_stay(self):
        def use():
            # Whether the interrupt hits the call or the removal of its limits.
            s3.buckets(timeout=60, cancellation=cancellation)

        cloud = self.enterContext(Cloud(BUCKETS))
        self.enterContext(vemlo.Library())
        s3 = self.enterContext(vemlo.S3(cloud.endpoint, "", "key", "secret"))
        cancellation = self.enterContext(vemlo.Cancellation())
        for _ in self.at_each_line(use):
            cancellation.trigger()
            self.assertEqual([*s3.buckets()], ["one"])
            cancellation.reset()


class Signals(unittest.TestCase):
    def test_each_handler_runs_although_others_raise(self):
        ran = []

        def handler(number, _):
            ran.append(number)
            raise OSError(number)

        numbers = [signal.SIGUSR1, signal.SIGUSR2]
        former = [signal.signal(number, handler) for number in numbers]
        try:
            signals = DeferredSignals()
            signals.begin()
            for number in numbers:
                signal.raise_signal(number)
            self.assertEqual(ran, [])
            with self.assertRaises(OSError):
                signals.end()
            self.assertEqual(ran, numbers)
            self.assertEqual([*map(signal.getsignal, numbers)], [handler] * 2)
        finally:
            for number, handler in zip(numbers, former):
                signal.signal(number, handler)


class EndOfTheInterpreter(unittest.TestCase):
    def test_calls_of_daemon_threads_end_before_it(self):
        def respond(request):
            if len(cloud.requests) > 1:
                request.wait_until_abandoned()
            return response(b"<ListBucketResult><IsTruncated>true</IsTruncated>"
                            b"<NextContinuationToken>t</NextContinuationToken></ListBucketResult>")

        with Cloud(respond) as cloud:
            result = subprocess.run(
                [sys.executable, "-c", DAEMON, cloud.endpoint], capture_output=True, text=True,
                check=False, timeout=120,
            )  # fmt: skip
        self.assertEqual((result.stdout.split(), result.returncode),
                         (["Cancelled", "HostFault"], 0), result.stderr)  # fmt: skip


if __name__ == "__main__":
    unittest.main()

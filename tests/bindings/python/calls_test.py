"""How calls are made: limits, progress, threads, and Ctrl-C."""

import json
import os
import signal
import threading
import unittest
from unittest import mock

import vemlo
from vemlo import _c

from cloud import CloudCase, response, s3_buckets, s3_folders

BUCKETS = s3_buckets(["one", "two"])


def never(request):
    """No response: the call has to end by itself."""
    request.wait_until_abandoned()


def google_pages(request):
    """Pages without end."""
    number = int(request.query.get("pageToken", 0)) + 1
    page = {"files": [{"id": str(number), "name": "n"}], "nextPageToken": str(number)}
    return response(json.dumps(page))


class Limits(CloudCase):
    def test_a_call_ends_at_its_timeout(self):
        with self.assertRaises(vemlo.Deadline):
            self.s3(never).buckets(timeout=0.05)

    def test_a_call_after_the_timeout_of_its_block_sends_nothing(self):
        s3 = self.s3(BUCKETS)
        with vemlo.call_limits(timeout=0), self.assertRaises(vemlo.Deadline):
            s3.buckets()
        self.assertEqual(s3.cloud.requests, [])

    def test_another_thread_cancels_a_call(self):
        cancellation = self.enterContext(vemlo.Cancellation())

        def respond(request):
            cancellation.trigger()
            never(request)

        s3 = self.s3(respond)
        with self.assertRaises(vemlo.Cancelled):
            s3.buckets(cancellation=cancellation)

    def test_a_cancellation_is_reset(self):
        s3 = self.s3(BUCKETS)
        with vemlo.Cancellation() as cancellation:
            cancellation.trigger()
            self.assertTrue(cancellation.is_triggered)
            with self.assertRaises(vemlo.Cancelled):
                s3.buckets(cancellation=cancellation)
            cancellation.reset()
            self.assertFalse(cancellation.is_triggered)
            self.assertEqual([*s3.buckets(cancellation=cancellation)], ["one", "two"])

    def test_a_closed_cancellation_is_refused(self):
        cancellation = vemlo.Cancellation()
        cancellation.close()
        cancellation.close()
        cancellation.trigger()
        with self.assertRaises(vemlo.BadArguments):
            self.s3(BUCKETS).buckets(cancellation=cancellation)

    def test_it_is_released_after_those_that_use_it(self):
        library = _c.load()
        steps = []
        triggering, closed = threading.Event(), threading.Event()

        class Slow:
            def __getattr__(self, function):
                if function == "vemlo_client_cancellation_trigger":
                    return self.trigger
                if function == "vemlo_client_cancellation_release":
                    steps.append("release")
                return getattr(library, function)

            def trigger(self, handle):
                triggering.set()
                closed.wait()
                steps.append("trigger")
                library.vemlo_client_cancellation_trigger(handle)

        cancellation = vemlo.Cancellation()
        with mock.patch.object(_c, "load", Slow):
            other = threading.Thread(target=cancellation.trigger)
            other.start()
            triggering.wait()
            cancellation.close()
            closed.set()
            other.join()
        self.assertEqual(steps, ["trigger", "release"])

    def test_closed_within_its_block_it_still_ends_the_calls(self):
        s3 = self.s3(BUCKETS)
        with vemlo.Cancellation() as cancellation, vemlo.call_limits(cancellation=cancellation):
            cancellation.trigger()
            cancellation.close()
            with self.assertRaises(vemlo.Cancelled):
                s3.buckets()

    def test_limits_are_removed_after_the_call(self):
        s3 = self.s3(BUCKETS)
        reports = []
        with vemlo.Cancellation() as cancellation:
            s3.buckets(timeout=60, cancellation=cancellation, progress=reports.append)
            with self.assertRaises(vemlo.Deadline):
                s3.buckets(timeout=0)
            cancellation.trigger()
            s3.buckets()
        self.assertEqual(len(reports), 1)

    def test_a_call_without_limits_has_those_of_its_block(self):
        s3 = self.s3(BUCKETS)
        reports = []
        with vemlo.call_limits(progress=reports.append):
            s3.buckets()
            with vemlo.Cancellation() as cancellation, vemlo.call_limits(cancellation=cancellation):
                cancellation.trigger()
                with self.assertRaises(vemlo.Cancelled):
                    s3.buckets(timeout=60)
            s3.buckets(timeout=60)
        s3.buckets()
        self.assertEqual(len(reports), 2)


class Progress(CloudCase):
    def test_what_is_reported(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, google_pages)
        reports = []

        def continues(progress):
            reports.append(progress)
            return progress.requests < 3

        with self.assertRaises(vemlo.Cancelled):
            drive.folders("root", progress=continues)
        self.assertEqual([(r.requests, r.entries) for r in reports], [(1, 1), (2, 2), (3, 3)])
        last = reports[-1]
        self.assertEqual((last.service, last.operation),
                         (vemlo.Service.GOOGLE_DRIVE, "listFileResource"))  # fmt: skip
        self.assertGreater(last.bytes, 100)
        self.assertEqual(len(drive.cloud.requests), 3)

    def test_none_continues(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, google_pages)
        with self.assertRaises(vemlo.Cancelled):
            drive.folders("root", progress=lambda step: None if step.requests < 5 else False)
        self.assertEqual(len(drive.cloud.requests), 5)

    def test_what_it_raises_ends_the_call_and_is_raised(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, google_pages)
        for error in (KeyError("mine"), KeyboardInterrupt(), SystemExit(3)):
            with self.subTest(error=error):
                def fails(_, error=error):
                    raise error

                with self.assertRaises(type(error)) as caught:
                    drive.folders("root", progress=fails)
                self.assertIs(caught.exception, error)
        self.assertEqual(len(drive.cloud.requests), 3)

    def test_ctrl_c_ends_the_call(self):
        def respond(request):
            if request.query.get("pageToken") == "2":
                os.kill(os.getpid(), signal.SIGINT)
            return google_pages(request)

        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, respond)
        with self.assertRaises(KeyboardInterrupt):
            drive.folders("root", progress=lambda step: step.requests < 9)
        self.assertEqual(len(drive.cloud.requests), 3)
        self.assertIs(signal.getsignal(signal.SIGINT), signal.default_int_handler)

    def test_ctrl_c_interrupts_the_function(self):
        passed = []

        def waits(_):
            signal.raise_signal(signal.SIGINT)
            passed.append(True)

        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, google_pages)
        with self.assertRaises(KeyboardInterrupt):
            drive.folders("root", progress=waits)
        self.assertEqual((passed, len(drive.cloud.requests)), ([], 1))

    def test_handlers_of_signals_run_during_the_call(self):
        def respond(request):
            if "pageToken" not in request.query:
                os.kill(os.getpid(), signal.SIGUSR1)
            return google_pages(request)

        seen = []
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, respond)
        former = signal.signal(signal.SIGUSR1, lambda *_: seen.append(len(drive.cloud.requests)))
        try:
            with self.assertRaises(vemlo.Cancelled):
                drive.folders("root", progress=lambda step: step.requests < 3)
        finally:
            signal.signal(signal.SIGUSR1, former)
        self.assertEqual(seen, [1])

    def test_a_handler_that_the_function_sets_remains(self):
        former = signal.getsignal(signal.SIGUSR1)
        handlers = [lambda *_: None, lambda *_: None]
        signal.signal(signal.SIGUSR1, handlers[0])
        try:
            self.s3(BUCKETS).buckets(progress=lambda _: signal.signal(signal.SIGUSR1, handlers[1]))
            self.assertIs(signal.getsignal(signal.SIGUSR1), handlers[1])
        finally:
            signal.signal(signal.SIGUSR1, former)

    def test_one_that_counts_as_false_is_called(self):
        class Log(list):
            def __call__(self, step):
                self.append(step.requests)

        log = Log()
        self.s3(BUCKETS).buckets(progress=log)
        self.assertEqual(log, [1])

    def test_what_it_raises_is_raised_by_a_call_that_succeeds(self):
        s3 = self.s3(BUCKETS)

        def fails(_):
            raise KeyError("mine")

        with self.assertRaises(KeyError):
            s3.buckets(progress=fails)
        self.assertEqual([*s3.buckets()], ["one", "two"])

    def test_it_may_make_calls(self):
        s3 = self.s3(BUCKETS)
        found, reports = [], []

        def look(progress):
            reports.append(progress)
            found.extend(s3.buckets(timeout=60))

        with vemlo.Cancellation() as cancellation:
            s3.buckets(cancellation=cancellation, progress=look)
        self.assertEqual((found, len(reports)), (["one", "two"], 1))


class Threads(CloudCase):
    def test_other_threads_go_on_during_a_call(self):
        steps = []
        proceed, responded = threading.Event(), threading.Event()

        def count():
            proceed.wait()
            steps.extend(range(1000))
            responded.set()

        def respond(_):
            proceed.set()
            responded.wait()
            return BUCKETS

        s3 = self.s3(respond)
        other = threading.Thread(target=count)
        other.start()
        s3.buckets()
        other.join()
        self.assertEqual(len(steps), 1000)

    def test_calls_on_one_session(self):
        all_at_once = threading.Barrier(8)

        def respond(request):
            all_at_once.wait()  # of which a lock around calls would keep them
            return s3_folders([request.query["prefix"] + f"{n}/" for n in range(3)])

        s3 = self.s3(respond)
        found = {}

        def look(number):
            found[number] = [folder.name for folder in s3.folders("bucket", f"{number}/")]

        threads = [threading.Thread(target=look, args=(n,)) for n in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, {n: [f"{n}/0/", f"{n}/1/", f"{n}/2/"] for n in range(8)})

    def test_limits_are_those_of_one_thread(self):
        s3 = self.s3(BUCKETS)
        found = []
        with vemlo.call_limits(timeout=0):
            thread = threading.Thread(target=lambda: found.extend(s3.buckets()))
            thread.start()
            thread.join()
        self.assertEqual(found, ["one", "two"])


class Interrupts(CloudCase):
    @staticmethod
    def interrupt(request):
        os.kill(os.getpid(), signal.SIGINT)
        never(request)

    def test_ctrl_c_cancels_a_call(self):
        s3 = self.s3(self.interrupt)
        before = signal.getsignal(signal.SIGINT)
        with self.assertRaises(vemlo.Cancelled):
            with vemlo.cancel_on_sigint() as cancellation:
                s3.buckets(cancellation=cancellation)
        self.assertIs(signal.getsignal(signal.SIGINT), before)
        self.assertEqual(signal.set_wakeup_fd(-1), -1)
        self.assertNotIn("vemlo-sigint", [thread.name for thread in threading.enumerate()])

    def test_the_call_is_still_running_without_it(self):
        # Nothing but the timeout ends it, although the signal was received before.
        s3 = self.s3(self.interrupt)
        with self.assertRaises(KeyboardInterrupt) as caught:
            s3.buckets(timeout=0.2)
        self.assertEqual(len(s3.cloud.requests), 1)
        self.assertIsNone(caught.exception.__context__)

    def test_ctrl_c_is_not_lost_if_the_call_succeeds(self):
        def respond(_):
            os.kill(os.getpid(), signal.SIGINT)
            return BUCKETS

        s3 = self.s3(respond)
        with self.assertRaises(KeyboardInterrupt):
            with vemlo.cancel_on_sigint():
                self.assertEqual([*s3.buckets()], ["one", "two"])

    def test_ctrl_c_is_not_lost_if_the_block_fails_otherwise(self):
        with self.assertRaises(KeyboardInterrupt) as caught:
            with vemlo.cancel_on_sigint():
                signal.raise_signal(signal.SIGINT)
                raise OSError("the disk is full")
        self.assertIsInstance(caught.exception.__cause__, OSError)
        with self.assertRaises(OSError), vemlo.cancel_on_sigint():
            raise OSError("the disk is full")

    def test_where_ctrl_c_is_ignored_it_stays_so(self):
        former = signal.signal(signal.SIGINT, signal.SIG_IGN)
        try:
            with vemlo.cancel_on_sigint() as cancellation:
                os.kill(os.getpid(), signal.SIGINT)
                self.assertEqual([*self.s3(BUCKETS).buckets(cancellation=cancellation)],
                                 ["one", "two"])  # fmt: skip
            self.assertIs(signal.getsignal(signal.SIGINT), signal.SIG_IGN)
        finally:
            signal.signal(signal.SIGINT, former)

    def test_a_handler_that_python_did_not_set_is_not_replaced(self):
        with mock.patch.object(signal, "getsignal", return_value=None), \
                mock.patch.object(signal, "signal") as replace:
            with self.assertRaises(ValueError), vemlo.cancel_on_sigint():
                pass
        replace.assert_not_called()

    def test_ctrl_c_outside_of_a_call_is_noticed_at_the_end(self):
        passed = False
        with self.assertRaises(KeyboardInterrupt):
            with vemlo.cancel_on_sigint() as cancellation:
                signal.raise_signal(signal.SIGINT)
                passed = cancellation.is_triggered
        self.assertTrue(passed)

    def test_without_a_signal_nothing_is_raised(self):
        with vemlo.cancel_on_sigint() as cancellation:
            self.s3(BUCKETS).buckets(cancellation=cancellation)
        self.assertFalse(cancellation.is_triggered)

    def test_other_signals_reach_their_reader(self):
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        former = signal.signal(signal.SIGUSR1, lambda *_: None)
        signal.set_wakeup_fd(writer)
        try:
            with vemlo.cancel_on_sigint() as cancellation:
                signal.raise_signal(signal.SIGUSR1)
            self.assertFalse(cancellation.is_triggered)
            self.assertEqual(os.read(reader, 10), bytes([signal.SIGUSR1]))
            self.assertEqual(signal.set_wakeup_fd(-1), writer)
        finally:
            signal.set_wakeup_fd(-1)
            signal.signal(signal.SIGUSR1, former)
            os.close(reader)
            os.close(writer)

    def test_on_another_thread_it_is_refused(self):
        raised = []

        def use():
            try:
                with vemlo.cancel_on_sigint():
                    pass
            except ValueError as error:
                raised.append(error)

        thread = threading.Thread(target=use)
        thread.start()
        thread.join()
        self.assertEqual(len(raised), 1)


if __name__ == "__main__":
    unittest.main()

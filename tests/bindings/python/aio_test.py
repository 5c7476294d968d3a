"""Calls in asyncio."""

import asyncio
import os
import signal
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from unittest import mock

import vemlo
from vemlo import aio

from cloud import CloudCase, s3_buckets, s3_error, s3_folders

BUCKETS = s3_buckets(["one"])


class Aio(CloudCase):
    def setUp(self):
        super().setUp()
        self.arrived = threading.Event()
        self.abandoned = threading.Event()

    def never(self, request):
        self.arrived.set()
        request.wait_until_abandoned()
        self.abandoned.set()

    async def arrival(self):
        await asyncio.to_thread(self.arrived.wait, 60)

    def test_the_result_and_the_failure_of_a_call(self):
        async def use():
            names = await aio.call(s3.buckets)
            s3.cloud.respond = lambda _: s3_error("AccessDenied", "403 Forbidden")
            with self.assertRaises(vemlo.Denied):
                await aio.call(s3.folders, "bucket", prefix="a/")
            return [*names]

        s3 = self.s3(BUCKETS)
        self.assertEqual(asyncio.run(use()), ["one"])
        self.assertEqual(s3.cloud.requests[1].query["prefix"], "a/")

    def test_calls_run_at_the_same_time(self):
        together = threading.Barrier(8)

        def respond(_):
            together.wait()
            return BUCKETS

        async def use():
            return await asyncio.gather(*(aio.call(s3.buckets) for _ in range(8)))

        s3 = self.s3(respond)
        self.assertEqual([[*names] for names in asyncio.run(use())], [["one"]] * 8)

    def test_cancelling_the_task_ends_the_call(self):
        async def use():
            task = asyncio.create_task(aio.call(s3.buckets))
            await self.arrival()
            task.cancel()
            with self.assertRaises(asyncio.CancelledError):
                await task
            # It has ended, as its uses of the session have.
            self.assertEqual(s3._held._uses, set())

        s3 = self.s3(self.never)
        asyncio.run(use())
        self.abandoned.wait()

    def test_cancelling_the_task_twice_still_waits_for_the_call(self):
        proceed = threading.Event()

        def slow():
            self.arrived.set()
            proceed.wait()
            ended.append(True)

        async def use():
            task = asyncio.create_task(aio.call(slow))
            await self.arrival()
            for _ in range(2):
                task.cancel()
                await asyncio.sleep(0)
                await asyncio.sleep(0)
            self.assertFalse(task.done())
            proceed.set()
            with self.assertRaises(asyncio.CancelledError):
                await task
            self.assertEqual(ended, [True])

        ended = []
        asyncio.run(use())

    def test_a_timeout_of_asyncio_ends_the_call(self):
        async def use():
            with self.assertRaises(asyncio.TimeoutError):
                await asyncio.wait_for(aio.call(s3.buckets), 0.05)
            with self.assertRaises(vemlo.Deadline):
                await aio.call(s3.buckets, timeout=0.05)
            self.assertEqual(s3._held._uses, set())

        s3 = self.s3(self.never)
        asyncio.run(use())

    def test_a_call_that_waits_for_a_thread_is_never_made(self):
        async def use():
            first = asyncio.create_task(aio.call(s3.buckets))
            await self.arrival()
            second = asyncio.create_task(aio.call(unwanted))
            await asyncio.sleep(0)
            for task in (second, first):
                task.cancel()
                with self.assertRaises(asyncio.CancelledError):
                    await task

        s3 = self.s3(self.never)
        unwanted = mock.Mock()
        with ThreadPoolExecutor(1) as one, mock.patch.object(aio, "_threads", lambda: one):
            asyncio.run(use())
        unwanted.assert_not_called()

    def test_a_function_of_the_programs_own_is_cancelled_between_its_calls(self):
        def walk():
            for folder in s3.folders("bucket"):
                s3.folders("bucket", folder.name)

        def respond(request):
            return self.never(request) if request.query.get("prefix") else s3_folders(["a/", "b/"])

        async def use():
            task = asyncio.create_task(aio.call(walk))
            await self.arrival()
            task.cancel()
            with self.assertRaises(asyncio.CancelledError):
                await task

        s3 = self.s3(respond)
        asyncio.run(use())
        self.assertEqual([r.query.get("prefix") for r in s3.cloud.requests], [None, "a/"])

    def test_a_thread_is_used_again_without_the_cancellation(self):
        async def use():
            task = asyncio.create_task(aio.call(s3.buckets))
            await self.arrival()
            task.cancel()
            await asyncio.wait([task])
            s3.cloud.respond = lambda _: BUCKETS
            return [*await aio.call(s3.buckets)]

        s3 = self.s3(self.never)
        with ThreadPoolExecutor(1) as one, mock.patch.object(aio, "_threads", lambda: one):
            self.assertEqual(asyncio.run(use()), ["one"])

    def test_progress_reaches_the_event_loop(self):
        async def use():
            loop, reports = asyncio.get_running_loop(), asyncio.Queue()
            await aio.call(s3.buckets, progress=lambda step: loop.call_soon_threadsafe(
                reports.put_nowait, step))  # fmt: skip
            return await reports.get()

        s3 = self.s3(BUCKETS)
        self.assertEqual(asyncio.run(use()).requests, 1)

    def test_a_cancellation_is_refused(self):
        async def use():
            with vemlo.Cancellation() as cancellation, self.assertRaises(TypeError):
                await aio.call(s3.buckets, cancellation=cancellation)

        s3 = self.s3(BUCKETS)
        asyncio.run(use())
        self.assertEqual(s3.cloud.requests, [])

    def test_a_cancellation_of_the_functions_own_is_refused(self):
        """It would take the place of the task's, so that the call would outlive the task."""

        def look():
            with vemlo.Cancellation() as own:
                return s3.buckets(cancellation=own)

        s3 = self.s3(BUCKETS)
        with self.assertRaises(TypeError):
            asyncio.run(aio.call(look))
        self.assertEqual(s3.cloud.requests, [])

    def test_a_function_that_raises_stop_iteration(self):
        def stops(_):
            raise StopIteration

        with self.assertRaisesRegex(RuntimeError, "StopIteration"):
            asyncio.run(asyncio.wait_for(aio.call(self.s3(BUCKETS).buckets, progress=stops), 60))

    def test_closing_the_coroutine_ends_the_call(self):
        def look():
            try:
                s3.buckets(timeout=60)
            except vemlo.Failure as failure:
                failures.append(failure.kind)
            ended.set()

        async def use():
            coroutine = aio.call(look)
            coroutine.send(None)
            await self.arrival()
            coroutine.close()
            await asyncio.to_thread(ended.wait)

        failures, ended = [], threading.Event()
        s3 = self.s3(self.never)
        asyncio.run(use())
        self.assertEqual(failures, [vemlo.Kind.CANCELLED])

    def test_ctrl_c_ends_the_call_and_the_program(self):
        def respond(request):
            os.kill(os.getpid(), signal.SIGINT)
            self.never(request)

        s3 = self.s3(respond)
        with self.assertRaises(KeyboardInterrupt):
            asyncio.run(aio.call(s3.buckets))
        self.assertEqual(s3._held._uses, set())


if __name__ == "__main__":
    unittest.main()

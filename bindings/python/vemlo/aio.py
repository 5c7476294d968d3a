"""Calls in asyncio: on threads, and ended when their task is cancelled.

    folders = await vemlo.aio.call(drive.folders, root, progress=show)
"""

from __future__ import annotations

import asyncio
import contextvars
import functools
from concurrent.futures import ThreadPoolExecutor
from typing import TYPE_CHECKING, Callable, TypeVar

from .calls import TASK_IS_CANCELLED, Cancellation, call_limits

if TYPE_CHECKING:
    from typing_extensions import ParamSpec

    Arguments = ParamSpec("Arguments")

Result = TypeVar("Result")

# Calls wait for the network and may take minutes, so they keep no thread from asyncio's executor,
# which looks up host names.
_THREADS = 32


@functools.lru_cache(maxsize=None)
def _threads() -> ThreadPoolExecutor:
    return ThreadPoolExecutor(_THREADS, thread_name_prefix="vemlo")


async def call(
    function: Callable[Arguments, Result],
    /,
    *arguments: Arguments.args,
    **options: Arguments.kwargs,
) -> Result:
    """Runs `function(*arguments, **options)` on a thread and returns its result.

    The function is one of this package, or one of the program's own that makes calls. If the task
    is cancelled, also by asyncio.timeout() or asyncio.wait_for(), its calls are cancelled, and
    asyncio.CancelledError is raised when the function has ended, which takes a tenth of a second
    unless it does something else. So no call is left running. At most 32 functions run at a time;
    others wait for them. A progress function is called on the thread; it uses
    loop.call_soon_threadsafe() to reach the event loop. If the coroutine is closed instead, the
    calls end, too, but nothing waits for them.

    Raises:
        TypeError: a cancellation is given, here or by the function to one of its calls: it is the
            task that is cancelled.
        RuntimeError: the function raised StopIteration, which no coroutine can raise.
    """
    if "cancellation" in options:
        raise TypeError(TASK_IS_CANCELLED)
    with Cancellation() as cancellation:
        cancellation._is_of_task = True

        def run() -> Result:
            try:
                with call_limits(cancellation=cancellation):
                    return function(*arguments, **options)
            except StopIteration as error:  # which no future takes
                raise RuntimeError("the function raised StopIteration") from error

        context = contextvars.copy_context()
        job = _threads().submit(lambda: context.run(run))
        future: asyncio.Future[Result] = asyncio.wrap_future(job)
        future.add_done_callback(_retrieve)
        try:
            # Unlike `await future`, this does not cancel the future with the task.
            await asyncio.wait([future])
        except asyncio.CancelledError:
            if not job.cancel():
                cancellation.trigger()
                await _ended(future)
            raise
        finally:
            # Nothing can be awaited while the coroutine is closed.
            if not job.done() and not job.cancel():
                cancellation.trigger()
        return future.result()


async def _ended(future: asyncio.Future[Result]) -> None:
    """Waits until the future is done, also if the task is cancelled again."""
    while not future.done():
        try:
            await asyncio.wait([future])
        except asyncio.CancelledError:
            pass  # raised by the caller, once nothing runs any more


def _retrieve(future: asyncio.Future[Result]) -> None:
    """Marks an exception as noticed, which nobody waits for if the call was cancelled."""
    if not future.cancelled():
        future.exception()

"""How calls are made: with a timeout, a cancellation and a progress callback."""

from __future__ import annotations

import contextlib
import ctypes
import math
import threading
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Callable, Iterator, NamedTuple, Optional, Type

from . import _c
from .failures import BadArguments, Service, decoded, failure_of, service_of

# Far enough away, and within the range of the C interface.
_LONGEST_TIMEOUT = 1e12


class Cancellation:
    """What ends calls early. Any number of calls depend on it, and any thread triggers it.

    A context manager that closes it. A child process that is forked shares its state with the
    parent, so it creates one of its own.

    Raises:
        MemoryError: there is no memory or no file descriptor left (it has one).
    """

    _handle: Optional[int] = None

    def __init__(self) -> None:
        self._handle = _c.load().vemlo_client_cancellation_create()
        if self._handle is None:
            raise MemoryError("no memory or no file descriptor is left")

    def trigger(self) -> None:
        """Ends the calls that depend on it, within a tenth of a second, and those that begin later.

        They raise Cancelled. Their sessions can still be used. May be called by a signal handler.
        Does nothing if it is closed.
        """
        _c.load().vemlo_client_cancellation_trigger(self._handle)

    def reset(self) -> None:
        """Reverses trigger(). A call that has not noticed yet may continue."""
        _c.load().vemlo_client_cancellation_reset(self._handle)

    @property
    def is_triggered(self) -> bool:
        """Whether it is triggered. False if it is closed."""
        return bool(_c.load().vemlo_client_cancellation_is_triggered(self._handle))

    def close(self) -> None:
        """Releases it. Not while another thread uses it here; calls that depend on it may run."""
        handle, self._handle = self._handle, None
        if handle is not None:
            _c.load().vemlo_client_cancellation_release(handle)

    def __enter__(self) -> Cancellation:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        self.close()


@dataclass(frozen=True)
class Progress:
    """How far a call has come.

    Attributes:
        service: the service of the last request.
        operation: the operation of the last request, such as "listFileResource".
        requests: the number of requests so far, including retries and token requests.
        bytes: the number of bytes in the bodies of the responses so far, decompressed.
        entries: the number of entries in the listings so far: buckets or folders, and whatever
            else the service lists beside them.
    """

    service: Optional[Service]
    operation: str
    requests: int
    bytes: int
    entries: int


ProgressFunction = Callable[[Progress], Optional[bool]]


class Limits(NamedTuple):
    """The arguments of call_limits(), for one call."""

    timeout: Optional[float] = None
    cancellation: Optional[Cancellation] = None
    progress: Optional[ProgressFunction] = None


NO_LIMITS = Limits()


class _OfThread(threading.local):
    """What this package has set for the calls of a thread."""

    deadline = 0
    cancellation: Optional[Cancellation] = None
    progress: Optional[ProgressFunction] = None
    # What a callback has raised, to be raised by the call.
    raised: Optional[BaseException] = None


_thread = _OfThread()


def _report_progress(record: Any, _: Any) -> int:
    progress = _thread.progress
    try:
        if progress is None:
            return 0
        reached = record[0]
        step = Progress(
            service_of(reached.service),
            decoded(reached.operation),
            reached.requests,
            reached.bytes,
            reached.entries,
        )
        return 1 if progress(step) is False else 0
    except BaseException as error:  # KeyboardInterrupt, too, must end the call
        _thread.raised = error
        return 1


# These exist as long as the process, so that no call can find them released.
_REPORT = _c.ProgressCallback(_report_progress)
_NO_REPORT = _c.ProgressCallback(0)


def raise_from_call(error: BaseException) -> None:
    """Lets the call that this thread makes raise `error`, which a callback may not."""
    _thread.raised = error


def _apply(
    deadline: int, cancellation: Optional[Cancellation], progress: Optional[ProgressFunction]
) -> None:
    library = _c.load()
    if deadline != _thread.deadline:
        _thread.deadline = deadline
        library.vemlo_client_set_deadline(deadline)
    if cancellation is not _thread.cancellation:
        _thread.cancellation = cancellation
        library.vemlo_client_set_cancellation(cancellation and cancellation._handle)
    if progress is not _thread.progress:
        _thread.progress = progress
        callback = _NO_REPORT if progress is None else _REPORT
        library.vemlo_client_set_progress_callback(callback, None)


def _deadline_of(timeout: float) -> int:
    if math.isnan(timeout) or timeout < 0:
        raise BadArguments(f"A timeout is a number of seconds, not {timeout}.")
    milliseconds = math.ceil(min(timeout, _LONGEST_TIMEOUT) * 1000)
    return int(_c.load().vemlo_client_now()) + milliseconds


@contextlib.contextmanager
def call_limits(
    *,
    timeout: Optional[float] = None,
    cancellation: Optional[Cancellation] = None,
    progress: Optional[ProgressFunction] = None,
) -> Iterator[None]:
    """Sets what this thread's calls in the block depend on. What is None stays as it is.

    Calls that are given a timeout, a cancellation or a progress function of their own use these in
    place of those of the block.

    Args:
        timeout: the number of seconds after which the block's calls end, and none begins. A call
            that has not ended by then raises Deadline, within a tenth of a second.
        cancellation: what ends the calls early; they raise Cancelled.
        progress: called on this thread after each request of a call. If it returns False, the call
            ends and raises Cancelled, unless it needs no further request. What it raises ends the
            call, too, and is raised by it.
    """
    former = _thread.deadline, _thread.cancellation, _thread.progress
    if cancellation is not None and cancellation._handle is None:
        raise BadArguments("The cancellation is closed.")
    deadline = former[0] if timeout is None else _deadline_of(timeout)
    try:
        _apply(deadline, cancellation or former[1], progress or former[2])
        yield
    finally:
        _apply(*former)


def make(function: str, *arguments: Any, limits: Limits = NO_LIMITS) -> None:
    """Calls a function of the C interface that returns a result code, and raises its failure."""
    if limits == NO_LIMITS:
        _make(function, arguments)
    else:
        with call_limits(**limits._asdict()):
            _make(function, arguments)


def _make(function: str, arguments: Any) -> None:
    library = _c.load()
    library.vemlo_client_reset_last_failure()
    _thread.raised = None
    code = getattr(library, function)(*arguments)
    raised, _thread.raised = _thread.raised, None
    if raised is not None:
        raise raised
    if code != 0:
        raise failure_of(code)

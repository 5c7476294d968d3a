"""How calls are made: with a timeout, a cancellation and a progress callback."""

from __future__ import annotations

import atexit
import contextlib
import ctypes
import math
import os
import threading
from dataclasses import dataclass
from typing import Any, Callable, ContextManager, Dict, Iterator, NamedTuple, Optional

from . import _c
from ._closing import Closing
from ._held import Held, Use
from ._signals import DeferredSignals
from .failures import BadArguments, HostFault, Service, decoded, failure_of, service_of

# Far enough away, and within the range of the C interface.
_LONGEST_TIMEOUT = 1e12

# For how many seconds the end of the interpreter waits for the calls of daemon threads, of which a
# function of the program may run for ever.
_LONGEST_END = 10

TASK_IS_CANCELLED = "vemlo.aio.call() takes no cancellation: cancel the task"


class Cancellation(Closing):
    """What ends calls early. Any number of calls depend on it, and any thread triggers it.

    A context manager that closes it. A child process that is forked shares its state with the
    parent, so it creates one of its own.

    Raises:
        MemoryError: there is no memory or no file descriptor left (it has one).
    """

    _held: Optional[Held] = None

    def __init__(self) -> None:
        self._is_of_task = False
        self._handle = handle = ctypes.c_void_p(_c.load().vemlo_client_cancellation_create())
        if handle.value is None:
            raise MemoryError("no memory or no file descriptor is left")

        def release() -> None:
            address, handle.value = handle.value, None
            _c.load().vemlo_client_cancellation_release(address)

        # Another thread may use it while it is closed.
        self._held = Held("cancellation", release)

    def trigger(self) -> None:
        """Ends the calls that depend on it, within a tenth of a second, and those that begin later.

        They raise Cancelled. Their sessions can still be used. May be called by a signal handler.
        Does nothing if it is closed.
        """
        with contextlib.suppress(BadArguments), self._use():
            _c.load().vemlo_client_cancellation_trigger(self._handle)

    def reset(self) -> None:
        """Reverses trigger(). A call that has not noticed yet may continue."""
        with contextlib.suppress(BadArguments), self._use():
            _c.load().vemlo_client_cancellation_reset(self._handle)

    @property
    def is_triggered(self) -> bool:
        """Whether it is triggered. False if it is closed."""
        with contextlib.suppress(BadArguments), self._use():
            return bool(_c.load().vemlo_client_cancellation_is_triggered(self._handle))
        return False

    def close(self) -> None:
        """Closes it. Calls that depend on it may run; they can no longer be cancelled."""
        if self._held is not None:
            self._held.close()

    def _use(self) -> Use:
        """Begins a use. Raises BadArguments if it is closed."""
        assert self._held is not None
        return self._held.use()

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


class _Limits(NamedTuple):
    """What the C interface is told before a call."""

    deadline: int = 0
    cancellation: Optional[Cancellation] = None
    progress: Optional[ProgressFunction] = None


_NOTHING = _Limits()


class _OfThread(threading.local):
    """What this package knows about the calls of a thread."""

    # What the next call depends on.
    limits = _NOTHING
    # What the C interface has been told; None while it is being told.
    applied: Optional[_Limits] = _NOTHING
    # What a callback has raised, to be raised by the call.
    raised: Optional[BaseException] = None
    # The signals that wait until the call has ended.
    signals: Optional[DeferredSignals] = None


_thread = _OfThread()


@contextlib.contextmanager
def _host_function() -> Iterator[None]:
    """Keeps what belongs to the call that runs while its callback makes other calls."""
    applied, raised, signals = _thread.applied, _thread.raised, _thread.signals
    try:
        yield
    finally:
        _thread.raised, _thread.signals = raised, signals
        _apply(applied or _NOTHING)


def call_back(function: Callable[[Any], Any], argument: Any) -> Any:
    """Calls a function of the program, in which signals wait as they do in the rest of the call."""
    with _host_function():
        return function(argument)


def _report_progress(record: Any, _: Any) -> int:
    signals = _thread.signals
    try:
        # Otherwise a function that waits for something could not be interrupted.
        with contextlib.nullcontext() if signals is None else signals.running():
            return _reported(record[0])
    except BaseException as error:  # KeyboardInterrupt, too, must end the call
        raise_from_call(error)
        return 1


def _reported(reached: Any) -> int:
    progress = _thread.limits.progress
    if progress is None:
        return 0
    step = Progress(
        service_of(reached.service),
        decoded(reached.operation),
        reached.requests,
        reached.bytes,
        reached.entries,
    )
    return 1 if call_back(progress, step) is False else 0


# These exist as long as the process, so that no call can find them released.
_REPORT = _c.ProgressCallback(_report_progress)
_NO_REPORT = _c.ProgressCallback(0)


def raise_from_call(error: BaseException) -> None:
    """Lets the call that this thread makes raise `error`, which a callback may not."""
    _thread.raised = error


def _apply(limits: _Limits) -> None:
    if limits is _thread.applied:
        return
    library = _c.load()
    cancellation = limits.cancellation
    _thread.applied = None
    library.vemlo_client_set_deadline(limits.deadline)
    library.vemlo_client_set_cancellation(None if cancellation is None else cancellation._handle)
    library.vemlo_client_set_progress_callback(
        _NO_REPORT if limits.progress is None else _REPORT, None
    )
    _thread.applied = limits


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

    Raises:
        TypeError: a cancellation is given in a function that vemlo.aio.call() runs.
    """
    former = _thread.limits
    if cancellation is None:
        use: ContextManager[None] = contextlib.nullcontext()
    elif former.cancellation is not None and former.cancellation._is_of_task:
        raise TypeError(TASK_IS_CANCELLED)
    else:
        use = cancellation._use()
    limits = _Limits(
        former.deadline if timeout is None else _deadline_of(timeout),
        former.cancellation if cancellation is None else cancellation,
        former.progress if progress is None else progress,
    )
    with use:
        try:
            try:
                _thread.limits = limits
                yield
            finally:
                _thread.limits = former
        finally:
            _thread.limits = former  # again, as an interrupt may have come before the other


def make(function: str, *arguments: Any, limits: Limits = NO_LIMITS) -> None:
    """Calls a function of the C interface that returns a result code, and raises its failure."""
    if limits != NO_LIMITS:
        with call_limits(**limits._asdict()):
            make(function, *arguments)
    elif threading.current_thread().daemon:
        with _daemon_calls.call():
            _make(function, arguments)
    else:
        _make(function, arguments)


def _make(function: str, arguments: Any) -> None:
    _c.load().vemlo_client_reset_last_failure()
    _thread.raised = None
    code = _result_of(getattr(_c.load(), function), arguments)
    raised, _thread.raised = _thread.raised, None
    if raised is not None:
        raise raised
    if code != 0:
        raise failure_of(code)


def _result_of(function: Any, arguments: Any) -> int:
    limits = _thread.limits
    signals = None
    has_callbacks = limits.progress is not None or _reports_tokens
    if has_callbacks and threading.current_thread() is threading.main_thread():
        signals = DeferredSignals()
    try:
        _thread.signals = signals
        if signals is not None:
            signals.begin()
        _apply(limits)
        return int(function(*arguments))
    finally:
        try:
            # If an interrupt prevents this, the next call does it.
            _apply(_NOTHING)
        finally:
            _thread.signals = None
            if signals is not None:
                signals.end()


# Whether calls may hand renewed tokens to the program.
_reports_tokens = False


def report_tokens(callback: Any, is_none: bool) -> None:
    """Sets the callback of the process for renewed tokens, which may be null."""
    global _reports_tokens
    _reports_tokens = not is_none
    _c.load().vemlo_client_set_token_callback(callback, None)


class _DaemonCalls:
    """The calls of daemon threads, which must have ended before the interpreter does: a callback
    that finds no interpreter would crash."""

    def __init__(self) -> None:
        self.begin()

    def begin(self) -> None:
        """Also in a forked process, which has no such threads."""
        self._changed = threading.Condition()
        self._running: Dict[object, Cancellation] = {}
        self._has_ended = False

    @contextlib.contextmanager
    def call(self) -> Iterator[None]:
        """Lets a call run. Raises HostFault if the interpreter ends."""
        call = object()
        with contextlib.ExitStack() as stack:
            cancellation = _thread.limits.cancellation
            if cancellation is None:
                cancellation = stack.enter_context(Cancellation())
                stack.enter_context(call_limits(cancellation=cancellation))
            with self._changed:
                if self._has_ended:
                    raise HostFault("The program ends: a daemon thread can make no call.")
                self._running[call] = cancellation
            try:
                yield
            finally:
                with self._changed:
                    del self._running[call]
                    self._changed.notify_all()

    def end(self) -> None:
        """Cancels those that run, and waits for them. No other begins."""
        with self._changed:
            self._has_ended = True
            for cancellation in self._running.values():
                # Its call keeps it, also if the program has closed it.
                _c.load().vemlo_client_cancellation_trigger(cancellation._handle)
            self._changed.wait_for(lambda: not self._running, _LONGEST_END)


_daemon_calls = _DaemonCalls()
atexit.register(_daemon_calls.end)
os.register_at_fork(after_in_child=_daemon_calls.begin)

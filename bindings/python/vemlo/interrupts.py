"""Ctrl-C during a call."""

from __future__ import annotations

import contextlib
import os
import signal
import socket
import threading
from typing import Any, Iterator, List

from .calls import Cancellation
from .failures import Cancelled


def _trigger_when_signalled(reader: socket.socket, cancellation: Cancellation, former: int) -> None:
    """Reads the numbers of signals until 0, and hands them on to the former reader."""
    while True:
        numbers = reader.recv(4096)
        if signal.SIGINT in numbers:
            cancellation.trigger()
        if former != -1:
            with contextlib.suppress(OSError):  # full, which wakes its reader, too
                os.write(former, numbers.replace(b"\0", b""))
        if 0 in numbers or not numbers:
            return


@contextlib.contextmanager
def cancel_on_sigint() -> Iterator[Cancellation]:
    """A cancellation that SIGINT, which is Ctrl-C, triggers in the block in place of a
    KeyboardInterrupt.

    Python runs its signal handlers between two of its instructions, so not before a call returns.
    Within this block the interpreter also writes the number of the signal to a socket at once, and
    a thread that reads it triggers the cancellation. A call that is given the cancellation ends
    within a tenth of a second and raises Cancelled. If the block was signalled and does not end
    with Cancelled, KeyboardInterrupt is raised at its end, also in place of another exception.

        with vemlo.cancel_on_sigint() as cancellation:
            folders = drive.folders(root, cancellation=cancellation)

    Where SIGINT is ignored, as in a program that a shell runs in the background, it stays so, and
    nothing triggers the cancellation. On the main thread only. In asyncio, vemlo.aio is what to
    use.

    Raises:
        ValueError: it is used on another thread, or the handler of SIGINT was not set by Python.
    """
    former = signal.getsignal(signal.SIGINT)
    if former is None:
        raise ValueError("The handler of SIGINT was not set by Python, so it cannot be replaced.")
    with Cancellation() as cancellation:
        if former == signal.SIG_IGN:
            yield cancellation
            return
        signals: List[int] = []
        try:
            with _triggered_by_sigint(cancellation, former, signals):
                yield cancellation
        except Cancelled:
            raise
        except Exception as error:
            if signals:
                raise KeyboardInterrupt from error
            raise
        if signals:
            raise KeyboardInterrupt


@contextlib.contextmanager
def _triggered_by_sigint(
    cancellation: Cancellation, former_handler: Any, signals: List[int]
) -> Iterator[None]:
    """Notes SIGINT in `signals`, too."""

    def note(number: int, frame: object) -> None:
        signals.append(number)
        cancellation.trigger()

    with contextlib.ExitStack() as stack:
        reader, writer = (stack.enter_context(end) for end in socket.socketpair())
        writer.setblocking(False)
        signal.signal(signal.SIGINT, note)
        stack.callback(signal.signal, signal.SIGINT, former_handler)
        former = signal.set_wakeup_fd(writer.fileno(), warn_on_full_buffer=False)
        stack.callback(signal.set_wakeup_fd, former)
        thread = threading.Thread(
            target=_trigger_when_signalled, args=(reader, cancellation, former), name="vemlo-sigint"
        )
        thread.start()
        stack.callback(thread.join)
        stack.callback(_end, writer)
        yield


def _end(writer: socket.socket) -> None:
    writer.setblocking(True)
    writer.send(b"\0")

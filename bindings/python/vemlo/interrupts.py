"""Ctrl-C during a call."""

from __future__ import annotations

import contextlib
import os
import signal
import socket
import threading
from typing import Iterator

from .calls import Cancellation


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
    within a tenth of a second and raises Cancelled. If the block ends without an exception although
    it was signalled, KeyboardInterrupt is raised at its end.

        with vemlo.cancel_on_sigint() as cancellation:
            folders = drive.folders(root, cancellation=cancellation)

    On the main thread only. In asyncio, vemlo.aio is what to use.

    Raises:
        ValueError: it is used on another thread.
    """
    with contextlib.ExitStack() as stack:
        cancellation = stack.enter_context(Cancellation())
        reader, writer = (stack.enter_context(end) for end in socket.socketpair())
        writer.setblocking(False)
        was_signalled = False

        def note(number: int, frame: object) -> None:
            nonlocal was_signalled
            was_signalled = True
            cancellation.trigger()

        former_handler = signal.signal(signal.SIGINT, note)
        stack.callback(signal.signal, signal.SIGINT, former_handler)
        former = signal.set_wakeup_fd(writer.fileno(), warn_on_full_buffer=False)
        stack.callback(signal.set_wakeup_fd, former)
        thread = threading.Thread(
            target=_trigger_when_signalled, args=(reader, cancellation, former), name="vemlo-sigint"
        )
        thread.start()
        stack.callback(thread.join)
        stack.callback(_end, writer)
        yield cancellation
    if was_signalled:
        raise KeyboardInterrupt


def _end(writer: socket.socket) -> None:
    writer.setblocking(True)
    writer.send(b"\0")

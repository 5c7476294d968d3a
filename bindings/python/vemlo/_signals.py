"""Signals whose handlers wait until a call lets them run."""

from __future__ import annotations

import contextlib
import signal
from typing import Any, Callable, Dict, Iterator, List, Tuple

Handler = Callable[[int, Any], Any]


class DeferredSignals:
    """Lets the handlers of signals that are Python functions wait. On the main thread only.

    A handler such as that of Ctrl-C may raise an exception between any two instructions. Before the
    first `try` of a function that ctypes calls, ctypes drops it, and what the function was to do is
    not done.
    """

    def __init__(self) -> None:
        self._former: Dict[int, Handler] = {}
        self._waiting: List[Tuple[int, Any]] = []
        self._defers = False

    def begin(self) -> None:
        """Lets them wait until end(), which is called also if this raises."""
        self._defers = True
        for number in signal.Signals:
            handler = signal.getsignal(number)
            if callable(handler):
                self._former[number] = handler
                signal.signal(number, self._note)

    def end(self) -> None:
        """Runs the handlers that have waited, and raises what they raise."""
        try:
            for number, handler in self._former.items():
                if signal.getsignal(number) == self._note:
                    signal.signal(number, handler)
        finally:
            # If one of them has ended the loop, the others are still called by _note().
            self._defers = False
            self._deliver()

    @contextlib.contextmanager
    def running(self) -> Iterator[None]:
        """Runs the handlers that have waited, and lets others run at once in the block."""
        try:
            self._defers = False
            self._deliver()
            yield
        finally:
            self._defers = True

    def _note(self, number: int, frame: Any) -> None:
        if self._defers:
            self._waiting.append((number, frame))
        else:
            self._former[number](number, frame)

    def _deliver(self) -> None:
        if self._waiting:
            number, frame = self._waiting.pop(0)
            try:
                self._former[number](number, frame)
            finally:
                self._deliver()

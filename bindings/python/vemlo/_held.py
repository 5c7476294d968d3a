"""What is released when it is closed and nothing uses it any more."""

from __future__ import annotations

import contextlib
import threading
from typing import Callable, Iterator, Set

from .failures import BadArguments


class Held:
    """Something that one thread may close while others use it: it is then released by the last.

    Args:
        name: what it is, for the message of the failure.
        release: releases it. Called once, on the thread that closed it or was the last to use it.
    """

    def __init__(self, name: str, release: Callable[[], None]) -> None:
        self._name = name
        self._release = release
        self._uses: Set[object] = set()
        self._closed = False
        self._released = False
        # Reentrant: a finalizer may run on a thread that holds it.
        self._lock = threading.RLock()

    @property
    def is_closed(self) -> bool:
        return self._closed

    def begin(self, use: object) -> None:
        """Begins a use, which lasts until end(). Raises BadArguments if it is closed."""
        with self._lock:
            if self._closed:
                raise BadArguments(f"The {self._name} is closed.")
            self._uses.add(use)

    def end(self, use: object) -> None:
        """Ends a use. Does nothing if it has not begun."""
        with self._lock:
            self._uses.discard(use)
        self._release_if_unused()

    @contextlib.contextmanager
    def used(self) -> Iterator[None]:
        """One use."""
        use = object()
        try:
            self.begin(use)
            yield
        finally:
            self.end(use)

    def close(self) -> None:
        """Allows no further uses. Does nothing if it is closed."""
        with self._lock:
            self._closed = True
        self._release_if_unused()

    def _release_if_unused(self) -> None:
        with self._lock:
            if not self._closed or self._uses or self._released:
                return
            self._released = True
        self._release()

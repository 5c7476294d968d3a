"""What is released when it is closed and nothing uses it any more."""

from __future__ import annotations

import threading
import weakref
from types import TracebackType
from typing import Callable, Optional, Set, Type

from .failures import BadArguments


class Held:
    """Something that one thread may close while others use it: it is then released by the last.

    Args:
        name: what it is, for the message of the failure.
        release: releases it, on the thread that closed it or was the last to use it. Called again
            if it raises, as an interrupt makes it do.
    """

    def __init__(self, name: str, release: Callable[[], None]) -> None:
        self._name = name
        self._release = release
        self._uses: Set[weakref.ref[Use]] = set()
        self._closed = False
        self._released = False
        # Reentrant: a finalizer or a signal handler may run on a thread that holds it.
        self._lock = threading.RLock()

    @property
    def is_closed(self) -> bool:
        return self._closed

    def use(self) -> Use:
        """Begins a use. Raises BadArguments if it is closed."""
        return Use(self)

    def close(self) -> None:
        """Allows no further uses. Releases it if this has not been done and there is no use."""
        self._closed = True
        self._release_if_unused()

    def _begin(self, use: Use) -> weakref.ref[Use]:
        with self._lock:
            if self._closed:
                raise BadArguments(f"The {self._name} is closed.")
            # A use that an interrupt has kept from ending ends with its last reference.
            reference = weakref.ref(use, self._end)
            self._uses.add(reference)
            return reference

    def _end(self, use: weakref.ref[Use]) -> None:
        with self._lock:
            self._uses.discard(use)
            self._release_if_unused()

    def _release_if_unused(self) -> None:
        with self._lock:
            if self._closed and not self._uses and not self._released:
                self._release()
                self._released = True


class Use:
    """A use of something that is held. A context manager that ends it."""

    def __init__(self, held: Held) -> None:
        self._held = held
        self._reference = held._begin(self)

    def end(self) -> None:
        """Does nothing if it has ended."""
        self._held._end(self._reference)

    def __enter__(self) -> None:
        pass

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.end()

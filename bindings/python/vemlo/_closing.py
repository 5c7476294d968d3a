"""What is common to objects that are closed at the end of a with statement."""

from __future__ import annotations

from types import TracebackType
from typing import Optional, Type, TypeVar

_Closing = TypeVar("_Closing", bound="Closing")


class Closing:
    """A context manager that closes itself."""

    def close(self) -> None:
        """Releases what it holds."""
        raise NotImplementedError

    def __enter__(self: _Closing) -> _Closing:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

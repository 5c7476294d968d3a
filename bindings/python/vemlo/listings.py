"""Folders, and listings of folders, buckets and containers."""

from __future__ import annotations

import ctypes
from itertools import repeat
from typing import Any, Callable, Iterator, List, NamedTuple, Optional, Sequence, Tuple
from typing import TypeVar, Union, overload

from . import _c
from .failures import decoded

Entry = TypeVar("Entry")
# Calls a function of the C interface with the addresses of its two outputs.
Receive = Callable[[Any, Any], None]


class Folder(NamedTuple):
    """One folder.

    Attributes:
        name: the display name; at an object store the full prefix, including its trailing "/".
        id: what identifies the folder at a drive; None at an object store.
    """

    name: str
    id: Optional[str] = None


class Listing(Sequence[Entry]):
    """The entries that a service has listed, in its order.

    Attributes:
        is_cut_short: whether there are more entries than these.
    """

    is_cut_short: bool

    def __repr__(self) -> str:
        more = ", cut short" if self.is_cut_short else ""
        return f"<{type(self).__name__} of {len(self)}{more}>"


class Names(Listing[str]):
    """The names of buckets or containers."""

    def __init__(self, names: List[str], is_cut_short: bool) -> None:
        self._names = names
        self.is_cut_short = is_cut_short

    @classmethod
    def _of(cls, receive: Receive) -> Names:
        found, count = ctypes.POINTER(ctypes.c_char_p)(), ctypes.c_int()
        try:
            receive(ctypes.byref(found), ctypes.byref(count))
            names: List[str] = []
            for first in range(0, count.value, _PIECE):
                names += _texts(found[first : min(first + _PIECE, count.value)])
            return cls(names, _was_cut_short())
        finally:
            _c.load().free_buckets(found, count)

    def __len__(self) -> int:
        return len(self._names)

    @overload
    def __getitem__(self, index: int) -> str: ...

    @overload
    def __getitem__(self, index: slice) -> List[str]: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[str, List[str]]:
        return self._names[index]

    def __iter__(self) -> Iterator[str]:
        return iter(self._names)


class Folders(Listing[Folder]):
    """Folders."""

    def __init__(self, names: List[str], ids: Sequence[Optional[str]], is_cut_short: bool) -> None:
        self._names = names
        self._ids = ids
        self.is_cut_short = is_cut_short

    @classmethod
    def _of(cls, receive: Receive) -> Folders:
        found, count = ctypes.POINTER(_c.Directory)(), ctypes.c_int()
        try:
            receive(ctypes.byref(found), ctypes.byref(count))
            names, ids = _members(found, count.value)
            return cls(names, ids, _was_cut_short())
        finally:
            if count.value > 0:
                _c.load().free_diretories(found, count)
            else:
                _c.free(ctypes.cast(found, ctypes.c_void_p))

    def __len__(self) -> int:
        return len(self._names)

    @overload
    def __getitem__(self, index: int) -> Folder: ...

    @overload
    def __getitem__(self, index: slice) -> List[Folder]: ...

    def __getitem__(self, index: Union[int, slice]) -> Union[Folder, List[Folder]]:
        if isinstance(index, slice):
            return list(map(Folder, self._names[index], self._ids[index]))
        return Folder(self._names[index], self._ids[index])

    def __iter__(self) -> Iterator[Folder]:
        # As Folder(name, id) does for each, but without running a line of Python.
        return map(tuple.__new__, repeat(Folder), zip(self._names, self._ids))


def one_folder(receive: Callable[[Any], None]) -> Folder:
    """The folder that a function of the C interface hands out."""
    found = ctypes.POINTER(_c.Directory)()
    try:
        receive(ctypes.byref(found))
        return Folder(decoded(found[0].name), decoded(found[0].id))
    finally:
        _c.load().free_directory(found)


def one_text(receive: Callable[[Any], None]) -> str:
    """The text that a function of the C interface hands out."""
    text = ctypes.c_void_p()
    try:
        receive(ctypes.byref(text))
        return text_at(text)
    finally:
        _c.free(text)


def text_at(address: ctypes.c_void_p) -> str:
    """The text at an address, which may be null."""
    return decoded(ctypes.cast(address, ctypes.c_char_p).value)


# How many entries are converted together. All of a long listing together would take twice as long,
# because that is more than the processor's caches hold.
_PIECE = 500


def _texts(texts: List[bytes]) -> List[str]:
    # No text contains the separator.
    return decoded(b"\0".join(texts)).split("\0")


def _members(found: Any, count: int) -> Tuple[List[str], List[Optional[str]]]:
    """The names and the ids of an array of records."""
    names: List[str] = []
    ids: List[Optional[str]] = []
    # The array as one of texts, a slice of which is faster than access to each record.
    texts = ctypes.cast(found, ctypes.POINTER(ctypes.c_char_p))
    for first in range(0, count, _PIECE):
        members = texts[2 * first : 2 * min(first + _PIECE, count)]
        if members[1] is None:  # at an object store
            names += _texts(members[0::2])
            ids += members[1::2]
        else:
            piece = _texts(members)
            names += piece[0::2]
            ids += piece[1::2]
    return names, ids


def _was_cut_short() -> bool:
    return bool(_c.load().vemlo_client_was_listing_cut_short())

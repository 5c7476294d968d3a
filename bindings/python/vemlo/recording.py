"""A recording of the requests and responses."""

from __future__ import annotations

import os
from types import TracebackType
from typing import Optional, Type

from . import _c
from .failures import BadArguments
from .library import Path, encoded_path


class Recording:
    """Records every request and response of the process in a new file in the HAR 1.2 format.

    Tokens, signatures, keys, codes, client secrets, cookies, proxy credentials and e-mail addresses
    are redacted; names of folders and buckets are not. Calls are slower meanwhile. At most one
    recording runs at a time. A context manager that ends it.

    Args:
        path: the file, which must not exist.

    Raises:
        OSError: the file cannot be created; FileExistsError if it exists.
        BadArguments: the path is empty, or another recording is running.
    """

    def __init__(self, path: Path) -> None:
        self._path = path
        self._is_running = False
        code = _c.load().vemlo_client_start_recording(encoded_path(path))
        if code < 0:
            raise BadArguments("The path is empty, or another recording is running.")
        self._require(code)
        self._is_running = True

    def stop(self) -> None:
        """Ends the recording. Does nothing if it has ended.

        Raises:
            OSError: something could not be written.
        """
        if self._is_running:
            self._is_running = False
            self._require(_c.load().vemlo_client_stop_recording())

    def _require(self, code: int) -> None:
        if code > 0:
            raise OSError(code, os.strerror(code), os.fspath(self._path))

    def __enter__(self) -> Recording:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.stop()

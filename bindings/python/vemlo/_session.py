"""What the sessions of all services have in common."""

from __future__ import annotations

import ctypes
import warnings
from dataclasses import dataclass, field
from typing import Any, Optional

from . import _c
from ._closing import Closing
from ._held import Held
from .calls import NO_LIMITS, Limits, make
from .failures import BadArguments, Failure, HostFault, encoded
from .library import held_library
from .listings import Folders, Names


@dataclass(frozen=True)
class Proxy:
    """An HTTP proxy.

    Attributes:
        host: empty: no proxy.
        port: 0: port 1080.
        username: empty: no credentials are sent to the proxy.
        password: what goes with the user name.
    """

    host: str
    port: int = 0
    username: str = ""
    password: str = field(default="", repr=False)


def proxy_record(proxy: Optional[Proxy], record: Any) -> Any:
    """The record of the C interface for a proxy, as an argument; None if there is no proxy."""
    if proxy is None:
        return None
    if not 0 <= proxy.port <= 0xFFFF:
        raise BadArguments(f"{proxy.port} is no port.")
    record.host, record.port = encoded(proxy.host), proxy.port
    record.username, record.password = encoded(proxy.username), encoded(proxy.password)
    return ctypes.byref(record)


def _held_session(handle: ctypes.c_void_p) -> Held:
    """What holds a session and the library until the session is released."""
    use = held_library().use()

    def release() -> None:
        # Closes a session of any service, not only of S3, and does nothing if there is none.
        address, handle.value = handle.value, None
        _c.load().libvemlo_s3_cleanup(address)
        use.end()

    return Held("session", release)


class Session(Closing):
    """An open account. A context manager that closes it.

    Calls on one session may run on several threads at once. If it is closed meanwhile, they end
    normally, and the session is released after the last of them.

    Raises:
        HostFault: no Library is open, or the session cannot be opened.
    """

    _held: Optional[Held] = None

    @staticmethod
    def _not_opened() -> Failure:
        return HostFault("The session cannot be opened.")

    def __init__(self, function: str, *arguments: bytes, proxy: Optional[Proxy]) -> None:
        record = proxy_record(proxy, _c.ProxySetting())
        self._handle = ctypes.c_void_p()
        self._held = _held_session(self._handle)
        self._handle.value = getattr(_c.load(), function)(*arguments, record)
        if self._handle.value is None:
            self.close()
            raise self._not_opened()

    def close(self) -> None:
        """Closes it: no new call may begin. Does nothing if it is closed."""
        if self._held is not None:
            self._held.close()

    def _call(self, function: str, *arguments: Any, limits: Limits = NO_LIMITS) -> None:
        assert self._held is not None
        with self._held.use():
            make(function, self._handle, *arguments, limits=limits)

    def _folders(self, function: str, *arguments: Any, limits: Limits) -> Folders:
        return Folders._of(
            lambda found, count: self._call(function, *arguments, found, count, limits=limits)
        )

    def _names(self, function: str, limits: Limits) -> Names:
        return Names._of(lambda found, count: self._call(function, found, count, limits=limits))

    def __del__(self) -> None:
        try:
            if self._held is not None and not self._held.is_closed:
                warnings.warn(f"{self!r} was not closed", ResourceWarning, source=self)
        finally:
            self.close()

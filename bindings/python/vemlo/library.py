"""The library of the process, and its settings."""

from __future__ import annotations

import ctypes
import os
import threading
import warnings
from dataclasses import dataclass, field
from typing import Any, Callable, NamedTuple, Optional, Sequence, Union

from . import _c
from ._closing import Closing
from ._held import Held
from .calls import call_back, raise_from_call, report_tokens
from .failures import BadArguments, HostFault, Service, decoded, encoded, service_of

DRIVES = (Service.AMAZON_DRIVE, Service.GOOGLE_DRIVE, Service.ONE_DRIVE, Service.DROPBOX)
Path = Union[str, "os.PathLike[str]"]


@dataclass(frozen=True)
class Application:
    """An application's registration with a drive service. What is None keeps its built-in value.

    Attributes:
        service: one of the four drives.
        client_id: the public identifier of the registration.
        client_secret: empty: none is sent, for applications registered as public clients.
        redirect_uri: where the service sends users back to, as it is registered.
    """

    service: Service
    client_id: Optional[str] = None
    client_secret: Optional[str] = field(default=None, repr=False)
    redirect_uri: Optional[str] = None


@dataclass(frozen=True)
class RenewedTokens:
    """Tokens of an account that have been renewed.

    Attributes:
        service: the service of the account.
        used_refresh_token: the refresh token with which they were renewed. The program finds its
            account by it.
        access: the new access token, as Drive.set_tokens() takes it.
        refresh: the refresh token to use from now on.
        lifetime: for how many seconds the access token is valid; None if the service did not say.
    """

    service: Optional[Service]
    used_refresh_token: str = field(repr=False)
    access: str = field(repr=False)
    refresh: str = field(repr=False)
    lifetime: Optional[int]


@dataclass(frozen=True)
class Settings:
    """What concerns the whole process. Unlike in the C interface, what most programs need is on.

    Attributes:
        verbosity: of the log: 0 for failures only, 9 for every step. Only the first library of a
            process sets it.
        applications: as which applications drive sessions act.
        pkce: whether consent is bound to the session that asked for it: Drive.link() then has to be
            called on the session that made the address.
        whole_s3_listings: whether listings of S3 folders are followed to their end. Otherwise they
            have the folders among the first 1,000 keys.
        durable_dropbox_tokens: whether the access token of a Dropbox account is a text that holds
            the refresh token, too, without which the account ends after four hours. Such a text is
            of no use for requests that a program sends by itself.
        trust_file: a file with PEM certificates to trust in place of the system's.
        trust_folder: a folder with such certificates under hashed names, or several separated by
            colons.
        tokens_renewed: called with the renewed tokens, on the thread that renewed them, before its
            call continues. A program that does not store them loses accounts whose service
            replaces the refresh token. Handlers of signals run after the call, so that Ctrl-C does
            not interrupt it. What the function raises goes to sys.unraisablehook, but what ends
            the program (KeyboardInterrupt, SystemExit) is raised by the call.
    """

    verbosity: int = 0
    applications: Sequence[Application] = ()
    pkce: bool = True
    whole_s3_listings: bool = True
    durable_dropbox_tokens: bool = True
    trust_file: Optional[Path] = None
    trust_folder: Optional[Path] = None
    tokens_renewed: Optional[Callable[[RenewedTokens], None]] = None


class Library(Closing):
    """The library, set up for this process. At most one is open at a time. A context manager.

    Sessions may be opened on any thread while it is open. If it is closed while sessions are open
    or calls run, these go on, and the library is released after the last of them. If nothing refers
    to it any more, it is closed, with a ResourceWarning.

    Raises:
        LibraryMissing: libvemlo is not installed, or is not one that this package can use.
        HostFault: another Library is open, or the settings are not acceptable.
    """

    _held: Optional[Held] = None

    def __init__(self, settings: Settings = Settings()) -> None:
        global _current
        library = _c.load()
        self.settings = settings
        held = Held("library", _release)
        with _opening:
            if _current is not None and _current.held.is_closed:
                _current.held.close()  # again, should an interrupt have kept it from its release
            if _current is not None:
                raise HostFault("A library is open already.")
            ctypes.c_int.in_dll(library, "verbose").value = settings.verbosity
            _apply(settings)
            library.libvemlo_global_init()
            # From here on it is closed also if an interrupt comes.
            self._held = held
            _current = _Opened(held, settings.tokens_renewed)
            # The first session of a process sets up the log, which must happen on one thread.
            library.libvemlo_s3_cleanup(library.libvemlo_s3_init(b"", b"", b"", b"", None))
            is_none = settings.tokens_renewed is None
            report_tokens(_NO_REPORT if is_none else _REPORT, is_none)

    def close(self) -> None:
        """Closes it. Does nothing if it is closed."""
        if self._held is not None:
            self._held.close()

    def __del__(self) -> None:
        try:
            if self._held is not None and not self._held.is_closed:
                warnings.warn(f"{self!r} was not closed", ResourceWarning, source=self)
        finally:
            self.close()


class _Opened(NamedTuple):
    """What an open library consists of. It does not refer to it, so that it ends if it is lost."""

    held: Held
    tokens_renewed: Optional[Callable[[RenewedTokens], None]]


_opening = threading.RLock()
_current: Optional[_Opened] = None


def _release() -> None:
    global _current
    with _opening:
        report_tokens(_NO_REPORT, True)
        _c.load().libvemlo_global_cleanup()
        _current = None


def held_library() -> Held:
    """The open library. Raises HostFault if there is none."""
    library = _current
    if library is None:
        raise HostFault("No library is open: a vemlo.Library comes first.")
    return library.held


def _report_tokens(record: Any, _: Any) -> None:
    """Hands tokens to the program. ctypes reports what this raises to sys.unraisablehook."""
    library = _current
    if library is None or library.tokens_renewed is None:
        return
    tokens = record[0]
    renewed = RenewedTokens(
        service_of(tokens.service),
        decoded(tokens.used_refresh_token),
        decoded(tokens.access_token),
        decoded(tokens.refresh_token),
        None if tokens.lifetime < 0 else tokens.lifetime,
    )
    try:
        call_back(library.tokens_renewed, renewed)
    except (KeyboardInterrupt, SystemExit) as error:
        raise_from_call(error)


# These exist as long as the process: a call may be running while the library is closed.
_REPORT = _c.TokenCallback(_report_tokens)
_NO_REPORT = _c.TokenCallback(0)


def _apply(settings: Settings) -> None:
    library = _c.load()
    for service in DRIVES:
        library.vemlo_client_set_application(service, None)
    for application in settings.applications:
        _apply_application(application)
    library.vemlo_client_set_pkce(settings.pkce)
    library.vemlo_client_set_whole_s3_listings(settings.whole_s3_listings)
    library.vemlo_client_set_dropbox_durable_token(settings.durable_dropbox_tokens)
    file, folder = encoded_path(settings.trust_file), encoded_path(settings.trust_folder)
    if library.vemlo_client_set_trust(file, folder) != 0:
        raise MemoryError


def _apply_application(application: Application) -> None:
    texts = (application.client_id, application.client_secret, application.redirect_uri)
    client_id, secret, uri = (text if text is None else encoded(text) for text in texts)
    record = _c.ApplicationRecord(client_id=client_id, client_secret=secret, redirect_uri=uri)
    code = _c.load().vemlo_client_set_application(application.service, ctypes.byref(record))
    if code < 0:
        raise BadArguments("The application's registration is not acceptable.")
    if code > 0:
        raise MemoryError


def encoded_path(path: Optional[Path]) -> bytes:
    """The name of a file; empty if there is none."""
    return b"" if path is None else encoded(os.fspath(path))

"""Sessions with Amazon Drive, Google Drive, OneDrive and Dropbox."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass, field
from typing import Any, Optional, Union

from . import _c
from ._session import Proxy, Session
from .calls import Cancellation, Limits, ProgressFunction
from .failures import BadArguments, Service, encoded
from .listings import Folder, Folders, one_folder, one_text, text_at

_NAMES = {
    Service.AMAZON_DRIVE: "amazon_drive",
    Service.GOOGLE_DRIVE: "google_drive",
    Service.ONE_DRIVE: "one_drive",
    Service.DROPBOX: "dropbox",
}


@dataclass(frozen=True)
class Tokens:
    """What authorizes a session with a drive.

    Attributes:
        access: the access token. That of Dropbox holds both, unless
            Settings.durable_dropbox_tokens is off.
        refresh: the refresh token. That of Dropbox is always empty.
    """

    access: str = field(repr=False)
    refresh: str = field(default="", repr=False)


class Drive(Session):
    """A session with an account of a drive. link() or set_tokens() authorizes it.

    No connection is made yet.

    Args:
        service: one of the four drives.
        proxy: None: no proxy.
    """

    def __init__(self, service: Service, proxy: Optional[Proxy] = None) -> None:
        if service not in _NAMES:
            raise BadArguments(f"{service!r} is no drive.")
        self._service = Service(service)
        self._name = _NAMES[self._service]
        super().__init__(f"libvemlo_{self._name}_init", proxy=proxy)

    @property
    def service(self) -> Service:
        """The service."""
        return self._service

    def authorize_url(self, state: str = "") -> str:
        """The address of the web page on which a user grants access. No request is sent.

        Args:
            state: what the service returns beside the code, so that the program recognizes its own
                request: hard to guess, and used once. At most 500 bytes. Empty: none.
        """
        if _c.load().vemlo_client_set_state(encoded(state)) != 0:
            raise BadArguments("The state is too long or contains a control character.")
        return one_text(lambda url: self._call(f"{self._name}_get_authorize_url", url))

    def logout_url(self) -> Optional[str]:
        """The address that signs a user out; None if the service has none. No request is sent."""
        if self._service != Service.ONE_DRIVE:
            return None
        return one_text(lambda url: self._call("one_drive_get_logout_url", url))

    def link(
        self,
        code: str,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Tokens:
        """Exchanges an authorization code for tokens, which authorize the session.

        The code is given percent-decoded. Not while another call on the session runs. If it
        fails, the log contains the code.
        """
        access, refresh = ctypes.c_void_p(), ctypes.c_void_p()
        outputs = [access] if self._service == Service.DROPBOX else [access, refresh]
        try:
            self._call(
                f"{self._name}_get_token",
                encoded(code),
                *map(ctypes.byref, outputs),
                limits=Limits(timeout, cancellation, progress),
            )
            return Tokens(text_at(access), text_at(refresh))
        finally:
            _c.free(access)
            _c.free(refresh)

    def set_tokens(self, tokens: Tokens) -> None:
        """Authorizes the session with tokens stored earlier, which are not checked.

        Not while another call on the session runs.
        """
        texts = [encoded(tokens.access), encoded(tokens.refresh)]
        if self._service == Service.DROPBOX:
            del texts[1]
        self._call(f"{self._name}_set_token", *texts)

    def root(
        self,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Folder:
        """The account's root folder. That of Dropbox is known without a request."""
        if self._service == Service.DROPBOX:
            return Folder("/", "/")
        limits = Limits(timeout, cancellation, progress)
        function = f"{self._name}_get_root_directory"
        return one_folder(lambda root: self._call(function, root, limits=limits))

    def folders(
        self,
        parent: Union[Folder, str],
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Folders:
        """The folders directly below a folder, which is given itself or by its id."""
        limits = Limits(timeout, cancellation, progress)
        return self._folders(f"{self._name}_list_directory", _record(parent), limits=limits)

    def create_folder(
        self,
        parent: Union[Folder, str],
        name: str,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Folder:
        """Creates a folder below another, which is given itself or by its id."""
        limits = Limits(timeout, cancellation, progress)
        function, record, text = f"{self._name}_create_directory", _record(parent), encoded(name)
        return one_folder(lambda made: self._call(function, record, text, made, limits=limits))


class AmazonDrive(Drive):
    """A session with Amazon Drive, which has two functions more."""

    def __init__(self, proxy: Optional[Proxy] = None) -> None:
        super().__init__(Service.AMAZON_DRIVE, proxy)

    def find_endpoints(
        self,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Requests the addresses at which the account is served, which calls otherwise do when
        they need them."""
        limits = Limits(timeout, cancellation, progress)
        self._call("amazon_drive_get_endpoint", limits=limits)

    def log_account(
        self,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Checks the tokens, and logs the name and the e-mail address of the account's holder."""
        limits = Limits(timeout, cancellation, progress)
        self._call("amazon_drive_test_api", limits=limits)


def _record(folder: Union[Folder, str]) -> Any:
    identifier = folder.id if isinstance(folder, Folder) else folder
    if identifier is None:
        raise BadArguments("The folder has no id.")
    return ctypes.byref(_c.Directory(None, encoded(identifier)))

"""Whose account it is."""

from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Optional

from . import _c
from ._session import Proxy, proxy_record
from .calls import Cancellation, Limits, ProgressFunction, make
from .drives import Tokens
from .failures import Service, decoded, encoded
from .library import held_library


@dataclass(frozen=True)
class Account:
    """The owner of an account. What the service does not say, or the tokens do not allow, is empty.

    Attributes:
        name: the name that the service shows.
        email: the e-mail address.
        used_space: bytes in use; None if unknown.
        total_space: bytes that the account may use; None if unknown or without limit.
    """

    name: str
    email: str
    used_space: Optional[int]
    total_space: Optional[int]


def account_of(
    service: Service,
    tokens: Tokens,
    proxy: Optional[Proxy] = None,
    *,
    timeout: Optional[float] = None,
    cancellation: Optional[Cancellation] = None,
    progress: Optional[ProgressFunction] = None,
) -> Account:
    """Asks a drive whose account the tokens belong to.

    Renewed tokens are handed to Settings.tokens_renewed. Nothing is logged.

    Args:
        service: one of the four drives.
        tokens: the access token may be empty if there is a refresh token.
        proxy: None: no proxy.
    """
    record = _c.AccountRecord()
    arguments = (
        int(service),
        encoded(tokens.access),
        encoded(tokens.refresh),
        proxy_record(proxy, _c.ProxyRecord()),
        ctypes.byref(record),
    )
    try:
        with held_library().use():
            limits = Limits(timeout, cancellation, progress)
            make("vemlo_client_get_account", *arguments, limits=limits)
        return Account(
            decoded(record.name),
            decoded(record.email),
            _bytes_or_none(record.used_space),
            _bytes_or_none(record.total_space),
        )
    finally:
        _c.load().vemlo_client_free_account(ctypes.byref(record))


def _bytes_or_none(number: int) -> Optional[int]:
    return None if number < 0 else number

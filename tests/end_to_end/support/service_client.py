"""The functions of libvemlo_service_client.h, which libvemlo brings along."""

import contextlib
import ctypes
from typing import NamedTuple

from .libvemlo import load

S3 = 1
SERVICES = {"amazon_drive": 3, "google_drive": 4, "one_drive": 5, "dropbox": 6}


class Proxy(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("host", ctypes.c_char_p),
        ("port", ctypes.c_uint16),
        ("username", ctypes.c_char_p),
        ("password", ctypes.c_char_p),
    ]


class AccountRecord(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("name", ctypes.c_char_p),
        ("email", ctypes.c_char_p),
        ("used_space", ctypes.c_int64),
        ("total_space", ctypes.c_int64),
    ]


class Account(NamedTuple):
    name: str
    email: str
    used_space: int
    total_space: int


class _Tokens(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("service", ctypes.c_int32),
        ("used_refresh_token", ctypes.c_char_p),
        ("access_token", ctypes.c_char_p),
        ("refresh_token", ctypes.c_char_p),
        ("lifetime", ctypes.c_int64),
    ]


class _Application(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("client_id", ctypes.c_char_p),
        ("client_secret", ctypes.c_char_p),
        ("redirect_uri", ctypes.c_char_p),
    ]


class _Failure(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("kind", ctypes.c_int32),
        ("service", ctypes.c_int32),
        ("error", ctypes.c_int32),
        ("http_status", ctypes.c_int32),
        ("retry_after", ctypes.c_int64),
        ("operation", ctypes.c_char_p),
        ("code", ctypes.c_char_p),
        ("message", ctypes.c_char_p),
        ("request_id", ctypes.c_char_p),
    ]


class Failure(NamedTuple):
    kind: str
    service: int
    operation: str


def last_failure():
    """The last failure of this thread."""
    library = load()
    library.vemlo_client_kind_name.restype = ctypes.c_char_p
    failure = _Failure(ctypes.sizeof(_Failure))
    assert library.vemlo_client_get_last_failure(ctypes.byref(failure)) == 0
    kind = library.vemlo_client_kind_name(failure.kind).decode()
    return Failure(kind, failure.service, failure.operation.decode())


_TokenCallback = ctypes.CFUNCTYPE(None, ctypes.POINTER(_Tokens), ctypes.c_void_p)


class RenewedTokens(NamedTuple):
    service: int
    used_refresh_token: str
    access_token: str
    refresh_token: str
    lifetime: int


@contextlib.contextmanager
def renewed_tokens():
    """Records what the host is told about renewed tokens in the list that is the value."""
    received = []

    @_TokenCallback
    def record(tokens, _):
        content = tokens.contents
        assert content.size == ctypes.sizeof(_Tokens)
        texts = content.used_refresh_token, content.access_token, content.refresh_token
        received.append(
            RenewedTokens(content.service, *(text.decode() for text in texts), content.lifetime)
        )

    library = load()
    library.vemlo_client_set_token_callback(record, None)
    try:
        yield received
    finally:
        library.vemlo_client_set_token_callback(None, None)


class _Progress(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("service", ctypes.c_int32),
        ("operation", ctypes.c_char_p),
        ("requests", ctypes.c_uint64),
        ("bytes", ctypes.c_uint64),
        ("entries", ctypes.c_uint64),
    ]


_ProgressCallback = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.POINTER(_Progress), ctypes.c_void_p)


class Progress(NamedTuple):
    service: int
    operation: str
    requests: int
    bytes: int
    entries: int


@contextlib.contextmanager
def progress(last_request=None):
    """Records the progress of this thread's calls in the list that is the value.

    Ends a call after its request number `last_request`.
    """
    reported = []

    @_ProgressCallback
    def record(step, _):
        content = step.contents
        assert content.size == ctypes.sizeof(_Progress)
        operation = content.operation.decode()
        reported.append(
            Progress(content.service, operation, content.requests, content.bytes, content.entries)
        )
        return int(content.requests == last_request)

    library = load()
    library.vemlo_client_set_progress_callback(record, None)
    try:
        yield reported
    finally:
        library.vemlo_client_set_progress_callback(None, None)


def set_durable_token():
    load().vemlo_client_set_dropbox_durable_token(1)


def set_application(family, client_id=None, client_secret=None, redirect_uri=None):
    texts = [text and text.encode() for text in (client_id, client_secret, redirect_uri)]
    application = _Application(ctypes.sizeof(_Application), *texts)
    return load().vemlo_client_set_application(SERVICES[family], ctypes.byref(application))


def set_state(state):
    return load().vemlo_client_set_state(state.encode())


def set_pkce():
    load().vemlo_client_set_pkce(1)


def set_trust(file=None, folder=None):
    return load().vemlo_client_set_trust(*(path and path.encode() for path in (file, folder)))


def account_of(drive, access_token, refresh_token, port):
    """The code and the account; None after a failure. `port` is that of a proxy of this machine."""
    library = load()
    proxy = Proxy(ctypes.sizeof(Proxy), b"127.0.0.1", port, None, None)
    record = AccountRecord(ctypes.sizeof(AccountRecord))
    tokens = [token if token is None else token.encode() for token in (access_token, refresh_token)]
    code = library.vemlo_client_get_account(
        SERVICES[drive.family], *tokens, ctypes.byref(proxy), ctypes.byref(record)
    )
    if code != 0:
        return code, None
    account = Account(
        record.name.decode(), record.email.decode(), record.used_space, record.total_space
    )
    library.vemlo_client_free_account(ctypes.byref(record))
    return code, account

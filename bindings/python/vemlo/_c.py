"""The two C headers as ctypes sees them, and the library, which is loaded when it is used."""

from __future__ import annotations

import ctypes
import functools
import os
from ctypes import (
    CFUNCTYPE,
    POINTER,
    Structure,
    c_char_p,
    c_int,
    c_int32,
    c_int64,
    c_size_t,
    c_uint16,
    c_uint64,
    c_void_p,
)
from typing import Any, Dict, List, Tuple

LIBRARY = "libvemlo.so.1"


class LibraryMissing(ImportError):
    """libvemlo is not installed, or is not one that this package can use."""


# Records. A `char *` that must be released is declared as c_void_p: as c_char_p it would be
# converted to bytes, and the address would be lost. Members of records that are released as a whole
# can be c_char_p.


class Directory(Structure):
    _fields_ = [("name", c_char_p), ("id", c_char_p)]


class ProxySetting(Structure):
    _fields_ = [
        ("host", c_char_p),
        ("port", c_uint16),
        ("username", c_char_p),
        ("password", c_char_p),
    ]


class LocationMapping(Structure):
    _fields_ = [("location_contraint", c_int32), ("name", c_char_p)]


class SizedRecord(Structure):
    """A record that begins with its size."""

    def __init__(self, **members: Any) -> None:
        super().__init__(size=ctypes.sizeof(self), **members)


class FailureRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("kind", c_int32),
        ("service", c_int32),
        ("error", c_int32),
        ("http_status", c_int32),
        ("retry_after", c_int64),
        ("operation", c_char_p),
        ("code", c_char_p),
        ("message", c_char_p),
        ("request_id", c_char_p),
    ]


class ProgressRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("service", c_int32),
        ("operation", c_char_p),
        ("requests", c_uint64),
        ("bytes", c_uint64),
        ("entries", c_uint64),
    ]


class TokensRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("service", c_int32),
        ("used_refresh_token", c_char_p),
        ("access_token", c_char_p),
        ("refresh_token", c_char_p),
        ("lifetime", c_int64),
    ]


class ApplicationRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("client_id", c_char_p),
        ("client_secret", c_char_p),
        ("redirect_uri", c_char_p),
    ]


class ProxyRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("host", c_char_p),
        ("port", c_uint16),
        ("username", c_char_p),
        ("password", c_char_p),
    ]


class AccountRecord(SizedRecord):
    _fields_ = [
        ("size", c_size_t),
        ("name", c_char_p),
        ("email", c_char_p),
        ("used_space", c_int64),
        ("total_space", c_int64),
    ]


ProgressCallback = CFUNCTYPE(c_int, POINTER(ProgressRecord), c_void_p)
TokenCallback = CFUNCTYPE(None, POINTER(TokensRecord), c_void_p)

# Functions: the result and the arguments of each.

_SESSION = _CANCELLATION = c_void_p
_TEXT = c_char_p
_OWNED_TEXT = c_void_p
_TEXT_OUT = POINTER(c_void_p)
_COUNT_OUT = POINTER(c_int)
_NAMES = POINTER(c_char_p)
_FOLDER = POINTER(Directory)
_LOCATIONS = POINTER(LocationMapping)
_PROXY = POINTER(ProxySetting)

Signatures = Dict[str, Tuple[Any, List[Any]]]


def _drive(name: str) -> Signatures:
    return {
        f"libvemlo_{name}_init": (_SESSION, [_PROXY]),
        f"libvemlo_{name}_cleanup": (None, [_SESSION]),
        f"{name}_get_authorize_url": (c_int, [_SESSION, _TEXT_OUT]),
        f"{name}_get_token": (c_int, [_SESSION, _TEXT, _TEXT_OUT, _TEXT_OUT]),
        f"{name}_set_token": (c_int, [_SESSION, _TEXT, _TEXT]),
        f"{name}_get_root_directory": (c_int, [_SESSION, POINTER(_FOLDER)]),
        f"{name}_list_directory": (c_int, [_SESSION, _FOLDER, POINTER(_FOLDER), _COUNT_OUT]),
        f"{name}_create_directory": (c_int, [_SESSION, _FOLDER, _TEXT, POINTER(_FOLDER)]),
    }


def _object_store(name: str) -> Signatures:
    return {
        f"libvemlo_{name}_cleanup": (None, [_SESSION]),
        f"{name}_list_bucket": (c_int, [_SESSION, POINTER(_NAMES), _COUNT_OUT]),
        f"{name}_list_directory": (c_int, [_SESSION, _TEXT, _TEXT, POINTER(_FOLDER), _COUNT_OUT]),
        f"{name}_create_directory": (c_int, [_SESSION, _TEXT, _TEXT]),
    }


def _dropbox() -> Signatures:
    signatures = _drive("dropbox")
    del signatures["dropbox_get_root_directory"]
    signatures["dropbox_get_token"] = (c_int, [_SESSION, _TEXT, _TEXT_OUT])
    signatures["dropbox_set_token"] = (c_int, [_SESSION, _TEXT])
    return signatures


SIGNATURES: Signatures = {
    "libvemlo_global_init": (None, []),
    "libvemlo_global_cleanup": (None, []),
    "free_buckets": (None, [_NAMES, c_int]),
    "free_directory": (None, [_FOLDER]),
    "free_diretories": (None, [_FOLDER, c_int]),
    "encrypt_string": (_OWNED_TEXT, [_TEXT]),
    "decrypt_string": (_OWNED_TEXT, [_TEXT]),
    **_object_store("s3"),
    "libvemlo_s3_init": (_SESSION, [_TEXT, _TEXT, _TEXT, _TEXT, _PROXY]),
    "s3_create_bucket": (c_int, [_SESSION, _TEXT, c_int]),
    "s3_get_location_contraint_name_mappings": (_LOCATIONS, []),
    "s3_cn_get_location_contraint_name_mappings": (_LOCATIONS, []),
    "wasabi_get_location_contraint_name_mappings": (_LOCATIONS, []),
    "customized_get_location_contraint_name_mappings": (_LOCATIONS, []),
    **_object_store("azure_ssb"),
    "libvemlo_azure_ssb_init": (_SESSION, [_TEXT, _TEXT, _TEXT, _PROXY]),
    "azure_ssb_create_bucket": (c_int, [_SESSION, _TEXT]),
    **_drive("amazon_drive"),
    "amazon_drive_get_endpoint": (c_int, [_SESSION]),
    "amazon_drive_test_api": (c_int, [_SESSION]),
    **_drive("google_drive"),
    **_drive("one_drive"),
    "one_drive_get_logout_url": (c_int, [_SESSION, _TEXT_OUT]),
    **_dropbox(),
    "vemlo_client_get_last_failure": (c_int, [POINTER(FailureRecord)]),
    "vemlo_client_reset_last_failure": (None, []),
    "vemlo_client_kind_name": (c_char_p, [c_int32]),  # static, so never released
    "vemlo_client_now": (c_int64, []),
    "vemlo_client_set_deadline": (c_int, [c_int64]),
    "vemlo_client_cancellation_create": (_CANCELLATION, []),
    "vemlo_client_cancellation_trigger": (None, [_CANCELLATION]),
    "vemlo_client_cancellation_reset": (None, [_CANCELLATION]),
    "vemlo_client_cancellation_is_triggered": (c_int, [_CANCELLATION]),
    "vemlo_client_cancellation_release": (None, [_CANCELLATION]),
    "vemlo_client_set_cancellation": (None, [_CANCELLATION]),
    "vemlo_client_set_progress_callback": (None, [ProgressCallback, c_void_p]),
    "vemlo_client_set_token_callback": (None, [TokenCallback, c_void_p]),
    "vemlo_client_set_dropbox_durable_token": (None, [c_int]),
    "vemlo_client_set_application": (c_int, [c_int32, POINTER(ApplicationRecord)]),
    "vemlo_client_set_state": (c_int, [_TEXT]),
    "vemlo_client_set_pkce": (None, [c_int]),
    "vemlo_client_set_trust": (c_int, [_TEXT, _TEXT]),
    "vemlo_client_get_account": (
        c_int,
        [c_int32, _TEXT, _TEXT, POINTER(ProxyRecord), POINTER(AccountRecord)],
    ),
    "vemlo_client_free_account": (None, [POINTER(AccountRecord)]),
    "vemlo_client_set_whole_s3_listings": (None, [c_int]),
    "vemlo_client_was_listing_cut_short": (c_int, []),
    "vemlo_client_start_recording": (c_int, [_TEXT]),
    "vemlo_client_stop_recording": (c_int, []),
}

_ADVICE = "Install the Debian package libvemlo1, or set LIBVEMLO to the file libvemlo.so.1."
_HOST_LAYER = (
    "It was built for a service-client layer of the program's own. This package takes one that was"
    " built with the bundled layer, such as that of the Debian package libvemlo1."
)


_OLDER = "It is older than this package, which needs all functions of its own version."
# A function that each version of the bundled layer has.
_OF_THE_BUNDLED_LAYER = "vemlo_client_now"


def _declared(library: ctypes.CDLL) -> ctypes.CDLL:
    for name, (result, arguments) in SIGNATURES.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


@functools.lru_cache(maxsize=None)
def load() -> ctypes.CDLL:
    """The library. ctypes.CDLL releases the interpreter's lock during calls."""
    path = os.environ.get("LIBVEMLO") or LIBRARY
    try:
        # This also makes the functions of libvemlo_service_client.so.1 known, which it depends on.
        library = ctypes.CDLL(path)
        return _declared(library)
    except OSError as error:
        advice = _HOST_LAYER if "undefined symbol" in str(error) else _ADVICE
        raise LibraryMissing(f"{path} cannot be loaded: {error}. {advice}", path=path) from None
    except AttributeError as error:
        advice = _OLDER if hasattr(library, _OF_THE_BUNDLED_LAYER) else _HOST_LAYER
        raise LibraryMissing(f"{path} cannot be used: {error}. {advice}", path=path) from None


@functools.lru_cache(maxsize=None)
def _libc() -> ctypes.CDLL:
    libc = ctypes.CDLL(None)
    libc.free.restype, libc.free.argtypes = None, [c_void_p]
    return libc


def free(address: c_void_p) -> None:
    """Releases a text, or a list of folders without entries."""
    _libc().free(address)

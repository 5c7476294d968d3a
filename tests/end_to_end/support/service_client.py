"""The companion C interface of the service-client layer, used as by a host in Python.

VEMLO_SERVICE_LIBRARY is the path of the layer.
"""

import ctypes
import os
from typing import NamedTuple

# The numbers of the services, by the names in the command-line tool.
SERVICES = {
    "s3": 1, "azure": 2, "amazon-drive": 3, "google-drive": 4, "onedrive": 5, "dropbox": 6
}  # fmt: skip


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


def load():
    library = ctypes.CDLL(os.environ["VEMLO_SERVICE_LIBRARY"])
    text = ctypes.c_char_p
    library.vemlo_client_get_account.argtypes = [
        ctypes.c_int32, text, text, ctypes.POINTER(Proxy), ctypes.POINTER(AccountRecord)
    ]  # fmt: skip
    library.vemlo_client_free_account.argtypes = [ctypes.POINTER(AccountRecord)]
    library.vemlo_client_free_account.restype = None
    library.vemlo_client_set_whole_s3_listings.argtypes = [ctypes.c_int]
    library.vemlo_client_set_whole_s3_listings.restype = None
    library.vemlo_client_was_listing_cut_short.argtypes = []
    return library


def account_of(drive, access_token, refresh_token, port):
    """The code and the account; None after a failure. `port` is that of a proxy of this machine."""
    library = load()
    proxy = Proxy(ctypes.sizeof(Proxy), b"127.0.0.1", port, None, None)
    record = AccountRecord(ctypes.sizeof(AccountRecord))
    tokens = [token if token is None else token.encode() for token in (access_token, refresh_token)]
    code = library.vemlo_client_get_account(
        SERVICES[drive.word], *tokens, ctypes.byref(proxy), ctypes.byref(record)
    )
    if code != 0:
        return code, None
    account = Account(
        record.name.decode(), record.email.decode(), record.used_space, record.total_space
    )
    library.vemlo_client_free_account(ctypes.byref(record))
    return code, account

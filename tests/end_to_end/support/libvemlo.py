"""The shared library, used as by a host in Python: through its C interface only.

VEMLO_LIBRARY is its path.
"""

import ctypes
import os
from typing import NamedTuple, Optional

from . import log, recordings

UNTOUCHED_COUNT = -77
UNTOUCHED_BUCKETS = 0x5EED0


class ProxySetting(ctypes.Structure):
    _fields_ = [
        ("host", ctypes.c_char_p),
        ("port", ctypes.c_uint16),
        ("username", ctypes.c_char_p),
        ("password", ctypes.c_char_p),
    ]


BucketArray = ctypes.POINTER(ctypes.c_char_p)
SERVICES = ("s3", "azure_ssb", "google_drive", "amazon_drive", "one_drive", "dropbox")


def load():
    library = ctypes.CDLL(os.environ["VEMLO_LIBRARY"])
    proxy = ctypes.POINTER(ProxySetting)
    signatures = {
        "libvemlo_global_init": (None, []),
        "libvemlo_global_cleanup": (None, []),
        "libvemlo_s3_init": (ctypes.c_void_p, [ctypes.c_char_p] * 4 + [proxy]),
        "libvemlo_azure_ssb_init": (ctypes.c_void_p, [ctypes.c_char_p] * 3 + [proxy]),
        **{
            f"libvemlo_{service}_init": (ctypes.c_void_p, [proxy])
            for service in SERVICES
            if service not in ("s3", "azure_ssb")
        },
        **{f"libvemlo_{service}_cleanup": (None, [ctypes.c_void_p]) for service in SERVICES},
        "s3_list_bucket": (
            ctypes.c_int,
            [ctypes.c_void_p, ctypes.POINTER(BucketArray), ctypes.POINTER(ctypes.c_int)],
        ),
        "s3_create_bucket": (ctypes.c_int, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]),
        "free_buckets": (None, [BucketArray, ctypes.c_int]),
    }
    for name, (result, arguments) in signatures.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    recordings.begin()
    return library


class Listing(NamedTuple):
    code: int
    names: list
    is_null: bool
    untouched: bool
    log: Optional[log.Log]


class Creation(NamedTuple):
    code: int
    log: Optional[log.Log]


def proxy_setting(port, username=None, password=None, host="127.0.0.1"):
    texts = [text if text is None else text.encode() for text in (host, username, password)]
    return ProxySetting(texts[0], port, texts[1], texts[2])


class S3Session:
    """A session with S3, closed at the end of a `with`."""

    def __init__(self, account, region="", proxy=None, library=None):
        self.vemlo = library or load()
        self.vemlo.libvemlo_global_init()
        arguments = (account.endpoint, region, account.access_key, account.secret_key)
        encoded = [argument.encode() for argument in arguments]
        self.handle = self.vemlo.libvemlo_s3_init(*encoded, proxy and ctypes.byref(proxy))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.vemlo.libvemlo_s3_cleanup(self.handle)
        self.vemlo.libvemlo_global_cleanup()

    def list_uncaptured(self):
        """Like list(), without the log: may run in several threads, unlike capturing."""
        buckets = ctypes.cast(UNTOUCHED_BUCKETS, BucketArray)
        count = ctypes.c_int(UNTOUCHED_COUNT)
        code = self.vemlo.s3_list_bucket(
            self.handle, ctypes.byref(buckets), ctypes.byref(count)
        )
        address = ctypes.cast(buckets, ctypes.c_void_p).value
        if code != 0:
            untouched = count.value == UNTOUCHED_COUNT and address == UNTOUCHED_BUCKETS
            return Listing(code, [], address is None, untouched, None)
        names = [buckets[i].decode() for i in range(count.value)]
        self.vemlo.free_buckets(buckets, count)
        return Listing(code, names, address is None, False, None)

    def list(self):
        with log.captured() as capture:
            listing = self.list_uncaptured()
        return listing._replace(log=capture.log)

    def create(self, bucket, location=16):
        with log.captured() as capture:
            code = self.vemlo.s3_create_bucket(self.handle, bucket.encode(), location)
        return Creation(code, capture.log)

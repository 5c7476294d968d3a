"""Folders and containers through the C interface."""

import ctypes
from typing import NamedTuple, Optional

from . import log
from .libvemlo import UNTOUCHED_COUNT, BucketArray, Creation, S3Session, load


class Directory(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("id", ctypes.c_char_p)]


DirectoryArray = ctypes.POINTER(Directory)


class Folders(NamedTuple):
    code: int
    names: list
    log: Optional[log.Log]



def declare(library, service):
    handle, text, count = ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(ctypes.c_int)
    signatures = {
        f"{service}_list_directory": [handle, text, text, ctypes.POINTER(DirectoryArray), count],
        f"{service}_create_directory": [handle, text, text],
        "free_diretories": [DirectoryArray, ctypes.c_int],
    }
    if service == "azure_ssb":
        signatures["azure_ssb_list_bucket"] = [handle, ctypes.POINTER(BucketArray), count]
        signatures["azure_ssb_create_bucket"] = [handle, text]
    for name, arguments in signatures.items():
        getattr(library, name).argtypes = arguments


class FolderCalls:
    """The folder functions of a session of `service`. Names are bytes, because they need not be
    valid text."""

    service = None

    def folders(self, bucket, prefix=b""):
        entries, count = DirectoryArray(), ctypes.c_int(UNTOUCHED_COUNT)
        call = getattr(self.vemlo, f"{self.service}_list_directory")
        with log.captured() as capture:
            code = call(
                self.handle, bucket.encode(), prefix, ctypes.byref(entries), ctypes.byref(count)
            )
        if code != 0:
            assert not entries and count.value == 0, "the outs of a failed listing are cleared"
        names = [entries[i].name for i in range(count.value)]
        assert all(entries[i].id is None for i in range(count.value)), "these folders have no id"
        self.vemlo.free_diretories(entries, count)
        return Folders(code, names, capture.log)

    def make_folder(self, bucket, path):
        with log.captured() as capture:
            code = getattr(self.vemlo, f"{self.service}_create_directory")(
                self.handle, bucket.encode(), path
            )
        return Creation(code, capture.log)


class S3Folders(FolderCalls, S3Session):
    service = "s3"

    def __init__(self, *arguments, **named):
        super().__init__(*arguments, **named)
        declare(self.vemlo, self.service)


class AzureSession(FolderCalls):
    """A session with a storage account, closed at the end of a `with`."""

    service = "azure_ssb"

    def __init__(self, account, key, proxy, region=""):
        self.vemlo = load()
        declare(self.vemlo, self.service)
        self.vemlo.libvemlo_global_init()
        self.handle = self.vemlo.libvemlo_azure_ssb_init(
            region.encode(), account.encode(), key.encode(), ctypes.byref(proxy)
        )

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.vemlo.libvemlo_azure_ssb_cleanup(self.handle)
        self.vemlo.libvemlo_global_cleanup()

    def containers(self):
        names, count = BucketArray(), ctypes.c_int(UNTOUCHED_COUNT)
        with log.captured() as capture:
            code = self.vemlo.azure_ssb_list_bucket(
                self.handle, ctypes.byref(names), ctypes.byref(count)
            )
        if code != 0:
            assert not names and count.value == 0, "the outs of a failed listing are cleared"
        found = [names[i] for i in range(count.value)]
        self.vemlo.free_buckets(names, count)
        return Folders(code, found, capture.log)

    def make_container(self, name):
        with log.captured() as capture:
            code = self.vemlo.azure_ssb_create_bucket(self.handle, name.encode())
        return Creation(code, capture.log)


# Names that must be returned byte for byte.
ODD_NAMES = [
    text.encode()
    for text in (
        " leading space", "trailing space ", "  ", "a&b<c>d\"e'f+g%h", "%41", "a+b", "a=b;c,d",
        "grüße", "e\u0301t\u00e9", "\u00e9", "e\u0301", "日本", "🗂️", "..a", "#?",
    )
]  # fmt: skip
# Names with characters that XML does not allow.
NAMES_INVALID_IN_XML = ["a\u001bb".encode(), "a\ufffeb".encode()]

"""Sessions with the four drives, through the C interface only."""

import contextlib
import ctypes
import functools
from typing import Any, NamedTuple

from . import log
from .folders import Directory, DirectoryArray
from .libvemlo import UNTOUCHED_COUNT, load


class Drive(NamedTuple):
    # Its name in the command-line tool.
    word: str
    # The prefix of its functions.
    family: str
    # The result for an authorization code that is refused.
    exchange_failed: int
    has_refresh_token: bool = True


GOOGLE_DRIVE = Drive("google-drive", "google_drive", 337)
ONE_DRIVE = Drive("onedrive", "one_drive", 343)
DROPBOX = Drive("dropbox", "dropbox", 343, has_refresh_token=False)
AMAZON_DRIVE = Drive("amazon-drive", "amazon_drive", 340)
DRIVES = (GOOGLE_DRIVE, ONE_DRIVE, DROPBOX, AMAZON_DRIVE)


class Folder(NamedTuple):
    id: bytes
    name: bytes


class Outcome(NamedTuple):
    code: int
    # The value of the out-parameters; None after a failure.
    value: Any
    log: log.Log


def logged(call):
    """A decorator of methods that return a code and a value: adds the log to the outcome."""

    @functools.wraps(call)
    def with_log(*arguments):
        with log.captured() as capture:
            code, value = call(*arguments)
        return Outcome(code, value, capture.log)

    return with_log


class DriveSession:
    """Closed at the end of a `with`. Only methods named ..._quietly may run in several threads,
    because they do not capture the log."""

    def __init__(self, drive, proxy):
        self.drive = drive
        self.vemlo = load()
        self.libc = ctypes.CDLL(None)
        self.libc.free.argtypes = [ctypes.c_void_p]
        self._declare()
        self.vemlo.libvemlo_global_init()
        self.handle = getattr(self.vemlo, f"libvemlo_{drive.family}_init")(ctypes.byref(proxy))

    def _declare(self):
        handle, text, text_out = ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)
        parent, array_out = ctypes.POINTER(Directory), ctypes.POINTER(DirectoryArray)
        tokens = 2 if self.drive.has_refresh_token else 1
        signatures = {
            "get_authorize_url": [handle, text_out],
            "get_token": [handle, text] + [text_out] * tokens,
            "set_token": [handle] + [text] * tokens,
            "list_directory": [handle, parent, array_out, ctypes.POINTER(ctypes.c_int)],
            "create_directory": [handle, parent, text, array_out],
        }
        if self.drive != DROPBOX:
            signatures["get_root_directory"] = [handle, array_out]
        if self.drive == AMAZON_DRIVE:
            signatures.update(get_endpoint=[handle], test_api=[handle])
        for name, arguments in signatures.items():
            self._function(name).argtypes = arguments
        self.vemlo.free_directory.argtypes = [parent]
        self.vemlo.free_diretories.argtypes = [parent, ctypes.c_int]

    def _function(self, name):
        return getattr(self.vemlo, f"{self.drive.family}_{name}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
        self.vemlo.libvemlo_global_cleanup()

    def close(self):
        getattr(self.vemlo, f"libvemlo_{self.drive.family}_cleanup")(self.handle)
        self.handle = None

    def _taken(self, text):
        """The content of a string that the library returned; releases the string."""
        try:
            return None if text.value is None else ctypes.string_at(text.value).decode()
        finally:
            self.libc.free(text)

    def _taken_folder(self, code, record):
        if code != 0:
            assert not record, "the out of a failed call is cleared"
            return None
        with contextlib.ExitStack() as end:
            end.callback(self.vemlo.free_directory, record)
            return Folder(record[0].id, record[0].name)

    # Authorization

    def authorize_url(self):
        url = ctypes.c_void_p()
        code = self._function("get_authorize_url")(self.handle, ctypes.byref(url))
        assert code == 0, "making the address cannot fail"
        return self._taken(url)

    @logged
    def get_token(self, code):
        """The value is a list of the access token and, if the function returns one, the refresh
        token."""
        tokens = [ctypes.c_void_p() for _ in self._function("set_token").argtypes[1:]]
        outs = [ctypes.byref(token) for token in tokens]
        result = self._function("get_token")(self.handle, code.encode(), *outs)
        if result != 0:
            assert all(token.value is None for token in tokens), "the outs of a failure are cleared"
            return result, None
        return result, [self._taken(token) for token in tokens]

    def set_token(self, *tokens):
        assert self._function("set_token")(self.handle, *(token.encode() for token in tokens)) == 0

    # Folders

    def root_quietly(self):
        if self.drive == DROPBOX:
            return 0, Folder(b"/", b"")
        record = DirectoryArray()
        code = self._function("get_root_directory")(self.handle, ctypes.byref(record))
        return code, self._taken_folder(code, record)

    root = logged(root_quietly)

    def folders_quietly(self, parent):
        entries, count = DirectoryArray(), ctypes.c_int(UNTOUCHED_COUNT)
        code = self._function("list_directory")(
            self.handle, Directory(None, parent.id), ctypes.byref(entries), ctypes.byref(count)
        )
        if code != 0:
            assert not entries and count.value == 0, "the outs of a failed listing are cleared"
            return code, None
        found = [Folder(entry.id, entry.name) for entry in entries[: count.value]]
        if found:
            self.vemlo.free_diretories(entries, count)
        else:
            self.libc.free(entries)
        return code, found

    folders = logged(folders_quietly)

    def make_folder_quietly(self, parent, name):
        record = DirectoryArray()
        code = self._function("create_directory")(
            self.handle, Directory(None, parent.id), name, ctypes.byref(record)
        )
        return code, self._taken_folder(code, record)

    make_folder = logged(make_folder_quietly)

    # Amazon Drive only

    def get_endpoint_quietly(self):
        return self.vemlo.amazon_drive_get_endpoint(self.handle), None

    get_endpoint = logged(get_endpoint_quietly)

    def test_api_quietly(self):
        return self.vemlo.amazon_drive_test_api(self.handle), None

    test_api = logged(test_api_quietly)

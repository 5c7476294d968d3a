#!/usr/bin/env python3
"""A host that links an account and lets its user pick the folder for transfers. Ctrl-C ends a call.

usage: link_account.py s3 ENDPOINT                 (keys: S3_ACCESS_KEY and S3_SECRET_KEY)
       link_account.py google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]

Exit codes: 0 after a line "Chosen: ...", 1 if no folder was chosen, 2 on bad usage.
"""
import ctypes
import os
import sys
from concurrent.futures import ThreadPoolExecutor
from ctypes import (CFUNCTYPE, POINTER, Structure, byref, c_char_p, c_int, c_int32, c_int64,
                    c_size_t, c_uint16, c_uint64, c_void_p)
from urllib.parse import parse_qs, unquote

vemlo = ctypes.CDLL(os.environ.get("LIBVEMLO", "libvemlo.so.1"))
libc = ctypes.CDLL(None)
libc.free.argtypes = [c_void_p]


class Directory(Structure):
    _fields_ = [("name", c_char_p), ("id", c_char_p)]


class ProxySetting(Structure):
    _fields_ = [("host", c_char_p), ("port", c_uint16),
                ("username", c_char_p), ("password", c_char_p)]


class Failed(Structure):
    _fields_ = [("size", c_size_t), ("kind", c_int32), ("service", c_int32), ("error", c_int32),
                ("http_status", c_int32), ("retry_after", c_int64), ("operation", c_char_p),
                ("code", c_char_p), ("message", c_char_p), ("request_id", c_char_p)]


class Progress(Structure):
    _fields_ = [("size", c_size_t), ("service", c_int32), ("operation", c_char_p),
                ("requests", c_uint64), ("bytes", c_uint64), ("entries", c_uint64)]


class Tokens(Structure):
    _fields_ = [("size", c_size_t), ("service", c_int32), ("used_refresh_token", c_char_p),
                ("access_token", c_char_p), ("refresh_token", c_char_p), ("lifetime", c_int64)]


ProgressCallback = CFUNCTYPE(c_int, POINTER(Progress), c_void_p)
TokenCallback = CFUNCTYPE(None, POINTER(Tokens), c_void_p)
# Kinds of failures, as the header numbers them.
LINK_AGAIN = 1
ADVICE = {
    LINK_AGAIN: "Link the account again.",
    2: "Try again later.",
    3: "Check the network and the proxy.",
    4: "Try again later.",
    5: "The server cannot be trusted. Ask who runs the network.",
    6: "Ask the account's owner for access.",
    8: "Choose another name.",
    9: "Choose another name.",
    10: "Free some space.",
    11: "Check the keys.",
    12: "Set this computer's clock.",
    14: "Try again later.",
    16: "You ended it.",
    17: "Try again later.",
}

# A text that must be released is declared as c_void_p: ctypes converts a c_char_p to bytes, and the
# address would be lost. (Members of records and arrays can be c_char_p because the record or array
# is released as a whole.)
SESSION, TEXT, LIST, FOLDERS = c_void_p, c_char_p, POINTER(c_char_p), POINTER(Directory)
SIGNATURES = {
    "libvemlo_global_init": (None, []),
    "libvemlo_global_cleanup": (None, []),
    "free_buckets": (None, [LIST, c_int]),
    "free_directory": (None, [FOLDERS]),
    "free_diretories": (None, [FOLDERS, c_int]),
    "encrypt_string": (c_void_p, [TEXT]),
    "decrypt_string": (c_void_p, [TEXT]),
    "libvemlo_s3_init": (SESSION, [TEXT] * 4 + [POINTER(ProxySetting)]),
    "libvemlo_s3_cleanup": (None, [SESSION]),
    "s3_list_bucket": (c_int, [SESSION, POINTER(LIST), POINTER(c_int)]),
    "s3_list_directory": (c_int, [SESSION, TEXT, TEXT, POINTER(FOLDERS), POINTER(c_int)]),
    "s3_create_directory": (c_int, [SESSION, TEXT, TEXT]),
    "libvemlo_google_drive_init": (SESSION, [POINTER(ProxySetting)]),
    "libvemlo_google_drive_cleanup": (None, [SESSION]),
    "google_drive_get_authorize_url": (c_int, [SESSION, POINTER(c_void_p)]),
    "google_drive_get_token": (c_int, [SESSION, TEXT, POINTER(c_void_p), POINTER(c_void_p)]),
    "google_drive_set_token": (c_int, [SESSION, TEXT, TEXT]),
    "google_drive_get_root_directory": (c_int, [SESSION, POINTER(FOLDERS)]),
    "google_drive_list_directory":
        (c_int, [SESSION, POINTER(Directory), POINTER(FOLDERS), POINTER(c_int)]),
    "google_drive_create_directory": (c_int, [SESSION, POINTER(Directory), TEXT, POINTER(FOLDERS)]),
    "vemlo_client_get_last_failure": (c_int, [POINTER(Failed)]),
    "vemlo_client_reset_last_failure": (None, []),
    "vemlo_client_kind_name": (c_char_p, [c_int32]),  # static, so never released
    "vemlo_client_now": (c_int64, []),
    "vemlo_client_set_deadline": (c_int, [c_int64]),
    "vemlo_client_cancellation_create": (c_void_p, []),
    "vemlo_client_cancellation_trigger": (None, [c_void_p]),
    "vemlo_client_cancellation_release": (None, [c_void_p]),
    "vemlo_client_set_cancellation": (None, [c_void_p]),
    "vemlo_client_set_progress_callback": (None, [ProgressCallback, c_void_p]),
    "vemlo_client_set_token_callback": (None, [TokenCallback, c_void_p]),
    "vemlo_client_set_pkce": (None, [c_int]),
    "vemlo_client_set_whole_s3_listings": (None, [c_int]),
}
for name, (result, arguments) in SIGNATURES.items():
    function = getattr(vemlo, name)
    function.restype, function.argtypes = result, arguments


class Failure(Exception):
    def __init__(self, message, kind=0):
        super().__init__(message)
        self.kind = kind


@ProgressCallback
def show_progress(progress, _):
    if progress[0].entries >= 1000:
        print(f"{progress[0].entries} entries so far")
    return 0


class Calls:
    """Makes the calls on a thread of their own, so that the main thread notices Ctrl-C."""

    def __init__(self):
        self.cancellation = vemlo.vemlo_client_cancellation_create()
        self.thread = ThreadPoolExecutor(max_workers=1, initializer=self.prepare_thread)

    def prepare_thread(self):
        vemlo.vemlo_client_set_cancellation(self.cancellation)
        vemlo.vemlo_client_set_progress_callback(show_progress, None)

    @staticmethod
    def call(function, arguments):
        """The result code of a call that has half a minute, and its failure."""
        vemlo.vemlo_client_reset_last_failure()
        vemlo.vemlo_client_set_deadline(vemlo.vemlo_client_now() + 30_000)
        code = function(*arguments)
        failed = Failed(ctypes.sizeof(Failed))
        vemlo.vemlo_client_get_last_failure(byref(failed))
        return code, failed.kind

    def make(self, what, function, *arguments):
        call = self.thread.submit(self.call, function, arguments)
        try:
            code, kind = call.result()
        except KeyboardInterrupt:
            vemlo.vemlo_client_cancellation_trigger(self.cancellation)
            code, kind = call.result()
        if code != 0:
            name = vemlo.vemlo_client_kind_name(kind).decode()
            raise Failure(f"Cannot {what} ({name}). {ADVICE.get(kind, 'The log says more.')}", kind)

    def close(self):
        self.thread.shutdown()
        vemlo.vemlo_client_cancellation_release(self.cancellation)


def text_of(pointer):
    """The text at `pointer`, which is the library's own until it is released here."""
    text = ctypes.cast(pointer, ctypes.c_char_p).value
    libc.free(pointer)
    return None if text is None else text.decode()


def code_in(pasted):
    """The authorization code in what the user has pasted.

    That is the address of the redirect page, or the code alone, which is percent-encoded if it was
    copied out of the address.
    """
    _, is_address, query = pasted.strip().partition("?")
    if not is_address:
        return unquote(pasted.strip())
    codes = parse_qs(query.partition("#")[0]).get("code")
    if not codes:
        raise Failure("There is no code in that address.")
    return codes[0]


class S3Account:
    def __init__(self, calls, endpoint, access_key, secret_key):
        self.calls = calls
        texts = [text.encode() for text in (endpoint, "", access_key, secret_key)]
        self.handle = vemlo.libvemlo_s3_init(*texts, None)

    def close(self):
        vemlo.libvemlo_s3_cleanup(self.handle)

    def buckets(self):
        names, count = LIST(), c_int()
        self.calls.make("list the buckets", vemlo.s3_list_bucket, self.handle, byref(names),
                        byref(count))
        texts = [names[i].decode() for i in range(count.value)]
        vemlo.free_buckets(names, count)
        return texts

    def roots(self):
        """The buckets. A folder is a pair of a bucket and a prefix."""
        return [(bucket, (bucket, "")) for bucket in self.buckets()]

    def folders(self, folder):
        bucket, prefix = folder
        found, count = FOLDERS(), c_int()
        self.calls.make("list the folders", vemlo.s3_list_directory, self.handle, bucket.encode(),
                        prefix.encode(), byref(found), byref(count))
        names = [found[i].name.decode() for i in range(count.value)]
        vemlo.free_diretories(found, count)
        return [(name, (bucket, name)) for name in names]

    def make_folder(self, folder, name):
        bucket, prefix = folder
        key = f"{prefix}{name}/"
        self.calls.make("make the folder", vemlo.s3_create_directory, self.handle, bucket.encode(),
                        key.encode())
        return folder

    def describe(self, folder):
        return "/".join(folder)


class GoogleDriveAccount:
    def __init__(self, calls, token_file, proxy):
        self.calls = calls
        self.handle = vemlo.libvemlo_google_drive_init(byref(proxy))
        self.token_file = token_file
        self.callback = TokenCallback(self.store_renewed_tokens)  # must exist as long as it is set
        vemlo.vemlo_client_set_token_callback(self.callback, None)

    def close(self):
        vemlo.libvemlo_google_drive_cleanup(self.handle)
        vemlo.vemlo_client_set_token_callback(TokenCallback(), None)

    def use_stored_tokens(self):
        try:
            with open(self.token_file, encoding="ascii") as file:
                tokens = [text_of(vemlo.decrypt_string(line.encode())) for line in file]
        except FileNotFoundError:
            return False
        if len(tokens) != 2 or None in tokens:
            return False
        return vemlo.google_drive_set_token(self.handle, *(t.encode() for t in tokens)) == 0

    def store_tokens(self, tokens):
        """Writes one line per token; decryption does not need the line breaks in the ciphertext."""
        lines = [text_of(vemlo.encrypt_string(token.encode())) for token in tokens]
        new_file = f"{self.token_file}.new"
        descriptor = os.open(new_file, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
        with open(descriptor, "w", encoding="ascii") as file:
            file.writelines("".join(line.split()) + "\n" for line in lines)
            file.flush()
            os.fsync(descriptor)
        os.replace(new_file, self.token_file)  # which is complete at any time

    def store_renewed_tokens(self, tokens, _):
        """Called by the library when it has renewed the tokens.

        A host with several accounts looks for the one whose stored refresh token is
        `used_refresh_token`.
        """
        try:
            self.store_tokens([tokens[0].access_token.decode(), tokens[0].refresh_token.decode()])
        except OSError as error:
            print(f"Cannot store the renewed tokens: {error}", file=sys.stderr)

    def link_by_consent(self):
        url, access_token, refresh_token = c_void_p(), c_void_p(), c_void_p()
        self.calls.make("find the page", vemlo.google_drive_get_authorize_url, self.handle,
                        byref(url))
        print(f"Open this address and allow access:\n{text_of(url)}")
        pasted = input("Paste the code, or the address that you were sent to: ")
        self.calls.make("link the account", vemlo.google_drive_get_token, self.handle,
                        code_in(pasted).encode(), byref(access_token), byref(refresh_token))
        self.store_tokens([text_of(access_token), text_of(refresh_token)])

    def root(self):
        folder = FOLDERS()
        self.calls.make("reach the account", vemlo.google_drive_get_root_directory, self.handle,
                        byref(folder))
        return self.take(folder)

    def roots(self):
        if self.use_stored_tokens():
            try:
                return [self.root()]
            except Failure as failure:
                if failure.kind != LINK_AGAIN:
                    raise
                print(failure)
        self.link_by_consent()
        return [self.root()]

    @staticmethod
    def take(record):
        """The name and the folder of a record, which is released."""
        name, folder = record[0].name.decode(), (record[0].name, record[0].id)
        vemlo.free_directory(record)
        return name, folder

    def folders(self, folder):
        found, count = FOLDERS(), c_int()
        self.calls.make("list the folders", vemlo.google_drive_list_directory, self.handle,
                        byref(Directory(*folder)), byref(found), byref(count))
        entries = [(found[i].name.decode(), (found[i].name, found[i].id))
                   for i in range(count.value)]
        if count.value > 0:
            vemlo.free_diretories(found, count)
        else:
            libc.free(found)  # an empty listing may still be an array
        return entries

    def make_folder(self, folder, name):
        made = FOLDERS()
        self.calls.make("make the folder", vemlo.google_drive_create_directory, self.handle,
                        byref(Directory(*folder)), name.encode(), byref(made))
        return self.take(made)[1]

    def describe(self, folder):
        return f"{folder[0].decode()} ({folder[1].decode()})"


def read_choice(entries, prompt):
    """The user's choice, and the folder if the choice is the number of one of `entries`."""
    for number, (name, _) in enumerate(entries, start=1):
        print(f"{number}  {name}")
    choice = input(prompt)
    is_entry = choice.isdecimal() and 1 <= int(choice) <= len(entries)
    return choice, entries[int(choice) - 1][1] if is_entry else None


def pick_folder(account):
    _, folder = read_choice(account.roots(), "Begin at number: ")
    while folder is not None:
        choice, chosen = read_choice(
            account.folders(folder),
            "Folder number, + and a name for a new one, or . for this one: ")
        if choice == ".":
            break
        if choice.startswith("+"):
            chosen = account.make_folder(folder, choice[1:])
        folder = chosen or folder
    return folder


def open_account(calls, service, *arguments):
    if service == "s3" and len(arguments) == 1:
        keys = (os.environ[name] for name in ("S3_ACCESS_KEY", "S3_SECRET_KEY"))
        return S3Account(calls, *arguments, *keys)
    if service == "google-drive" and len(arguments) in (1, 3):
        host, port = arguments[1:] or ("", "0")
        proxy = ProxySetting(host.encode(), int(port), None, None)
        return GoogleDriveAccount(calls, arguments[0], proxy)
    sys.exit(2)


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    vemlo.libvemlo_global_init()
    vemlo.vemlo_client_set_pkce(1)
    vemlo.vemlo_client_set_whole_s3_listings(1)  # 1,000 files would hide all folders behind them
    calls = Calls()
    account = open_account(calls, *sys.argv[1:])
    try:
        folder = pick_folder(account)
        if folder is None:
            raise Failure("No folder was chosen.")
        print(f"Chosen: {account.describe(folder)}")
    except (Failure, EOFError, KeyboardInterrupt) as failure:
        sys.exit(str(failure) or "No folder was chosen.")
    finally:
        account.close()
        calls.close()
        vemlo.libvemlo_global_cleanup()


if __name__ == "__main__":
    main()

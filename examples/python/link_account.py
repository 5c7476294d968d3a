#!/usr/bin/env python3
"""A host that links an account and lets its user pick the folder for transfers.

usage: link_account.py s3 ENDPOINT                 (keys: S3_ACCESS_KEY and S3_SECRET_KEY)
       link_account.py google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]

Exit codes: 0 after a line "Chosen: ...", 1 if no folder was chosen, 2 on bad usage.
"""
import contextlib
import ctypes
import os
import sys
from ctypes import POINTER, Structure, byref, c_char_p, c_int, c_uint16, c_void_p
from urllib.parse import parse_qs, unquote

vemlo = ctypes.CDLL(os.environ.get("LIBVEMLO", "libvemlo.so.1"))
libc = ctypes.CDLL(None)
libc.free.argtypes = [c_void_p]


class Directory(Structure):
    _fields_ = [("name", c_char_p), ("id", c_char_p)]


class ProxySetting(Structure):
    _fields_ = [("host", c_char_p), ("port", c_uint16),
                ("username", c_char_p), ("password", c_char_p)]


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
}
for name, (result, arguments) in SIGNATURES.items():
    function = getattr(vemlo, name)
    function.restype, function.argtypes = result, arguments


class Failure(Exception):
    pass


def text_of(pointer):
    """The text at `pointer`, which is the library's own until it is released here."""
    text = ctypes.cast(pointer, ctypes.c_char_p).value
    libc.free(pointer)
    return None if text is None else text.decode()


def require(code, what):
    if code != 0:
        raise Failure(f"Cannot {what} (code {code}). The log says more.")


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
    def __init__(self, endpoint, access_key, secret_key):
        texts = [text.encode() for text in (endpoint, "", access_key, secret_key)]
        self.handle = vemlo.libvemlo_s3_init(*texts, None)

    def close(self):
        vemlo.libvemlo_s3_cleanup(self.handle)

    def buckets(self):
        names, count = LIST(), c_int()
        require(vemlo.s3_list_bucket(self.handle, byref(names), byref(count)), "list the buckets")
        texts = [names[i].decode() for i in range(count.value)]
        vemlo.free_buckets(names, count)
        return texts

    def roots(self):
        """The buckets. A folder is a pair of a bucket and a prefix."""
        return [(bucket, (bucket, "")) for bucket in self.buckets()]

    def folders(self, folder):
        bucket, prefix = folder
        found, count = FOLDERS(), c_int()
        require(vemlo.s3_list_directory(self.handle, bucket.encode(), prefix.encode(),
                                        byref(found), byref(count)), "list the folders")
        names = [found[i].name.decode() for i in range(count.value)]
        vemlo.free_diretories(found, count)
        return [(name, (bucket, name)) for name in names]

    def make_folder(self, folder, name):
        bucket, prefix = folder
        key = f"{prefix}{name}/"
        require(vemlo.s3_create_directory(self.handle, bucket.encode(), key.encode()),
                "make the folder")
        return folder

    def describe(self, folder):
        return "/".join(folder)


class GoogleDriveAccount:
    def __init__(self, token_file, proxy):
        self.handle = vemlo.libvemlo_google_drive_init(byref(proxy))
        self.token_file = token_file

    def close(self):
        vemlo.libvemlo_google_drive_cleanup(self.handle)

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
        descriptor = os.open(self.token_file, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
        with open(descriptor, "w", encoding="ascii") as file:
            file.writelines("".join(line.split()) + "\n" for line in lines)

    def link_by_consent(self):
        url, access_token, refresh_token = c_void_p(), c_void_p(), c_void_p()
        require(vemlo.google_drive_get_authorize_url(self.handle, byref(url)), "find the page")
        print(f"Open this address and allow access:\n{text_of(url)}")
        pasted = input("Paste the code, or the address that you were sent to: ")
        code = vemlo.google_drive_get_token(self.handle, code_in(pasted).encode(),
                                            byref(access_token), byref(refresh_token))
        require(code, "link the account")
        self.store_tokens([text_of(access_token), text_of(refresh_token)])

    def root(self):
        folder = FOLDERS()
        code = vemlo.google_drive_get_root_directory(self.handle, byref(folder))
        require(code, "reach the account")
        return self.take(folder)

    def roots(self):
        if self.use_stored_tokens():
            # The tokens may have been revoked. The result code is that of any other failure.
            with contextlib.suppress(Failure):
                return [self.root()]
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
        require(vemlo.google_drive_list_directory(self.handle, byref(Directory(*folder)),
                                                  byref(found), byref(count)), "list the folders")
        entries = [(found[i].name.decode(), (found[i].name, found[i].id))
                   for i in range(count.value)]
        if count.value > 0:
            vemlo.free_diretories(found, count)
        else:
            libc.free(found)  # an empty listing may still be an array
        return entries

    def make_folder(self, folder, name):
        made = FOLDERS()
        require(vemlo.google_drive_create_directory(self.handle, byref(Directory(*folder)),
                                                    name.encode(), byref(made)), "make the folder")
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


def open_account(service, *arguments):
    if service == "s3" and len(arguments) == 1:
        return S3Account(*arguments, os.environ["S3_ACCESS_KEY"], os.environ["S3_SECRET_KEY"])
    if service == "google-drive" and len(arguments) in (1, 3):
        host, port = arguments[1:] or ("", "0")
        return GoogleDriveAccount(arguments[0], ProxySetting(host.encode(), int(port), None, None))
    sys.exit(2)


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    vemlo.libvemlo_global_init()
    account = open_account(*sys.argv[1:])
    try:
        folder = pick_folder(account)
        if folder is None:
            raise Failure("No folder was chosen.")
        print(f"Chosen: {account.describe(folder)}")
    except (Failure, EOFError) as failure:
        sys.exit(str(failure) or "No folder was chosen.")
    finally:
        account.close()
        vemlo.libvemlo_global_cleanup()


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""A host that links an account and lets its user pick the folder for transfers. Ctrl-C ends a call.

usage: link_account.py s3 ENDPOINT                 (keys: S3_ACCESS_KEY and S3_SECRET_KEY)
       link_account.py google-drive TOKEN-FILE [PROXY-HOST PROXY-PORT]

Exit codes: 0 after a line "Chosen: ...", 1 if no folder was chosen, 2 on bad usage.
"""

import contextlib
import os
import sys
from urllib.parse import parse_qs, unquote

import vemlo

ADVICE = {
    vemlo.Kind.LINK_AGAIN: "Link the account again.",
    vemlo.Kind.WAIT: "Try again later.",
    vemlo.Kind.OFFLINE: "Check the network and the proxy.",
    vemlo.Kind.TIMED_OUT: "Try again later.",
    vemlo.Kind.NOT_TRUSTED: "The server cannot be trusted. Ask who runs the network.",
    vemlo.Kind.DENIED: "Ask the account's owner for access.",
    vemlo.Kind.EXISTS_ALREADY: "Choose another name.",
    vemlo.Kind.NAME_NOT_ALLOWED: "Choose another name.",
    vemlo.Kind.QUOTA: "Free some space.",
    vemlo.Kind.WRONG_KEYS: "Check the keys.",
    vemlo.Kind.WRONG_CLOCK: "Set this computer's clock.",
    vemlo.Kind.SERVICE_TROUBLE: "Try again later.",
    vemlo.Kind.CANCELLED: "You ended it.",
    vemlo.Kind.DEADLINE: "Try again later.",
}


class Problem(Exception):
    """What the user is told."""


def show_progress(progress):
    if progress.entries >= 1000:
        print(f"{progress.entries} entries so far")


@contextlib.contextmanager
def ended_by_ctrl_c():
    """Ctrl-C ends the calls in the block.

    Python runs its signal handlers after a call, not during it. So cancel_on_sigint() replaces the
    handler before a call begins, and triggers the cancellation from a thread of its own. There is
    no moment in which Ctrl-C would leave a call running.
    """
    with vemlo.cancel_on_sigint() as cancellation, vemlo.call_limits(cancellation=cancellation):
        yield


@contextlib.contextmanager
def advice_on_failure(what):
    try:
        yield
    except vemlo.Failure as failure:
        advice = ADVICE.get(failure.kind, "The log says more.")
        raise Problem(f"Cannot {what} ({failure.kind.label}). {advice}") from failure


@contextlib.contextmanager
def calls_to(what):
    """The calls in the block have half a minute together, and their failures become advice."""
    with advice_on_failure(what), ended_by_ctrl_c():
        with vemlo.call_limits(timeout=30, progress=show_progress):
            yield


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
        raise Problem("There is no code in that address.")
    return codes[0]


class TokenFile:
    """The tokens of the account, one encrypted line for each."""

    def __init__(self, path):
        self.path = path

    def load(self):
        """The stored tokens; None if there are none, or if they are damaged."""
        try:
            with open(self.path, encoding="ascii") as file:
                access, refresh = (vemlo.decrypt(line) for line in file)
        except (FileNotFoundError, ValueError):
            return None
        return vemlo.Tokens(access, refresh)

    def store(self, access, refresh):
        # Decryption does not need the line breaks in the encrypted text.
        lines = ["".join(vemlo.encrypt(token).split()) for token in (access, refresh)]
        new_file = f"{self.path}.new"
        descriptor = os.open(new_file, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
        with open(descriptor, "w", encoding="ascii") as file:
            file.writelines(line + "\n" for line in lines)
            file.flush()
            os.fsync(descriptor)
        os.replace(new_file, self.path)  # which is complete at any time

    def store_renewed(self, tokens):
        """Called when the library has renewed the tokens.

        A host with several accounts looks for the one whose stored refresh token is
        `used_refresh_token`.
        """
        try:
            self.store(tokens.access, tokens.refresh)
        except OSError as error:
            print(f"Cannot store the renewed tokens: {error}", file=sys.stderr)


class S3Account:
    """A folder of the account is a pair of a bucket and a prefix."""

    def __init__(self, session):
        self.session = session

    def roots(self):
        with calls_to("list the buckets"):
            return [(bucket, "") for bucket in self.session.buckets()]

    def folders(self, folder):
        bucket, prefix = folder
        with calls_to("list the folders"):
            return [(bucket, found.name) for found in self.session.folders(bucket, prefix)]

    def create_folder(self, parent, name):
        bucket, prefix = parent
        with calls_to("make the folder"):
            self.session.create_folder(bucket, f"{prefix}{name}/")
        return parent

    @staticmethod
    def name_of(folder):
        return folder[1] or folder[0]

    @staticmethod
    def describe(folder):
        return "/".join(folder)


class DriveAccount:
    def __init__(self, session, token_file):
        self.session = session
        self.token_file = token_file

    def link_by_consent(self):
        url = self.session.authorize_url()
        print(f"Open this address and allow access:\n{url}")
        pasted = input("Paste the code, or the address that you were sent to: ")
        code = code_in(pasted)
        with calls_to("link the account"):
            tokens = self.session.link(code)
        self.token_file.store(tokens.access, tokens.refresh)

    def root(self):
        with calls_to("reach the account"):
            return self.session.root()

    def roots(self):
        tokens = self.token_file.load()
        if tokens is not None:
            self.session.set_tokens(tokens)
            try:
                return [self.root()]
            except Problem as problem:
                if not isinstance(problem.__cause__, vemlo.LinkAgain):
                    raise
                print(problem)
        self.link_by_consent()
        return [self.root()]

    def folders(self, folder):
        with calls_to("list the folders"):
            return [*self.session.folders(folder)]

    def create_folder(self, parent, name):
        with calls_to("make the folder"):
            return self.session.create_folder(parent, name)

    @staticmethod
    def name_of(folder):
        return folder.name

    @staticmethod
    def describe(folder):
        return f"{folder.name} ({folder.id})"


def read_choice(account, folders, prompt):
    """The user's choice, and the folder if the choice is the number of one of `folders`."""
    for number, folder in enumerate(folders, start=1):
        print(f"{number}  {account.name_of(folder)}")
    choice = input(prompt)
    is_entry = choice.isdecimal() and 1 <= int(choice) <= len(folders)
    return choice, folders[int(choice) - 1] if is_entry else None


def pick_folder(account):
    _, folder = read_choice(account, account.roots(), "Begin at number: ")
    while folder is not None:
        choice, chosen = read_choice(
            account,
            account.folders(folder),
            "Folder number, + and a name for a new one, or . for this one: ",
        )
        if choice == ".":
            break
        if choice.startswith("+"):
            chosen = account.create_folder(folder, choice[1:])
        folder = chosen or folder
    if folder is None:
        raise Problem("No folder was chosen.")
    return account.describe(folder)


def pick_s3_folder(endpoint):
    access_key, secret_key = (os.environ[name] for name in ("S3_ACCESS_KEY", "S3_SECRET_KEY"))
    with vemlo.Library(), vemlo.S3(endpoint, "", access_key, secret_key) as session:
        return pick_folder(S3Account(session))


def pick_google_drive_folder(path, host="", port="0"):
    file = TokenFile(path)
    settings = vemlo.Settings(tokens_renewed=file.store_renewed)
    proxy = vemlo.Proxy(host, int(port))
    with vemlo.Library(settings), vemlo.Drive(vemlo.Service.GOOGLE_DRIVE, proxy) as session:
        return pick_folder(DriveAccount(session, file))


def main():
    service, *arguments = sys.argv[1:] or [""]
    try:
        if service == "s3" and len(arguments) == 1:
            print(f"Chosen: {pick_s3_folder(*arguments)}")
        elif service == "google-drive" and len(arguments) in (1, 3):
            print(f"Chosen: {pick_google_drive_folder(*arguments)}")
        else:
            print(__doc__, file=sys.stderr)
            sys.exit(2)
    except (Problem, EOFError, KeyboardInterrupt) as problem:
        sys.exit(str(problem) or "No folder was chosen.")


if __name__ == "__main__":
    main()

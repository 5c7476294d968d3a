"""A session with a service: some calls that succeed and some that fail. A program of its own, so
that it can be repeated in another process.

Reads a JSON object with `service`, `port` (of the proxy), `name` (of what it makes), `recording`
(a path or null), `keys` (of S3 and Azure) and `code` (of a drive). Prints the results as JSON.
"""

import json
import sys

from support.drive_sessions import DRIVES, DriveSession, Folder
from support.folders import AzureSession, S3Folders
from support.libvemlo import load, proxy_setting
from support.sandbox import Account

UNKNOWN = "does-not-exist"


def s3(proxy, name, keys):
    account = Account("https://s3.amazonaws.com", *keys)
    with S3Folders(account, proxy=proxy) as session:
        yield session.create(name)
        yield session.make_folder(name, b"a/b c/")
        yield session.make_folder(name, b"d@e/")
        yield session.folders(name)
        yield session.list()
        yield session.folders(UNKNOWN)


def azure_ssb(proxy, name, keys):
    with AzureSession(*keys, proxy) as session:
        yield session.make_container(name)
        yield session.make_folder(name, b"a/b c/")
        yield session.folders(name)
        yield session.containers()
        yield session.folders(UNKNOWN)


def drive(which, proxy, name, code):
    with DriveSession(which, proxy) as session:
        linked = session.get_token(code)
        yield linked.code
        root = session.root()
        yield root
        yield session.make_folder(root.value, name.encode())
        made = session.folders(root.value)
        yield made
        yield session.folders(made.value[0])
        yield session.folders(Folder(UNKNOWN.encode(), b""))
        yield session.get_token("another code").code


def calls(service, proxy, name, keys=None, code=None):
    if service == "s3":
        return s3(proxy, name, keys)
    if service == "azure_ssb":
        return azure_ssb(proxy, name, keys)
    which = next(each for each in DRIVES if each.family == service)
    return drive(which, proxy, name, code)


def plain(result):
    """Codes, names and ids, without the log."""
    if isinstance(result, int):
        return result
    return {name: repr(value) for name, value in result._asdict().items() if name != "log"}


def main():
    given = json.load(sys.stdin)
    recording = given.pop("recording")
    library = load()
    if recording:
        assert library.vemlo_client_start_recording(recording.encode()) == 0
    proxy = proxy_setting(given.pop("port"))
    results = [plain(result) for result in calls(proxy=proxy, **given)]
    if recording:
        assert library.vemlo_client_stop_recording() == 0
    json.dump(results, sys.stdout)


if __name__ == "__main__":
    main()

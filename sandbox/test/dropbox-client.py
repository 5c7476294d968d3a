"""Checks the emulator of Dropbox with the vendor's Python client, which validates every response.

Reads {"token", "proxy"} as JSON from standard input and writes one JSON object: check -> result.
"""

import json
import sys

import dropbox
from dropbox.exceptions import ApiError


def names_of_folders(client):
    page = client.files_list_folder("", limit=1)
    entries = list(page.entries)
    while page.has_more:
        page = client.files_list_folder_continue(page.cursor)
        entries += page.entries
    return [entry.name for entry in entries if isinstance(entry, dropbox.files.FolderMetadata)]


def failure(call):
    try:
        call()
    except ApiError as error:
        return error.error
    return None


def conflict(call):
    error = failure(call).get_path()
    return f"conflict {error.get_conflict()._tag}" if error.is_conflict() else error._tag


def main():
    arguments = json.load(sys.stdin)
    session = dropbox.create_session(proxies={"https": arguments["proxy"]})
    client = dropbox.Dropbox(arguments["token"], session=session, max_retries_on_error=0)
    space = client.users_get_space_usage()
    results = {
        "account": client.users_get_current_account().email,
        "space": [space.used, space.allocation.get_individual().allocated],
        "created": client.files_create_folder_v2("/By Python").metadata.path_display,
        "again": conflict(lambda: client.files_create_folder_v2("/by python")),
        "missing": failure(lambda: client.files_list_folder("/none")).get_path()._tag,
        "folders": names_of_folders(client),
    }
    json.dump(results, sys.stdout)


main()

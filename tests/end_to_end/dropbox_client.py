"""The vendor's own client for Python.

Reads {"token", "proxy", "make"} as JSON from its input; makes a folder, if one is named, and writes
the names at the top of the drive as JSON.
"""

import json
import sys

import dropbox


def main():
    given = json.load(sys.stdin)
    session = dropbox.create_session(proxies={"https": given["proxy"]})
    client = dropbox.Dropbox(given["token"], session=session, max_retries_on_error=0)
    if "make" in given:
        client.files_create_folder_v2(f"/{given['make']}")
    json.dump([entry.name for entry in client.files_list_folder("").entries], sys.stdout)


main()

"""The vendor's own client for Python.

Reads {"token", "proxy", "make"} as JSON from standard input. Makes the folder "make", if given, and
writes the names in the root folder as JSON.
"""

import json
import sys

import dropbox


def main():
    arguments = json.load(sys.stdin)
    session = dropbox.create_session(proxies={"https": arguments["proxy"]})
    client = dropbox.Dropbox(arguments["token"], session=session, max_retries_on_error=0)
    if "make" in arguments:
        client.files_create_folder_v2(f"/{arguments['make']}")
    json.dump([entry.name for entry in client.files_list_folder("").entries], sys.stdout)


main()

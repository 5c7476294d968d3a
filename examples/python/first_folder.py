#!/usr/bin/env python3
"""Links a Google Drive account, lists its folders and makes one.

usage: first_folder.py PROXY-HOST PROXY-PORT
"""

import sys

import vemlo


def main():
    proxy = vemlo.Proxy(sys.argv[1], int(sys.argv[2]))
    with vemlo.Library(), vemlo.Drive(vemlo.Service.GOOGLE_DRIVE, proxy) as drive:
        print(drive.authorize_url(), flush=True)
        drive.link(input())
        root = drive.root()
        for folder in drive.folders(root):
            print(f"{folder.name} ({folder.id})")
        made = drive.create_folder(root, "Transfers")
        print(f"Made {made.name} ({made.id})")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        main()
    except vemlo.Failure as failure:
        print(failure)
        sys.exit(1)

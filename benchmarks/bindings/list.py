"""Lists a folder of Google Drive with the Python binding, as often as each line of standard input
says, and prints how many characters the names and ids have.

  list.py PROXY-PORT
"""

import sys

import vemlo


def main():
    proxy = vemlo.Proxy("127.0.0.1", int(sys.argv[1]))
    with vemlo.Library(), vemlo.Drive(vemlo.Service.GOOGLE_DRIVE, proxy) as drive:
        drive.set_tokens(vemlo.Tokens("access", "refresh"))
        for line in sys.stdin:
            size = 0
            for _ in range(int(line)):
                for folder in drive.folders("parent"):
                    size += len(folder.name) + len(folder.id)
            print(size, flush=True)


if __name__ == "__main__":
    main()

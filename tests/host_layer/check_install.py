#!/usr/bin/env python3
"""Checks that what is installed for a host's own service-client layer offers nothing of the bundled
one: no header, no manual page, no library to link. usage: BUILD_TREE"""
import subprocess
import sys
import tempfile
from pathlib import Path


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", folder], check=True,
                       stdout=subprocess.DEVNULL)
        files = [path for path in Path(folder).rglob("*") if path.is_file()]
        names = {path.name for path in files}
        texts = {path.name: path.read_text(encoding="utf-8") for path in files
                 if path.suffix in (".pc", ".cmake")}
    expected = {"libvemlo.h", "libvemlo.3.gz", "s3_list_bucket.3.gz", "libvemlo.pc"}
    faults = [f"{name} is missing" for name in sorted(expected - names)]
    faults += [f"{name} is installed" for name in sorted(names)
               if "service_client" in name or "vemlo_client" in name]
    faults += [f"{name} refers to the bundled layer" for name, text in texts.items()
               if "vemlo_service_client" in text]
    for fault in faults:
        print(fault, file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()

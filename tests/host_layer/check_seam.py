#!/usr/bin/env python3
"""Checks that a library built for a host's own service-client layer leaves that layer to the host:
it needs no library of the bundled layer and leaves the layer's symbols undefined. usage: LIBRARY"""
import re
import subprocess
import sys

SERVICES = ("S3", "AzureSSB", "AmazonDrive", "GoogleDrive", "OneDrive", "Dropbox")
# Three drives inherit the constructor of this one.
CONSTRUCTORS = ("S3::S3Client::S3Client(", "AzureSSB::AzureSSBClient::AzureSSBClient(",
                "Dropbox::DropboxClient::DropboxClient(", "OAuth2Client::OAuth2Client(")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library = sys.argv[1]
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-d", library))
    undefined = output_of("nm", "-DC", "--undefined-only", library)
    defined = output_of("nm", "-DC", "--defined-only", library)

    faults = []
    if not any(name.startswith("libglog") for name in needed):
        faults.append(f"readelf does not list libglog among what is needed: {needed}")
    faults += [f"{name} is needed" for name in needed if "service_client" in name]
    symbols = [f"CloudStorage::Client::{constructor}" for constructor in CONSTRUCTORS]
    symbols += [f"vtable for CloudStorage::Client::{service}::{service}ErrorMarshaller"
                for service in SERVICES]
    symbols += [f"vtable for CloudStorage::Client::{service}::{service}Client"
                for service in SERVICES if service in ("AmazonDrive", "GoogleDrive", "OneDrive")]
    faults += [f"{symbol} is not left undefined" for symbol in symbols if symbol not in undefined]
    if "CloudStorage::" in defined:
        faults.append("a symbol of the layer is exported")
    if "vemlo_client_" in defined + undefined:
        faults.append("a function of the bundled layer's C interface is exported or used")
    for fault in faults:
        print(fault, file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()

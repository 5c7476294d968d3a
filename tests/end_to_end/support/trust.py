"""Trusted certificates for the process under test."""

import os
import pathlib
import shutil
import subprocess

from . import sandbox


def trust_sandbox():
    """Trusts the sandbox in this process. Must be called before the first TLS connection."""
    os.environ["SSL_CERT_FILE"] = sandbox.state()["internet"]["caFile"]


def hashed_folder(folder):
    """Fills `folder` as OpenSSL requires of a folder of trusted certificates; returns its path."""
    shutil.copy(sandbox.state()["internet"]["caFile"], pathlib.Path(folder) / "authority.pem")
    subprocess.run(["openssl", "rehash", folder], check=True, capture_output=True)
    return str(folder)


def foreign_authority(folder):
    """A file with the certificate of an authority that has issued no certificate."""
    certificate = pathlib.Path(folder) / "foreign.pem"
    subprocess.run(
        [
            "openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
            "-nodes", "-subj", "/CN=somebody else", "-days", "1",
            "-keyout", "/dev/null", "-out", certificate,
        ],
        check=True,
        capture_output=True,
    )  # fmt: skip
    return str(certificate)

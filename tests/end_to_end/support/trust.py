"""Certificates: whom the process under test is told to trust."""

import os
import pathlib
import shutil
import subprocess

from . import sandbox


def trust_sandbox():
    """For this process. To be called before the library makes its first TLS connection."""
    os.environ["SSL_CERT_FILE"] = sandbox.state()["internet"]["caFile"]


def hashed_folder(folder):
    """Makes of `folder` what OpenSSL takes for a folder of trusted certificates."""
    shutil.copy(sandbox.state()["internet"]["caFile"], pathlib.Path(folder) / "authority.pem")
    subprocess.run(["openssl", "rehash", folder], check=True, capture_output=True)
    return str(folder)


def foreign_authority(folder):
    """The certificate of an authority that has issued nothing."""
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

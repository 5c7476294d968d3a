"""Running the host programs and the command-line tool.

VEMLO_HOSTS is the folder of the programs, VEMLO_CLI the tool.
"""

import os
import pathlib
import subprocess
from typing import NamedTuple

from . import output
from .log import Log


class Result(NamedTuple):
    status: int
    output: str
    log: Log

    @property
    def code(self):
        """The library's result code, which the host programs print."""
        first = self.output.split("\n")[0]
        return int(first.removeprefix("code "))

    @property
    def names(self):
        return self.output.splitlines()[1:]


def run(command, environment=None, **options):
    """Runs a program without inherited variables that affect it or select a proxy."""
    removed_prefixes = ("VEMLO_", "HOST_", "SSL_CERT_")
    clean = {
        name: value
        for name, value in os.environ.items()
        if not name.startswith(removed_prefixes) and not name.lower().endswith("_proxy")
    }
    if "input" not in options:
        options["stdin"] = subprocess.DEVNULL
    result = subprocess.run(
        command, env={**clean, **(environment or {})}, capture_output=True, encoding="utf-8",
        timeout=60, check=False, **options,
    )  # fmt: skip
    output.keep(result.stdout)
    output.keep(result.stderr)
    return Result(result.returncode, result.stdout, Log(result.stderr))


def run_host(name, *arguments, environment=None, **options):
    """Runs one of the host programs, which must not detect a broken promise of the library."""
    program = pathlib.Path(os.environ["VEMLO_HOSTS"]) / name
    result = run([program, *arguments], environment, **options)
    if result.status != 0:
        raise AssertionError(f"{name} ended with {result.status}: {result.log.text}{result.output}")
    return result


def run_s3_host(account, *arguments, region="", environment=None):
    keys = {"HOST_ACCESS_KEY": account.access_key, "HOST_SECRET_KEY": account.secret_key}
    return run_host(
        "s3_host", account.endpoint, region, *arguments,
        environment={**keys, **(environment or {})},
    )  # fmt: skip

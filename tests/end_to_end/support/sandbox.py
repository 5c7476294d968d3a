"""The running sandbox: its servers, its proxies, and an independent client of its stores."""

import base64
import contextlib
import functools
import json
import os
import urllib.request
import uuid
from typing import NamedTuple

MADE_UP_SECRET = "not-to-be-shown"
SECRET_MEMBERS = ("secretKey", "otherSecretKey", "proxyPassword")


@functools.lru_cache(maxsize=None)
def state():
    """The state of the running sandbox. Fails if there is none."""
    with open(os.environ["VEMLO_SANDBOX_STATE"], encoding="utf-8") as file:
        return json.load(file)


def secrets():
    """Every secret that these tests pass to the library."""
    parts = [part for part in state().values() if isinstance(part, dict)]
    found = [part[name] for part in parts for name in SECRET_MEMBERS if name in part]
    if "internet" in state():
        user, password = (state()["internet"][name] for name in ("proxyUser", "proxyPassword"))
        found.append(base64.b64encode(f"{user}:{password}".encode()).decode())
    return [MADE_UP_SECRET, *found]


class Account(NamedTuple):
    endpoint: str
    access_key: str
    secret_key: str

    def independent_client(self, connections=10):
        """boto3, for a view of the store that does not depend on the library."""
        import boto3
        from botocore.config import Config

        # An empty set of proxies keeps boto3 from reading those of the environment; None does not.
        config = Config(
            s3={"addressing_style": "path"}, retries={"max_attempts": 0}, proxies={},
            max_pool_connections=connections,
        )  # fmt: skip
        return boto3.client(
            "s3", endpoint_url=self.endpoint, region_name="us-east-1", config=config,
            aws_access_key_id=self.access_key, aws_secret_access_key=self.secret_key,
        )  # fmt: skip

    def bucket_names(self):
        """The names that the independent client lists."""
        with contextlib.closing(self.independent_client()) as client:
            return [bucket["Name"] for bucket in client.list_buckets()["Buckets"]]


def account(server, owner="main"):
    """An account of "radosgw" or "swift"; `owner` is "main" or "other"."""
    part = state()[server]
    prefix = "" if owner == "main" else "other"
    names = [prefix + "AccessKey", prefix + "SecretKey"]
    access_key, secret_key = (part[name[0].lower() + name[1:]] for name in names)
    return Account(part["endpoint"], access_key, secret_key)


def empty_account(server):
    """An account of "radosgw" or "swift" that has no bucket."""
    other = account(server, "other")
    with contextlib.closing(other.independent_client()) as client:
        for name in other.bucket_names():
            client.delete_bucket(Bucket=name)
    return other


def new_bucket_name():
    return f"e2e-{uuid.uuid4().hex[:20]}"


def control(method, what, body=None, part="internet"):
    """One request to the control endpoint of the loopback internet, or of the drives."""
    request = urllib.request.Request(
        f"{state()[part]['control']}/{what}",
        method=method,
        data=None if body is None else json.dumps(body).encode(),
        headers={"Content-Type": "application/json"},
    )
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    with opener.open(request, timeout=30) as response:
        content = response.read()
    return json.loads(content) if content else None


def reset_internet():
    """Clears the faults, routes and logged requests of earlier tests."""
    for what in ("faults", "routes", "log"):
        control("DELETE", what)


def requests():
    """The requests that went through the proxies, without CONNECT."""
    return [entry for entry in control("GET", "log") if entry["method"] != "CONNECT"]


def tunnels():
    return [entry for entry in control("GET", "log") if entry["method"] == "CONNECT"]

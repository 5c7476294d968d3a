"""Recordings of the requests that the test processes and the programs that they run send.

RECORDINGS_FOLDER is the folder that collects them; a test that runs last checks them. Programs
record by themselves, because `record_requests` is preloaded into them.
"""

import base64
import collections
import ctypes
import functools
import html
import json
import os
import pathlib
import re
import time
import urllib.parse

# The hosts of each service, as patterns.
HOSTS = {
    "s3": r"(.+\.)?s3[.-].*|127\.0\.0\.1:\d+",
    "azure_ssb": r".*\.blob\.core\..*",
    "google_drive": r"www\.googleapis\.com|oauth2\.googleapis\.com|accounts\.google\.com",
    "one_drive": r"graph\.microsoft\.com|login\.microsoftonline\.com",
    "dropbox": r"api\.dropbox(api)?\.com|www\.dropbox\.com",
    "amazon_drive": r"(drive|api)\.amazon(aws)?\.com|.*\.example|cdws\..*|content-na\.drive.*",
}


@functools.lru_cache(maxsize=None)
def begin():
    """Records the requests of this process from now on. Does nothing without RECORDINGS_FOLDER, as
    in tests that are run by hand."""
    folder = os.environ.get("RECORDINGS_FOLDER")
    if not folder:
        return
    path = f"{folder}/python.{os.getpid()}.{time.time_ns()}.har"
    library = ctypes.CDLL(os.environ["VEMLO_LIBRARY"])
    code = library.vemlo_client_start_recording(path.encode())
    assert code == 0, os.strerror(code)


def entries_in(path):
    """The entries of a recording."""
    log = json.loads(pathlib.Path(path).read_text(encoding="utf-8"))["log"]
    assert log["version"] == "1.2"
    return log["entries"]


def service_of(entry):
    """The service to which the request of an entry was sent; None if it is unknown."""
    host = urllib.parse.urlsplit(entry["request"]["url"]).netloc
    return next((name for name, hosts in HOSTS.items() if re.fullmatch(hosts, host)), None)


def _inside_base64(secret):
    """The parts that every text in Base64 has that contains the secret, by its position."""
    for offset in range(3):
        text = base64.b64encode(b"\0" * offset + secret).decode()
        begin_, end = (offset * 8 + 5) // 6, (offset + len(secret)) * 8 // 6
        if end - begin_ >= 12:
            yield text[begin_:end]


def _references(secret):
    """The secret with the character references of HTML and XML."""
    return {
        html.escape(secret),
        html.escape(secret).replace("&#x27;", "&#39;").replace("&quot;", "&#34;"),
        html.escape(secret).replace("+", "&#43;").replace("/", "&#47;").replace("=", "&#61;"),
        html.escape(secret).replace("+", "&#x2B;").replace("/", "&#x2F;").replace("=", "&#x3D;"),
        "".join(f"&#{ord(c)};" for c in secret),
        "".join(f"&#x{ord(c):x};" for c in secret),
    }


def spellings(secret):
    """The secret unchanged, percent-encoded, in Base64 (also within a longer text) and escaped as
    in JSON, HTML and XML; encoded or escaped twice, too."""
    data = secret.encode()
    encoded = [urllib.parse.quote(secret, safe=safe) for safe in ("", "/", "/:@")]
    base64_ = [base64.b64encode(data).decode().rstrip("="), *_inside_base64(data)]
    return {
        secret,
        *encoded,
        *(re.sub("%..", lambda match: match[0].lower(), text) for text in encoded),
        *base64_,
        *(text.replace("+", "-").replace("/", "_") for text in base64_),
        json.dumps(secret)[1:-1],
        json.dumps(secret)[1:-1].replace("/", "\\/"),
        json.dumps(json.dumps(secret))[3:-3],
        "".join(f"%{byte:02X}" for byte in data),
        "".join(f"\\u{ord(c):04x}" for c in secret),
        *(urllib.parse.quote(text, safe="") for text in encoded),
        *_references(secret),
        *(html.escape(text) for text in _references(secret)),
    }


def texts_of(path):
    """The content of a recording, once as it is and once with its texts decoded."""
    raw = pathlib.Path(path).read_text(encoding="utf-8")
    decoded = []

    def collect(value):
        if isinstance(value, dict):
            if value.get("encoding") == "base64":
                decoded.append(base64.b64decode(value["text"]).decode("latin-1"))
            for member in value.values():
                collect(member)
        elif isinstance(value, list):
            for element in value:
                collect(element)
        elif isinstance(value, str):
            decoded.append(value)

    collect(json.loads(raw))
    return raw, "\n".join(decoded)


class Spellings:
    """Texts that are searched for all at once."""

    # The characters by which a text is recognized at first.
    PREFIX = 8

    def __init__(self, texts):
        self.by_prefix = collections.defaultdict(list)
        for text in texts:
            assert len(text) >= self.PREFIX, text
            self.by_prefix[text[: self.PREFIX]].append(text)

    def found_in(self, path):
        """Those that a recording shows."""
        found = set()
        for text in texts_of(path):
            windows = {text[at : at + self.PREFIX] for at in range(len(text))}
            for prefix in windows & self.by_prefix.keys():
                found.update(each for each in self.by_prefix[prefix] if each in text)
        return sorted(found)

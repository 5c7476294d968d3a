"""The sandbox's control over its drives, and the consent of an account holder."""

import ctypes
import json
import os
import ssl
import urllib.parse
import urllib.request

from . import sandbox

# The sandbox's name of each service, by the name in the command-line tool.
NAMES = {
    "google-drive": "google",
    "onedrive": "microsoft",
    "dropbox": "dropbox",
    "amazon-drive": "amazon",
}


def control(what, service, **details):
    """One request to the control endpoint of the drives."""
    body = {"service": NAMES[service], **details}
    return sandbox.control("POST", what, body, part="drives")


def _service(service):
    return sandbox.state()["drives"]["services"][NAMES[service]]


def token_path(service):
    return urllib.parse.urlsplit(_service(service)["tokenEndpoint"]).path


def _browser():
    internet = sandbox.state()["internet"]
    proxy = f"http://{internet['proxyHost']}:{internet['proxyPort']}"
    return urllib.request.build_opener(
        urllib.request.ProxyHandler({"https": proxy}),
        urllib.request.HTTPSHandler(context=ssl.create_default_context(cafile=internet["caFile"])),
    )


def exchange(service, code):
    """The access token and the refresh token for a code, without the library."""
    client = _service(service)
    form = {
        "grant_type": "authorization_code",
        "code": code,
        "client_id": client["clientId"],
        "client_secret": client["clientSecret"],
        "redirect_uri": sandbox.state()["drives"]["redirectUri"],
    }
    body = urllib.parse.urlencode(form).encode()
    with _browser().open(client["tokenEndpoint"], body, timeout=30) as response:
        tokens = json.load(response)
    return tokens["access_token"], tokens["refresh_token"]


def consent(url, account, decision="allow"):
    """Opens an authorization address and submits the account holder's decision.

    Returns the address of the redirect page.
    """
    browser = _browser()
    with browser.open(url, timeout=30) as page:
        address = page.url
    form = urllib.parse.urlencode({"account": account, "decision": decision})
    with browser.open(address, form.encode(), timeout=30) as page:
        assert page.url.split("?")[0] == sandbox.state()["drives"]["redirectUri"], page.url
        return page.url


def query_of(url):
    """The query's values by name."""
    return dict(urllib.parse.parse_qsl(urllib.parse.urlsplit(url).query, strict_parsing=True))


def _converted(function, text):
    library = ctypes.CDLL(os.environ["VEMLO_LIBRARY"])
    convert = getattr(library, function)
    convert.argtypes = [ctypes.c_char_p]
    convert.restype = ctypes.c_void_p
    library.libvemlo_global_init()
    converted = convert(text.encode())
    try:
        return ctypes.string_at(converted).decode()
    finally:
        ctypes.CDLL(None).free(ctypes.c_void_p(converted))
        library.libvemlo_global_cleanup()


def deciphered(text):
    """The plain text of `text`, which encrypt_string() of the library has encrypted."""
    return _converted("decrypt_string", text)


def enciphered(text):
    """What decrypt_string() of the library turns into `text`, as one line."""
    return "".join(_converted("encrypt_string", text).split())

"""Texts that are hidden from a casual reader of a file."""

from __future__ import annotations

import ctypes

from . import _c
from .failures import BadArguments, HostFault, encoded
from .library import held_library
from .listings import text_at


def encrypt(text: str) -> str:
    """Encrypts a text with the fixed key of the library. Equal texts give equal results.

    This hides a secret from a casual reader, not from a person who has this library.

    Returns:
        Base64 text with a line break (CR LF) after every 72 characters, which may be removed.
    """
    result = _converted("encrypt_string", text)
    if result is None:
        raise HostFault("The text cannot be encrypted.")
    return result


def decrypt(text: str) -> str:
    """Decrypts a text that encrypt() has encrypted, with or without its line breaks.

    Raises:
        BadArguments: the text cannot be decrypted. One ERROR line is written to the log.
    """
    result = _converted("decrypt_string", text)
    if result is None:
        raise BadArguments("The text cannot be decrypted.")
    return result


def _converted(function: str, text: str) -> "str | None":
    argument = encoded(text)
    result = ctypes.c_void_p()
    try:
        with held_library().use():
            result.value = getattr(_c.load(), function)(argument)
        return None if result.value is None else text_at(result)
    finally:
        _c.free(result)

"""Why a call failed."""

from __future__ import annotations

import ctypes
import enum
from typing import Any, Dict, Optional, Type

from . import _c


class Service(enum.IntEnum):
    """A service. The numbers never change."""

    S3 = 1
    AZURE_BLOBS = 2
    AMAZON_DRIVE = 3
    GOOGLE_DRIVE = 4
    ONE_DRIVE = 5
    DROPBOX = 6


class Kind(enum.IntEnum):
    """What a failure means for the user and the host. The exceptions of these names say more."""

    LINK_AGAIN = 1
    WAIT = 2
    OFFLINE = 3
    TIMED_OUT = 4
    NOT_TRUSTED = 5
    DENIED = 6
    NOT_FOUND = 7
    EXISTS_ALREADY = 8
    NAME_NOT_ALLOWED = 9
    QUOTA = 10
    WRONG_KEYS = 11
    WRONG_CLOCK = 12
    WRONG_REGION = 13
    SERVICE_TROUBLE = 14
    NOT_UNDERSTOOD = 15
    CANCELLED = 16
    DEADLINE = 17
    HOST_FAULT = 18

    @property
    def label(self) -> str:
        """The kind in words, such as "link again"."""
        return self.name.lower().replace("_", " ")


class Failure(Exception):
    """A call that failed. Each kind of failure has a subclass.

    The text of the exception is one line for logs, without secrets.

    Attributes:
        kind: what the failure means; one for each subclass.
        service: the service that failed; None if no request failed.
        code: the result of the C function; -1 for bad arguments.
        error: the error's number as listed in error-codes.md, or 0.
        http_status: the status of the HTTP response, or 0 if there was none.
        retry_after: after how many seconds the service allows another attempt; None if it did not
            say.
        operation: the operation that failed, such as "listFileResource".
        service_code: the error's name as the service or the transport reported it.
        service_message: the service's own message.
        request_id: what the service calls this request in its own logs.
    """

    kind = Kind.NOT_UNDERSTOOD

    def __init__(
        self,
        message: str,
        *,
        service: Optional[Service] = None,
        code: int = -1,
        error: int = 0,
        http_status: int = 0,
        retry_after: Optional[int] = None,
        operation: str = "",
        service_code: str = "",
        service_message: str = "",
        request_id: str = "",
    ) -> None:
        super().__init__(message)
        self.service = service
        self.code = code
        self.error = error
        self.http_status = http_status
        self.retry_after = retry_after
        self.operation = operation
        self.service_code = service_code
        self.service_message = service_message
        self.request_id = request_id


class LinkAgain(Failure):
    """The service no longer accepts the account's tokens, or there are none: the user has to give
    consent again."""

    kind = Kind.LINK_AGAIN


class Wait(Failure):
    """Too many requests, or something else is in progress: try again later."""

    kind = Kind.WAIT


class Offline(Failure):
    """The service or the proxy was not reached, or the connection broke."""

    kind = Kind.OFFLINE


class TimedOut(Failure):
    """The service did not respond in time."""

    kind = Kind.TIMED_OUT


class NotTrusted(Failure):
    """The service's certificate is not trusted or belongs to another host."""

    kind = Kind.NOT_TRUSTED


class Denied(Failure):
    """The account may not do this."""

    kind = Kind.DENIED


class NotFound(Failure):
    """The folder, bucket or account does not exist."""

    kind = Kind.NOT_FOUND


class ExistsAlready(Failure):
    """There is something of this name already."""

    kind = Kind.EXISTS_ALREADY


class NameNotAllowed(Failure):
    """The service does not allow this name."""

    kind = Kind.NAME_NOT_ALLOWED


class Quota(Failure):
    """The account has no space left, or has reached another of its limits."""

    kind = Kind.QUOTA


class WrongKeys(Failure):
    """The access key or the secret key is wrong."""

    kind = Kind.WRONG_KEYS


class WrongClock(Failure):
    """The clock of this computer is wrong."""

    kind = Kind.WRONG_CLOCK


class WrongRegion(Failure):
    """The bucket is in another region, or there is no such region."""

    kind = Kind.WRONG_REGION


class ServiceTrouble(Failure):
    """The service failed: try again later."""

    kind = Kind.SERVICE_TROUBLE


class NotUnderstood(Failure):
    """The response has no meaning here, or the failure has no kind of its own.

    The service is perhaps not of this kind, or a network sign-in page responded. Or the service
    refused the request for another reason, which service_code and service_message state.
    """

    kind = Kind.NOT_UNDERSTOOD


class Cancelled(Failure):
    """The program cancelled the call."""

    kind = Kind.CANCELLED


class Deadline(Failure):
    """The time that the program allowed for the call has passed, or would pass before the next
    attempt."""

    kind = Kind.DEADLINE


class HostFault(Failure):
    """The program is at fault: the request cannot be sent in this form, the service does not accept
    the registered application, or there is no memory."""

    kind = Kind.HOST_FAULT


class BadArguments(HostFault, ValueError):
    """Arguments with which nothing was requested from the service."""


_OF_KIND: Dict[int, Type[Failure]] = {
    failure.kind: failure for failure in Failure.__subclasses__()
}


def decoded(text: Optional[bytes]) -> str:
    """A text of the library. Bytes that are not UTF-8 become surrogates, as in names of files."""
    return (text or b"").decode("utf-8", "surrogateescape")


def encoded(text: str) -> bytes:
    """A text for the library, which would take a NUL for its end."""
    if not isinstance(text, str):
        raise TypeError(f"a str is expected, not {type(text).__name__}")
    if "\0" in text:
        raise BadArguments("A text contains a NUL.")
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError:
        raise BadArguments("A text contains a surrogate that stands for no byte.") from None


def service_of(number: int) -> Optional[Service]:
    """The service of a number of the C interface; None if there is none."""
    return Service(number) if number in Service.__members__.values() else None


def failure_of(code: int) -> Failure:
    """The failure of this thread's last call, which has returned `code`."""
    record = _c.FailureRecord()
    _c.load().vemlo_client_get_last_failure(ctypes.byref(record))
    if record.kind != 0:
        return _recorded(record, code)
    if code < 0:
        return BadArguments("The arguments are not acceptable.", code=code)
    # All requests succeeded, but the library cannot do what it should with the responses.
    return NotUnderstood("The service's response lacks what was asked for.", code=code)


def _recorded(record: Any, code: int) -> Failure:
    failure = _OF_KIND.get(record.kind, NotUnderstood)
    operation, service_code = decoded(record.operation), decoded(record.code)
    message = decoded(record.message)
    sentence = [f"{operation} failed ({failure.kind.label})", service_code, message]
    return failure(
        ": ".join(filter(None, sentence)),
        service=service_of(record.service),
        code=code,
        error=record.error,
        http_status=record.http_status,
        retry_after=None if record.retry_after < 0 else record.retry_after,
        operation=operation,
        service_code=service_code,
        service_message=message,
        request_id=decoded(record.request_id),
    )

"""libvemlo for Python: connect cloud storage accounts and pick the folder that transfers will use.

What libvemlo.h and libvemlo_service_client.h offer, with objects in place of handles, values in
place of out-parameters, and exceptions in place of result codes.

    with vemlo.Library():
        with vemlo.Drive(vemlo.Service.GOOGLE_DRIVE) as drive:
            drive.set_tokens(stored_tokens)
            for folder in drive.folders(drive.root()):
                print(folder.name)

Conventions. What departs from them states so.

 1. Order of use: one Library, then sessions (S3, AzureBlobs, Drive). All are context managers.
    Importing the package loads nothing; the first Library loads libvemlo.so.1, or the file that the
    environment variable LIBVEMLO names.
 2. What fails raises Failure, or one of its subclasses, one for each Kind. Arguments that cannot be
    used raise BadArguments, which is a HostFault and a ValueError. All memory is released then.
 3. Texts are str. Bytes of a service that are not UTF-8 become surrogates, as in names of files
    ("surrogateescape"), and are sent unchanged when such a text is an argument. A text with a NUL
    raises BadArguments.
 4. Functions that take a timeout, a cancellation and a progress function send requests and block
    until these are completed; call_limits() describes the three. Without a timeout a call ends
    after ten minutes. Other threads go on meanwhile. Functions without them do not block.
 5. Calls on one session may run on several threads at once, except Drive.link() and
    Drive.set_tokens().
 6. On the main thread, handlers of signals do not run, so KeyboardInterrupt is not raised, before a
    call returns or calls its progress function; cancel_on_sigint() lets Ctrl-C end it.
    vemlo.aio is for asyncio.
 7. When the interpreter ends, calls of daemon threads are cancelled and waited for, for at most ten
    seconds; a call that a daemon thread begins then raises HostFault.
"""

from . import aio
from ._c import LibraryMissing
from ._session import Proxy, Session
from .account import Account, account_of
from .calls import Cancellation, Progress, call_limits
from .drives import AmazonDrive, Drive, Tokens
from .failures import (
    BadArguments,
    Cancelled,
    Deadline,
    Denied,
    ExistsAlready,
    Failure,
    HostFault,
    Kind,
    LinkAgain,
    NameNotAllowed,
    NotFound,
    NotTrusted,
    NotUnderstood,
    Offline,
    Quota,
    Service,
    ServiceTrouble,
    TimedOut,
    Wait,
    WrongClock,
    WrongKeys,
    WrongRegion,
)
from .interrupts import cancel_on_sigint
from .library import Application, Library, RenewedTokens, Settings
from .listings import Folder, Folders, Listing, Names
from .object_stores import S3, AzureBlobs, Flavour, Location, locations
from .recording import Recording
from .texts import decrypt, encrypt

__all__ = [
    "Account",
    "account_of",
    "aio",
    "AmazonDrive",
    "Application",
    "AzureBlobs",
    "BadArguments",
    "call_limits",
    "cancel_on_sigint",
    "Cancellation",
    "Cancelled",
    "Deadline",
    "decrypt",
    "Denied",
    "Drive",
    "encrypt",
    "ExistsAlready",
    "Failure",
    "Flavour",
    "Folder",
    "Folders",
    "HostFault",
    "Kind",
    "Library",
    "LibraryMissing",
    "LinkAgain",
    "Listing",
    "Location",
    "locations",
    "NameNotAllowed",
    "Names",
    "NotFound",
    "NotTrusted",
    "NotUnderstood",
    "Offline",
    "Progress",
    "Proxy",
    "Quota",
    "Recording",
    "RenewedTokens",
    "S3",
    "Service",
    "ServiceTrouble",
    "Session",
    "Settings",
    "TimedOut",
    "Tokens",
    "Wait",
    "WrongClock",
    "WrongKeys",
    "WrongRegion",
]

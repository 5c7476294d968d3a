"""Sessions with S3, compatible stores and Azure storage blobs."""

from __future__ import annotations

import enum
from typing import List, NamedTuple, Optional, Tuple, Union

from . import _c
from ._session import Proxy, Session
from .calls import Cancellation, Limits, ProgressFunction
from .failures import BadArguments, Failure, WrongKeys, decoded, encoded
from .listings import Folders, Names

_END_OF_LOCATIONS = 17


class Flavour(enum.Enum):
    """A kind of S3 endpoint."""

    AWS = "s3"
    CHINA = "s3_cn"
    WASABI = "wasabi"
    CUSTOMIZED = "customized"


class Location(NamedTuple):
    """A location in which a bucket can be created.

    Attributes:
        code: what S3.create_bucket() takes.
        name: empty for a customized endpoint, which has no locations to choose from.
    """

    code: int
    name: str


def locations(flavour: Flavour) -> Tuple[Location, ...]:
    """The locations of a kind of S3 endpoint. Takes no open Library."""
    entry = getattr(_c.load(), f"{flavour.value}_get_location_contraint_name_mappings")()
    found: List[Location] = []
    while entry[len(found)].location_contraint != _END_OF_LOCATIONS:
        record = entry[len(found)]
        found.append(Location(record.location_contraint, decoded(record.name)))
    return tuple(found)


class S3(Session):
    """A session with an account of S3 or a compatible store. No connection is made yet.

    Args:
        endpoint: `[http[s]://]host[:port][/base]`; https without a scheme. Empty:
            https://s3.amazonaws.com.
        region: the region for which requests are signed. Empty: the one that the endpoint names,
            otherwise "us-east-1".
        access_key: the access key id.
        secret_key: the secret access key.
        proxy: None: no proxy.
    """

    def __init__(
        self,
        endpoint: str,
        region: str,
        access_key: str,
        secret_key: str,
        proxy: Optional[Proxy] = None,
    ) -> None:
        texts = map(encoded, (endpoint, region, access_key, secret_key))
        super().__init__("libvemlo_s3_init", *texts, proxy=proxy)

    def buckets(
        self,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Names:
        """The names of the account's buckets."""
        return self._names("s3_list_bucket", Limits(timeout, cancellation, progress))

    def create_bucket(
        self,
        name: str,
        location: Union[Location, int],
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Creates a bucket.

        Args:
            name: the name, which the service validates.
            location: one of locations(), or its code.
        """
        code = location.code if isinstance(location, Location) else location
        if not -0x80000000 <= code <= 0x7FFFFFFF:
            raise BadArguments(f"{code} is not the code of a location.")
        limits = Limits(timeout, cancellation, progress)
        self._call("s3_create_bucket", encoded(name), code, limits=limits)

    def folders(
        self,
        bucket: str,
        prefix: str = "",
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Folders:
        """The folders directly below a prefix, which is empty or ends with a "/".

        All of them if Settings.whole_s3_listings is on, otherwise those among the first 1,000 keys.
        """
        limits = Limits(timeout, cancellation, progress)
        texts = encoded(bucket), encoded(prefix)
        return self._folders("s3_list_directory", *texts, limits=limits)

    def create_folder(
        self,
        bucket: str,
        path: str,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Creates a folder: an empty object. The full path must end with a "/"."""
        limits = Limits(timeout, cancellation, progress)
        self._call("s3_create_directory", encoded(bucket), encoded(path), limits=limits)


class AzureBlobs(Session):
    """A session with an Azure storage account. No connection is made yet.

    Args:
        region: the name of a region or cloud such as "westeurope", "china" or "usgovvirginia",
            which selects the cloud. Empty or unknown: the global cloud.
        account_name: the storage account.
        key: one of the account's keys, base64.
        proxy: None: no proxy.

    Raises:
        WrongKeys: the key is not base64 text; the log says so, too.
    """

    @staticmethod
    def _not_opened() -> Failure:
        return WrongKeys("The key of the storage account is not base64 text.")

    def __init__(
        self, region: str, account_name: str, key: str, proxy: Optional[Proxy] = None
    ) -> None:
        texts = map(encoded, (region, account_name, key))
        super().__init__("libvemlo_azure_ssb_init", *texts, proxy=proxy)

    def containers(
        self,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Names:
        """The names of the account's containers."""
        return self._names("azure_ssb_list_bucket", Limits(timeout, cancellation, progress))

    def create_container(
        self,
        name: str,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Creates a container. The service validates the name."""
        limits = Limits(timeout, cancellation, progress)
        self._call("azure_ssb_create_bucket", encoded(name), limits=limits)

    def folders(
        self,
        container: str,
        prefix: str = "",
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> Folders:
        """The folders directly below a prefix, which is empty or ends with a "/"."""
        limits = Limits(timeout, cancellation, progress)
        texts = encoded(container), encoded(prefix)
        return self._folders("azure_ssb_list_directory", *texts, limits=limits)

    def create_folder(
        self,
        container: str,
        path: str,
        *,
        timeout: Optional[float] = None,
        cancellation: Optional[Cancellation] = None,
        progress: Optional[ProgressFunction] = None,
    ) -> None:
        """Creates a folder: an empty blob. The full path must end with a "/"."""
        limits = Limits(timeout, cancellation, progress)
        self._call("azure_ssb_create_directory", encoded(container), encoded(path), limits=limits)

"""Base classes of the test cases about the bindings.

VEMLO_BINDING is the language under test, VEMLO_DRIVER the command of its driver. Where results are
compared with those of the C interface, VEMLO_C_DRIVER is the driver in C.
"""

import os
import re
import shlex
import sys
import unittest
import uuid

from support import drives, sandbox

from driver_process import Driver

LANGUAGE = os.environ["VEMLO_BINDING"]
NO_PROXY = ("", 0)
# A port on which nobody listens.
NOWHERE = ("127.0.0.1", 1)


def proxy():
    internet = sandbox.state()["internet"]
    return internet["proxyHost"], internet["proxyPort"]


class BindingCase(unittest.TestCase):
    """Has a driver of the language under test and, unless that is C, one in C for comparison. Both
    run as long as the tests of the class, with the same sessions."""

    # PKCE, whole S3 listings, durable Dropbox tokens.
    settings = (1, 1, 1)
    trusts_the_sandbox = True
    compares_with_c = True
    # Arguments of the command "application".
    application = None

    @classmethod
    def setUpClass(cls):
        sandbox.reset_internet()
        cls.driver = cls.start(os.environ["VEMLO_DRIVER"])
        cls.drivers = [cls.driver]
        if cls.compares_with_c and LANGUAGE != "c":
            cls.drivers.append(cls.start(os.environ["VEMLO_C_DRIVER"]))

    @classmethod
    def start(cls, command):
        driver = Driver(shlex.split(command))
        cls.addClassCleanup(driver.quit)
        if cls.trusts_the_sandbox:
            driver.do("trust", sandbox.state()["internet"]["caFile"])
        if cls.application is not None:
            driver.do("application", *cls.application)
        driver.do("library", *cls.settings)
        return driver

    def setUp(self):
        sandbox.reset_internet()
        if "drives" in sandbox.state():
            sandbox.control("DELETE", "tokens", part="drives")

    @staticmethod
    def fault(**members):
        sandbox.control("POST", "faults", members)

    def on_all(self, *words):
        for driver in self.drivers:
            driver.do(*words)

    def results(self, *words, prepare=lambda: None):
        """What each driver makes of a command: pairs of its lines and its failure. `prepare` is
        called before each."""
        found = []
        for driver in self.drivers:
            prepare()
            found.append(driver.run(*words))
        return found

    def assert_same(self, *words, prepare=lambda: None):
        """The lines of a command, which succeeds, and has the same result as in C."""
        first, *others = self.results(*words, prepare=prepare)
        self.assertIsNone(first[1])
        for other in others:
            self.assertEqual(first, other)
        return first[0]

    def assert_fails(self, kind, *words, prepare=lambda: None):
        """The failure of a command, which is the same as in C."""
        first, *others = self.results(*words, prepare=prepare)
        self.assertIsNotNone(first[1], f"{words} succeeded")
        self.assertEqual(first[1].kind, kind, first[1])
        for lines, failed in others:
            self.assertIsNotNone(failed, f"{words} succeeded in C")
            self.assertEqual((first[0], comparable(first[1])), (lines, comparable(failed)))
        return first[1]

    def assert_bad_arguments(self, *words):
        """A failure without a request, which the library does not know of."""
        sandbox.control("DELETE", "log")
        for _, failed in self.results(*words):
            self.assertIsNotNone(failed, f"{words} succeeded")
            self.assertEqual((failed.kind, failed.code, failed.status), ("host fault", -1, 0))
        self.assertEqual(sandbox.requests(), [])


# Identifiers and times.
VARYING = re.compile(r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}|\d{4}-\d\d-\d\d[T ][\d:.]+Z")


def comparable(failed):
    """The failure without what differs from one request to the next."""
    return failed._replace(
        message=VARYING.sub("*", failed.message).rstrip("."),  # Dropbox's vary in number
        request_id="given" if failed.request_id else "",
    )


def named(lines, name):
    """The words of all lines of that name."""
    return [line[1:] for line in lines if line[0] == name]


def new_name():
    return f"bindings-{uuid.uuid4().hex[:20]}"


class Drive:
    """What the tests below need to know about a drive."""

    def __init__(self, word, suffix, operation):
        self.word = word
        self.suffix = suffix
        # The first request of a listing.
        self.operation = operation

    def open(self, driver, name, through=None):
        driver.do("open", name, self.word, *(through or proxy()))


class DriveCase(BindingCase):
    """`drive` is the service. The session "d" of each driver is linked with an account of this
    class; `root` is the id of the root folder, `listing` the command that lists it."""

    drive = None

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.holder = f"{uuid.uuid4().hex[:12]}@example.test"
        for driver in cls.drivers:
            cls.drive.open(driver, "d")
        cls.tokens = cls.link(cls.driver, "d")
        for driver in cls.drivers:
            driver.do("tokens", "d", *cls.tokens)
            cls.root = driver.value("root", "d")[1]
        cls.listing = ("folders", "d", cls.root)

    @classmethod
    def consent(cls, driver, name, state=""):
        """The query of the redirect page after the account holder has allowed access."""
        (url,) = driver.value("url", name, state)
        return drives.query_of(drives.consent(url, cls.holder))

    @classmethod
    def link(cls, driver, name):
        return driver.value("link", name, cls.consent(driver, name)["code"])

    def control(self, what, **details):
        return drives.control(what, self.drive.word, **details)

    def configure(self, **settings):
        self.control("configure", account=self.holder, **settings)

    def refreshes(self):
        return sandbox.control("GET", "tokens", part="drives")[drives.NAMES[self.drive.word]][
            "refreshes"]  # fmt: skip

    def new_folder(self, *, folders=0):
        """The id of a new folder of the root folder, with that many folders in it."""
        name = new_name()
        ((made_name, folder),) = named(self.driver.do("create", "d", self.root, name), "folder")
        self.assertEqual(made_name, name)
        if folders:
            self.control("seed", account=self.holder, parent=folder, folders=folders)
        return folder


GOOGLE_DRIVE = Drive("google-drive", "GoogleDrive", "listFileResource")
ONE_DRIVE = Drive("onedrive", "OneDrive", "getDriveMetadata")
DROPBOX = Drive("dropbox", "Dropbox", "listFolder")
AMAZON_DRIVE = Drive("amazon-drive", "AmazonDrive", "listFileResource")
DRIVES = (GOOGLE_DRIVE, ONE_DRIVE, DROPBOX, AMAZON_DRIVE)


class S3:
    word, suffix = "s3", "S3"
    operation = "listObjectsV2"

    @staticmethod
    def account():
        """Under its public host name, through the proxy."""
        return sandbox.account("radosgw")._replace(endpoint="https://s3.amazonaws.com")

    @classmethod
    def open(cls, driver, name, through=None, **changes):
        account = cls.account()._replace(**changes)
        driver.do("open", name, cls.word, *(through or proxy()), account.endpoint, "", *account[1:])


class AzureBlobs:
    word, suffix = "azure", "AzureBlobs"
    operation = "listBlob"

    @classmethod
    def open(cls, driver, name, through=None, **changes):
        azure = {**sandbox.state()["azure"], **changes}
        driver.do("open", name, cls.word, *(through or proxy()), "westeurope",
                  azure["accountName"], azure["accessKey"])


STORES = (S3, AzureBlobs)


class StoreCase(BindingCase):
    """`store` is the service. The account of the session "s" of each driver has the bucket `bucket`,
    which the command `listing` lists."""

    store = None

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        for driver in cls.drivers:
            cls.store.open(driver, "s")
        cls.bucket = new_name()
        cls.driver.do("create-bucket", "s", cls.bucket, 0)
        cls.listing = ("list", "s", cls.bucket, "")


def for_each(services, base, member):
    """A class decorator: adds a class with the tests of the decorated one for each service."""

    def decorate(case):
        module = sys.modules[case.__module__]
        for service in services:
            name = f"{case.__name__}On{service.suffix}"
            members = {member: service, "__module__": module.__name__}
            setattr(module, name, type(name, (case, base), members))
        return case

    return decorate


def for_each_service(case):
    """For drives and object stores: `service` is either."""
    for services, base, member in ((DRIVES, DriveCase, "drive"), (STORES, StoreCase, "store")):
        for_each(services, base, member)(case)
    return case


def for_each_drive(case):
    return for_each(DRIVES, DriveCase, "drive")(case)


def for_each_store(case):
    return for_each(STORES, StoreCase, "store")(case)

"""Base class, decorator and helpers of the test cases about drives."""

import functools
import sys
import threading
import uuid

from . import drives, sandbox
from .case import LibraryTest
from .drive_sessions import DRIVES, DriveSession
from .libvemlo import proxy_setting
from .trust import trust_sandbox

API, TOKEN = "api", "token"
PORT_WITHOUT_PROXY = 1


class DriveTest(LibraryTest):
    """Each test has its own account at every service. `drive` is the drive under test."""

    drive = None

    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        sandbox.control("DELETE", "tokens", part="drives")
        self.holder = f"{uuid.uuid4().hex[:12]}@example.test"

    def session(self, drive=None, port=None):
        proxy = proxy_setting(port or sandbox.state()["internet"]["proxyPort"])
        return self.enterContext(DriveSession(drive or self.drive, proxy))

    def consent(self, session, **decision):
        """The query of the redirect page after the account holder's decision."""
        return drives.query_of(drives.consent(session.authorize_url(), self.holder, **decision))

    def link(self, session):
        """Links the account, clears the log of requests and returns the tokens."""
        exchanged = session.get_token(self.consent(session)["code"])
        self.assert_done(exchanged)
        sandbox.control("DELETE", "log")
        return exchanged.value

    def linked(self, drive=None, **options):
        session = self.session(drive, **options)
        self.link(session)
        return session

    def control(self, what, drive=None, **details):
        return drives.control(what, (drive or self.drive).word, **details)

    def seed(self, drive=None, **what):
        """Adds items; returns their ids by name, and the ids of their children by "name/name"."""
        return dict(_paths(self.control("seed", drive, account=self.holder, **what)["items"]))

    def configure(self, **settings):
        self.control("configure", account=self.holder, **settings)

    def refreshes(self, drive=None):
        name = drives.NAMES[(drive or self.drive).word]
        return sandbox.control("GET", "tokens", part="drives")[name]["refreshes"]

    def calls(self):
        """All requests since the drive was linked, as pairs of API or TOKEN and the status."""
        token_endpoints = {
            service["tokenEndpoint"] for service in sandbox.state()["drives"]["services"].values()
        }
        return [
            (TOKEN if f"https://{entry['host']}{entry['path']}" in token_endpoints else API,
             entry["status"])
            for entry in sandbox.requests()
        ]  # fmt: skip

    @staticmethod
    def fault(**members):
        sandbox.control("POST", "faults", members)

    def root_of(self, session):
        root = session.root()
        self.assert_done(root)
        return root.value

    def assert_names(self, session, parent, names):
        listed = session.folders(parent)
        self.assert_done(listed)
        self.assertEqual([folder.name for folder in listed.value], names)

    def assert_call_failed(self, outcome, *lines):
        """Code 1, and exactly the log lines that start with `lines`, in this order."""
        self.assertEqual((outcome.code, outcome.value), (1, None))
        self.assert_lines(outcome.log, lines)

    def assert_lines(self, log, beginnings, order=list):
        """Exactly the errors that start with `beginnings`; `order` is applied to both lists."""
        errors = order(log.records("E"))
        self.assertEqual((len(errors), len(log.lines)), (len(beginnings),) * 2, log.text)
        for error, beginning in zip(errors, order(beginnings)):
            self.assertEqual(error[: len(beginning)], beginning)
            if beginning.endswith(" "):
                self.assertNotEqual(error, beginning)


def _paths(items, begin=""):
    for item in items:
        yield begin + item["name"], item["id"].encode()
        yield from _paths(item["items"], f"{begin}{item['name']}/")


def for_each_drive(case):
    """A class decorator: adds a class with the tests of `case` for each drive."""
    module = sys.modules[case.__module__]
    for drive in DRIVES:
        name = f"{case.__name__}On{drive.family.title().replace('_', '')}"
        members = {"drive": drive, "__module__": module.__name__}
        setattr(module, name, type(name, (case, DriveTest), members))
    return case


def listings(sessions, parents):
    """Functions that each list a folder in one of the sessions, for use in threads."""
    return [
        functools.partial(session.folders_quietly, parent)
        for session, parent in zip(sessions, parents)
    ]


def at_once(*functions):
    """Runs each function in a thread of its own, started together; returns their results."""
    start = threading.Barrier(len(functions))
    results = [None] * len(functions)

    def run(index, function):
        start.wait()
        results[index] = function()

    threads = [threading.Thread(target=run, args=item) for item in enumerate(functions)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return results

"""What the test cases about drives share."""

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
NO_PROXY_THERE = 1


class DriveTest(LibraryTest):
    """With a drive of the test's own at every service. `drive` is the one that it is about."""

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
        """What the redirect page is told, once the holder has decided."""
        return drives.query_of(drives.consent(session.authorize_url(), self.holder, **decision))

    def link(self, session):
        """Returns the tokens, and forgets the requests that were needed."""
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
        """The ids of the items by name, and by "name/name" what is in them."""
        return dict(_paths(self.control("seed", drive, account=self.holder, **what)["items"]))

    def configure(self, **settings):
        self.control("configure", account=self.holder, **settings)

    def refreshes(self, drive=None):
        name = drives.NAMES[(drive or self.drive).word]
        return sandbox.control("GET", "tokens", part="drives")[name]["refreshes"]

    def calls(self):
        """All requests since the drive was linked: whether for tokens, and the status."""
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
        """Code 1, and lines of the log that begin so, in this order and no others."""
        self.assertEqual((outcome.code, outcome.value), (1, None))
        self.assert_lines(outcome.log, lines)

    def assert_lines(self, log, beginnings, order=list):
        """Nothing but errors that begin so, in this order or in another to be brought into it."""
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
    """A class decorator: the tests of `case` once for every drive, in classes of their own."""
    module = sys.modules[case.__module__]
    for drive in DRIVES:
        name = f"{case.__name__}On{drive.family.title().replace('_', '')}"
        members = {"drive": drive, "__module__": module.__name__}
        setattr(module, name, type(name, (case, DriveTest), members))
    return case


def listings(sessions, parents):
    """Functions that list a folder in each session, for threads to run."""
    return [
        functools.partial(session.folders_quietly, parent)
        for session, parent in zip(sessions, parents)
    ]


def at_once(*works):
    """What the functions return, each having run in a thread of its own, begun together."""
    start = threading.Barrier(len(works))
    results = [None] * len(works)

    def run(index, work):
        start.wait()
        results[index] = work()

    threads = [threading.Thread(target=run, args=item) for item in enumerate(works)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return results

"""Accounts that live on what the host is told about renewed tokens."""

import concurrent.futures
import functools
import multiprocessing
import unittest
from typing import NamedTuple

from support import log, sandbox, service_client
from support.drive_case import DriveTest, at_once, for_each_drive
from support.drive_sessions import AMAZON_DRIVE, DRIVES, DROPBOX, DriveSession, Folder
from support.libvemlo import proxy_setting
from support.trust import trust_sandbox


class Life(NamedTuple):
    """What a process of a host has done."""

    code: int
    names: list
    renewed: list


def live(drive, stored, parent):
    """Lists a folder with the stored tokens."""
    trust_sandbox()
    service_client.set_durable_token()
    proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
    with service_client.renewed_tokens() as renewed, DriveSession(drive, proxy) as session:
        session.set_token(*stored)
        code, found = session.folders_quietly(Folder(parent, b""))
    return Life(code, [folder.name for folder in found or []], renewed)


def live_in_a_new_process(*arguments):
    context = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(1, mp_context=context) as host:
        return host.submit(live, *arguments).result()


def stored_tokens(drive, renewed):
    """What a host stores of the tokens that it receives."""
    return [renewed.access_token, renewed.refresh_token][: 2 if drive.has_refresh_token else 1]


@for_each_drive
class StoredTokens:
    def setUp(self):
        super().setUp()
        service_client.set_durable_token()

    def test_outlive_expiry_rotation_and_restarts(self):
        self.control("rotation", rotation="replaceOnce")
        session = self.session()
        stored = self.link(session)
        root = self.root_of(session)
        self.assert_done(session.make_folder(root, b"Photos"))
        session.close()
        used = []
        for _ in range(3):
            self.control("expire")
            life = live_in_a_new_process(self.drive, stored, root.id)
            self.assertEqual((life.code, life.names), (0, [b"Photos"]))
            (renewed,) = life.renewed
            self.assertEqual(renewed.service, service_client.SERVICES[self.drive.family])
            self.assertGreater(renewed.lifetime, 0)
            used.append(renewed.used_refresh_token)
            self.assertNotIn(renewed.refresh_token, used)
            stored = stored_tokens(self.drive, renewed)

        # A token that has not expired is not renewed.
        self.assertEqual(live_in_a_new_process(self.drive, stored, root.id).renewed, [])


def calls_of(session, root):
    """All functions of a session that send requests with an access token."""
    yield functools.partial(session.folders_quietly, root)
    yield functools.partial(session.make_folder_quietly, root, b"New")
    if session.drive != DROPBOX:
        yield session.root_quietly
    if session.drive == AMAZON_DRIVE:
        yield session.get_endpoint_quietly
        yield session.test_api_quietly


class RevokedAccounts(DriveTest):
    """All calls in parallel: each failure takes six seconds of pauses between attempts."""

    def test_have_to_be_linked_again_whatever_is_called(self):
        service_client.set_durable_token()
        sessions = []
        for drive in DRIVES:
            stored = self.link(self.session(drive))
            restored = self.session(drive)
            restored.set_token(*stored)
            sessions.append(restored)
        roots = [self.root_of(session) for session in sessions]
        for drive in DRIVES:
            self.control("expire", drive)
            self.control("revoke", drive)
        calls = [
            functools.partial(self.outcome_of, session, call)
            for session, root in zip(sessions, roots)
            for call in calls_of(session, root)
        ]
        with service_client.renewed_tokens() as renewed, log.captured():
            at_once(*calls)
        self.assertEqual(renewed, [])

    def outcome_of(self, session, call):
        code, _ = call()
        failure = service_client.last_failure()
        with self.subTest(drive=session.drive.family, function=call):
            self.assertEqual((code, failure.kind), (1, "link again"))
            self.assertEqual(failure.service, service_client.SERVICES[session.drive.family])


if __name__ == "__main__":
    unittest.main()

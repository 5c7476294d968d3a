"""Linking accounts of the four drives; expiry, rotation and revocation of their tokens."""

import unittest

from support import drives, log, sandbox
from support.drive_case import API, TOKEN, DriveTest, at_once, for_each_drive, listings
from support.drive_sessions import AMAZON_DRIVE, DRIVES, GOOGLE_DRIVE, ONE_DRIVE


@for_each_drive
class Linking:
    def counters(self):
        return sandbox.control("GET", "tokens", part="drives")[drives.NAMES[self.drive.word]]

    def test_by_consent(self):
        session = self.session()
        tokens = self.link(session)
        self.assertTrue(all(tokens))
        self.assertEqual(self.counters(), {"exchanges": 1, "refreshes": 0, "refused": 0})
        self.assert_names(session, self.root_of(session), [])

        restored = self.session()
        restored.set_token(*tokens)
        self.assert_names(restored, self.root_of(restored), [])
        self.assertEqual(self.counters(), {"exchanges": 1, "refreshes": 0, "refused": 0})

    def test_a_denied_consent_gives_no_code(self):
        query = self.consent(self.session(), decision="deny")
        self.assertEqual(query["error"], "access_denied")
        self.assertNotIn("code", query)

    def test_a_code_is_valid_once(self):
        session = self.session()
        code = self.consent(session)["code"]
        self.assert_done(session.get_token(code))
        again = self.session().get_token(code)
        self.assertEqual((again.code, again.value), (self.drive.exchange_failed, None))
        record = f"Failed to perform exchange authorization code. authorizationCode = {code}, "
        self.assert_lines(again.log, [f"{record}invalid_grant"])
        has_tokens = self.drive in (GOOGLE_DRIVE, AMAZON_DRIVE)
        self.assertEqual(
            again.log.records("E")[0].endswith(", accessToken = , refreshToken = "), has_tokens
        )

    def test_the_record_of_a_failure_shows_the_tokens_of_the_session(self):
        session = self.session()
        tokens = self.link(session)
        failed = session.get_token("made-up")
        self.assertEqual((failed.code, failed.value), (self.drive.exchange_failed, None))
        (record,) = failed.log.records("E")
        if self.drive in (GOOGLE_DRIVE, AMAZON_DRIVE):
            self.assertTrue(
                record.endswith(", accessToken = {}, refreshToken = {}".format(*tokens))
            )
        else:
            self.assertFalse(any(token in record for token in tokens))
        # The failure has changed nothing.
        self.assert_names(session, self.root_of(session), [])


@for_each_drive
class Expiry:
    def test_a_token_that_has_expired_is_refreshed_once(self):
        session = self.linked()
        root = self.root_of(session)
        self.assert_names(session, root, [])
        self.control("expire")
        sandbox.control("DELETE", "log")
        self.assert_names(session, root, [])
        self.assertEqual(self.calls()[:3], [(API, 401), (TOKEN, 200), (API, 200)])
        self.assert_names(session, root, [])
        self.assertEqual(self.refreshes(), 1)
        self.assertNotIn(401, [status for _, status in self.calls()[3:]])

    def test_16_threads_share_one_refresh(self):
        session = self.linked()
        root = self.root_of(session)
        self.seed(items=[{"name": "Photos"}])
        self.control("expire")
        sandbox.control("DELETE", "log")
        # No refresh begins before all threads have sent their first request.
        self.fault(kind="latency", milliseconds=500, count=16)
        results = at_once(*[lambda: session.folders_quietly(root)] * 16)
        self.assertEqual(
            [(code, [folder.name for folder in found or []]) for code, found in results],
            [(0, [b"Photos"])] * 16,
        )
        self.assertEqual(self.refreshes(), 1)
        self.assertEqual([call for call in self.calls() if call[0] == TOKEN], [(TOKEN, 200)])
        # More than one shows that threads needed the refresh at the same time.
        self.assertGreater(self.calls().count((API, 401)), 1)


class Rotation(DriveTest):
    drive = ONE_DRIVE

    def test_the_latest_refresh_token_is_used(self):
        self.control("rotation", rotation="replaceOnce")
        session = self.session()
        self.link(session)
        root = self.root_of(session)
        for refreshes in (1, 2):
            self.control("expire")
            self.assert_names(session, root, [])
            self.assertEqual(self.refreshes(), refreshes)


class Revocation(DriveTest):
    """All services in parallel: each failure takes six seconds of pauses between attempts."""

    def test_every_401_is_logged_with_the_failure_of_the_refresh(self):
        sessions = [self.linked(drive) for drive in DRIVES]
        roots = [self.root_of(session) for session in sessions]
        for session, root in zip(sessions, roots):
            self.assert_names(session, root, [])
        for drive in DRIVES:
            self.control("expire", drive)
            self.control("revoke", drive)
        sandbox.control("DELETE", "log")

        with log.captured() as capture:
            results = at_once(*listings(sessions, roots))
        self.assertEqual(results, [(1, None)] * len(DRIVES))
        beginnings = [
            "Failed to get Drive Metadata. error: ",  # of OneDrive
            *["Failed to list directories. "] * 3,
            *["Failed to refresh OAuth2 credential. invalid_grant: "] * 12,
        ]
        self.assert_lines(capture.log, beginnings, sorted)
        # The refusal of the refresh is stored; the attempts of the call continue.
        self.assertEqual(sorted(self.calls()), [(API, 401)] * 16 + [(TOKEN, 400)] * 4)


if __name__ == "__main__":
    unittest.main()

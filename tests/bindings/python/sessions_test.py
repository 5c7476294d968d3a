"""The life of the library and of sessions, also while calls run."""

import gc
import json
import pathlib
import tempfile
import threading
import unittest
import warnings

import vemlo

from cloud import CloudCase, response, s3_buckets

BUCKETS = s3_buckets(["one"])


class Library(unittest.TestCase):
    def test_it_comes_first(self):
        for function, *arguments in (
            (vemlo.Drive, vemlo.Service.DROPBOX), (vemlo.S3, "", "", "", ""),
            (vemlo.encrypt, "text"), (vemlo.account_of, vemlo.Service.DROPBOX, vemlo.Tokens("a")),
        ):  # fmt: skip
            with self.subTest(function=function), self.assertRaises(vemlo.HostFault):
                function(*arguments)

    def test_one_at_a_time(self):
        with vemlo.Library(), self.assertRaises(vemlo.HostFault):
            vemlo.Library()

    def test_one_after_the_other(self):
        for pkce in (True, False):
            with vemlo.Library(vemlo.Settings(pkce=pkce)):
                with vemlo.Drive(vemlo.Service.GOOGLE_DRIVE) as drive:
                    self.assertEqual("code_challenge=" in drive.authorize_url(), pkce)

    def test_it_is_closed_once(self):
        library = vemlo.Library()
        library.close()
        library.close()
        vemlo.Library().close()

    def test_settings_that_are_not_acceptable_leave_none_open(self):
        application = vemlo.Application(vemlo.Service.DROPBOX, client_id="")
        with self.assertRaises(vemlo.BadArguments):
            vemlo.Library(vemlo.Settings(applications=[application]))
        vemlo.Library().close()

    def test_an_application_lasts_as_long_as_its_library(self):
        application = vemlo.Application(vemlo.Service.ONE_DRIVE, client_id="my-id")
        for settings in (vemlo.Settings(applications=[application]), vemlo.Settings()):
            with vemlo.Library(settings), vemlo.Drive(vemlo.Service.ONE_DRIVE) as drive:
                url = drive.authorize_url()
                self.assertEqual("client_id=my-id" in url, bool(settings.applications))
                self.assertIn("vemlo.example", url)

    def test_sessions_outlive_it(self):
        library = vemlo.Library()
        drive = vemlo.Drive(vemlo.Service.DROPBOX)
        library.close()
        self.assertIn("dropbox", drive.authorize_url())
        with self.assertRaises(vemlo.BadArguments):
            vemlo.Drive(vemlo.Service.DROPBOX)
        drive.close()
        vemlo.Library().close()


class Sessions(CloudCase):
    def test_a_closed_session_makes_no_call(self):
        s3 = self.s3(BUCKETS)
        s3.close()
        s3.close()
        with self.assertRaisesRegex(vemlo.BadArguments, "closed"):
            s3.buckets()
        self.assertEqual(s3.cloud.requests, [])

    def test_closed_during_a_call_that_then_succeeds(self):
        def respond(_):
            s3.close()
            self.library.close()
            return BUCKETS

        s3 = self.s3(respond)
        self.assertEqual([*s3.buckets()], ["one"])
        with self.assertRaises(vemlo.BadArguments):
            s3.buckets()
        with vemlo.Library():  # the former one is released
            pass

    def test_closed_by_its_own_progress_function(self):
        s3 = self.s3(BUCKETS)
        self.assertEqual([*s3.buckets(progress=lambda _: s3.close())], ["one"])

    def test_a_forgotten_session_is_closed_with_a_warning(self):
        drive = vemlo.Drive(vemlo.Service.DROPBOX)
        self.assertEqual(drive.service, vemlo.Service.DROPBOX)
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            del drive
            gc.collect()
        self.assertEqual([warning.category for warning in caught], [ResourceWarning])
        self.library.close()
        vemlo.Library().close()  # so it does not hold the former one

    def test_opened_on_many_threads(self):
        cloud = self.cloud(BUCKETS)
        found = []

        def use():
            with vemlo.S3(cloud.endpoint, "", "key", "secret") as s3:
                found.extend(s3.buckets())

        threads = [threading.Thread(target=use) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, ["one"] * 8)


class Recordings(CloudCase):
    def test_a_recording_holds_the_requests_and_no_secret(self):
        drive = self.drive(vemlo.Service.DROPBOX, response('{"entries": [], "has_more": false}'),
                           vemlo.Tokens("not-to-be-shown"))  # fmt: skip
        path = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "calls.har"
        with vemlo.Recording(path):
            drive.folders("/")
            with self.assertRaises(vemlo.BadArguments):
                vemlo.Recording(f"{path}.more")
        drive.folders("/")
        text = path.read_text(encoding="utf-8")
        self.assertEqual(len(json.loads(text)["log"]["entries"]), 1)
        self.assertNotIn("not-to-be-shown", text)
        with self.assertRaises(FileExistsError) as caught:
            vemlo.Recording(path)
        self.assertEqual(caught.exception.filename, str(path))

    def test_it_needs_a_path(self):
        with self.assertRaises(vemlo.BadArguments):
            vemlo.Recording("")


class Accounts(CloudCase):
    def test_what_the_service_says(self):
        cloud = self.cloud(response(
            '{"user": {"displayName": "José", "emailAddress": "j@example.test"},'
            ' "storageQuota": {"usage": "5"}}'))  # fmt: skip
        account = vemlo.account_of(vemlo.Service.GOOGLE_DRIVE, vemlo.Tokens("access"), cloud.proxy)
        self.assertEqual(account, vemlo.Account("José", "j@example.test", 5, None))

    def test_a_failure(self):
        cloud = self.cloud(response("{}", "401 Unauthorized"))
        with self.assertRaises(vemlo.LinkAgain):
            vemlo.account_of(vemlo.Service.GOOGLE_DRIVE, vemlo.Tokens("access"), cloud.proxy)


if __name__ == "__main__":
    unittest.main()

"""Drives and object stores: folders, texts, tokens and memory."""

import ctypes
import gc
import json
import os
import signal
import sys
import unittest
from unittest import mock
from urllib.parse import unquote_to_bytes

import vemlo
from vemlo import _c, listings

from cloud import CloudCase, response, s3_buckets, s3_folders

ODD = b"caf\xe9/"  # not UTF-8
ODD_TEXT = "caf\udce9/"


def files(count, first=0):
    return json.dumps({"files": [{"id": f"id {n}", "name": f"Ordner ü {n}"}
                                 for n in range(first, first + count)]})  # fmt: skip


class Folders(CloudCase):
    def test_a_listing_is_a_sequence(self):
        folders = self.drive(vemlo.Service.GOOGLE_DRIVE, response(files(3))).folders("root")
        expected = [vemlo.Folder(f"Ordner ü {n}", f"id {n}") for n in range(3)]
        self.assertEqual([*folders], expected)
        self.assertEqual([folders[n] for n in range(-3, 3)], expected * 2)
        self.assertEqual((folders[1:], [*reversed(folders)]), (expected[1:], expected[::-1]))
        self.assertEqual((len(folders), expected[1] in folders, folders.index(expected[2])),
                         (3, True, 2))  # fmt: skip
        self.assertFalse(folders.is_cut_short)
        with self.assertRaises(IndexError):
            folders[3]
        name, identifier = folders[0]
        self.assertEqual((name, identifier), ("Ordner ü 0", "id 0"))

    def test_every_entry_of_a_long_listing_is_in_its_place(self):
        count = 2 * listings._PIECE + 1
        for length in (listings._PIECE, count):
            drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(files(length)))
            self.assertEqual([*drive.folders("root")],
                             [(f"Ordner ü {n}", f"id {n}") for n in range(length)])  # fmt: skip
        names = [f"{n}/" for n in range(count)]
        s3 = self.s3(lambda r: s3_buckets(names) if r.path == "/" else s3_folders(names))
        self.assertEqual([*s3.buckets()], names)
        self.assertEqual([*s3.folders("bucket")], [(name, None) for name in names])

    def test_names_are_a_sequence(self):
        names = self.s3(s3_buckets(["a", "b"])).buckets()
        self.assertEqual(([*names], names[1], names[:1], len(names)), (["a", "b"], "b", ["a"], 2))
        self.assertEqual(repr(names), "<Names of 2>")

    def test_listings_without_entries(self):
        for service in vemlo.library.DRIVES:
            with self.subTest(service=service):
                drive = self.drive(service, response(
                    '{"files": [], "data": [], "count": 0, "value": [], "entries": [],'
                    ' "has_more": false, "driveType": "personal", "metadataUrl":'
                    ' "https://drive.amazonaws.com/", "contentUrl": "https://x.amazonaws.com/"}'
                ))  # fmt: skip
                folders = drive.folders("1")
                self.assertEqual((len(folders), [*folders], folders[:]), (0, [], []))
                self.assertFalse(folders)
        s3 = self.s3(lambda request: s3_folders([]) if request.path != "/" else s3_buckets([]))
        self.assertEqual(([*s3.buckets()], [*s3.folders("bucket")]), ([], []))

    def test_folders_of_an_object_store_have_no_id(self):
        folders = self.s3(s3_folders(["a/", "b/"])).folders("bucket")
        self.assertEqual([*folders], [vemlo.Folder("a/", None), vemlo.Folder("b/")])
        self.assertEqual(folders[1:], [vemlo.Folder("b/")])

    def test_a_listing_that_was_cut_short(self):
        page = (b"<ListBucketResult><IsTruncated>true</IsTruncated><NextContinuationToken>t"
                b"</NextContinuationToken></ListBucketResult>")  # fmt: skip
        self.library.close()
        with vemlo.Library(vemlo.Settings(whole_s3_listings=False)):
            folders = self.s3(response(page)).folders("bucket")
        self.assertTrue(folders.is_cut_short)
        self.assertEqual(repr(folders), "<Folders of 0, cut short>")

    def test_a_name_that_is_not_utf8_survives(self):
        s3 = self.s3(s3_folders([ODD]))
        (folder,) = s3.folders("bucket")
        self.assertEqual(folder.name, ODD_TEXT)
        s3.folders("bucket", folder.name)
        query = s3.cloud.requests[-1].target.partition("prefix=")[2].partition("&")[0]
        self.assertEqual(unquote_to_bytes(query), ODD)

    def test_a_created_folder_and_its_parent(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response('{"id": "new", "name": "Málaga"}'))
        for parent in ("up", vemlo.Folder("Up", "up")):
            self.assertEqual(drive.create_folder(parent, "Málaga"), ("Málaga", "new"))
            sent = json.loads(drive.cloud.requests[-1].body)
            self.assertEqual((sent["name"], sent["parents"]), ("Málaga", ["up"]))

    def test_the_root_folder(self):
        root = response('{"id": "0A", "name": "My Drive"}')
        google = self.drive(vemlo.Service.GOOGLE_DRIVE, root)
        self.assertEqual(google.root(), vemlo.Folder("My Drive", "0A"))
        dropbox = self.drive(vemlo.Service.DROPBOX, response())
        self.assertEqual(dropbox.root(), vemlo.Folder("/", "/"))
        self.assertEqual(dropbox.cloud.requests, [])

    def test_what_object_stores_create(self):
        s3 = self.s3(response())
        s3.create_bucket("bucket", vemlo.locations(vemlo.Flavour.AWS)[1])
        s3.create_folder("bucket", "Málaga/")
        bucket, folder = s3.cloud.requests
        self.assertEqual((bucket.method, bucket.path), ("PUT", "/bucket"))
        self.assertIn(b"us-east-2", bucket.body)
        self.assertEqual((folder.method, folder.path), ("PUT", "/bucket/M%C3%A1laga/"))

    def test_amazon_drive_has_two_functions_more(self):
        cloud = self.cloud(response(
            '{"metadataUrl": "https://drive.amazonaws.com/", "name": "N", "email": "E",'
            ' "contentUrl": "https://drive.amazonaws.com/", "customerExists": true}'))  # fmt: skip
        with vemlo.AmazonDrive(cloud.proxy) as drive:
            drive.set_tokens(vemlo.Tokens("access", "refresh"))
            drive.find_endpoints()
            drive.log_account()
        self.assertEqual([request.path for request in cloud.requests],
                         ["/drive/v1/account/endpoint", "/user/profile"])  # fmt: skip

    def test_locations(self):
        self.assertEqual(vemlo.locations(vemlo.Flavour.CUSTOMIZED), (vemlo.Location(16, ""),))
        for flavour in (vemlo.Flavour.AWS, vemlo.Flavour.CHINA, vemlo.Flavour.WASABI):
            with self.subTest(flavour=flavour):
                self.assertTrue(all(place.name for place in vemlo.locations(flavour)))


class Texts(CloudCase):
    def test_encrypted_texts(self):
        for text in ("", "secret", "Málaga " * 100, ODD_TEXT):
            with self.subTest(text=text):
                encrypted = vemlo.encrypt(text)
                self.assertNotIn("secret", encrypted)
                self.assertEqual(vemlo.decrypt("".join(encrypted.split())), text)

    def test_addresses_for_the_browser(self):
        with vemlo.Drive(vemlo.Service.ONE_DRIVE) as drive:
            self.assertIn("&state=m%20y", drive.authorize_url("m y"))
            self.assertNotIn("state=", drive.authorize_url())
            self.assertIn("/logout", drive.logout_url())
        with vemlo.Drive(vemlo.Service.DROPBOX) as drive:
            self.assertIsNone(drive.logout_url())

    def test_tokens_for_a_code(self):
        content = '{"access_token": "a", "refresh_token": "r", "expires_in": 60}'
        for service in vemlo.library.DRIVES:
            with self.subTest(service=service):
                drive = self.drive(service, response(content))
                tokens = drive.link("the code")
                if service == vemlo.Service.DROPBOX:
                    self.assertEqual(tokens.refresh, "")
                    self.assertNotEqual(tokens.access, "a")  # it holds both
                else:
                    self.assertEqual(tokens, vemlo.Tokens("a", "r"))
                self.assertIn(b"code=the%20code", drive.cloud.requests[-1].body)


class RenewedTokens(CloudCase):
    def setUp(self):
        self.received = []
        self.settings = {"tokens_renewed": self.receive}
        super().setUp()

    def receive(self, tokens):
        self.received.append(tokens)

    @staticmethod
    def expired(request):
        """Accepts new tokens alone."""
        if request.path.endswith("/token"):
            return response('{"access_token": "new", "expires_in": 60}')
        return response('{"id": "0A", "name": "My Drive"}') if EXPIRED.pop() else response(
            "{}", "401 Unauthorized")  # fmt: skip

    def expired_drive(self):
        EXPIRED[:] = [True, False]
        return self.drive(vemlo.Service.GOOGLE_DRIVE, self.expired)

    def test_they_are_handed_out(self):
        self.expired_drive().root()
        self.assertEqual(self.received, [vemlo.RenewedTokens(
            vemlo.Service.GOOGLE_DRIVE, "refresh", "new", "refresh", 60)])  # fmt: skip

    def test_what_the_function_raises_is_reported(self):
        def receive(_):
            raise OSError("the disk is full")

        self.receive = receive
        self.library.close()
        reported = []
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self), tokens_renewed=receive)), \
                mock.patch.object(sys, "unraisablehook", lambda args: reported.append(args[1])):
            self.assertEqual(self.expired_drive().root().id, "0A")
        self.assertEqual([str(error) for error in reported], ["the disk is full"])

    def test_a_signal_during_the_renewal_loses_none(self):
        """Its handler must not raise where nothing but ctypes could catch that."""

        def end(*_):
            raise SystemExit(3)

        def respond(request):
            if request.path.endswith("/token"):
                os.kill(os.getpid(), number)
            return self.expired(request)

        for number, handler, error in (
            (signal.SIGINT, signal.default_int_handler, KeyboardInterrupt),
            (signal.SIGTERM, end, SystemExit),
        ):
            with self.subTest(signal=number):
                self.received.clear()
                drive = self.expired_drive()
                drive.cloud.respond = respond
                former = signal.signal(number, handler)
                try:
                    with self.assertRaises(error):
                        drive.root()
                    self.assertIs(signal.getsignal(number), handler)
                finally:
                    signal.signal(number, former)
                self.assertEqual([tokens.access for tokens in self.received], ["new"])

    def test_a_signal_does_not_interrupt_the_function(self):
        stored = []

        def receive(tokens):
            signal.raise_signal(signal.SIGINT)
            stored.append(tokens.access)

        self.library.close()
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self), tokens_renewed=receive)):
            with self.assertRaises(KeyboardInterrupt):
                self.expired_drive().root()
        self.assertEqual(stored, ["new"])

    def test_a_function_that_counts_as_false_receives_them(self):
        class Store(list):
            def __call__(self, tokens):
                self.append(tokens.access)

        store = Store()
        self.library.close()
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self), tokens_renewed=store)):
            self.expired_drive().root()
        self.assertEqual(store, ["new"])

    def test_an_interrupt_is_raised_by_the_call(self):
        def receive(_):
            raise KeyboardInterrupt

        self.library.close()
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self), tokens_renewed=receive)):
            with self.assertRaises(KeyboardInterrupt):
                self.expired_drive().root()

    def test_the_function_may_make_calls_on_the_session(self):
        names = []

        def receive(_):
            EXPIRED.append(True)
            names.append(drive.root(timeout=60).name)

        self.library.close()
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self), tokens_renewed=receive)):
            drive = self.expired_drive()
            drive.root()
        self.assertEqual(names, ["My Drive"])

    def test_a_call_that_outlives_the_library_hands_them_out(self):
        drive = self.expired_drive()
        respond = drive.cloud.respond

        def close_first(request):
            self.library.close()
            return respond(request)

        drive.cloud.respond = close_first
        drive.root()
        self.assertEqual([tokens.access for tokens in self.received], ["new"])

    def test_nobody_receives_those_of_a_later_library(self):
        self.library.close()
        with vemlo.Library(vemlo.Settings(trust_file=vemlo_trust(self))):
            self.expired_drive().root()
        self.assertEqual(self.received, [])


# Of which the last is whether the access token is accepted next.
EXPIRED = []


def vemlo_trust(case):
    return case.library.settings.trust_file


class Allocated(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in
                ("arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks",
                 "fordblks", "keepcost")]  # fmt: skip


class Memory(CloudCase):
    """What the C functions hand out is released."""

    def growth(self, function, times=30):
        """By how many bytes the memory grows that malloc() has handed out."""
        mallinfo2 = ctypes.CDLL(None).mallinfo2
        mallinfo2.restype = Allocated
        used = []
        for count in (5, times):
            for _ in range(count):
                function()
            gc.collect()
            now = mallinfo2()
            used.append(now.uordblks + now.hblkhd)
        return used[1] - used[0]

    def assert_released(self, function, release, least):
        """`least`: how much at least stays allocated if `release` does nothing."""
        self.assertLess(self.growth(function), least / 2)
        with mock.patch.object(_c, release[0], release[1]):
            self.assertGreater(self.growth(function), least)

    def without(self, name):
        """The library, in which one function does nothing."""
        library = _c.load()

        class Without:
            def __getattr__(self, function):
                return (lambda *_: None) if function == name else getattr(library, function)

        return "load", Without

    def test_texts(self):
        keep = "free", lambda address: None
        self.assert_released(lambda: vemlo.encrypt("x" * 50_000), keep, 2_000_000)

    def test_folders(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(files(1000)))
        self.assert_released(lambda: drive.folders("root"), self.without("free_diretories"),
                             2_000_000)  # fmt: skip

    def test_folders_of_a_listing_that_cannot_be_read(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(files(1000)))

        def fail():
            with mock.patch.object(vemlo.listings, "_texts", side_effect=MemoryError):
                with self.assertRaises(MemoryError):
                    drive.folders("root")

        self.assert_released(fail, self.without("free_diretories"), 2_000_000)

    def test_names(self):
        s3 = self.s3(s3_buckets(f"bucket-{'x' * 40}-{n}" for n in range(1000)))
        self.assert_released(s3.buckets, self.without("free_buckets"), 2_000_000)

    def test_one_folder(self):
        name = "x" * 90_000
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(f'{{"id": "1", "name": "{name}"}}'))
        self.assert_released(drive.root, self.without("free_directory"), 2_000_000)

    def test_an_account(self):
        name = "x" * 90_000
        cloud = self.cloud(response(f'{{"user": {{"displayName": "{name}"}}}}'))
        self.assert_released(
            lambda: vemlo.account_of(vemlo.Service.GOOGLE_DRIVE, vemlo.Tokens("a"), cloud.proxy),
            self.without("vemlo_client_free_account"), 2_000_000,
        )  # fmt: skip

    def test_tokens(self):
        token = "x" * 30_000
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(
            f'{{"access_token": "{token}", "refresh_token": "{token}"}}'))  # fmt: skip
        self.assert_released(lambda: drive.link("code"), ("free", lambda address: None), 2_000_000)


if __name__ == "__main__":
    unittest.main()

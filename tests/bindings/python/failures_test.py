"""What a call that fails raises."""

import ctypes
import pickle
import unittest
from unittest import mock

import vemlo
from vemlo import _c, failures

from cloud import CloudCase, response, s3_error


class Kinds(unittest.TestCase):
    def test_each_has_a_class_and_the_name_of_the_library(self):
        name_of = _c.load().vemlo_client_kind_name
        for kind in vemlo.Kind:
            with self.subTest(kind=kind):
                failure = getattr(vemlo, "".join(word.title() for word in kind.label.split()))
                self.assertTrue(issubclass(failure, vemlo.Failure))
                self.assertEqual((failure.kind, name_of(kind).decode()), (kind, kind.label))
        self.assertEqual(name_of(max(vemlo.Kind) + 1), b"unknown")

    def test_an_unknown_number_is_not_understood(self):
        def fill(address):
            record = ctypes.cast(address, ctypes.POINTER(_c.FailureRecord))[0]
            record.kind, record.service, record.retry_after = 99, 99, -1

        with mock.patch.object(_c, "load") as load:
            load.return_value.vemlo_client_get_last_failure = fill
            failure = failures.failure_of(7)
        self.assertIs(type(failure), vemlo.NotUnderstood)
        self.assertEqual((failure.kind, failure.code), (vemlo.Kind.NOT_UNDERSTOOD, 7))
        self.assertIsNone(failure.service)

    def test_a_positive_code_without_a_failure_is_not_understood(self):
        _c.load().vemlo_client_reset_last_failure()
        self.assertIs(type(failures.failure_of(100)), vemlo.NotUnderstood)

    def test_the_services_have_the_numbers_of_the_library(self):
        self.assertEqual([service.value for service in vemlo.Service], [1, 2, 3, 4, 5, 6])


class OfServices(CloudCase):
    def test_what_the_service_said(self):
        headers = "x-amz-request-id: 17\r\n"
        s3 = self.s3(s3_error("AccessDenied", "403 Forbidden", headers=headers))
        with self.assertRaises(vemlo.Denied) as caught:
            s3.folders("bucket")
        failure = caught.exception
        self.assertEqual(str(failure), "listObjectsV2 failed (denied): AccessDenied: No way.")
        self.assertEqual((failure.service, failure.code, failure.error, failure.http_status),
                         (vemlo.Service.S3, 15, 15, 403))  # fmt: skip
        self.assertEqual((failure.operation, failure.service_code, failure.service_message),
                         ("listObjectsV2", "AccessDenied", "No way."))  # fmt: skip
        self.assertEqual((failure.request_id, failure.retry_after), ("17", None))

    def test_when_to_try_again(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response(
            '{"error": {"message": "Slow", "errors": [{"reason": "dailyLimitExceeded"}]}}',
            "403 Forbidden", "Retry-After: 700\r\n"))  # fmt: skip
        with self.assertRaises(vemlo.Wait) as caught:
            drive.root()
        self.assertEqual(caught.exception.retry_after, 700)

    def test_a_failure_survives_pickling(self):
        s3 = self.s3(s3_error("NoSuchBucket", "404 Not Found"))
        with self.assertRaises(vemlo.NotFound) as caught:
            s3.folders("bucket")
        copy = pickle.loads(pickle.dumps(caught.exception))
        self.assertIs(type(copy), vemlo.NotFound)
        self.assertEqual(str(copy), str(caught.exception))
        self.assertEqual(copy.__dict__, caught.exception.__dict__)

    def test_a_failure_is_not_that_of_an_earlier_call(self):
        s3 = self.s3(s3_error("AccessDenied", "403 Forbidden"))
        with self.assertRaises(vemlo.Denied):
            s3.folders("bucket")
        with self.assertRaises(vemlo.BadArguments) as caught:
            s3.create_folder("bucket", "x")
        self.assertEqual((caught.exception.code, caught.exception.service), (-1, None))

    def test_secrets_are_not_in_texts(self):
        tokens = vemlo.Tokens("secret 1", "secret 2")
        shown = repr([
            tokens, vemlo.Proxy("host", 1, "user", "secret 3"),
            vemlo.Application(vemlo.Service.DROPBOX, "id", "secret 4"),
            vemlo.RenewedTokens(vemlo.Service.DROPBOX, "secret 5", "secret 6", "secret 7", 1),
        ])  # fmt: skip
        self.assertNotIn("secret", shown.replace("client_secret", ""))


class BadArguments(CloudCase):
    def assert_bad(self, function, *arguments, **options):
        with self.assertRaises(vemlo.BadArguments) as caught:
            function(*arguments, **options)
        failure = caught.exception
        self.assertEqual((failure.kind, failure.code), (vemlo.Kind.HOST_FAULT, -1))
        self.assertIsInstance(failure, ValueError)
        self.assertIsInstance(failure, vemlo.HostFault)

    def test_a_nul_is_not_the_end_of_a_text(self):
        s3 = self.s3(response())
        drive = self.drive(vemlo.Service.DROPBOX, response())
        for function, *arguments in (
            (s3.folders, "bucket\0"), (s3.folders, "bucket", "a\0b"), (s3.create_bucket, "\0", 16),
            (s3.create_folder, "bucket", "a\0/"), (drive.folders, "\0"), (drive.link, "code\0"),
            (drive.authorize_url, "\0"), (drive.set_tokens, vemlo.Tokens("\0", "")),
            (drive.create_folder, "/", "\0"), (vemlo.encrypt, "a\0"), (vemlo.decrypt, "a\0"),
            (vemlo.S3, "", "", "\0", ""), (vemlo.Drive, vemlo.Service.DROPBOX, vemlo.Proxy("\0")),
            (vemlo.AzureBlobs, "", "\0", ""), (vemlo.Recording, "\0"),
            (vemlo.account_of, vemlo.Service.DROPBOX, vemlo.Tokens("\0", "")),
        ):  # fmt: skip
            with self.subTest(function=function, arguments=arguments):
                self.assert_bad(function, *arguments)
        self.assertEqual(s3.cloud.requests + drive.cloud.requests, [])

    def test_a_surrogate_that_stands_for_no_byte(self):
        self.assert_bad(self.s3(response()).folders, "\ud800")

    def test_numbers_out_of_range(self):
        s3 = self.s3(response())
        self.assert_bad(s3.create_bucket, "bucket", 2**32)  # would be 0
        self.assert_bad(vemlo.Drive, vemlo.Service.DROPBOX, vemlo.Proxy("host", 65536))
        self.assert_bad(s3.buckets, timeout=-1)
        self.assert_bad(s3.buckets, timeout=float("nan"))
        self.assertEqual(s3.cloud.requests, [])

    def test_a_long_timeout_is_none(self):
        s3 = self.s3(response("<ListAllMyBucketsResult/>"))
        self.assertEqual([*s3.buckets(timeout=float("inf"))], [])

    def test_of_the_library(self):
        drive = self.drive(vemlo.Service.GOOGLE_DRIVE, response())
        self.assert_bad(drive.folders, vemlo.Folder("without an id"))
        self.assert_bad(drive.authorize_url, "x" * 501)
        self.assert_bad(vemlo.Drive, vemlo.Service.S3)
        self.assert_bad(vemlo.account_of, vemlo.Service.S3, vemlo.Tokens("a"))
        self.assert_bad(vemlo.decrypt, "not encrypted")

    def test_other_types(self):
        with self.assertRaises(TypeError):
            self.s3(response()).folders(b"bucket")

    def test_a_key_that_is_not_base64(self):
        with self.assertRaises(vemlo.WrongKeys) as caught:
            vemlo.AzureBlobs("westeurope", "account", "!")
        self.assertEqual(caught.exception.code, -1)


if __name__ == "__main__":
    unittest.main()

"""What is said about calls that fail: the same in every language."""

import json
import unittest

from support import sandbox

from binding_case import (
    AMAZON_DRIVE, DRIVES, DROPBOX, GOOGLE_DRIVE, NOWHERE, ONE_DRIVE, STORES, AzureBlobs,
    BindingCase, DriveCase, S3, for_each, for_each_drive, for_each_service, for_each_store, new_name, proxy,
)  # fmt: skip

RETRY_AFTER = {"Retry-After": "7"}
HTML = {"Content-Type": "text/html"}


def _json(status, content, **headers):
    """A response of a drive."""
    headers = {"Content-Type": "application/json", **headers}
    return {"status": status, "headers": headers, "body": json.dumps(content)}


def _google(status, reason):
    return _json(status, {"error": {"message": "No way.", "errors": [{"reason": reason}]}})


def _graph(status, code, **headers):
    return _json(status, {"error": {"code": code, "message": "No way."}}, **headers)


def _dropbox(status, summary, **headers):
    return _json(status, {"error_summary": f"{summary}/..", "error": {}}, **headers)


def _xml(status, code, **headers):
    """A response of an object store."""
    body = f"<Error><Code>{code}</Code><Message>No way.</Message></Error>"
    return {"status": status, "headers": {"Content-Type": "application/xml", **headers},
            "body": body}  # fmt: skip


PAGE = {"status": 200, "headers": HTML, "body": "<html>Welcome!</html>"}
# The responses to a listing that fails with each kind, without a retry.
RESPONSES = {
    GOOGLE_DRIVE: {
        "wait": _google(403, "dailyLimitExceeded"),
        "denied": _google(403, "insufficientPermissions"),
        "not found": _google(404, "notFound"),
        "quota": _google(403, "storageQuotaExceeded"),
        "host fault": _google(403, "accessNotConfigured"),
        "not understood": PAGE,
    },
    ONE_DRIVE: {
        "wait": _graph(429, "activityLimitReached", **RETRY_AFTER),
        "timed out": _graph(408, "requestTimeout"),
        "denied": _graph(403, "accessDenied"),
        "not found": _graph(404, "itemNotFound"),
        "quota": _graph(507, "insufficientStorage"),
        "service trouble": _graph(503, "serviceNotAvailable", **RETRY_AFTER),
        "not understood": PAGE,
    },
    DROPBOX: {
        "wait": _dropbox(429, "too_many_requests", **RETRY_AFTER),
        "timed out": _dropbox(408, "timeout"),
        "denied": _dropbox(403, "no_permission"),
        "not found": _dropbox(409, "path/not_found"),
        "quota": _dropbox(409, "path/insufficient_quota"),
        "service trouble": _dropbox(503, "internal_error", **RETRY_AFTER),
        "not understood": PAGE,
    },
    AMAZON_DRIVE: {
        "denied": _json(403, {"code": "ACCESS_DENIED", "message": "No way."}),
        "not found": _json(404, {"code": "NODE_NOT_FOUND", "message": "No way."}),
        "not understood": PAGE,
    },
    S3: {
        "wait": _xml(429, "SlowDown", **RETRY_AFTER),
        "timed out": _xml(408, "RequestTimeout"),
        "denied": _xml(403, "AccessDenied"),
        "not found": _xml(404, "NoSuchBucket"),
        "quota": _xml(403, "QuotaExceeded"),
        "wrong keys": _xml(403, "InvalidAccessKeyId"),
        "wrong clock": _xml(403, "RequestTimeTooSkewed"),
        "wrong region": _xml(400, "IllegalLocationConstraintException"),
        "not understood": PAGE,
    },
    AzureBlobs: {
        "wait": _xml(429, "ServerBusy", **RETRY_AFTER),
        "timed out": _xml(408, "OperationTimedOut"),
        "denied": _xml(403, "AuthorizationFailure"),
        "not found": _xml(404, "ContainerNotFound"),
        "wrong keys": _xml(403, "AuthenticationFailed"),
        "wrong clock": _xml(403, "AuthenticationFailed", Date="Sat, 01 Jan 2000 00:00:00 GMT"),
        "not understood": PAGE,
    },
}


@for_each_service
class Responses:
    """`drive` or `store` is the service."""

    def test_each_kind(self):
        service = getattr(self, "drive", None) or self.store
        for kind, response in RESPONSES[service].items():
            with self.subTest(service=service.word, kind=kind):
                failed = self.assert_fails(
                    kind, *self.listing, prepare=lambda: self.respond(response)
                )  # fmt: skip
                self.assertEqual(failed.service, service.word)
                self.assertEqual(failed.status, response["status"])
                self.assertEqual(failed.retry_after, 7 if "Retry-After" in response["headers"]
                                 else -1)  # fmt: skip
                self.assertEqual(failed.operation, service.operation)
                self.assertGreater(failed.error, 0)
                self.assertTrue(failed.service_code)
                self.assertTrue(failed.message)
        sandbox.reset_internet()
        self.assert_same(*self.listing)

    def respond(self, response):
        sandbox.reset_internet()
        self.fault(kind="status", count=3, **response)


@for_each_drive
class RefusedAccounts:
    def test_revoked_tokens(self):
        tokens = self.link(self.driver, "d")
        self.control("expire")
        self.control("revoke")
        failed = self.assert_fails("link again", "account", self.drive.word, *proxy(), *tokens)
        self.assertEqual(failed.operation, "refreshAccessToken")
        self.assertEqual(failed.service_code, "invalid_grant")

    def test_an_expired_token_alone(self):
        self.control("expire")
        access = self.tokens[0].split("|")[0] if self.drive == DROPBOX else self.tokens[0]
        self.assert_fails("link again", "account", self.drive.word, *proxy(), access, "")

    def test_a_proxy_that_is_not_reached(self):
        failed = self.assert_fails("offline", "account", self.drive.word, *NOWHERE, *self.tokens)
        self.assertEqual((failed.status, failed.service_code), (0, "CURLE_COULDNT_CONNECT"))


@for_each_store
class RefusedRequests:
    def test_wrong_keys(self):
        wrong = {"secret_key" if self.store == S3 else "accessKey": "bm90IHRvIGJlIHNob3du"}
        for driver in self.drivers:
            self.store.open(driver, "wrong", **wrong)
        # Azurite does not tell a wrong key from a missing permission.
        kind = "wrong keys" if self.store == S3 else "denied"
        failed = self.assert_fails(kind, "buckets", "wrong")
        self.assertEqual(failed.status, 403)
        self.on_all("close", "wrong")

    def test_a_bucket_that_exists(self):
        other = {"access_key": sandbox.account("radosgw", "other").access_key,
                 "secret_key": sandbox.account("radosgw", "other").secret_key}  # fmt: skip
        for driver in self.drivers:
            self.store.open(driver, "other", **(other if self.store == S3 else {}))
        self.assert_fails("exists already", "create-bucket", "other", self.bucket, 0)
        self.on_all("close", "other")

    def test_a_bucket_that_does_not_exist(self):
        missing = new_name()
        failed = self.assert_fails("not found", "list", "s", missing, "")
        self.assertEqual(failed.code, failed.error)
        self.assert_fails("not found", "create", "s", missing, "photos/")

    def test_a_name_that_is_not_allowed(self):
        self.assert_fails("name not allowed", "create-bucket", "s", "No_Such..Name", 0)

    def test_a_proxy_that_is_not_reached(self):
        for driver in self.drivers:
            self.store.open(driver, "nowhere", NOWHERE)
        self.assert_fails("offline", "list", "nowhere", self.bucket, "")
        self.on_all("close", "nowhere")


class S3Locations(BindingCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        for driver in cls.drivers:
            S3.open(driver, "s", through=("", 0), endpoint=sandbox.account("radosgw").endpoint)

    def test_one_that_the_store_does_not_have(self):
        failed = self.assert_fails("wrong region", "create-bucket", "s", new_name(), 4)
        self.assertEqual((failed.code, failed.service_code), (24, "InvalidLocationConstraint"))

    def test_one_that_no_store_has(self):
        failed = self.assert_fails("host fault", "create-bucket", "s", new_name(), 99)
        self.assertEqual((failed.code, failed.status), (1, 0))


class NotTrusted(BindingCase):
    trusts_the_sandbox = False

    def test_by_the_object_stores(self):
        for store in STORES:
            with self.subTest(service=store.word):
                for driver in self.drivers:
                    store.open(driver, "s")
                self.assert_fails("not trusted", "buckets", "s")
                self.on_all("close", "s")

    def test_by_the_drives(self):
        for drive in DRIVES:
            with self.subTest(service=drive.word):
                self.assert_fails("not trusted", "account", drive.word, *proxy(), "a", "b")


@for_each((ONE_DRIVE, DROPBOX), DriveCase, "drive")
class NamesThatAreNotAllowed:
    def test_by_the_drive(self):
        name = "a:b*c" if self.drive == ONE_DRIVE else "trailing space "
        self.assert_fails("name not allowed", "create", "d", self.root, name)


if __name__ == "__main__":
    unittest.main()

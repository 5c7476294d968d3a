"""The public service's host names over TLS through an HTTP proxy."""

import time
import unittest

from support import sandbox
from support.case import LibraryTest, for_each_server
from support.error_codes import Code
from support.libvemlo import S3Session, proxy_setting
from support.trust import trust_sandbox

GLOBAL_HOST = "s3.amazonaws.com"
FRANKFURT_HOST = "s3.eu-central-1.amazonaws.com"
WASABI_HOST = "s3.wasabisys.com"
US_STANDARD, FRANKFURT = 0, 12


class InternetCase:
    server = "radosgw"

    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        self.internet = sandbox.state()["internet"]
        self.account = sandbox.account(self.server)

    def session(self, endpoint="", proxy=None, **changes):
        account = self.account._replace(endpoint=endpoint, **changes)
        proxy = proxy or proxy_setting(self.internet["proxyPort"])
        return self.enterContext(S3Session(account, proxy=proxy))

    def assert_requests(self, *expected):
        """Host, method and status of all requests, in order."""
        found = [(entry["host"], entry["method"], entry["status"]) for entry in sandbox.requests()]
        self.assertEqual(found, list(expected))


@for_each_server
class ProductionNames(InternetCase):
    def setUp(self):
        super().setUp()
        for host in (GLOBAL_HOST, FRANKFURT_HOST, WASABI_HOST):
            sandbox.control("POST", "routes", {"host": host, "target": self.account.endpoint})

    def test_an_empty_endpoint_is_the_global_one(self):
        session = self.session()
        name = sandbox.new_bucket_name()
        self.assert_done(session.create(name, US_STANDARD))
        listing = session.list()
        self.assert_done(listing)
        self.assertIn(name, listing.names)
        self.assert_requests((GLOBAL_HOST, "PUT", 200), (GLOBAL_HOST, "GET", 200))
        self.assertEqual({entry["scheme"] for entry in sandbox.requests()}, {"https"})

    def test_endpoints_by_name(self):
        for endpoint in (WASABI_HOST, f"https://{WASABI_HOST}/", f"HTTPS://{GLOBAL_HOST}"):
            with self.subTest(endpoint=endpoint):
                sandbox.control("DELETE", "log")
                self.assert_done(self.session(endpoint).list())
                host = GLOBAL_HOST if GLOBAL_HOST in endpoint else WASABI_HOST
                self.assert_requests((host, "GET", 200))

    def test_the_endpoint_determines_the_region_of_the_signature(self):
        self.assert_done(self.session(FRANKFURT_HOST).list())
        done, refused = (FRANKFURT_HOST, "GET", 200), (FRANKFURT_HOST, "GET", 400)
        # Swift has another region and responds with it; radosgw accepts any.
        self.assert_requests(*{"radosgw": [done], "swift": [refused, done]}[self.server])

    def test_a_location_is_requested_at_its_own_host(self):
        name = sandbox.new_bucket_name()
        outcome = self.session().create(name, FRANKFURT)
        self.assertEqual([entry["path"] for entry in sandbox.requests()], [f"/{name}"])
        if self.server == "radosgw":
            self.assert_done(outcome)
            self.assert_requests((FRANKFURT_HOST, "PUT", 200))
            self.assertIn(name, self.account.bucket_names())
        else:  # it has neither this region nor this location
            self.assert_failed(outcome, Code.WrongRegion, "AuthorizationHeaderMalformed", 400)
            self.assert_requests((FRANKFURT_HOST, "PUT", 400))

    def test_refusals(self):
        name = sandbox.new_bucket_name()
        self.assert_done(self.session().create(name))
        other = sandbox.account(self.server, "other")
        keys = {"access_key": other.access_key, "secret_key": other.secret_key}
        taken = self.session(**keys).create(name)
        self.assert_failed(taken, Code.BucketAlreadyExists, "BucketAlreadyExists", 409)
        wrong = self.session(secret_key=sandbox.MADE_UP_SECRET).list()
        self.assert_failed(wrong, Code.SignatureMismatch, "SignatureDoesNotMatch", 403)


class ProxyCredentials(InternetCase, LibraryTest):
    def attempt(self, username, password):
        proxy = proxy_setting(self.internet["authProxyPort"], username, password)
        return self.session(proxy=proxy).list()

    def assert_refused(self, listing):
        error = self.assert_failed(listing, Code.NetworkFailure)
        self.assertIn("407", error.message)
        self.assert_requests()

    def test_right(self):
        listing = self.attempt(self.internet["proxyUser"], self.internet["proxyPassword"])
        self.assert_done(listing)
        self.assert_requests((GLOBAL_HOST, "GET", 200))

    def test_wrong(self):
        self.assert_refused(self.attempt(self.internet["proxyUser"], sandbox.MADE_UP_SECRET))

    def test_missing(self):
        self.assert_refused(self.attempt(None, None))
        self.assertEqual([tunnel["credential"] for tunnel in sandbox.tunnels()], [False])


class ProxyFailures(InternetCase, LibraryTest):
    def test_a_host_that_the_proxy_cannot_reach(self):
        listing = self.session("https://s3.unlisted.example").list()
        error = self.assert_failed(listing, Code.NetworkFailure)
        self.assertIn("502", error.message)

    def test_a_missing_proxy(self):
        listing = self.session(proxy=proxy_setting(1)).list()
        self.assert_failed(listing, Code.NetworkFailure, "CURLE_COULDNT_CONNECT")
        self.assertEqual(sandbox.tunnels(), [])


class Faults(InternetCase, LibraryTest):
    @staticmethod
    def fault(**members):
        sandbox.control("POST", "faults", members)

    def test_a_service_that_recovers_gets_three_requests(self):
        self.fault(kind="status", status=503, count=2)
        begin = time.monotonic()
        self.assert_done(self.session().list())
        # Only this test waits for the real pauses of 1 and 2 seconds.
        self.assertGreaterEqual(time.monotonic() - begin, 3)
        failed = (GLOBAL_HOST, "GET", 503)
        self.assert_requests(failed, failed, (GLOBAL_HOST, "GET", 200))

    def test_a_redirect_inside_the_service_is_followed(self):
        other = "s3.us-east-1.amazonaws.com"
        self.fault(kind="status", status=307, headers={"Location": f"https://{other}/"})
        self.assert_done(self.session().list())
        self.assert_requests((GLOBAL_HOST, "GET", 307), (other, "GET", 200))

    def test_a_redirect_out_of_the_service_is_not_followed(self):
        foreign = "https://store.example/"
        self.fault(kind="status", status=307, headers={"Location": foreign})
        self.assert_failed(self.session().list(), Code.Redirected, status=307)
        self.assert_requests((GLOBAL_HOST, "GET", 307))
        self.assertEqual([tunnel["host"] for tunnel in sandbox.tunnels()], [GLOBAL_HOST])

    def test_broken_connections(self):
        session = self.session()
        for kind in ("reset", "resetBody", "shortBody"):
            with self.subTest(kind=kind):
                self.fault(kind=kind)
                self.assert_failed(session.list(), Code.NetworkFailure)
                self.assert_done(session.list())

    def test_slow_responses_are_received(self):
        session = self.session()
        self.fault(kind="latency", milliseconds=200)
        self.fault(kind="drip", bytes=64, milliseconds=1)
        for _ in range(2):
            self.assert_done(session.list())
        faults = [request["fault"] for request in sandbox.requests()]
        self.assertEqual(faults, ["latency", "drip"])


if __name__ == "__main__":
    unittest.main()

"""Listing and creating buckets on real S3 servers, through the shared library."""

import unittest

from support import sandbox
from support.case import for_each_server
from support.error_codes import Code
from support.libvemlo import S3Session, proxy_setting

CUSTOMIZED, US_STANDARD, NORTHERN_CALIFORNIA, FRANKFURT = 16, 0, 2, 12


class AccountCase:
    def account(self, owner="main"):
        return sandbox.account(self.server, owner)

    def session(self, owner="main", region="", **changes):
        session = S3Session(self.account(owner)._replace(**changes), region)
        return self.enterContext(session)


@for_each_server
class Success(AccountCase):
    def test_created_buckets_are_listed_in_the_order_of_the_service(self):
        session = self.session()
        # Not in alphabetical order, so that a sort in the library would be detected.
        created = sorted((sandbox.new_bucket_name() for _ in range(4)), reverse=True)
        for name in created:
            self.assert_done(session.create(name))
        listing = session.list()
        self.assert_done(listing)
        self.assertLessEqual(set(created), set(listing.names))
        self.assertEqual(listing.names, self.account().bucket_names())

    def test_an_account_without_buckets_has_a_null_list(self):
        with S3Session(sandbox.empty_account(self.server)) as session:
            listing = session.list()
        self.assert_done(listing)
        self.assertEqual((listing.names, listing.is_null), ([], True))

    def test_the_first_location_is_the_default_of_the_service(self):
        name = sandbox.new_bucket_name()
        self.assert_done(self.session().create(name, US_STANDARD))
        self.assertIn(name, self.account().bucket_names())

    def test_another_region_in_the_signature(self):
        """radosgw accepts any region; Swift responds with its own, which is used in a retry."""
        session = self.session(region="eu-west-1")
        name = sandbox.new_bucket_name()
        self.assert_done(session.create(name))
        listing = session.list()
        self.assert_done(listing)
        self.assertIn(name, listing.names)


@for_each_server
class Refusal(AccountCase):
    def assert_both_fail(self, session, code, exception):
        for outcome in (session.list(), session.create(sandbox.new_bucket_name())):
            self.assert_failed(outcome, code, exception, status=403)

    def test_wrong_secret(self):
        session = self.session(secret_key=sandbox.MADE_UP_SECRET)
        self.assert_both_fail(session, Code.SignatureMismatch, "SignatureDoesNotMatch")

    def test_unknown_key(self):
        expected = {
            "radosgw": (Code.UnknownAccessKey, "InvalidAccessKeyId"),
            "swift": (Code.SignatureMismatch, "SignatureDoesNotMatch"),  # as for a wrong secret
        }
        self.assert_both_fail(self.session(access_key="nobody"), *expected[self.server])

    def test_invalid_bucket_names(self):
        session = self.session()
        for name in ("ab", "UPPER_lower", "dots..dots", "x" * 64, "10.0.0.1"):
            with self.subTest(name=name):
                outcome = session.create(name)
                self.assert_failed(outcome, Code.InvalidBucketName, "InvalidBucketName", 400)

    def test_bucket_names_that_address_another_resource(self):
        session = self.session()
        for name in ("", ".", ".."):
            with self.subTest(name=name):
                self.assert_failed(session.create(name), Code.LocalFailure, "InvalidRequest", 0)

    def test_bucket_of_another_owner(self):
        name = sandbox.new_bucket_name()
        self.assert_done(self.session().create(name))
        outcome = self.session("other").create(name)
        self.assert_failed(outcome, Code.BucketAlreadyExists, "BucketAlreadyExists", 409)

    def test_own_bucket_again(self):
        session = self.session()
        name = sandbox.new_bucket_name()
        self.assert_done(session.create(name))
        again = session.create(name)
        if self.server == "radosgw":  # succeeds again, as in the first public region
            self.assert_done(again)
        else:
            self.assert_failed(again, Code.BucketAlreadyOwned, "BucketAlreadyOwnedByYou", 409)

    def test_location_that_the_server_does_not_have(self):
        name = sandbox.new_bucket_name()
        outcome = self.session().create(name, NORTHERN_CALIFORNIA)
        self.assert_failed(outcome, Code.InvalidLocation, "InvalidLocationConstraint", 400)
        self.assertNotIn(name, self.account().bucket_names())

    def test_location_that_only_one_server_has(self):
        name = sandbox.new_bucket_name()
        outcome = self.session().create(name, FRANKFURT)
        if self.server == "radosgw":
            self.assert_done(outcome)
            self.assertIn(name, self.account().bucket_names())
        else:
            self.assert_failed(outcome, Code.InvalidLocation, "InvalidLocationConstraint", 400)

    def test_invalid_arguments(self):
        session = self.session()
        for name, location in (("", CUSTOMIZED), ("bucket", 17), ("bucket", -1)):
            with self.subTest(name=name, location=location):
                outcome = session.create(name, location)
                self.assert_failed(outcome, Code.LocalFailure, "InvalidRequest")


@for_each_server
class Requests(AccountCase):
    """The number of requests for a call, counted by a proxy."""

    HOST = "s3.amazonaws.com"  # a name that both servers serve

    def setUp(self):
        sandbox.reset_internet()
        account = self.account()
        sandbox.control("POST", "routes", {"host": self.HOST, "target": account.endpoint})
        self.behind_proxy = account._replace(endpoint=f"http://{self.HOST}")

    def session_in(self, region):
        proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
        return self.enterContext(S3Session(self.behind_proxy, region, proxy))

    def statuses(self):
        return [request["status"] for request in sandbox.requests()]

    def test_a_call_is_one_request(self):
        session = self.session_in("us-east-1")
        self.assert_done(session.list())
        self.assert_done(session.create(sandbox.new_bucket_name()))
        methods = [(request["method"], request["status"]) for request in sandbox.requests()]
        self.assertEqual(methods, [("GET", 200), ("PUT", 200)])

    def test_a_wrong_region_costs_one_more_request_once(self):
        session = self.session_in("eu-west-1")
        for _ in range(2):
            self.assert_done(session.list())
        expected = {"radosgw": [200, 200], "swift": [400, 200, 200]}
        self.assertEqual(self.statuses(), expected[self.server])


if __name__ == "__main__":
    unittest.main()

"""Consent with a state, a proof key and the host's own application; the host's own trust."""

import os
import unittest

from support import sandbox, service_client
from support.drive_case import for_each_drive


@for_each_drive
class Consent:
    def test_the_state_comes_back(self):
        self.assertEqual(service_client.set_state("a b&c=d"), 0)
        session = self.session()
        self.assertEqual(self.consent(session)["state"], "a b&c=d")
        self.assertNotIn("state", self.consent(session))

    def test_a_code_is_bound_to_the_session_that_asked_for_it(self):
        service_client.set_pkce()
        asking, other = self.session(), self.session()
        code = self.consent(asking)["code"]
        stolen = other.get_token(code)
        self.assertEqual(stolen.code, self.drive.exchange_failed)
        self.assert_lines(stolen.log, ["Failed to perform exchange authorization code. "])

        self.assert_done(asking.get_token(self.consent(asking)["code"]))
        self.assert_names(asking, self.root_of(asking), [])

    def test_it_is_given_to_the_hosts_application(self):
        family = self.drive.family
        self.assertEqual(service_client.set_application(family, client_secret="wrong"), 0)
        session = self.session()
        refused = session.get_token(self.consent(session)["code"])
        self.assertEqual(refused.code, self.drive.exchange_failed)

        self.assertEqual(service_client.set_application(family, client_secret=None), 0)
        self.linked()


@for_each_drive
class HostsTrust:
    def test_replaces_that_of_the_environment(self):
        authority = sandbox.state()["internet"]["caFile"]
        os.environ["SSL_CERT_FILE"] = "/nonexistent/authority.pem"
        self.assertEqual(service_client.set_trust(authority), 0)
        session = self.linked()
        self.assert_names(session, self.root_of(session), [])


if __name__ == "__main__":
    unittest.main()

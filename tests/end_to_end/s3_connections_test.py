"""The number of connections for many calls, counted by the proxy."""

import threading
import unittest

from support import log, sandbox
from support.case import LibraryTest
from support.libvemlo import S3Session, proxy_setting
from support.trust import trust_sandbox


class Connections(LibraryTest):
    def setUp(self):
        trust_sandbox()
        sandbox.reset_internet()
        account = sandbox.account("radosgw")._replace(endpoint="")
        proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
        self.session = self.enterContext(S3Session(account, proxy=proxy))

    def connections(self):
        return {request["connection"] for request in sandbox.requests()}

    def test_200_calls_one_after_the_other_use_one(self):
        with log.captured() as capture:
            codes = [self.session.list_uncaptured().code for _ in range(200)]
        self.assertEqual((capture.log.text, codes), ("", [0] * 200))
        self.assertEqual(len(sandbox.requests()), 200)
        self.assertEqual(len(self.connections()), 1)

    def test_8_threads_use_at_most_8(self):
        threads, calls = 8, 25
        start = threading.Barrier(threads)
        codes = []

        def work():
            start.wait()
            codes.extend(self.session.list_uncaptured().code for _ in range(calls))

        workers = [threading.Thread(target=work) for _ in range(threads)]
        with log.captured() as capture:
            for worker in workers:
                worker.start()
            for worker in workers:
                worker.join()
        self.assertEqual((capture.log.text, codes), ("", [0] * threads * calls))
        self.assertEqual(len(sandbox.requests()), threads * calls)
        # More than one shows that calls ran in parallel.
        self.assertIn(len(self.connections()), range(2, threads + 1))


if __name__ == "__main__":
    unittest.main()

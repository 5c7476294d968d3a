"""Sessions of all six services, opened and closed from Python."""

import _ctypes
import ctypes
import unittest

from support import libvemlo, log, sandbox
from support.case import LibraryTest
from support.libvemlo import SERVICES, ProxySetting, S3Session, proxy_setting


class Sessions(LibraryTest):
    TEXTS = {
        "s3": (b"", b"", b"key", sandbox.MADE_UP_SECRET.encode()),
        "azure_ssb": (b"westeurope", b"account", b"c2VjcmV0"),
    }

    def setUp(self):
        self.vemlo = libvemlo.load()
        self.vemlo.libvemlo_global_init()
        self.addCleanup(self.vemlo.libvemlo_global_cleanup)

    def open(self, service, proxy):
        init = getattr(self.vemlo, f"libvemlo_{service}_init")
        return init(*self.TEXTS.get(service, ()), proxy and ctypes.byref(proxy))

    def test_each_service_with_each_kind_of_proxy(self):
        filled = proxy_setting(3128, "user", sandbox.MADE_UP_SECRET)
        for service in SERVICES:
            for proxy in (None, ProxySetting(), filled):
                with self.subTest(service=service, proxy=proxy), log.captured() as capture:
                    handle = self.open(service, proxy)
                    self.assertIsNotNone(handle)
                    getattr(self.vemlo, f"libvemlo_{service}_cleanup")(handle)
                self.assertEqual(capture.log.text, "")

    def test_all_at_once(self):
        with log.captured() as capture:
            handles = [self.open(service, None) for service in SERVICES]
            self.assertEqual(len(set(handles)), len(SERVICES))
            for service, handle in zip(SERVICES, reversed(handles)):
                getattr(self.vemlo, f"libvemlo_{service}_cleanup")(handle)
        self.assertEqual(capture.log.text, "")


class Reloading(LibraryTest):
    def test_the_library_is_loaded_used_and_unloaded_twice(self):
        for _ in range(2):
            library = libvemlo.load()
            with S3Session(sandbox.account("radosgw"), library=library) as session:
                self.assert_done(session.list())
            _ctypes.dlclose(library._handle)


if __name__ == "__main__":
    unittest.main()

"""Tokens that the library renews, and what the host is told about them."""

import unittest

from support import sandbox

from binding_case import DROPBOX, for_each_drive, proxy

THREADS = 64


@for_each_drive
class RenewedTokens:
    """The service accepts a refresh token once."""

    compares_with_c = False

    @classmethod
    def setUpClass(cls):
        super(cls.__mro__[1], cls).setUpClass()
        cls.folder = cls().new_folder(folders=5)

    def setUp(self):
        super().setUp()
        self.control("rotation", rotation="replaceOnce")
        self.driver.renewed.clear()

    def stored(self, renewed):
        """What a host stores."""
        return (renewed.access, "" if self.drive == DROPBOX else renewed.refresh)

    def assert_renewed(self, tokens):
        """The host was told once; returns the tokens from then on."""
        (renewed,) = self.driver.renewed
        self.driver.renewed.clear()
        access, refresh = tokens
        if self.drive == DROPBOX:  # whose text holds both
            refresh = access.split("|")[-1]
        self.assertEqual((renewed.service, renewed.used), (self.drive.word, refresh))
        self.assertNotIn(renewed.refresh, ("", refresh))
        self.assertNotIn(renewed.access, ("", access))
        self.assertGreater(renewed.lifetime, 3000)
        return self.stored(renewed)

    def test_a_host_lives_on_what_it_is_told_once_for_many_threads(self):
        tokens = self.link(self.driver, "d")
        self.control("expire")
        before = self.refreshes()
        lines = self.driver.do("threads", THREADS, 1, "folders", "d", self.folder)
        self.assertEqual(
            lines,
            [["succeeded", str(THREADS)], ["entries", str(5 * THREADS)], ["failures", "0"]],
        )  # fmt: skip
        self.assertEqual(self.refreshes() - before, 1)

        tokens = self.assert_renewed(tokens)
        self.drive.open(self.driver, "stored")
        self.driver.do("tokens", "stored", *tokens)
        self.driver.do("folders", "stored", self.folder)
        self.driver.do("close", "stored")
        self.assertEqual(self.driver.renewed, [])
        # The next renewal needs the refresh token of the first.
        self.control("expire")
        self.driver.do("account", self.drive.word, *proxy(), *tokens)
        self.assert_renewed(tokens)

    def test_by_a_question_about_the_account(self):
        """Without a session, and without an access token, which Dropbox's text always has."""
        access, refresh = self.link(self.driver, "d")
        self.control("expire")
        tokens = (access if self.drive == DROPBOX else "", refresh)
        ((_, name, *_),) = self.driver.do("account", self.drive.word, *proxy(), *tokens)
        self.assertTrue(name)
        self.assert_renewed((access, refresh))


if __name__ == "__main__":
    unittest.main()

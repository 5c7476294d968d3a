"""What a build is configured with: the compiler's options, and which libraries are accepted."""

import pathlib
import tempfile
import unittest

import installed
from installed import BUILD_TREE, LIBRARIES_ALONE, ROOT, configure, run

# Debian's git depends on it, and it belongs to no development package.
CURL_WITH_GNUTLS = pathlib.Path("/usr") / installed.LIBDIR / "libcurl-gnutls.so.4"


class Configuration(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())

    def test_a_libcurl_with_gnutls_is_refused(self):
        self.assertTrue(CURL_WITH_GNUTLS.exists())
        with self.assertRaises(AssertionError) as failure:
            configure(ROOT, self.folder, *LIBRARIES_ALONE, f"-DCURL_LIBRARY={CURL_WITH_GNUTLS}")
        message = " ".join(str(failure.exception).split())
        self.assertIn("libcurl must use OpenSSL as its TLS library, and this one uses 'GnuTLS/",
                      message)
        self.assertIn("On Debian, install libcurl4-openssl-dev.", message)

    def test_the_standard_and_warnings_as_errors_are_the_users_choice(self):
        configure(ROOT, self.folder, *LIBRARIES_ALONE, "-DCMAKE_CXX_STANDARD=20",
                  "-DVEMLO_WERROR=OFF")
        for folder, standard, warnings_are_errors in ((BUILD_TREE, "-std=c++17", True),
                                                      (self.folder, "-std=c++20", False)):
            commands = [command.split() for command in installed.compile_commands(folder)]
            self.assertGreater(len(commands), 10)
            options = {(standard in words, "-Werror" in words) for words in commands}
            with self.subTest(standard=standard):
                self.assertEqual(options, {(True, warnings_are_errors)})

    def test_tests_without_the_tool_are_refused(self):
        with self.assertRaisesRegex(AssertionError, "require VEMLO_BUILD_TOOL"):
            configure(ROOT, self.folder, "-DVEMLO_BUILD_TOOL=OFF", "-DVEMLO_BUILD_TESTS=ON")

    def test_the_headers_of_the_layer_are_cxx20_too(self):
        include = ROOT / "service_client" / "include"
        headers = sorted(include.rglob("*.h"))
        self.assertGreater(len(headers), 10)
        text = "".join(f'#include "{header.relative_to(include)}"\n' for header in headers)
        run("c++", "-std=c++20", "-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
            "-x", "c++", "-I", include, "-", input=text)


if __name__ == "__main__":
    unittest.main()

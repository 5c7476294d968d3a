"""How the shared libraries are linked.

VEMLO_LIBRARY and VEMLO_SERVICE_LIBRARY are their paths.
"""

import os
import re
import subprocess
import unittest

LIBRARIES = {
    "libvemlo.so.1": os.environ.get("VEMLO_LIBRARY"),
    "libvemlo_service_client.so.1": os.environ.get("VEMLO_SERVICE_LIBRARY"),
}


def readelf(option, library):
    result = subprocess.run(
        ["readelf", "--wide", option, LIBRARIES[library]],
        check=True, capture_output=True, encoding="utf-8",
    )  # fmt: skip
    return result.stdout


def needed(library):
    return re.findall(r"\(NEEDED\).*\[(.+)\]", readelf("--dynamic", library))


class Linking(unittest.TestCase):
    def test_sonames(self):
        for library in LIBRARIES:
            found = re.findall(r"\(SONAME\).*\[(.+)\]", readelf("--dynamic", library))
            self.assertEqual(found, [library])

    def test_relocations_are_read_only_and_bound_at_once(self):
        for library in LIBRARIES:
            with self.subTest(library=library):
                self.assertIn("GNU_RELRO", readelf("--program-headers", library))
                self.assertRegex(readelf("--dynamic", library), r"\(FLAGS_1\).*\bNOW\b")

    def test_stacks_are_not_executable(self):
        for library in LIBRARIES:
            headers = readelf("--program-headers", library)
            self.assertRegex(headers, r"GNU_STACK .* RW +0x\w+\n")

    def test_stacks_and_buffers_are_guarded(self):
        for library in LIBRARIES:
            with self.subTest(library=library):
                imported = re.findall(r"UND (\w+)", readelf("--dyn-syms", library))
                self.assertIn("__stack_chk_fail", imported)
                # The C library has a checked variant of this function. libvemlo.so.1 uses no
                # function that has one.
                self.assertNotIn("snprintf", imported)
        layer = readelf("--dyn-syms", "libvemlo_service_client.so.1")
        self.assertRegex(layer, r"UND __snprintf_chk\b")

    def test_every_linked_library_is_used(self):
        for library, path in LIBRARIES.items():
            with self.subTest(library=library):
                result = subprocess.run(
                    ["ldd", "-u", path], env={**os.environ, "LD_PRELOAD": ""}, capture_output=True,
                    text=True, check=False,
                )  # fmt: skip
                self.assertEqual((result.stdout, result.stderr, result.returncode), ("", "", 0))

    def test_the_library_is_never_unloaded(self):
        self.assertRegex(readelf("--dynamic", "libvemlo.so.1"), r"\(FLAGS_1\).*\bNODELETE\b")

    def test_only_the_layer_uses_protocol_libraries(self):
        library, layer = (set(needed(name)) for name in LIBRARIES)
        self.assertIn("libvemlo_service_client.so.1", library)
        self.assertNotIn("libvemlo.so.1", layer)
        protocols = ("libcurl", "libssl", "libpugixml", "libsimdjson")
        self.assertFalse({name for name in library if name.startswith(protocols)})
        for protocol in protocols:
            self.assertTrue(any(name.startswith(protocol) for name in layer), protocol)

    def test_nothing_of_the_crypto_library_or_the_logger_is_exported(self):
        symbols = readelf("--dyn-syms", "libvemlo.so.1")
        exported = re.findall(r"(?:FUNC|OBJECT) +GLOBAL +DEFAULT +\d+ (\S+)", symbols)
        self.assertIn("s3_list_bucket@@LIBVEMLO_1", exported)
        self.assertEqual([name for name in exported if not name.endswith("@@LIBVEMLO_1")], [])
        self.assertEqual([name for name in exported if name.startswith("_Z")], [])


if __name__ == "__main__":
    unittest.main()

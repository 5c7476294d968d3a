"""The declarations in Python are those of the C headers, and the library is found."""

import ctypes
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import vemlo
from vemlo import _c

ROOT = pathlib.Path(__file__).parents[3]
sys.path.insert(0, str(ROOT / "scripts"))
import public_header  # noqa: E402



def functions():
    found = {}
    for header in public_header.HEADERS:
        for function in public_header.functions_in(header.read_text(encoding="utf-8")):
            found[function.name] = function
    return found


class Declarations(unittest.TestCase):
    def test_every_function_is_declared(self):
        self.assertEqual(set(_c.SIGNATURES), set(functions()))
        self.assertGreater(len(_c.SIGNATURES), 57)

    def test_with_as_many_arguments(self):
        for name, function in functions().items():
            with self.subTest(function=name):
                self.assertEqual(len(_c.SIGNATURES[name][1]), len(function.parameters))

    def test_a_text_that_is_to_be_released_keeps_its_address(self):
        for name, function in functions().items():
            with self.subTest(function=name):
                result = _c.SIGNATURES[name][0]
                if function.result == "char *":
                    self.assertIs(result, ctypes.c_void_p)
                self.assertEqual(result is None, function.result == "void")

    def sizes(self):
        """The sizes of the records in C, and where their last members are."""
        records = {
            "directory": _c.Directory, "proxy_setting": _c.ProxySetting,
            "location_contraint_name_mapping": _c.LocationMapping,
            "vemlo_client_failure": _c.FailureRecord, "vemlo_client_progress": _c.ProgressRecord,
            "vemlo_client_tokens": _c.TokensRecord,
            "vemlo_client_application": _c.ApplicationRecord,
            "vemlo_client_proxy": _c.ProxyRecord, "vemlo_client_account": _c.AccountRecord,
        }  # fmt: skip
        for name, record in records.items():
            for member, _ in record._fields_:
                descriptor = getattr(record, member)
                yield (
                    f"sizeof({name}), offsetof({name}, {member}), sizeof((({name} *)0)->{member})",
                    (ctypes.sizeof(record), descriptor.offset, descriptor.size),
                )

    def test_the_records_are_laid_out_as_in_c(self):
        expressions, expected = zip(*self.sizes())
        lines = "".join(f'printf("%zu %zu %zu\\n", {text});' for text in expressions)
        source = ("#include <libvemlo.h>\n#include <libvemlo_service_client.h>\n"
                  f"#include <stdio.h>\nint main(void) {{ {lines} return 0; }}")  # fmt: skip
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "sizes"
            subprocess.run(["cc", "-x", "c", "-", "-I", ROOT / "include", "-I",
                            ROOT / "service_client/include", "-o", program],
                           input=source, text=True, check=True)  # fmt: skip
            output = subprocess.run([program], capture_output=True, text=True, check=True).stdout
        self.assertEqual([tuple(map(int, line.split())) for line in output.splitlines()],
                         list(expected))  # fmt: skip


class Loading(unittest.TestCase):
    def run_python(self, program, **variables):
        result = subprocess.run(
            [sys.executable, "-B", "-c", program], capture_output=True, text=True, check=False,
            env={**os.environ, **variables},
        )  # fmt: skip
        return result.stdout + result.stderr

    def library_of(self, source):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        path = os.path.join(folder, "libvemlo.so.1")
        subprocess.run(["cc", "-shared", "-fPIC", "-x", "c", "-", "-o", path], input=source,
                       text=True, check=True)  # fmt: skip
        return path

    def test_the_import_loads_nothing(self):
        output = self.run_python(
            "import vemlo; print('libvemlo' in open('/proc/self/maps').read())",
            LIBVEMLO="/nowhere/libvemlo.so.1",
        )
        self.assertEqual(output, "False\n")

    def test_a_missing_library_is_named_with_advice(self):
        output = self.run_python("import vemlo; vemlo.Library()", LIBVEMLO="/nowhere/vemlo.so")
        self.assertIn("LibraryMissing: /nowhere/vemlo.so cannot be loaded", output)
        self.assertIn("Install the Debian package libvemlo1", output)
        self.assertTrue(issubclass(vemlo.LibraryMissing, ImportError))

    def test_a_library_without_the_bundled_layer_is_refused(self):
        program = "import vemlo; vemlo.Library()"
        for source in ("int verbose;", "int absent(void); int f(void) { return absent(); }"):
            with self.subTest(source=source):
                output = self.run_python(program, LIBVEMLO=self.library_of(source), LD_BIND_NOW="1")
                self.assertIn("LibraryMissing", output)
                self.assertIn("built for a service-client layer of the program's own", output)


if __name__ == "__main__":
    unittest.main()

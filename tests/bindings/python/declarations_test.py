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


# The types of results and arguments, without `const`. A `char *` that is returned must keep its
# address, as it is to be released.
TYPES = {
    "void": None, "int": ctypes.c_int, "int32_t": ctypes.c_int32, "int64_t": ctypes.c_int64,
    "session *": ctypes.c_void_p, "void *": ctypes.c_void_p,
    "vemlo_client_cancellation *": ctypes.c_void_p,
    "char *": ctypes.c_char_p, "char * that is released": ctypes.c_void_p,
    "char **": ctypes.POINTER(ctypes.c_void_p),
    "char ** that is an array": ctypes.POINTER(ctypes.c_char_p), "int *": ctypes.POINTER(ctypes.c_int),
    "char ***": ctypes.POINTER(ctypes.POINTER(ctypes.c_char_p)),
    "directory *": ctypes.POINTER(_c.Directory),
    "directory **": ctypes.POINTER(ctypes.POINTER(_c.Directory)),
    "location_contraint_name_mapping *": ctypes.POINTER(_c.LocationMapping),
    "proxy_setting *": ctypes.POINTER(_c.ProxySetting),
    "vemlo_client_failure *": ctypes.POINTER(_c.FailureRecord),
    "vemlo_client_application *": ctypes.POINTER(_c.ApplicationRecord),
    "vemlo_client_proxy *": ctypes.POINTER(_c.ProxyRecord),
    "vemlo_client_account *": ctypes.POINTER(_c.AccountRecord),
    "vemlo_client_progress_callback": _c.ProgressCallback,
    "vemlo_client_token_callback": _c.TokenCallback,
}  # fmt: skip


def plain(text):
    """The type of a result. Texts are constant if nobody releases them."""
    return "char * that is released" if text == "char *" else text.replace("const ", "")


def argument_type(words):
    """The type of a parameter, of which the last word is the name with its asterisks."""
    if words == ["char", "**buckets"]:
        return "char ** that is an array"
    stars = "*" * words[-1].count("*")
    kinds = [word for word in words[:-1] if word != "const"]
    return " ".join(filter(None, [*kinds, stars]))


class Declarations(unittest.TestCase):
    def test_every_function_is_declared(self):
        self.assertEqual(set(_c.SIGNATURES), set(functions()))
        self.assertGreater(len(_c.SIGNATURES), 57)

    def test_with_the_types_of_the_headers(self):
        for name, function in functions().items():
            with self.subTest(function=name):
                result, arguments = _c.SIGNATURES[name]
                self.assertIs(result, TYPES[plain(function.result)])
                self.assertEqual(arguments, [TYPES[argument_type(p)] for p in function.parameters])

    def test_types_that_differ_are_distinguished(self):
        self.assertIsNot(TYPES["int"], TYPES["int64_t"])
        self.assertEqual(argument_type(["const", "char", "*text"]), "char *")
        self.assertEqual(argument_type(["directory", "**found"]), "directory **")

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

    def test_a_library_that_lacks_a_newer_function_is_older(self):
        source = "int verbose;" + "".join(
            f"void {name}(void) {{}}" for name in functions() if name != "vemlo_client_stop_recording"
        )
        output = self.run_python("import vemlo; vemlo.Library()",
                                 LIBVEMLO=self.library_of(source))  # fmt: skip
        self.assertIn("vemlo_client_stop_recording", output)
        self.assertIn("It is older than this package", output)
        self.assertNotIn("of the program's own", output)


if __name__ == "__main__":
    unittest.main()

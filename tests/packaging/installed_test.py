"""The files of `cmake --install` are found, and hosts can be built against them."""

import gzip
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from installed import ROOT, installed, run

LAYER_HOST = """
#include <CloudStorage/Client/S3/S3Client.h>
#include <CloudStorage/Config/ConnectionGenericSetting.h>
int main() { return CloudStorage::Config::ConnectionGenericSetting::CIPHER[0] == '\\0'; }
"""
CLIENT_HOST = """
#include <libvemlo.h>
#include <libvemlo_service_client.h>
int main(void) {
  libvemlo_global_init();
  libvemlo_global_cleanup();
  return vemlo_client_now() > 0 ? 0 : 1;
}
"""
CLIENT_PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES C)
find_package(libvemlo REQUIRED)
add_executable(host host.c)
target_link_libraries(host PRIVATE libvemlo::libvemlo)
"""
LAYER_PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
find_package(libvemlo REQUIRED)
add_executable(host host.cpp)
target_compile_features(host PRIVATE cxx_std_17)
target_link_libraries(host PRIVATE libvemlo::service_client)
"""
BINDING_HOST = """
#include <libvemlo.hpp>
int main() {
  const vemlo::Library library;
  return vemlo::Drive(vemlo::Service::Dropbox).root().id == "/" ? 0 : 1;
}
"""
BINDING_PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
find_package(libvemlo REQUIRED COMPONENTS cpp)
add_executable(host host.cpp)
target_link_libraries(host PRIVATE libvemlo::cpp)
"""
DOCUMENTS = sorted([
    *(f"libvemlo-dev/{name}.md" for name in ("abi", "error-codes", "hosting")),
    *(f"libvemlo-dev/bindings/{name}.md" for name in ("README", "cpp", "go", "python",
                                                      "side-by-side")),
    "golang-vemlo-dev/go.md", "python3-vemlo/python.md",
])
VERSION_PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES C)
find_package(libvemlo %s)
message(STATUS "found: ${libvemlo_FOUND} ${libvemlo_VERSION}")
"""


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = cls.enterClassContext(installed())
        cls.version = re.search(r"project\(libvemlo VERSION (\S+)",
                                (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")).group(1)

    def temporary_folder(self, **files):
        """A folder with files of the given names (`_` for `.`) and contents."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name, text in files.items():
            path = pathlib.Path(folder.name) / name.replace("_", ".")
            path.write_text(text, encoding="utf-8")
        return pathlib.Path(folder.name)

    def test_examples_build_with_pkg_config(self):
        programs = self.prefix.build_with_make(self.temporary_folder())
        self.assert_usage(programs / "list_buckets", env=self.prefix.environment)

    def test_examples_build_with_cmake_and_run_without_library_paths(self):
        programs = self.prefix.build_with_cmake(ROOT / "examples" / "c", self.temporary_folder())
        self.assert_usage(programs / "list_buckets", env={})

    def test_the_example_in_cpp_builds_with_cmake_and_runs_without_library_paths(self):
        programs = self.prefix.build_with_cmake(ROOT / "examples" / "cpp", self.temporary_folder())
        with self.assertRaisesRegex(AssertionError, r"link_account failed: usage: link_account "):
            run(programs / "link_account", env={})

    def assert_usage(self, program, env):
        """The program starts, and fails because its arguments are missing."""
        with self.assertRaisesRegex(AssertionError, r"list_buckets failed: \Z"):
            run(program, env=env)

    def test_the_service_client_layer_is_found(self):
        folder = self.temporary_folder(host_cpp=LAYER_HOST, CMakeLists_txt=LAYER_PROJECT)
        run(self.prefix.build_with_cmake(folder, folder / "build") / "host", env={})

        self.assertRegex(self.prefix.pkg_config("--libs", "libvemlo-service-client"),
                         r"-lvemlo_service_client\b")

    def test_who_links_the_library_may_use_the_layers_c_interface(self):
        folder = self.temporary_folder(host_c=CLIENT_HOST, CMakeLists_txt=CLIENT_PROJECT)
        run(self.prefix.build_with_cmake(folder, folder / "build") / "host", env={})

        flags = self.prefix.pkg_config("--cflags", "--libs", "libvemlo").split()
        run("cc", folder / "host.c", *flags, "-o", folder / "host")
        run(folder / "host", env=self.prefix.environment)

    def test_the_cpp_binding_is_found(self):
        folder = self.temporary_folder(host_cpp=BINDING_HOST, CMakeLists_txt=BINDING_PROJECT)
        run(self.prefix.build_with_cmake(folder, folder / "build") / "host", env={})

        flags = self.prefix.pkg_config("--cflags", "--libs", "libvemlo").split()
        run("c++", "-std=c++17", folder / "host.cpp", *flags, "-o", folder / "host")
        run(folder / "host", env=self.prefix.environment)

    def test_versions(self):
        self.assertEqual(self.prefix.pkg_config("--modversion", "libvemlo"), self.version)
        major = int(self.version.split(".")[0])
        for wanted, found in (("", True), (f"{major}.0", True), (f"{major + 1}.0", False)):
            with self.subTest(wanted=wanted):
                folder = self.temporary_folder(CMakeLists_txt=VERSION_PROJECT % wanted)
                output = run("cmake", "-S", folder, "-B", folder / "build",
                             env=self.prefix.environment)
                expected = f"found: 1 {self.version}" if found else "found: 0"
                self.assertIn(expected, output)

    def test_components(self):
        for wanted, found in (("service_client", True), ("libvemlo service_client cpp", True),
                              ("nonsense", False), ("service_client nonsense", False)):
            with self.subTest(wanted=wanted):
                folder = self.temporary_folder(
                    CMakeLists_txt=VERSION_PROJECT % f"COMPONENTS {wanted}")
                result = subprocess.run(["cmake", "-S", folder, "-B", folder / "build"],
                                        env=self.prefix.environment, capture_output=True,
                                        text=True, check=True)
                self.assertIn(f"found: {1 if found else 0}", result.stdout)
                self.assertEqual("it has no component 'nonsense'" in result.stderr, not found)

    def test_every_function_has_a_manual_page(self):
        symbols = "".join((ROOT / "tests/unit" / name).read_text(encoding="utf-8")
                          for name in ("exported_symbols.txt", "exported_client_symbols.txt"))
        names = sorted(set(re.findall(r"^(\w+)@@", symbols, re.M)) - {"verbose"})
        self.assertEqual(len(names), 57 + 24)
        manual = ["man", "-M", self.prefix.path / "share/man"]
        self.assertEqual(len(run(*manual, "-w", *names).splitlines()), len(names))
        # Closing a session is described once for all services.
        shown = run(*manual, "libvemlo_dropbox_cleanup", env={**os.environ, "MANWIDTH": "99"})
        self.assertIn("libvemlo_dropbox_cleanup(session *handle);", shown)

    def test_documents_lead_to_installed_files(self):
        folder = self.prefix.path / "share/doc"
        documents = {path: path.read_text(encoding="utf-8") for path in folder.rglob("*.md")}
        self.assertEqual(sorted(str(path.relative_to(folder)) for path in documents), DOCUMENTS)
        for path, text in documents.items():
            for target in re.findall(r"\]\(([^)#\s]+)[)#]", text):
                with self.subTest(document=path.name, target=target):
                    self.assertTrue((path.parent / target).exists())
            # The installed examples that a guide names.
            for target in re.findall(r"`/usr/(share/doc/[^`]+)`", text):
                with self.subTest(document=path.name, target=target):
                    self.assertTrue((self.prefix.path / target).exists())

        headers = "".join((self.prefix.path / "include" / name).read_text(encoding="utf-8")
                          for name in ("libvemlo.h", "libvemlo_service_client.h"))
        named = set(re.findall(r"[\w./-]+\.md", headers))
        self.assertEqual(named, {"error-codes.md", "hosting.md"})
        self.assertLessEqual(named, {path.name for path in documents})

        paths = []
        for name in ("libvemlo", "libvemlo_service_client"):
            with gzip.open(self.prefix.path / f"share/man/man3/{name}.3.gz", "rt") as page:
                paths += re.findall(r"^\.It Pa /usr/(\S+)", page.read(), re.M)
        self.assertEqual([path for path in paths if not (self.prefix.path / path).exists()], [])
        self.assertGreater(len(paths), 4)

    def test_what_only_packages_contain_is_not_installed(self):
        self.assertTrue((self.prefix.path / "share/doc/libvemlo-dev/hosting.md").exists())
        self.assertEqual([*self.prefix.path.rglob("*lintian*")], [])
        self.assertEqual([*self.prefix.path.rglob("changelog*")], [])

    def test_the_tool_finds_its_libraries(self):
        self.assertEqual(run(self.prefix.tool, "--version", env={}), f"vemlo {self.version}\n")

    def test_no_file_contains_the_path_of_the_build_tree(self):
        texts = [*self.prefix.path.rglob("*.pc"), *self.prefix.path.rglob("*.cmake")]
        self.assertGreaterEqual(len(texts), 6)
        for path in texts:
            with self.subTest(file=path.name):
                self.assertNotIn(str(ROOT), path.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()

"""The Debian packages have the expected content, and lintian has nothing to say."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from installed import BUILD_TREE, LIBDIR, ROOT, run

CONFIG = BUILD_TREE / "CPackConfig.cmake"
HOST = """
#include <libvemlo.h>
int main(void) { libvemlo_global_init(); return 0; }
"""
CLIENT_HOST = """
#include <libvemlo_service_client.h>
int main(void) { return vemlo_client_now() < 0; }
"""
LAYER_HOST = """
#include <CloudStorage/Config/ConnectionGenericSetting.h>
int main() { return CloudStorage::Config::ConnectionGenericSetting::CIPHER[0] == '\\0'; }
"""
SOURCE = """Source: host

Package: host
Architecture: any
"""


class Package:
    def __init__(self, path):
        self.path = path
        listing = run("dpkg-deb", "--contents", path)
        self.files = {re.split(r"\s+", line, maxsplit=5)[5].split(" -> ")[0].removeprefix("./")
                      for line in listing.splitlines()}

    def field(self, name):
        return run("dpkg-deb", "--field", self.path, name).strip()


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        run("cpack", "--config", CONFIG, "-B", folder)
        cls.packages = {}
        for path in pathlib.Path(folder).glob("*.deb"):
            package = Package(path)
            cls.packages[package.field("Package")] = package

    def test_packages(self):
        self.assertEqual(set(self.packages),
                         {"libvemlo1", "libvemlo-dev", "python3-vemlo", "vemlo",
                          "golang-vemlo-dev"})

    def test_every_file_is_in_one_package(self):
        places = {
            "libvemlo1": {
                f"usr/{LIBDIR}/libvemlo.so.1", f"usr/{LIBDIR}/libvemlo_service_client.so.1",
                "usr/share/doc/libvemlo1/changelog.gz",
            },
            "libvemlo-dev": {
                "usr/include/libvemlo.h", f"usr/{LIBDIR}/libvemlo.so",
                "usr/include/libvemlo_service_client.h",
                "usr/include/CloudStorage/Client/S3/S3Client.h",
                f"usr/{LIBDIR}/libvemlo_service_client.so", f"usr/{LIBDIR}/pkgconfig/libvemlo.pc",
                f"usr/{LIBDIR}/pkgconfig/libvemlo-service-client.pc",
                f"usr/{LIBDIR}/cmake/libvemlo/libvemlo-config.cmake",
                f"usr/{LIBDIR}/cmake/libvemlo/libvemlo-config-version.cmake",
                "usr/share/doc/libvemlo-dev/changelog.Debian.gz",
                "usr/share/man/man3/s3_list_bucket.3.gz", "usr/share/man/man3/libvemlo.3.gz",
                "usr/share/man/man3/vemlo_client_now.3.gz",
                "usr/share/man/man3/libvemlo_service_client.3.gz",
                "usr/share/doc/libvemlo-dev/hosting.md",
                "usr/share/doc/libvemlo-dev/error-codes.md", "usr/share/doc/libvemlo-dev/abi.md",
                "usr/share/doc/libvemlo-dev/examples/c/link_s3.c",
                "usr/share/doc/libvemlo-dev/examples/cpp/link_account.cpp",
                "usr/share/doc/libvemlo-dev/examples/python/link_account.py",
                "usr/share/doc/libvemlo-dev/examples/go/link_account/main.go",
                "usr/share/doc/libvemlo-dev/bindings/side-by-side.md",
            },
            "python3-vemlo": {
                "usr/lib/python3/dist-packages/vemlo/__init__.py",
                "usr/lib/python3/dist-packages/vemlo/py.typed",
                "usr/share/doc/python3-vemlo/python.md", "usr/share/doc/python3-vemlo/copyright",
                "usr/share/doc/python3-vemlo/examples/link_account.py",
            },
            "vemlo": {
                "usr/bin/vemlo", "usr/share/man/man1/vemlo.1.gz",
                "usr/share/bash-completion/completions/vemlo",
                "usr/share/fish/vendor_completions.d/vemlo.fish",
                "usr/share/zsh/vendor-completions/_vemlo",
            },
            "golang-vemlo-dev": {
                "usr/share/gocode/src/vemlo/go.mod", "usr/share/gocode/src/vemlo/drive.go",
                "usr/share/gocode/src/vemlo/bridge.c", "usr/share/gocode/src/vemlo/bridge.h",
                "usr/share/gocode/src/vemlo/nocgo.go", "usr/share/doc/golang-vemlo-dev/go.md",
                "usr/share/doc/golang-vemlo-dev/examples/go.mod",
            },
        }
        for name, files in places.items():
            for package_name, package in self.packages.items():
                with self.subTest(of=name, package=package_name):
                    expected = files if package_name == name else set()
                    self.assertEqual(package.files & files, expected)

    def test_dependencies(self):
        depends = {name: package.field("Depends") for name, package in self.packages.items()}
        version = self.packages["libvemlo1"].field("Version")
        self.assertIn(f"libvemlo1 (= {version})", depends["libvemlo-dev"])
        self.assertRegex(depends["vemlo"], r"libvemlo1 \(>= ")
        self.assertRegex(depends["python3-vemlo"],
                         r"^python3 \(>= 3\.9\), libvemlo1 \(>= [\d.]+\)$")
        for library in ("libcurl4", "libssl3", "libgoogle-glog0v6", "libpococrypto80", "libc6"):
            self.assertIn(library + " ", depends["libvemlo1"])

    def test_the_go_binding_is_for_all_architectures_and_without_tests(self):
        package = self.packages["golang-vemlo-dev"]
        self.assertEqual(package.field("Architecture"), "all")
        self.assertRegex(package.field("Depends"), r"libvemlo-dev \(>= \S+\), pkg-config")
        self.assertEqual([name for name in package.files if "test" in name or "internal" in name],
                         [])

    def test_dependency_of_packages_that_use_the_library(self):
        runtime = self.packages["libvemlo1"]
        version = re.escape(runtime.field("Version"))
        shlibs = run("dpkg-deb", "--info", runtime.path, "shlibs")
        self.assertRegex(shlibs, r"(?m)^libvemlo 1 libvemlo1 \(>= ")
        self.assertRegex(shlibs,
                         rf"(?m)^libvemlo_service_client 1 libvemlo1 \(= {version}\)$")

    def symbols(self):
        """Maps each library to its symbols, each with the rest of its line."""
        text = run("dpkg-deb", "--info", self.packages["libvemlo1"].path, "symbols")
        found = {}
        for line in text.splitlines():
            if line.startswith(" "):
                name, version = line.split(maxsplit=1)
                symbols[name] = version
            elif not line.startswith("|"):
                symbols = found.setdefault(line, {})
        return found

    def test_symbols_are_those_of_the_libraries(self):
        symbols = self.symbols()
        self.assertEqual([*symbols], ["libvemlo.so.1 libvemlo1 #MINVER#",
                                      "libvemlo_service_client.so.1 libvemlo1 #MINVER#"])
        for line, found in symbols.items():
            library = BUILD_TREE / LIBDIR / line.split()[0]
            exported = run("nm", "--dynamic", "--defined-only", "--with-symbol-versions", library)
            names = {tuple(row.split()[1:]) for row in exported.splitlines()}
            # The version node itself is shown without a version, and so is what has none.
            self.assertEqual(set(found),
                             {name.replace("@@", "@") if "@" in name else
                              f"{name}@{name if kind == 'A' else 'Base'}" for kind, name in names})

    def test_symbols_without_a_version_require_this_version(self):
        symbols = self.symbols()["libvemlo_service_client.so.1 libvemlo1 #MINVER#"]
        for name, version in symbols.items():
            with self.subTest(symbol=name):
                self.assertEqual(version, "1.0.0 1" if name.endswith("@Base") else "1.0.0")

    def dependencies_of(self, source, *command):
        """What a host that is built with the packages depends on."""
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            root = folder / "root"
            for package in self.packages.values():
                run("dpkg-deb", "--extract", package.path, root)
            run("dpkg-deb", "--control", self.packages["libvemlo1"].path, root / "DEBIAN")
            run(*command, "-", "-I", root / "usr/include", "-L", root / "usr" / LIBDIR, "-lvemlo",
                "-lvemlo_service_client", "-o", folder / "host", input=source)
            (folder / "debian").mkdir()
            (folder / "debian/control").write_text(SOURCE, encoding="utf-8")
            return run("dpkg-shlibdeps", "-O", f"-S{root}", folder / "host", cwd=folder)

    def test_a_host_depends_on_the_version_that_its_symbols_appeared_in(self):
        for source in (HOST, CLIENT_HOST):
            with self.subTest(source=source):
                depends = self.dependencies_of(source, "cc", "-x", "c")
                self.assertIn("libvemlo1 (>= 1.0.0)", depends)
                self.assertNotIn("libvemlo1 (= ", depends)

    def test_a_host_that_uses_the_layers_classes_depends_on_this_version(self):
        version = self.packages["libvemlo1"].field("Version")
        depends = self.dependencies_of(LAYER_HOST, "c++", "-std=c++17", "-x", "c++")
        self.assertIn(f"libvemlo1 (= {version})", depends)

    def test_libraries_of_several_architectures_may_be_installed(self):
        fields = {name: package.field("Multi-Arch") for name, package in self.packages.items()}
        self.assertEqual(fields, {"libvemlo1": "same", "libvemlo-dev": "same",
                                  "python3-vemlo": "no", "vemlo": "no",
                                  "golang-vemlo-dev": "no"})

    def test_the_python_package_is_for_all_architectures_and_works(self):
        package = self.packages["python3-vemlo"]
        self.assertEqual(package.field("Architecture"), "all")
        modules = {path for path in package.files if "/vemlo/" in path}
        sources = (ROOT / "bindings/python/vemlo").iterdir()
        self.assertEqual({pathlib.PurePath(path).name for path in modules if path[-1] != "/"},
                         {path.name for path in sources if path.is_file()})
        with tempfile.TemporaryDirectory() as root:
            for name in ("libvemlo1", "python3-vemlo"):
                run("dpkg-deb", "--extract", self.packages[name].path, root)
            environment = {**os.environ, "PYTHONPATH": f"{root}/usr/lib/python3/dist-packages",
                           "LD_LIBRARY_PATH": f"{root}/usr/{LIBDIR}"}
            text = run(sys.executable, "-c", "import vemlo\nwith vemlo.Library():\n"
                       " print(vemlo.__file__, vemlo.decrypt(vemlo.encrypt('text')))",
                       env=environment)
        self.assertEqual(text, f"{root}/usr/lib/python3/dist-packages/vemlo/__init__.py text\n")

    def test_libraries_are_stripped(self):
        with tempfile.TemporaryDirectory() as folder:
            run("dpkg-deb", "--extract", self.packages["libvemlo1"].path, folder)
            for library in ("libvemlo.so.1", "libvemlo_service_client.so.1"):
                sections = run("readelf", "--sections", "--wide",
                               pathlib.Path(folder) / "usr" / LIBDIR / library)
                self.assertIn(".dynsym", sections)
                self.assertNotIn(".symtab", sections)
                self.assertNotIn(".debug_info", sections)

    def test_missing_programs_are_named_before_packages_are_made(self):
        folders = [*os.environ["PATH"].split(":"), "/bin", "/usr/bin"]
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run(["cpack", "--config", CONFIG, "-B", folder,
                                     "-D", f"CMAKE_IGNORE_PATH={';'.join(folders)}"],
                                    capture_output=True, text=True, check=False)
            self.assertIn("not installed: dpkg-dev file binutils",
                          " ".join(result.stderr.split()))
            self.assertNotEqual(result.returncode, 0)
            self.assertEqual([*pathlib.Path(folder).rglob("*.deb")], [])

    def test_lintian_finds_nothing(self):
        paths = [package.path for package in self.packages.values()]
        # As root, lintian would warn without this option.
        result = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning",
                                 "--profile", "debian", "--tag-display-limit", "0", *paths],
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)


if __name__ == "__main__":
    unittest.main()

"""An installed tree, other build trees, and hosts that are built against them.

VEMLO_BUILD_TREE is the build tree, VEMLO_LIBDIR the folder of the libraries in a prefix.
"""

import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).parents[2]
EXAMPLES = ROOT / "examples"
BUILD_TREE = pathlib.Path(os.environ["VEMLO_BUILD_TREE"])
LIBDIR = os.environ["VEMLO_LIBDIR"]
CPP_PROGRAMS = {"link_account": ("console", "token_file"), "list_buckets": ()}
LIBRARIES_ALONE = ["-DVEMLO_BUILD_TOOL=OFF", "-DVEMLO_BUILD_TESTS=OFF",
                   "-DVEMLO_BUILD_BENCHMARKS=OFF"]


def run(*command, **options):
    """Runs a program that must succeed, and returns its standard output."""
    result = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command[0]} failed: {result.stdout}{result.stderr}")
    return result.stdout


def configure(sources, folder, *options):
    """Configures another build tree, in which a compiler cache has no part."""
    return run("cmake", "-G", "Ninja", "-S", sources, "-B", folder,
               "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
               "-DCMAKE_C_COMPILER_LAUNCHER=", "-DCMAKE_CXX_COMPILER_LAUNCHER=", *options)


def compile_commands(folder):
    """The commands that compile sources in C++."""
    text = (pathlib.Path(folder) / "compile_commands.json").read_text(encoding="utf-8")
    return [entry["command"] for entry in json.loads(text) if entry["file"].endswith(".cpp")]


class Prefix:
    """A folder that `cmake --install` has filled."""

    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.libraries = self.path / LIBDIR
        self.tool = self.path / "bin" / "vemlo"

    @property
    def environment(self):
        return {**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig"),
                "CMAKE_PREFIX_PATH": str(self.path), "LD_LIBRARY_PATH": str(self.libraries),
                "PYTHONPATH": str(self.path / "lib/python3/dist-packages")}

    def build_with_make(self, folder, more_flags=""):
        """Builds the examples in C and returns the folder with the programs."""
        programs = shutil.copytree(EXAMPLES / "c", pathlib.Path(folder) / "make")
        flags = f"-std=c99 -O2 -pedantic -Wall -Wextra -Wconversion -Wshadow -Werror {more_flags}"
        run("make", "-C", programs, f"CFLAGS={flags} {self.pkg_config('--cflags', 'libvemlo')}",
            env=self.environment)
        return programs

    def build_cpp(self, folder, more_flags=""):
        """Builds the hosts in C++ with pkg-config and returns the folder with the programs."""
        programs = pathlib.Path(folder) / "cpp"
        programs.mkdir()
        flags = f"-std=c++17 -O2 -Wall -Wextra -Wconversion -Wshadow -Werror {more_flags}"
        for name, parts in CPP_PROGRAMS.items():
            sources = (EXAMPLES / "cpp" / f"{part}.cpp" for part in (name, *parts))
            run("c++", *flags.split(), *sources, "-o", programs / name,
                *self.pkg_config("--cflags", "--libs", "libvemlo").split(), env=self.environment)
        return programs

    def build_with_go(self, folder):
        """Builds the examples in Go and returns the folder with the programs."""
        modules = shutil.copytree(EXAMPLES / "go", pathlib.Path(folder) / "go")
        environment = {**self.environment, "GOPROXY": "off", "GOFLAGS": "-mod=mod",
                       "GOCACHE": str(BUILD_TREE / "go" / "cache")}
        binding = self.path / "share" / "gocode" / "src" / "vemlo"
        run("go", "mod", "edit", f"-replace=vemlo={binding}", cwd=modules, env=environment)
        run("go", "build", "-o", "bin/", "./...", cwd=modules, env=environment)
        return modules / "bin"

    def build_with_cmake(self, sources, folder):
        programs = pathlib.Path(folder)
        environment = {name: value for name, value in self.environment.items()
                       if name != "LD_LIBRARY_PATH"}
        run("cmake", "-S", sources, "-B", programs, env=environment)
        run("cmake", "--build", programs, env=environment)
        return programs

    def pkg_config(self, *arguments):
        return run("pkg-config", *arguments, env=self.environment).strip()


@contextlib.contextmanager
def installed():
    with tempfile.TemporaryDirectory() as folder:
        first, second = (pathlib.Path(folder) / name for name in ("first", "second"))
        run("cmake", "--install", BUILD_TREE, "--prefix", first)
        first.rename(second)  # the installed tree must be relocatable
        yield Prefix(second)

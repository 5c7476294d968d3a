"""A project can add this one to its own, and gets the libraries and nothing else."""

import pathlib
import tempfile
import unittest

import installed
from installed import ROOT, configure, run

HOST = """
cmake_minimum_required(VERSION 3.25)
project(host VERSION 7.1 LANGUAGES C CXX)
enable_testing()
include(FetchContent)

# Of the variables of CMake and CPack, and of those that many projects read.
function(take_snapshot prefix)
  get_cmake_property(names VARIABLES)
  list(FILTER names INCLUDE REGEX "^(CMAKE|CPACK|BUILD|PROJECT)_")
  # What the search for threads leaves.
  list(REMOVE_ITEM names CMAKE_HAVE_LIBC_PTHREAD)
  foreach(name IN LISTS names)
    set(${prefix}_${name} "${${name}}" PARENT_SCOPE)
  endforeach()
  set(${prefix} "${names}" PARENT_SCOPE)
endfunction()

take_snapshot(before)
FetchContent_Declare(libvemlo SOURCE_DIR ${LIBVEMLO})
FetchContent_MakeAvailable(libvemlo)
take_snapshot(after)
set(names ${before} ${after})
list(REMOVE_DUPLICATES names)
foreach(name IN LISTS names)
  if(NOT "${before_${name}}" STREQUAL "${after_${name}}")
    message(STATUS "changed: ${name} from '${before_${name}}' to '${after_${name}}'")
  endif()
endforeach()

function(print_targets folder)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    message(STATUS "target: ${target}")
  endforeach()
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS folders)
    print_targets(${subfolder})
  endforeach()
endfunction()
print_targets(${PROJECT_SOURCE_DIR})

add_executable(host host.c)
target_link_libraries(host PRIVATE libvemlo::libvemlo)
add_library(layer_host OBJECT host.cpp)
target_link_libraries(layer_host PRIVATE libvemlo::service_client)
set(CPACK_PACKAGE_NAME host)
include(CPack)
"""
MAIN = """
#include <libvemlo.h>
#include <libvemlo_service_client.h>
int main(void) {
  libvemlo_global_init();
  libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", 0));
  libvemlo_global_cleanup();
  return vemlo_client_now() > 0 ? 0 : 1;
}
"""
LAYER_HOST = "#include <CloudStorage/Client/S3/S3Client.h>\n"


def write_host(folder):
    files = {"CMakeLists.txt": HOST, "host.c": MAIN, "host.cpp": LAYER_HOST}
    for name, text in files.items():
        (pathlib.Path(folder) / name).write_text(text, encoding="utf-8")


def configure_host(folder, *options):
    write_host(folder)
    return configure(folder, pathlib.Path(folder) / "build", f"-DLIBVEMLO={ROOT}", *options)


def lines_with(prefix, output):
    return sorted(line.removeprefix(prefix) for line in output.splitlines()
                  if line.startswith(prefix))


class Subproject(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.output = configure_host(cls.folder)
        cls.build_tree = cls.folder / "build"

    def test_only_the_libraries_and_the_binding_are_there(self):
        self.assertEqual(lines_with("-- target: ", self.output),
                         ["vemlo", "vemlo_cpp", "vemlo_objects", "vemlo_service_client",
                          "vemlo_service_client_objects"])

    def test_a_target_of_the_host_finds_both_headers_and_both_libraries(self):
        run("cmake", "--build", self.build_tree, "--target", "CMakeFiles/host.dir/host.c.o")
        *_, link = run("ninja", "-C", self.build_tree, "-t", "commands", "host").splitlines()
        for library in ("libvemlo.so", "libvemlo_service_client.so"):
            self.assertIn(f"/{library}", link)

    def test_no_variable_of_the_host_is_changed(self):
        self.assertEqual(lines_with("-- changed: ", self.output), [])

    def test_nothing_is_tested_installed_or_packaged_in_the_hosts_name(self):
        self.assertIn("Total Tests: 0", run("ctest", "--test-dir", self.build_tree, "-N"))
        # Nothing has been built, so a rule that installs a library would fail.
        self.assertNotIn("/", run("cmake", "--install", self.build_tree, "--prefix",
                                  self.folder / "prefix").replace("-- Install config", ""))
        config = (self.build_tree / "CPackConfig.cmake").read_text(encoding="utf-8")
        self.assertIn('set(CPACK_PACKAGE_NAME "host")', config)
        self.assertNotIn("libvemlo1", config)

    def test_warnings_of_the_hosts_compiler_are_no_errors(self):
        commands = installed.compile_commands(self.build_tree)
        self.assertGreater(len(commands), 10)
        self.assertFalse(any("-Werror" in command.split() for command in commands))

    def test_the_host_may_install_the_libraries(self):
        with tempfile.TemporaryDirectory() as folder:
            configure_host(folder, "-DVEMLO_INSTALL=ON", "-DCMAKE_INSTALL_LIBDIR=libraries")
            script = pathlib.Path(folder, "build/_deps/libvemlo-build/src/cmake_install.cmake")
            rules = script.read_text(encoding="utf-8")
            self.assertIn("${CMAKE_INSTALL_PREFIX}/libraries/libvemlo.so.1", rules)


if __name__ == "__main__":
    unittest.main()

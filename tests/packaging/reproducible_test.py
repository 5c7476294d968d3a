"""What is built does not depend on the folder in which the sources are."""

import pathlib
import re
import shutil
import tempfile
import unittest

from installed import BUILD_TREE, LIBRARIES_ALONE, ROOT, configure, run

OBJECTS = ["src/CMakeFiles/vemlo_objects.dir/libvemlo/retry_strategies.cpp.o",
           "src/CMakeFiles/vemlo_objects.dir/libvemlo/object_store.cpp.o",
           "service_client/CMakeFiles/vemlo_service_client_objects.dir/src/Util/Text.cpp.o"]
FOLDERS = ["bindings", "cmake", "docs", "examples", "include", "scripts", "service_client", "src"]
FILES = ["CMakeLists.txt", "CHANGELOG.md"]


def copy_sources(folder):
    for name in FOLDERS:
        shutil.copytree(ROOT / name, folder / name)
    for name in FILES:
        shutil.copy(ROOT / name, folder)


def cached(name):
    """The value of a variable of the build tree."""
    cache = (BUILD_TREE / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\w+=(.*)$", cache, re.M).group(1)


def configure_copy(folder):
    """Configures a copy of the sources like the build tree, and returns the new build tree.

    Rules for installing are part of it, because the linker leaves space for the path that they set.
    """
    copy_sources(folder)
    build_tree = folder / BUILD_TREE.relative_to(ROOT)
    names = ("CMAKE_BUILD_TYPE", "CMAKE_C_COMPILER", "CMAKE_CXX_COMPILER", "CMAKE_CXX_FLAGS")
    configure(folder, build_tree, *LIBRARIES_ALONE,
              *(f"-D{name}={cached(name)}" for name in names))
    return build_tree


class Reproducible(unittest.TestCase):
    def test_objects_are_equal(self):
        with tempfile.TemporaryDirectory(prefix="another place ") as folder:
            copy = configure_copy(pathlib.Path(folder))
            run("cmake", "--build", copy, "--target", *OBJECTS)
            for name in OBJECTS:
                with self.subTest(object=name):
                    contents = (copy / name).read_bytes()
                    self.assertNotIn(folder.encode(), contents)
                    self.assertEqual(contents, (BUILD_TREE / name).read_bytes())

            # The logger takes the last part of it for its lines.
            self.assertIn(b"\0src/libvemlo/object_store.cpp\0",
                          (copy / OBJECTS[1]).read_bytes())


if __name__ == "__main__":
    unittest.main()

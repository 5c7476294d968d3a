"""Whole builds in other places and ways than that of the build tree. They take some minutes."""

import pathlib
import tempfile
import unittest

from installed import BUILD_TREE, LIBDIR, run
from reproducible_test import configure_copy
from subproject_test import configure_host


class WholeBuilds(unittest.TestCase):
    def setUp(self):
        folder = self.enterContext(tempfile.TemporaryDirectory(prefix="another place "))
        self.folder = pathlib.Path(folder)

    def test_libraries_of_another_folder_are_equal(self):
        copy = configure_copy(self.folder)
        run("cmake", "--build", copy)
        for name in ("libvemlo.so.1", "libvemlo_service_client.so.1"):
            with self.subTest(library=name):
                library = pathlib.Path(LIBDIR) / name
                self.assertEqual((copy / library).read_bytes(),
                                 (BUILD_TREE / library).read_bytes())

    def test_a_host_in_cxx20_builds_the_libraries_as_its_subproject(self):
        configure_host(self.folder, "-DCMAKE_CXX_STANDARD=20", "-DVEMLO_WERROR=ON")
        run("cmake", "--build", self.folder / "build")
        run(self.folder / "build" / "host", env={})


if __name__ == "__main__":
    unittest.main()

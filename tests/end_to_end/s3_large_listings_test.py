"""A bucket with more files and folders than fit on 26 pages. Uploading them takes minutes."""

import unittest

from support.case import for_each_server
from support.whole_listings import WholeListings


@for_each_server
class LargeListings(WholeListings):
    def test_25000_files_and_1200_folders(self):
        self.assert_whole_with_the_switch_only(25_000, 1_200)


if __name__ == "__main__":
    unittest.main()

"""Listings of S3 that are followed to their end, and those that are not."""

import unittest

from support import sandbox
from support.case import LibraryTest, for_each_server
from support.folders import NAMES_INVALID_IN_XML
from support.whole_listings import PAGE, WholeListings


@for_each_server
class Listings(WholeListings):
    def test_folders_beside_more_files_than_a_page_has(self):
        self.assert_whole_with_the_switch_only(1_100, 60)

    def test_a_missing_bucket(self):
        self.want_whole_listings()
        self.bucket = sandbox.new_bucket_name()
        missing = self.session.folders(self.bucket)
        self.assert_failed(missing, 19, "NoSuchBucket", 404)
        self.assertEqual(self.client.vemlo_client_was_listing_cut_short(), 0)


class ListingsOfManyFolders(WholeListings, LibraryTest):
    """On one server only, because uploads to the other take ten times as long."""

    server = "radosgw"

    def test_files_that_hide_the_folders_behind_them(self):
        self.put([f"a{number}" for number in range(PAGE)] + ["z/inside"])
        self.assertEqual(self.folders(), ([], 1))
        self.want_whole_listings()
        self.assertEqual(self.folders(), ([b"z/"], 0))

    def test_exactly_one_page(self):
        names = [f"{number:04}/".encode() for number in range(PAGE)]
        self.put([name.decode() for name in names])
        self.assertEqual(self.folders(), (names, 0))
        self.want_whole_listings()
        self.assertEqual(self.folders(), (names, 0))

    def test_names_that_xml_cannot_represent(self):
        odd = [name + b"/" for name in NAMES_INVALID_IN_XML]
        names = [f"{number:04}/".encode() for number in range(2 * PAGE)]
        self.put([name.decode() for name in names + odd])
        self.want_whole_listings()
        self.assertEqual(self.folders(), (sorted(names + odd), 0))


if __name__ == "__main__":
    unittest.main()

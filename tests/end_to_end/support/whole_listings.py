"""What the test cases about listings of S3 that are followed to their end have in common."""

import concurrent.futures
import contextlib

from . import sandbox, service_client
from .folders import S3Folders

PAGE = 1000  # the largest page of S3
# Files and folders alternate, so that each page has some of both.
FILES_BEFORE_A_FOLDER = 20
CONNECTIONS = 32


class WholeListings:
    """A bucket on `server`."""

    server = None

    def setUp(self):
        self.client = service_client.load()
        self.account = sandbox.account(self.server)
        self.session = self.enterContext(S3Folders(self.account))
        self.bucket = sandbox.new_bucket_name()
        self.assert_done(self.session.create(self.bucket))

    def put(self, keys):
        """Uploads empty objects."""
        with contextlib.closing(self.account.independent_client(CONNECTIONS)) as client:
            put = lambda key: client.put_object(Bucket=self.bucket, Key=key, Body=b"")
            with concurrent.futures.ThreadPoolExecutor(CONNECTIONS) as pool:
                list(pool.map(put, keys))

    def want_whole_listings(self, enabled=1):
        self.client.vemlo_client_set_whole_s3_listings(enabled)

    def folders(self, prefix=b""):
        """The names, and whether some are missing according to the library."""
        found = self.session.folders(self.bucket, prefix)
        self.assert_done(found)
        return found.names, self.client.vemlo_client_was_listing_cut_short()

    def assert_progress(self, names, entry_count):
        """A whole listing reports each page, and can be cancelled between two pages."""
        page_count = -(-entry_count // PAGE)
        with service_client.progress() as steps:
            self.assertEqual(self.folders(), (names, 0))
        self.assertEqual([step.requests for step in steps], list(range(1, page_count + 1)))
        self.assertEqual({step[:2] for step in steps}, {(service_client.S3, "listObjectsV2")})
        for before, after in zip(steps, steps[1:]):
            self.assertLess(before.entries, after.entries)
            self.assertLess(before.bytes, after.bytes)
        self.assertEqual(steps[-1].entries, entry_count)

        half = page_count // 2
        with service_client.progress(last_request=half) as steps:
            self.assert_failed(self.session.folders(self.bucket), 28, "CallCancelled")
        self.assertEqual(len(steps), half)
        self.assertEqual(service_client.last_failure().kind, "cancelled")
        self.assertEqual(self.client.vemlo_client_was_listing_cut_short(), 0)
        self.assertEqual(self.folders(), (names, 0))

    def assert_whole_with_the_switch_only(self, file_count, folder_count):
        folders = [f"{number:04}-folder/" for number in range(folder_count)]
        files = [
            f"{number // FILES_BEFORE_A_FOLDER:04}-file-{number}" for number in range(file_count)
        ]
        self.put(files + [f"{folder}inside" for folder in folders])
        names = [folder.encode() for folder in folders]

        first_page = sorted(files + folders)[:PAGE]
        shown = [entry.encode() for entry in first_page if entry.endswith("/")]
        self.assertEqual(self.folders(), (shown, 1))
        self.want_whole_listings()
        self.assert_progress(names, file_count + folder_count)
        self.want_whole_listings(0)
        self.assertEqual(self.folders(), (shown, 1))
        self.assertEqual(self.folders(names[0]), ([], 0))

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
        self.assertEqual(self.folders(), (names, 0))
        self.want_whole_listings(0)
        self.assertEqual(self.folders(), (shown, 1))
        self.assertEqual(self.folders(names[0]), ([], 0))

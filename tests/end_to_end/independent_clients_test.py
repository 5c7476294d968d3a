"""The library and independent clients of S3 see each other's buckets."""

import contextlib
import subprocess
import unittest
from urllib.parse import urlsplit

from support import sandbox
from support.case import for_each_server
from support.libvemlo import S3Session


@for_each_server
class IndependentClients:
    def setUp(self):
        self.account = sandbox.account(self.server)
        self.session = self.enterContext(S3Session(self.account))
        self.bucket = sandbox.new_bucket_name()

    def s3cmd(self, *arguments):
        address = urlsplit(self.account.endpoint).netloc
        result = subprocess.run(
            [
                "s3cmd", "--config", "/dev/null", "--no-ssl", "--region", "us-east-1",
                "--host", address, "--host-bucket", address,
                "--access_key", self.account.access_key, "--secret_key", self.account.secret_key,
                *arguments,
            ],
            check=True, capture_output=True, encoding="utf-8", timeout=60,
        )  # fmt: skip
        return result.stdout

    def test_a_bucket_of_the_library_accepts_objects_of_boto3(self):
        self.assert_done(self.session.create(self.bucket))
        with contextlib.closing(self.account.independent_client()) as client:
            client.put_object(Bucket=self.bucket, Key="greeting", Body=b"hello")
            content = client.get_object(Bucket=self.bucket, Key="greeting")["Body"].read()
        self.assertEqual(content, b"hello")
        self.assertRegex(self.s3cmd("ls"), rf"\bs3://{self.bucket}\n")

    def test_a_bucket_of_boto3_is_listed(self):
        with contextlib.closing(self.account.independent_client()) as client:
            client.create_bucket(Bucket=self.bucket)
        self.assertIn(self.bucket, self.session.list().names)

    def test_a_bucket_of_s3cmd_is_listed(self):
        self.s3cmd("mb", f"s3://{self.bucket}")
        self.assertIn(self.bucket, self.session.list().names)


if __name__ == "__main__":
    unittest.main()

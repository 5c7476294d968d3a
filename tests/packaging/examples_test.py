"""The example hosts, built against an installed tree and run with the sandbox."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
from urllib.parse import parse_qs, urlsplit

from installed import EXAMPLES, ROOT, installed
from support import drives, sandbox

# By the language of a host, what its user enters to choose the root folder.
ROOT_CHOICE = {"c": [], "cpp": ["1"], "go": ["1"], "python": ["1"]}
CONSENT = [os.environ["VEMLO_NODE"], ROOT / "sandbox" / "cli.mjs", "consent"]


class Host:
    """A running host, with the test as its user."""

    def __init__(self, command, environment):
        self.process = subprocess.Popen(
            [str(part) for part in command], env=environment, text=True, bufsize=1,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def read_line(self):
        return self.process.stdout.readline().rstrip("\n")

    def write_line(self, text):
        self.process.stdin.write(text + "\n")
        self.process.stdin.flush()

    def finish(self, *lines):
        """Writes the lines and returns the remaining output, standard error and the exit code."""
        output, errors = self.process.communicate("".join(x + "\n" for x in lines), timeout=60)
        return output, errors, self.process.returncode


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = cls.enterClassContext(installed())
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        # The sanitizer reports memory that they do not release, including results of the library.
        sanitizers = "-fsanitize=address,undefined"
        cls.programs = cls.prefix.build_with_make(folder, sanitizers)
        cls.cpp_programs = cls.prefix.build_cpp(folder, sanitizers)
        cls.go_programs = cls.prefix.build_with_go(folder)

    def setUp(self):
        self.account = sandbox.account("radosgw")
        self.bucket = sandbox.new_bucket_name()
        self.client = self.account.independent_client()
        self.addCleanup(self.client.close)
        self.client.create_bucket(Bucket=self.bucket)
        self.addCleanup(self.client.delete_bucket, Bucket=self.bucket)
        self.addCleanup(self.empty_bucket)

    def keys(self):
        page = self.client.list_objects_v2(Bucket=self.bucket)
        return [entry["Key"] for entry in page.get("Contents", [])]

    def empty_bucket(self):
        while keys := self.keys():  # at most a page of them
            objects = [{"Key": key} for key in keys]
            self.client.delete_objects(Bucket=self.bucket, Delete={"Objects": objects})

    def start(self, *command, **variables):
        environment = {**self.prefix.environment, "S3_ACCESS_KEY": self.account.access_key,
                       "S3_SECRET_KEY": self.account.secret_key, **variables}
        return Host(command, environment)

    def s3_hosts(self, **variables):
        """Starts a host, by its language."""
        endpoint = self.account.endpoint
        return {"c": lambda: self.start(self.programs / "link_s3", endpoint, **variables),
                "cpp": lambda: self.start(self.cpp_programs / "link_account", "s3", endpoint,
                                          **variables),
                "go": lambda: self.start(self.go_programs / "link_account", "s3", endpoint,
                                         **variables),
                "python": lambda: self.python("link_account", "s3", endpoint, **variables)}

    def python(self, program, *arguments, **variables):
        library = str(self.prefix.libraries / "libvemlo.so.1")
        host = EXAMPLES / "python" / f"{program}.py"
        return self.start(sys.executable, "-B", host, *arguments, LIBVEMLO=library,
                          SSL_CERT_FILE=sandbox.state()["internet"]["caFile"], **variables)

    def number_of_bucket(self):
        return str(self.account.bucket_names().index(self.bucket) + 1)

    def assert_chosen(self, result, chosen):
        output, errors, code = result
        self.assertEqual((errors, code), ("", 0), output)
        self.assertTrue(output.endswith(f"Chosen: {chosen}\n"), output)

    def start_list_buckets(self, language, account):
        if language == "python":
            return self.python("list_buckets", *account)
        folders = {"c": self.programs, "cpp": self.cpp_programs, "go": self.go_programs}
        return self.start(folders[language] / "list_buckets", *account)

    def test_buckets_are_listed(self):
        buckets = "".join(name + "\n" for name in self.account.bucket_names())
        for language in ROOT_CHOICE:
            with self.subTest(language=language):
                result = self.start_list_buckets(language, self.account).finish()
                self.assertEqual(result, (buckets, "", 0))

    def test_buckets_are_not_listed_with_wrong_keys(self):
        wrong = self.account._replace(secret_key=sandbox.MADE_UP_SECRET)
        for language in ROOT_CHOICE:
            with self.subTest(language=language):
                buckets, errors, code = self.start_list_buckets(language, wrong).finish()
                self.assertEqual((buckets, code), ("", 1))
                self.assertIn("SignatureDoesNotMatch", errors)
                description = "listBuckets failed (wrong keys): SignatureDoesNotMatch"
                self.assertEqual(description in errors, language != "c", errors)

    def test_an_s3_folder_is_made_and_picked(self):
        for language, start in self.s3_hosts().items():
            with self.subTest(language=language):
                folder = f"Málaga {language}"
                choices = (self.number_of_bucket(), "+" + folder, "1", "+2019", "+1", "2", ".")
                self.assert_chosen(start().finish(*choices), f"{self.bucket}/{folder}/2019/")
                keys = [f"{folder}/", f"{folder}/1/", f"{folder}/2019/"]
                self.assertEqual(self.keys(), keys)
                self.empty_bucket()

    def test_a_folder_behind_a_thousand_files_is_listed(self):
        for number in range(1001):
            self.client.put_object(Bucket=self.bucket, Key=f"{number:04}")
        self.client.put_object(Bucket=self.bucket, Key="Photos/")
        for language, start in self.s3_hosts().items():
            with self.subTest(language=language):
                output, errors, code = start().finish(self.number_of_bucket(), ".")
                self.assertEqual((errors, code), ("", 0), output)
                self.assertIn("1  Photos/\n", output)
                self.assertEqual("1000 entries so far\n" in output, language != "c")

    def test_wrong_keys_lead_to_advice(self):
        messages = {"c": "Cannot list the buckets (code 13). Check the keys.\n",
                    "cpp": "Cannot list the buckets (wrong keys). Check the keys.\n",
                    "go": "Cannot list the buckets (wrong keys). Check the keys.\n",
                    "python": "Cannot list the buckets (wrong keys). Check the keys.\n"}
        for language, start in self.s3_hosts(S3_SECRET_KEY=sandbox.MADE_UP_SECRET).items():
            with self.subTest(language=language):
                output, errors, code = start().finish()
                self.assertIn(messages[language], output + errors)
                self.assertEqual(code, 1)
                self.assertIn("SignatureDoesNotMatch", errors)

    def start_google_drive(self, language, tokens):
        internet = sandbox.state()["internet"]
        arguments = (tokens, internet["proxyHost"], internet["proxyPort"])
        if language == "python":
            return self.python("link_account", "google-drive", *arguments)
        command = {"c": [self.programs / "link_google_drive"],
                   "cpp": [self.cpp_programs / "link_account", "google-drive"],
                   "go": [self.go_programs / "link_account", "google-drive"]}
        return self.start(*command[language], *arguments, SSL_CERT_FILE=internet["caFile"])

    def consent(self, host):
        """Opens the address that the host prints, and gives the host the code."""
        self.assertEqual(host.read_line(), "Open this address and allow access:")
        address = subprocess.run([*CONSENT, host.read_line()], check=True, text=True, timeout=60,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE).stdout.strip()
        host.write_line(parse_qs(urlsplit(address).query)["code"][0])

    def test_a_google_drive_account_is_linked_and_a_folder_made_and_picked(self):
        for language, choices in ROOT_CHOICE.items():
            with self.subTest(language=language), tempfile.TemporaryDirectory() as folder:
                tokens = pathlib.Path(folder) / "tokens"
                host = self.start_google_drive(language, tokens)
                self.consent(host)
                name = sandbox.new_bucket_name()
                output, errors, code = host.finish(*choices, "+" + name, ".")
                self.assertEqual((errors, code), ("", 0), output)
                self.assertRegex(output, rf"Chosen: {name} \(\S+\)\n\Z")

                self.assertEqual(tokens.stat().st_mode & 0o777, 0o600)
                self.assertEqual(len(tokens.read_text(encoding="ascii").splitlines()), 2)
                host = self.start_google_drive(language, tokens)
                output, errors, code = host.finish(*choices, ".")
                self.assertEqual((errors, code), ("", 0), output)
                self.assertIn(f"  {name}\n", output)

    def link(self, language, tokens):
        host = self.start_google_drive(language, tokens)
        self.consent(host)
        output, errors, code = host.finish(*ROOT_CHOICE[language], ".")
        self.assertEqual((errors, code), ("", 0), output)

    def test_renewed_tokens_are_stored(self):
        for language in ROOT_CHOICE:
            with self.subTest(language=language), tempfile.TemporaryDirectory() as folder:
                tokens = pathlib.Path(folder) / "tokens"
                self.link(language, tokens)
                first = tokens.read_text(encoding="ascii").splitlines()
                drives.control("expire", "google-drive")
                host = self.start_google_drive(language, tokens)
                output, errors, code = host.finish(*ROOT_CHOICE[language], ".")
                self.assertEqual((errors, code), ("", 0), output)
                renewed = tokens.read_text(encoding="ascii").splitlines()
                self.assertNotEqual(renewed[0], first[0])
                self.assertEqual(renewed[1], first[1])  # Google keeps the refresh token
                self.assertEqual(tokens.stat().st_mode & 0o777, 0o600)
                self.assertEqual([*tokens.parent.iterdir()], [tokens])

    def test_revoked_tokens_lead_to_consent(self):
        for language in ROOT_CHOICE:
            with self.subTest(language=language), tempfile.TemporaryDirectory() as folder:
                tokens = pathlib.Path(folder) / "tokens"
                self.link(language, tokens)
                drives.control("expire", "google-drive")
                drives.control("revoke", "google-drive")
                host = self.start_google_drive(language, tokens)
                self.assertEqual(host.read_line(), "Cannot reach the account (link again). "
                                                   "Link the account again.")
                self.consent(host)
                output, _, code = host.finish(*ROOT_CHOICE[language], ".")
                self.assertEqual(code, 0, output)
                self.assertIn("Chosen: ", output)

    def test_damaged_stored_tokens_require_a_new_consent(self):
        for language in ROOT_CHOICE:
            with self.subTest(language=language), tempfile.TemporaryDirectory() as folder:
                tokens = pathlib.Path(folder) / "tokens"
                tokens.write_text("of no use\n" * 2, encoding="ascii")
                host = self.start_google_drive(language, tokens)
                self.assertEqual(host.read_line(), "Open this address and allow access:")
                _, errors, code = host.finish()
                self.assertIn("Failed to decrypt string.", errors)
                self.assertEqual(code, 1)


if __name__ == "__main__":
    unittest.main()

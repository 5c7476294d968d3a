"""Linked accounts of all services in the command-line tool, with the sandbox."""

import fcntl
import json
import os
import signal
import subprocess
import unittest

from cli_drives_test import TITLES, DriveTest, for_each_drive
from support import drives, sandbox
from support.relay import Relay
from support.tool import DONE, SERVICE_FAILED, TOOL, environment_with


@for_each_drive
class Drives:
    def setUp(self):
        super().setUp()
        self.assertEqual(self.login(self.service, "--as", "work")[0], DONE)

    def test_several_accounts_of_one_service(self):
        work = self.holder
        self.holder = f"other-{work}"
        code, messages = self.login(self.service, "--as", "private")
        self.assertEqual(code, DONE)
        self.assertEqual(messages[-1], f"vemlo: the {self.title} account 'private' is linked")
        self.assert_prints(self.tool("mkdir", "private:/Diary"), "")
        self.assert_prints(self.tool("mkdir", "work:/Invoices"), "")
        self.assert_prints(self.tool("ls", "private:/"), "NAME\nDiary\n")
        self.assert_prints(self.tool("ls", "work:/"), "NAME\nInvoices\n")
        listed = json.loads(self.tool("accounts", "--json").stdout)
        expected = [("private", self.service), ("work", self.service)]
        self.assertEqual([(entry["name"], entry["service"]) for entry in listed], expected)
        self.assertIn(f"{self.title} account 'work'", self.tool("logout", "work").stderr)
        self.assertEqual(list(self.accounts()), ["private"])

    def test_whoami(self):
        (listed,) = json.loads(self.tool("whoami", "work", "--json").stdout)
        self.assertEqual((listed["service"], listed["email"]), (self.service, self.holder))
        self.assertIsInstance(listed["name"], str)
        lines = self.tool("whoami", "work").stdout.splitlines()
        shown = dict(line.split(None, 1) for line in lines)
        self.assertEqual(list(shown), ["service", "name", "email", "used", "total"])
        self.assertEqual((shown["name"], shown["email"]), (listed["name"], self.holder))
        for which in ("used", "total"):
            if listed[which] is None:
                self.assertEqual(shown[which], "-")
            else:
                self.assertRegex(shown[which], r"\A[\d.]+ (bytes|[KMGTPE]iB)\Z")

    def test_parents_are_made_where_asked(self):
        self.assert_prints(self.tool("mkdir", "-p", "work:/a/b/c"), "")
        self.assert_prints(self.tool("mkdir", "-p", "work:/a/b/d"), "")
        before = self.tool("tree", "--ascii", "--ids", "work:/").stdout
        for path in ("a/b/c", "a", "a/b"):
            self.assert_prints(self.tool("mkdir", "-p", f"work:/{path}"), "")
        if self.service in ("onedrive", "dropbox"):
            self.assert_prints(self.tool("mkdir", "-p", "work:/A/b/C"), "")
        self.assertEqual(self.tool("tree", "--ascii", "--ids", "work:/").stdout, before)
        self.assertIn("there is no folder 'x'", self.tool("mkdir", "work:/x/y").stderr)

    def test_tree_and_recursive_listing(self):
        self.tool("mkdir", "-p", "work:/a/b/c")
        self.tool("mkdir", "-p", "work:/d")
        tree = self.tool("tree", "--ascii", "work:/")
        shown = "work:/\n|-- a\n|   `-- b\n|       `-- c\n`-- d\n"
        self.assertEqual((tree.stdout, tree.stderr), (shown, "vemlo: 4 folders\n"))
        paths = "work:/a\nwork:/a/b\nwork:/a/b/c\nwork:/d\n"
        self.assert_prints(self.tool("ls", "-R", "work:/"), paths)
        listed = json.loads(self.tool("ls", "-R", "work:/a", "--json", "--ids").stdout)
        self.assertEqual([(row["path"], row["depth"]) for row in listed],
                         [("work:/a/b", 1), ("work:/a/b/c", 2)])
        self.assertEqual(listed[0]["id"], self.ids("work:/a")["b"])
        with_ids = self.tool("ls", "-R", "work:/a", "--ids").stdout.splitlines()
        self.assertEqual(with_ids[0], f"work:/a/b\t{listed[0]['id']}")

    def test_advice_names_the_account(self):
        drives.control("expire", self.service)
        drives.control("revoke", self.service)
        advice = f"link it again with `vemlo login {self.service} --as work`"
        for command in (("ls", "work:/"), ("whoami", "work"), ("tree", "work:/")):
            with self.subTest(command=command):
                self.assert_fails(self.tool(*command), SERVICE_FAILED, advice)


@for_each_drive
class RenewedTokens:
    """The tokens expire, and the service replaces the refresh token where it can."""

    def setUp(self):
        super().setUp()
        self.login(self.service)
        self.before = self.accounts()[self.service]
        drives.control("expire", self.service)

    def test_are_stored_at_once(self):
        self.assertEqual(self.tool("ls", f"{self.service}:/").returncode, DONE)
        after = self.accounts()[self.service]
        self.assertNotEqual(after["accessToken"], self.before["accessToken"])
        self.assertEqual(after["linked"], self.before["linked"])
        self.assert_private()
        sandbox.control("DELETE", "log")
        self.assertEqual(self.tool("ls", f"{self.service}:/").returncode, DONE)
        token_requests = [
            entry for entry in sandbox.requests()
            if entry["path"].split("?")[0] == drives.token_path(self.service)
        ]  # fmt: skip
        self.assertEqual(token_requests, [])

    def test_are_stored_by_whoami(self):
        self.assertEqual(self.tool("whoami", self.service).returncode, DONE)
        after = self.accounts()[self.service]
        self.assertNotEqual(after["accessToken"], self.before["accessToken"])

    def test_of_an_account_of_the_older_form_turn_it_into_the_newer(self):
        old = {name: value for name, value in self.before.items() if name != "service"}
        self.keep(json.dumps({self.service: {**old, "more": 1}}))
        self.folder.chmod(0o700)
        self.assertEqual(self.tool("ls", f"{self.service}:/").returncode, DONE)
        after = self.accounts()[self.service]
        self.assertEqual((after["service"], after["more"]), (self.service, 1))


class TokensOfTwoProcesses(DriveTest):
    """What happens to the file while a process holds tokens that it has not stored yet."""

    def setUp(self):
        super().setUp()
        self.link("onedrive")
        drives.control("expire", "onedrive")

    def list_and_change(self, change, interrupts=False):
        """Lists folders; `change` is applied to the accounts before renewed tokens are stored."""
        with open(self.folder / "accounts.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            process = subprocess.Popen(
                [TOOL, "ls", "onedrive:/"], env=environment_with(self.environment),
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
            )  # fmt: skip
            self.addCleanup(process.kill)
            self.wait_for_lock(process)
            accounts = self.accounts()
            change(accounts)
            self.keep(json.dumps(accounts))
            if interrupts:
                process.send_signal(signal.SIGINT)
        output, messages = process.communicate(timeout=60)
        self.shown += output + messages
        ended = ("vemlo: no folders\n", DONE)
        if interrupts:
            ended = ("vemlo: cancelled\n", -signal.SIGINT)
        self.assertEqual((messages, process.returncode), ended)
        return accounts

    def test_newer_tokens_are_not_overwritten(self):
        def renew(accounts):
            accounts["onedrive"]["accessToken"] = drives.enciphered("newer")

        kept = self.list_and_change(renew)
        self.assertEqual(self.accounts(), kept)

    def test_a_new_login_is_not_overwritten(self):
        def link(accounts):
            accounts["onedrive"] = {**accounts["onedrive"], "linked": "2027-01-01T00:00:00Z"}

        kept = self.list_and_change(link)
        self.assertEqual(self.accounts(), kept)

    def test_an_account_that_was_forgotten_stays_forgotten(self):
        self.list_and_change(lambda accounts: accounts.pop("onedrive"))
        self.assertEqual(self.accounts(), {})

    def test_an_interrupted_command_stores_the_tokens_that_it_has(self):
        before = self.list_and_change(lambda accounts: None, interrupts=True)
        self.assertNotEqual(self.accounts()["onedrive"], before["onedrive"])
        self.assertEqual(self.ids("onedrive:/"), {})

    def test_other_accounts_are_kept(self):
        def link(accounts):
            accounts["work"] = {**accounts["onedrive"]}

        kept = self.list_and_change(link)
        self.assertEqual(self.accounts()["work"], kept["work"])
        self.assertNotEqual(self.accounts()["onedrive"], kept["onedrive"])

    def test_two_processes_that_renew_at_the_same_time(self):
        processes = []
        with open(self.folder / "accounts.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            for _ in range(2):
                process = subprocess.Popen(
                    [TOOL, "ls", "onedrive:/"], env=environment_with(self.environment),
                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
                )  # fmt: skip
                self.addCleanup(process.kill)
                processes.append(process)
                self.wait_for_lock(process)
        for process in processes:
            output, messages = process.communicate(timeout=60)
            self.shown += output + messages
            self.assertEqual((messages, process.returncode), ("vemlo: no folders\n", DONE))
        # One of them has stored its tokens, and these are a pair that works.
        drives.control("expire", "onedrive")
        self.assertEqual(self.tool("ls", "onedrive:/").returncode, DONE)

    def test_tokens_that_are_renewed_while_a_command_waits_for_the_user_are_used(self):
        # The service ends the access if a refresh token is used again.
        drives.control("rotation", "onedrive", rotation="replaceOnce")
        self.addCleanup(drives.control, "rotation", "onedrive", rotation="replace")
        for command in (("ls", "onedrive:/"), ("whoami", "onedrive")):
            with self.subTest(command=command):
                drives.control("expire", "onedrive")
                pipe = self.home / "pipe"
                os.mkfifo(pipe)
                variables = {**self.environment, "VEMLO_PROXY_PASSWORD_FILE": str(pipe)}
                process = subprocess.Popen(
                    [TOOL, *command], env=environment_with(variables),
                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
                )  # fmt: skip
                self.addCleanup(process.kill)
                with open(pipe, "w", encoding="utf-8") as password:
                    self.assertEqual(self.tool("ls", "onedrive:/").returncode, DONE)
                    password.write("password\n")
                output, messages = process.communicate(timeout=60)
                self.shown += output + messages
                self.assertEqual(process.returncode, DONE, messages)
                pipe.unlink()

    def test_newer_tokens_are_used_when_the_service_refuses_the_older(self):
        internet = sandbox.state()["internet"]
        for command in (("ls", "onedrive:/"), ("whoami", "onedrive")):
            with self.subTest(command=command):
                good = self.accounts()
                stale = {member: drives.enciphered("stale")
                         for member in ("accessToken", "refreshToken")}
                self.keep(json.dumps({"onedrive": {**good["onedrive"], **stale}}))
                relay = Relay(internet["proxyHost"], internet["proxyPort"],
                              lambda accounts=good: self.keep(json.dumps(accounts)))
                with relay:
                    result = self.tool(*command, "--proxy", relay.address)
                self.assertEqual(result.returncode, DONE, result.stderr)

    def test_tokens_that_are_refused_and_not_newer_are_not_tried_again(self):
        drives.control("revoke", "onedrive")
        sandbox.control("DELETE", "log")
        advice = "link it again with `vemlo login onedrive`"
        self.assert_fails(self.tool("ls", "onedrive:/"), SERVICE_FAILED, advice)
        paths = [entry["path"].split("?")[0] for entry in sandbox.requests()]
        self.assertEqual(paths.count(drives.token_path("onedrive")), 1)

    def test_a_failure_to_store_is_a_warning(self):
        (self.folder / "accounts.lock").unlink()
        (self.folder / "accounts.lock").symlink_to("nowhere")
        result = self.tool("ls", "onedrive:/")
        self.assertEqual((result.stdout, result.returncode), ("", DONE))
        warning, _ = result.stderr.splitlines()
        self.assertIn("the renewed tokens of the account 'onedrive' are not stored", warning)
        self.assertIn("cannot lock", warning)


class S3(DriveTest):
    def test_a_bucket_is_made_in_the_region_that_is_named(self):
        account = sandbox.account("radosgw")
        linked = self.tool(
            "login", "s3", "--access-key", account.access_key, "--secret-key-file", "-",
            input=f"{account.secret_key}\n",
        )  # fmt: skip
        self.assertEqual((linked.stderr, linked.returncode),
                         ("vemlo: the S3 account is linked\n", DONE))
        sandbox.control("DELETE", "log")
        bucket = sandbox.new_bucket_name()
        self.assert_prints(self.tool("mkdir", f"s3:/{bucket}", "--region", "Frankfurt"), "")
        hosts = [request["host"] for request in sandbox.requests()]
        self.assertEqual(hosts, ["s3.eu-central-1.amazonaws.com"])
        self.assertIn(bucket, account.bucket_names())
        (listed,) = json.loads(self.tool("whoami", "s3", "--json").stdout)
        self.assertEqual(listed["buckets"], len(account.bucket_names()))
        self.assertEqual(listed["endpoint"], "https://s3.amazonaws.com")

    def tearDown(self):
        """There are no tokens."""


class Azure(DriveTest):
    def test_linked_account(self):
        azure = sandbox.state()["azure"]
        result = self.tool(
            "login", "azure", "--as", "blobs", "--account", azure["accountName"], "--key-file", "-",
            input=f"{azure['accessKey']}\n",
        )  # fmt: skip
        self.assertEqual((result.stderr, result.returncode),
                         ("vemlo: the Azure account 'blobs' is linked\n", DONE))
        self.assertNotIn(azure["accessKey"], self.file.read_text())
        container = sandbox.new_bucket_name()
        self.assert_prints(self.tool("mkdir", "-p", f"blobs:/{container}/a/b"), "")
        self.assertIn(container, self.tool("ls", "blobs:/").stdout.splitlines())
        self.assert_prints(self.tool("ls", "-R", f"blobs:/{container}"),
                           f"blobs:/{container}/a\nblobs:/{container}/a/b\n")
        (listed,) = json.loads(self.tool("whoami", "blobs", "--json").stdout)
        self.assertEqual((listed["account"], listed["keys"]), (azure["accountName"], "accepted"))
        wrong = self.tool(
            "login", "azure", "--account", azure["accountName"], "--key-file", "-", input="a2V5\n"
        )
        # Azurite reports a wrong key as a lack of rights.
        message = "may not list its containers, or the keys are wrong"
        self.assert_fails(wrong, SERVICE_FAILED, message)
        self.assertEqual(list(self.accounts()), ["blobs"])

    def tearDown(self):
        """There are no tokens."""


if __name__ == "__main__":
    unittest.main()

"""The command-line tool with accounts of the four drives, including their consent."""

import json
import subprocess
import sys
import unittest
import urllib.parse
import uuid

from support import drives, output, sandbox
from support.account_file import AccountFileTest
from support.log import COLOUR
from support.tool import BAD_USAGE, DONE, SERVICE_FAILED, TOOL, environment_with

TITLES = {
    "google-drive": "Google Drive",
    "onedrive": "OneDrive",
    "dropbox": "Dropbox",
    "amazon-drive": "Amazon Drive",
}


class DriveTest(AccountFileTest):
    """A test with an empty drive of its own."""

    def setUp(self):
        super().setUp()
        self.holder = f"{uuid.uuid4().hex[:12]}@example.test"
        self.shown = ""
        internet = sandbox.state()["internet"]
        self.environment["SSL_CERT_FILE"] = internet["caFile"]
        self.environment["VEMLO_PROXY"] = f"{internet['proxyHost']}:{internet['proxyPort']}"
        sandbox.reset_internet()
        sandbox.control("DELETE", "tokens", part="drives")

    def tearDown(self):
        """Checks that no command has printed a token."""
        for account in self.accounts().values() if self.file.exists() else ():
            for member in ("accessToken", "refreshToken"):
                token = drives.deciphered(account[member])
                if token:
                    self.assertNotIn(token, self.shown)
                    self.assertNotIn(token, self.file.read_text())

    def tool(self, *arguments, **options):
        result = super().tool(*arguments, **options)
        self.shown += result.stdout + result.stderr
        return result

    def login(self, service, *options, pasted=lambda address: address, **decision):
        """Opens the address that the tool prints and gives the tool what the user would paste.

        `pasted` returns it for the address of the redirect page. Returns the exit code and the
        lines on standard error.
        """
        process = subprocess.Popen(
            [TOOL, "login", service, "--no-browser", *options],
            env=environment_with(self.environment),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8",
        )  # fmt: skip
        url = process.stdout.readline().rstrip("\n")
        address = drives.consent(url, self.holder, **decision)
        more, messages = process.communicate(f"{pasted(address)}\n", timeout=60)
        self.assertEqual(more, "")
        output.keep(messages)
        self.shown += messages
        return process.returncode, COLOUR.sub("", messages).splitlines()

    def link(self, *services):
        for service in services:
            self.assertEqual(self.login(service)[0], DONE)

    def ids(self, location):
        listed = self.tool("ls", location, "--ids", "--json")
        self.assertEqual((listed.stderr, listed.returncode), ("", DONE))
        return {folder["name"]: folder["id"] for folder in json.loads(listed.stdout)}

    def assert_service_fails(self, result, *words):
        """One line of the tool that contains these words."""
        self.assert_fails(result, SERVICE_FAILED, "vemlo: cannot ")
        for word in words:
            self.assertIn(word, result.stderr)


def for_each_drive(case):
    """A class decorator that makes one test class of `case` for every drive."""
    module = sys.modules[case.__module__]
    for service, title in TITLES.items():
        name = f"{case.__name__}On{title.replace(' ', '')}"
        members = {"service": service, "title": title, "__module__": module.__name__}
        setattr(module, name, type(name, (case, DriveTest), members))
    return case


@for_each_drive
class Linking:
    def test_by_the_address_of_the_redirect_page(self):
        code, messages = self.login(self.service)
        self.assertEqual(code, DONE)
        self.assertTrue(messages[-1].startswith(f"vemlo: the {self.title} account is linked"))
        self.assertNotIn("in place of", messages[-1])
        self.assert_private()
        (listed,) = json.loads(self.tool("accounts", "--json").stdout)
        self.assertEqual(listed["service"], self.service)
        self.assertRegex(listed["linked"], r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\Z")

    def test_by_the_code_alone(self):
        def code_of(address):
            name, value = address.split("?")[1].split("&")[0].split("=")
            self.assertEqual(name, "code")
            return urllib.parse.unquote(value)

        self.assertEqual(self.login(self.service, pasted=code_of)[0], DONE)
        self.assertEqual(self.ids(f"{self.service}:/"), {})

    def test_linking_again_replaces_the_account_and_no_other(self):
        other = next(name for name in TITLES if name != self.service)
        self.link(self.service, other)
        before = self.accounts()
        code, messages = self.login(self.service)
        self.assertEqual(code, DONE)
        self.assertIn("linked, in place of the one linked before", messages[-1])
        self.assertEqual(self.accounts()[other], before[other])
        self.assertNotEqual(self.accounts()[self.service], before[self.service])

    def test_a_denied_consent_changes_nothing(self):
        self.link(self.service)
        before = self.accounts()
        code, messages = self.login(self.service, decision="deny")
        self.assertEqual(code, SERVICE_FAILED)
        denied = "vemlo: access was denied on the page of the service; nothing has changed"
        self.assertEqual(messages[-1], denied)
        self.assertEqual(self.accounts(), before)

    def test_a_code_that_was_used_changes_nothing(self):
        used = []
        self.login(self.service, pasted=lambda address: used.append(address) or address)
        before = self.accounts()
        code, messages = self.login(self.service, pasted=lambda _: used[0])
        self.assertEqual(code, SERVICE_FAILED)
        self.assertIn("cannot link the account: the code was not accepted", messages[-1])
        self.assertEqual(self.accounts(), before)


@for_each_drive
class Folders:
    def setUp(self):
        super().setUp()
        self.link(self.service)

    def at(self, path):
        return f"{self.service}:{path}"

    def test_made_and_listed_by_path(self):
        paths = ("/Photos", "/Letters/", "//Photos//2019", "Photos/2020", "/Photos/2019/Málaga")
        for path in paths:
            self.assert_prints(self.tool("mkdir", self.at(path)), "")
        for root in (self.at("/"), self.at(""), self.service):
            self.assert_prints(self.tool("ls", root), "NAME\nLetters\nPhotos\n")
        for photos in ("/Photos", "/Photos/", "Photos"):
            self.assert_prints(self.tool("ls", self.at(photos)), "NAME\n2019\n2020\n")
        listed = self.tool("ls", self.at("/Photos/2019"), "--json")
        self.assert_prints(listed, '[{"name":"Málaga"}]\n')

    def test_ids(self):
        made = self.tool("mkdir", self.at("/Photos"), "--ids", "--json")
        (photos,) = json.loads(made.stdout)
        self.assertEqual(photos["name"], "Photos")
        self.assertEqual(self.ids(self.at("/")), {"Photos": photos["id"]})
        table = f"{'NAME':<8}ID\n{'Photos':<8}{photos['id']}\n"
        self.assert_prints(self.tool("ls", self.at("/"), "--ids"), table)

        begin = ("--id", photos["id"])
        self.assert_prints(self.tool("mkdir", self.at("/2019"), *begin), "")
        self.assert_prints(self.tool("mkdir", self.at("/2019/May"), *begin), "")
        self.assert_prints(self.tool("ls", self.service, *begin), "NAME\n2019\n")
        self.assert_prints(self.tool("ls", self.at("/2019"), *begin), "NAME\nMay\n")
        self.assert_prints(self.tool("ls", self.at("/Photos/2019")), "NAME\nMay\n")

    def test_none(self):
        result = self.tool("ls", self.at("/"))
        self.assertEqual((result.stdout, result.stderr), ("", "vemlo: no folders\n"))
        self.assertEqual(result.returncode, DONE)
        self.assert_prints(self.tool("ls", self.at("/"), "--json", "--ids"), "[]\n")

    def test_the_level_that_is_missing_is_named(self):
        self.tool("mkdir", self.at("/Photos"))
        cases = {
            "/Fotos": f"there is no folder 'Fotos' in '{self.at('/')}'",
            "/Photos/2019": f"there is no folder '2019' in '{self.at('/Photos')}'",
            "/Photos/2019/May": f"there is no folder '2019' in '{self.at('/Photos')}'",
        }
        for path, message in cases.items():
            with self.subTest(path=path):
                self.assert_fails(self.tool("ls", self.at(path)), SERVICE_FAILED, message)
                making = self.tool("mkdir", self.at(path + "/new"))
                self.assert_fails(making, SERVICE_FAILED, message)
        begin = ("--id", self.ids(self.at("/"))["Photos"])
        result = self.tool("ls", self.at("/2019"), *begin)
        message = f"no folder '2019' in '{self.at('/')}' from the folder '{begin[1]}' on"
        self.assert_fails(result, SERVICE_FAILED, message)

    def test_an_existing_folder_is_not_made_again(self):
        self.assert_prints(self.tool("mkdir", self.at("/Photos")), "")
        where = f"'{self.at('/')}'"
        message = f"there is a folder 'Photos' in {where} already; nothing was changed. Use it"
        self.assert_fails(self.tool("mkdir", self.at("/Photos")), SERVICE_FAILED, message)
        if self.service in ("onedrive", "dropbox"):
            # To these it is the same name.
            self.assert_fails(self.tool("mkdir", self.at("/photos")), SERVICE_FAILED, message)
        self.assertEqual(list(self.ids(self.at("/"))), ["Photos"])

    def test_a_name_that_is_nearly_right_is_suggested(self):
        self.tool("mkdir", self.at("/Photos"))
        message = f"there is no folder 'Fotos' in '{self.at('/')}'; did you mean 'Photos'?"
        self.assert_fails(self.tool("ls", self.at("/Fotos")), SERVICE_FAILED, message)

    def test_the_verbose_log_is_what_the_help_says(self):
        """tearDown() checks that it contains no token."""
        self.tool("mkdir", self.at("/Photos"))
        for flag in ("-v", "-vv", "--verbose", "--verbose=1"):
            shown = self.tool(flag, "ls", self.at("/"))
            self.assertEqual((shown.stdout, shown.returncode), ("NAME\nPhotos\n", DONE))
            for line in shown.stderr.splitlines():
                self.assertRegex(line, r"\AI\d{8} ")
            if self.service == "dropbox":
                self.assertEqual(shown.stderr, "")
            else:
                self.assertIn("parentId = ", shown.stderr)
                self.assertIn("Got 1 directories", shown.stderr)
        quiet, verbose = (self.tool("accounts", *flags) for flags in ((), ("-v",)))
        self.assertEqual((quiet.stdout, quiet.stderr), (verbose.stdout, verbose.stderr))

    def test_no_access_after_logout(self):
        self.assertEqual(self.tool("logout", self.service).returncode, DONE)
        self.assert_fails(self.tool("ls", self.at("/")), BAD_USAGE, f"vemlo login {self.service}")


@for_each_drive
class Expiry:
    def test_an_expired_access_token(self):
        self.link(self.service)
        drives.control("expire", self.service)
        result = self.tool("ls", f"{self.service}:/")
        self.assertEqual((result.returncode, result.stderr), (DONE, "vemlo: no folders\n"))


class SingleServices(DriveTest):
    """Behaviour that only one of the services has."""

    # The path of a listing, the requests for the root that go to it before, and the response where
    # there are no folders.
    EMPTY_LISTINGS = {
        "onedrive": ("/v1.0/me/drive/items/", 1, {"value": []}),
        "dropbox": ("/2/files/list_folder", 0, {"entries": [], "cursor": "x", "has_more": False}),
        "amazon-drive": ("/drive/v1/nodes", 1, {"data": [], "count": 0}),
    }

    def test_a_folder_that_another_process_makes_meanwhile_is_used(self):
        """A listing from before the other process has made it is what a fault responds with."""
        for service, (path, before, listing) in self.EMPTY_LISTINGS.items():
            with self.subTest(service=service):
                self.link(service)
                self.assert_prints(self.tool("mkdir", f"{service}:/a"), "")
                fault = {"kind": "status", "status": 200, "body": json.dumps(listing)}
                sandbox.control("POST", "faults", {**fault, "pathPrefix": path, "after": before})
                self.assert_prints(self.tool("mkdir", "-p", f"{service}:/a/b"), "")
                self.assertEqual(sandbox.control("GET", "faults"), [])
                self.assertEqual(list(self.ids(f"{service}:/")), ["a"])
                self.assertEqual(list(self.ids(f"{service}:/a")), ["b"])

    def test_two_folders_of_one_name_are_reported_and_can_be_distinguished(self):
        self.link("google-drive")
        twin = {"name": "Photos", "items": [{"name": "2019"}]}
        items = [twin, {"name": "Photos"}, {"name": "Letters"}]
        seeded = drives.control("seed", "google-drive", account=self.holder, items=items)
        ids = [item["id"] for item in seeded["items"][:2]]

        for command, path in (("ls", "/Photos"), ("ls", "/Photos/2019"), ("mkdir", "/Photos/2020")):
            with self.subTest(command=command, path=path):
                result = self.tool(command, f"google-drive:{path}")
                message = "there are 2 folders 'Photos' in 'google-drive:/'"
                self.assert_fails(result, SERVICE_FAILED, message)
                self.assertTrue(all(folder in result.stderr for folder in ids))
        listed = self.tool("ls", "google-drive:/")
        self.assertEqual(sorted(listed.stdout.split()), ["Letters", "NAME", "Photos", "Photos"])
        self.assert_prints(self.tool("ls", "google-drive:", "--id", ids[0]), "NAME\n2019\n")

        again = self.tool("mkdir", "google-drive:/Letters")
        message = "there is a folder 'Letters' in 'google-drive:/' already"
        self.assert_fails(again, SERVICE_FAILED, message)

    def test_a_revoked_account(self):
        self.link("google-drive")
        drives.control("expire", "google-drive")
        drives.control("revoke", "google-drive")
        result = self.tool("ls", "google-drive:/")
        advice = "link it again with `vemlo login google-drive`"
        words = "(Token has been expired or revoked.)"
        self.assert_service_fails(result, "no longer accepts the account's tokens", advice, words)

    def test_a_service_that_is_not_reached(self):
        self.link("dropbox")
        result = self.tool("ls", "dropbox:/", "--proxy", "127.0.0.1:1")
        message = "list the folders in 'dropbox:/': the service was not reached"
        self.assert_service_fails(result, message)

    def test_a_refresh_token_that_was_replaced_is_kept(self):
        """The service accepts the former one no more, so the second call needs the new one."""
        drives.control("rotation", "onedrive", rotation="replaceOnce")
        self.link("onedrive")
        before = self.accounts()["onedrive"]
        drives.control("expire", "onedrive")
        self.assertEqual(self.ids("onedrive:/"), {})
        after = self.accounts()["onedrive"]
        self.assertNotEqual(after["refreshToken"], before["refreshToken"])
        self.assertEqual(after["linked"], before["linked"])
        drives.control("expire", "onedrive")
        self.assertEqual(self.ids("onedrive:/"), {})

    def test_a_proxy_that_requires_a_password(self):
        self.link("dropbox")
        internet = sandbox.state()["internet"]
        proxy = (
            "--proxy", f"{internet['proxyHost']}:{internet['authProxyPort']}",
            "--proxy-user", internet["proxyUser"], "--proxy-password-file", "-",
        )  # fmt: skip
        listed = self.tool("ls", "dropbox:/", "--json", *proxy, input=internet["proxyPassword"])
        self.assert_prints(listed, "[]\n")
        self.assertEqual({entry["proxy"] for entry in sandbox.requests()[-1:]}, {"auth"})
        # The line with the password precedes the line with the code.
        both = f"{internet['proxyPassword']}\nhttps://vemlo.example/redirect.php?error=x\n"
        result = self.tool("login", "dropbox", "--no-browser", *proxy, input=both)
        self.assertIn("the error 'x'", result.stderr)


if __name__ == "__main__":
    unittest.main()

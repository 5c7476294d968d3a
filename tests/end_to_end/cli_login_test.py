"""How the command-line tool links and stores accounts, as far as no service is needed."""

import ctypes
import fcntl
import json
import os
import re
import resource
import signal
import subprocess
import unittest
import urllib.parse

from support.account_file import AccountFileTest
from support.log import COLOUR
from support.tool import BAD_USAGE, DONE, LOCAL_FAILURE, SERVICE_FAILED, TOOL, environment_with

# For the SERVICE argument: the name of the service in messages, and the address for the consent.
SERVICES = {
    "google-drive": ("Google Drive", "https://accounts.google.com/o/oauth2/auth"),
    "onedrive": (
        "OneDrive", "https://login.microsoftonline.com/common/oauth2/v2.0/authorize",
    ),
    "dropbox": ("Dropbox", "https://www.dropbox.com/oauth2/authorize"),
    "amazon-drive": ("Amazon Drive", "https://www.amazon.com/ap/oa"),
}  # fmt: skip
REDIRECT = "https://vemlo.example/redirect.php"
# A port that no process listens on.
NOWHERE = ("--proxy", "127.0.0.1:1")
PR_SET_CHILD_SUBREAPER = 36


class LoginTest(AccountFileTest):
    def login(self, service, pasted, *options, **more):
        return self.tool("login", service, "--no-browser", *options, input=pasted, **more)

    def login_with_log(self, service, pasted, *options):
        return self.tool("-v", "login", service, "--no-browser", *options, input=pasted)

    def assert_ends(self, result, code, message):
        """The exit code, and the last line on standard error."""
        last = COLOUR.sub("", result.stderr).splitlines()[-1]
        self.assertRegex(last, r"\Avemlo: ")
        self.assertIn(message, last)
        self.assertEqual(result.returncode, code)


class Consent(LoginTest):
    def test_the_address_to_open_is_the_only_line_on_standard_output(self):
        for service, (title, endpoint) in SERVICES.items():
            with self.subTest(service=service):
                result = self.login(service, "")
                address, query = result.stdout.split("?")
                self.assertEqual(address, endpoint)
                parameters = urllib.parse.parse_qs(query.rstrip("\n"))
                self.assertEqual(parameters["redirect_uri"], [REDIRECT])
                self.assertEqual(result.stdout.count("\n"), 1)
                self.assertIn(f"vemlo: allow access to {title} on this page:\n", result.stderr)
                self.assert_ends(result, LOCAL_FAILURE, "no code was given")
                self.assertFalse(self.file.exists())

    def test_a_denied_consent_is_reported(self):
        denied = REDIRECT + "?error=access_denied&error_description=The+user+said+no&state="
        result = self.login("google-drive", denied)
        self.assert_ends(result, SERVICE_FAILED, "access was denied")
        self.assertFalse(self.file.exists())

    def test_another_error_in_the_address_is_shown_safely(self):
        failed = REDIRECT + "?error=invalid_scope%1b%5B31m&error_description=No%20such%20scope"
        result = self.login("google-drive", failed)
        expected = r"the error 'invalid_scope\x1b[31m': No such scope"
        self.assert_ends(result, SERVICE_FAILED, expected)

    def test_an_address_without_a_code_is_refused(self):
        cases = (
            REDIRECT, REDIRECT + "?", REDIRECT + "?code=", REDIRECT + "?code", "https://",
            REDIRECT + "?barcode=1", REDIRECT + "#code=1", REDIRECT + "?codes=1&x=code=1",
            REDIRECT + "?code=%00", REDIRECT + "?code=abc%00def", "http://localhost/?scope=code",
        )  # fmt: skip
        for pasted in cases:
            with self.subTest(pasted=pasted):
                result = self.login("google-drive", pasted + "\n")
                self.assert_ends(result, BAD_USAGE, "no code stands in that")

    def test_empty_lines_contain_no_code(self):
        for pasted in ("\n", " \t\r\n", "\nabc\n"):
            with self.subTest(pasted=pasted):
                self.assert_ends(self.login("dropbox", pasted), LOCAL_FAILURE, "no code was given")

    def test_an_unknown_service_fails_with_the_names_of_all(self):
        for service in ("skydrive", "", "Google-Drive"):
            with self.subTest(service=service):
                known = ", ".join([*SERVICES, "s3", "azure"])
                expected = f"no service is called '{service}'; there are: {known}"
                self.assert_fails(self.tool("login", service), BAD_USAGE, expected)

    def test_an_unknown_account_is_named(self):
        for command in ("logout", "whoami", "ls", "tree", "mkdir"):
            for name, advice in (
                ("nonsense", "`vemlo accounts` lists those that are linked"),
                ("", "`vemlo accounts` lists those that are linked"),
                ("Google-Drive", "did you mean 'google-drive'?"),
                ("s3", "link one with `vemlo login s3`"),
            ):  # fmt: skip
                with self.subTest(command=command, name=name):
                    place = f"{name}:/x" if command == "mkdir" else name
                    expected = f"no account is called '{name}'; {advice}"
                    self.assert_fails(self.tool(command, place), BAD_USAGE, expected)


class Exchange(LoginTest):
    """The log line of a failed exchange contains the code that was sent."""

    def code_sent(self, service, pasted):
        result = self.login_with_log(service, pasted + "\n", *NOWHERE)
        self.assertEqual(result.returncode, SERVICE_FAILED)
        return re.search(r"authorizationCode = (.*?), ", result.stderr)[1]

    def test_a_code_alone_is_used_unchanged(self):
        for code in ("4/0Ab_c-d", "a b", "code=1", "M.C1.2!x*$", "a+b", "a?b", "100%", "%zz%4"):
            with self.subTest(code=code):
                self.assertEqual(self.code_sent("onedrive", code), code)
        self.assertEqual(self.code_sent("onedrive", " \tabc \r"), "abc")

    def test_a_code_that_was_copied_out_of_the_address_is_decoded_once(self):
        cases = {"4%2F0Ab": "4/0Ab", "4%2f0Ab%2Dc+d": "4/0Ab-c+d", "a%2526b": "a%26b"}
        for pasted, code in cases.items():
            with self.subTest(pasted=pasted):
                self.assertEqual(self.code_sent("google-drive", pasted), code)

    def test_an_address_without_its_scheme_is_an_address(self):
        pasted = "vemlo.example/redirect.php?state=&code=4%2F0Ab&scope=x"
        self.assertEqual(self.code_sent("google-drive", pasted), "4/0Ab")
        denied = self.login("google-drive", "vemlo.example/redirect.php?error=access_denied\n")
        self.assert_ends(denied, SERVICE_FAILED, "access was denied")

    def test_a_code_in_an_address_is_decoded_once(self):
        cases = {
            "?code=4%2F0Ab&scope=email%20x": "4/0Ab",
            "?state=&iss=https%3A%2F%2Fx%3Fcode%3D1&code=a%2526b": "a%26b",
            "?code=a+b%2B": "a+b+",
            "?code=M.C1!x*$%": "M.C1!x*$%",
            "?code=%zz%4": "%zz%4",
            "?code=abc#_=_": "abc",
            "?code=first&code=second": "first",
            "?code=%e2%82%ac": "\u20ac",
        }
        for query, code in cases.items():
            with self.subTest(query=query):
                self.assertEqual(self.code_sent("google-drive", REDIRECT + query), code)
        self.assertEqual(self.code_sent("dropbox", " http://localhost:80/?code=x"), "x")

    def test_what_was_linked_before_stays(self):
        accounts = self.keep_accounts(*SERVICES)
        for service in SERVICES:
            with self.subTest(service=service):
                result = self.login(service, "made-up\n", *NOWHERE)
                expected = "cannot link the account: the service was not reached"
                self.assert_ends(result, SERVICE_FAILED, expected)
                self.assertNotIn("made-up", result.stderr)
        self.assertEqual(self.accounts(), accounts)


class Browser(LoginTest):
    """A fake xdg-open records its arguments and its ignored signals."""

    def setUp(self):
        super().setUp()
        self.note = self.home / "note"
        program = self.home / "xdg-open"
        # It writes to and reads from the standard streams.
        program.write_text(
            "#!/bin/sh\necho noise; echo noise >&2; cat\n"
            f"grep SigIgn /proc/self/status >{self.note}\n"
            f'printf "%s|" "$@" >>{self.note}\n'
        )
        program.chmod(0o700)
        # Processes that outlive the tool become children of this process.
        ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

    def browsed(self, *options, **variables):
        """The printed address, and the browser's arguments and ignored signals, None if not run."""
        variables["PATH"] = f"{self.home}:{os.environ['PATH']}"
        self.note.unlink(missing_ok=True)
        result = self.tool("login", "dropbox", *options, environment=variables, input="")
        try:
            while True:
                os.waitpid(-1, 0)
        except ChildProcessError:
            pass
        self.assertNotIn("noise", result.stdout + result.stderr)
        self.assertEqual(result.stdout.count("\n"), 1)
        url = result.stdout.rstrip("\n")
        if not self.note.exists():
            return url, None, None
        ignored, arguments = self.note.read_text().split("\n")
        return url, arguments, int(ignored.split()[1], 16)

    def test_opened_in_a_desktop_session(self):
        for variable in ("DISPLAY", "WAYLAND_DISPLAY"):
            with self.subTest(variable=variable):
                desktop = {"DISPLAY": "", "WAYLAND_DISPLAY": "", variable: ":0"}
                url, arguments, ignored = self.browsed(**desktop)
                self.assertEqual(arguments, url + "|")
                self.assertEqual(ignored & (1 << (signal.SIGPIPE - 1)), 0)

    def test_not_opened_otherwise(self):
        desktop = {"DISPLAY": ":0", "WAYLAND_DISPLAY": "wayland-0"}
        self.assertIsNone(self.browsed("--no-browser", **desktop)[1])
        self.assertIsNone(self.browsed(DISPLAY="", WAYLAND_DISPLAY="")[1])

    def test_no_message_without_a_program_to_open_it(self):
        (self.home / "xdg-open").unlink()
        self.environment["PATH"] = str(self.home)
        result = self.tool("login", "dropbox", environment={"DISPLAY": ":0"}, input="")
        self.assertEqual(len(result.stderr.splitlines()), 3)
        self.assert_ends(result, LOCAL_FAILURE, "no code was given")


class Accounts(LoginTest):
    def test_list(self):
        self.keep_accounts("onedrive", "dropbox")
        table = (
            "NAME      SERVICE   LINKED\n"
            "dropbox   dropbox   2026-02-01T00:00:00Z\n"
            "onedrive  onedrive  2026-01-01T00:00:00Z\n"
        )
        self.assert_prints(self.tool("accounts"), table)
        result = self.tool("accounts", "--json")
        expected = [
            {"name": name, "service": name, "linked": linked, "endpoint": None, "account": None}
            for name, linked in (
                ("dropbox", "2026-02-01T00:00:00Z"), ("onedrive", "2026-01-01T00:00:00Z"),
            )
        ]  # fmt: skip
        self.assertEqual(json.loads(result.stdout), expected)

    def test_none(self):
        result = self.tool("accounts")
        self.assertEqual((result.stdout, result.stderr), ("", "vemlo: no accounts\n"))
        self.assertEqual(result.returncode, DONE)
        self.assert_prints(self.tool("accounts", "--json"), "[]\n")
        self.assertFalse(self.folder.exists())

    def test_commands_without_an_account_advise_to_link_one(self):
        self.keep_accounts("onedrive")
        commands = (
            ("ls", "google-drive:/"), ("mkdir", "google-drive:/Photos"), ("whoami", "amazon-drive"),
        )  # fmt: skip
        for command, location in commands:
            with self.subTest(command=command):
                service = location.split(":")[0]
                advice = f"link one with `vemlo login {service}`"
                expected = f"no account is called '{service}'; {advice}"
                self.assert_fails(self.tool(command, location), BAD_USAGE, expected)

    def test_an_empty_id_is_not_the_root(self):
        self.keep_accounts("dropbox")
        for command in (("ls", "dropbox:/"), ("tree", "dropbox:/"), ("mkdir", "dropbox:/x")):
            with self.subTest(command=command):
                result = self.tool(*command, "--id", "")
                self.assert_fails(result, BAD_USAGE, "--id: the value is empty")

    def test_tokens_that_the_library_has_not_encrypted(self):
        self.keep_accounts("dropbox")
        result = self.tool("ls", "dropbox:/")
        expected = "for the account 'dropbox' is damaged; link it again with `vemlo login dropbox`"
        self.assert_fails(result, LOCAL_FAILURE, expected)


class Logout(LoginTest):
    def test_removes_one_account_and_nothing_else(self):
        accounts = self.keep_accounts("google-drive", "dropbox", "of-a-newer-version")
        accounts["dropbox"]["more"] = {"of": ["another", "version"]}
        self.keep(json.dumps(accounts))
        self.folder.chmod(0o700)

        result = self.tool("logout", "google-drive")
        self.assertEqual((result.stdout, result.returncode), ("", DONE))
        self.assertEqual(result.stderr, "vemlo: the Google Drive account is forgotten here\n")
        del accounts["google-drive"]
        self.assertEqual(self.accounts(), accounts)
        self.assert_private()

        again = self.tool("logout", "google-drive")
        self.assert_fails(again, BAD_USAGE, "no account is called 'google-drive'")
        self.assertEqual(self.accounts(), accounts)

    def test_onedrive_has_an_address_to_sign_out_at(self):
        self.keep_accounts("onedrive")
        result = self.tool("logout", "onedrive")
        query = urllib.parse.urlencode({"post_logout_redirect_uri": REDIRECT})
        address = f"https://login.microsoftonline.com/common/oauth2/v2.0/logout?{query}\n"
        self.assertEqual((result.stdout, result.returncode), (address, DONE))
        self.assertEqual(self.accounts(), {})

    def test_without_any_account(self):
        result = self.tool("logout", "dropbox")
        self.assert_fails(result, BAD_USAGE, "no account is called 'dropbox'")
        self.assertFalse(self.file.exists())


class File(LoginTest):
    DAMAGED = (
        "", " ", "{", "[]", "null", '"google-drive"', '{"google-drive": {}} more',
        '{"dropbox": null}', '{"dropbox": {"linked": "", "accessToken": ""}}',
        '{"dropbox": {"linked": "", "accessToken": "", "refreshToken": 1}}', "[" * 100000,
        '{"a": {"linked": "", "service": "x", "m": ' + "[" * 32 + "]" * 32 + "}}",
        '{"a": {"linked": "", "service": "x", "m": ' + "[" * 100000 + "]" * 100000 + "}}",
        '{"": {"linked": "", "service": "x"}}', '{"a:b": {"linked": "", "service": "x"}}',
    )  # fmt: skip

    def test_a_damaged_file_is_reported_and_not_changed(self):
        commands = (
            ("accounts",), ("login", "dropbox", "--no-browser"), ("logout", "dropbox"),
            ("ls", "dropbox:/"), ("whoami", "amazon-drive"),
        )  # fmt: skip
        for text in self.DAMAGED:
            self.keep(text)
            for command in commands:
                with self.subTest(text=text[:60], command=command):
                    result = self.tool(*command)
                    self.assert_fails(result, LOCAL_FAILURE, f"'{self.file}' is damaged")
                    self.assertEqual(self.file.read_text(), text)

    def test_a_folder_that_cannot_be_made(self):
        self.folder.write_text("a file")
        for command in (("logout", "dropbox"), ("accounts",)):
            with self.subTest(command=command):
                self.assert_fails(self.tool(*command), LOCAL_FAILURE, str(self.folder))

    def test_a_full_disk_leaves_the_old_file(self):
        accounts = self.keep_accounts(*SERVICES)

        def fill_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))

        result = self.tool("logout", "dropbox", preexec_fn=fill_disk)
        self.assert_fails(result, LOCAL_FAILURE, f"cannot write '{self.file}': File too large")
        self.assertEqual(self.accounts(), accounts)
        self.assertEqual(sorted(os.listdir(self.folder)), ["accounts.json", "accounts.lock"])

    def test_location(self):
        home = self.home / "home"
        (home / ".config").mkdir(parents=True)
        self.keep_accounts("dropbox")
        self.folder.rename(home / ".config" / "vemlo")
        listed = self.tool("accounts", environment={"XDG_CONFIG_HOME": "", "HOME": str(home)})
        self.assertIn("dropbox", listed.stdout)
        # A relative path is ignored.
        environment = {"XDG_CONFIG_HOME": "relative", "HOME": str(home)}
        self.assertEqual(self.tool("accounts", environment=environment).stdout, listed.stdout)
        nowhere = self.tool("accounts", environment={"XDG_CONFIG_HOME": "", "HOME": ""})
        self.assert_fails(nowhere, LOCAL_FAILURE, "set HOME or XDG_CONFIG_HOME")

    def start_logout(self, name):
        process = subprocess.Popen(
            [TOOL, "logout", name], env=environment_with(self.environment),
            stderr=subprocess.PIPE, encoding="utf-8",
        )  # fmt: skip
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def test_an_interruption_ends_the_wait_for_another_process(self):
        accounts = self.keep_accounts("google-drive")
        with open(self.folder / "accounts.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            process = self.start_logout("google-drive")
            self.wait_for_lock(process)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(timeout=60), -signal.SIGINT)
        self.assertEqual(process.stderr.read(), "vemlo: cancelled\n")
        self.assertEqual(self.accounts(), accounts)

    def test_what_a_killed_process_has_left_behind_is_removed(self):
        self.keep_accounts("google-drive", "dropbox")
        left = self.folder / "accounts.json.new"
        target = self.home / "target"
        for leave in (lambda: left.write_text("tokens"), lambda: left.symlink_to(target)):
            leave()
            self.assertEqual(self.tool("logout", min(self.accounts())).returncode, DONE)
            self.assertFalse(os.path.lexists(left))
            self.assertFalse(target.exists())

    def test_concurrent_changes_are_all_kept(self):
        accounts = self.keep_accounts("google-drive", "dropbox")
        with open(self.folder / "accounts.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            process = self.start_logout("google-drive")
            self.wait_for_lock(process)
            # The change of another process that holds the lock.
            accounts["onedrive"] = accounts["dropbox"]
            self.keep(json.dumps(accounts))
        self.assertEqual(process.wait(timeout=60), DONE)
        del accounts["google-drive"]
        self.assertEqual(self.accounts(), accounts)


if __name__ == "__main__":
    unittest.main()

"""What the command-line tool requests and prints when it lists and makes folders.

The tests use a fake server, which lets them decide when and how it responds.
"""

import json
import os
import re
import tempfile
import threading
import unittest

from support.fake_s3 import FakeS3Server, error, folders
from support.terminal import Terminal, lines_shown
from support.tool import AZURE_KEYS, DONE, SERVICE_FAILED, ToolTest, run


class Folders(ToolTest):
    def test_the_slash_of_a_prefix_is_optional(self):
        for prefix, sent in ((), "&prefix=&"), (("2019",), "2019%2F"), (("2019/",), "2019%2F"):
            with self.subTest(prefix=prefix), FakeS3Server(folders("2019/may/")) as server:
                result = run("s3", "ls", "photos", *prefix, environment=server.environment)
                self.assert_prints(result, "NAME\n2019/may/\n")
                self.assertEqual(len(server.requests), 1)
                self.assertRegex(server.requests[0] + "&", rf"\AGET /photos\?.*{sent}")

    def test_a_missing_slash_is_added_to_a_new_folder(self):
        for path in ("2020", "2020/", "2020/may", "2020/may/"):
            with self.subTest(path=path), FakeS3Server(folders("2020-05/")) as server:
                result = run("s3", "mkdir", "photos", path, environment=server.environment)
                self.assert_prints(result, "")
                self.assertEqual(server.requests[1:], [f"PUT /photos/{path.rstrip('/')}/"])

    def test_a_folder_that_is_there_is_left_as_it_is(self):
        with FakeS3Server(folders("a/2020-05/", "a/2020/")) as server:
            result = run("s3", "mkdir", "photos", "a/2020", environment=server.environment)
            message = "vemlo: there is a folder 'a/2020/' in bucket 'photos' already; nothing was"
            self.assertEqual((result.stdout, result.returncode), ("", DONE))
            self.assertRegex(result.stderr, rf"\A{message} changed\n\Z")
            self.assertEqual(len(server.requests), 1)
            self.assertRegex(server.requests[0] + "&", r"\AGET /photos\?.*prefix=a%2F2020&")

    def test_an_account_that_may_not_list_makes_folders(self):
        denied = "<Error><Code>AccessDenied</Code><Message>no</Message></Error>"
        with FakeS3Server(denied, 403) as server:
            result = run("s3", "mkdir", "photos", "2020", environment=server.environment)
            self.assertIn("may not list folders; the folder is made without", result.stderr)
            self.assertEqual((result.stdout, result.returncode), ("", DONE))
            self.assertEqual(server.requests[-1], "PUT /photos/2020/")

    def test_a_folder_is_not_made_where_the_look_for_it_fails(self):
        missing = "<Error><Code>NoSuchBucket</Code><Message>no</Message></Error>"
        with FakeS3Server(missing, 404) as server:
            result = run("s3", "mkdir", "photos", "2020", environment=server.environment)
            message = "cannot make folder '2020/' in bucket 'photos': there is no such bucket"
            self.assertIn(message, result.stderr)
            self.assertEqual((len(server.requests), result.returncode), (1, SERVICE_FAILED))

    def test_a_path_as_of_a_disk_is_explained_if_nothing_is_found(self):
        cases = {
            "/2019": "no folders whose names begin with '/'; give '2019' instead",
            "//a/b/": "give 'a/b/' instead",
            "/": "leave PREFIX out to see the top level",
        }
        for prefix, message in cases.items():
            with self.subTest(prefix=prefix), FakeS3Server(folders()) as server:
                result = run("s3", "ls", "photos", prefix, environment=server.environment)
                self.assertEqual((result.stdout, result.returncode), ("", DONE))
                self.assertRegex(result.stderr, rf"\Avemlo: .*{message}\n\Z")
        # Such names are possible.
        with FakeS3Server(folders("/2019/")) as server:
            result = run("s3", "ls", "photos", "/", environment=server.environment)
            self.assert_prints(result, "NAME\n/2019/\n")

    def test_names_cannot_control_the_terminal(self):
        with FakeS3Server(folders("\u202eevil/", "\u65e5\u672c/")) as server:
            shown = run("s3", "ls", "photos", environment=server.environment)
            self.assert_prints(shown, "NAME\n\\u202eevil/\n\u65e5\u672c/\n")
            parsed = run("s3", "ls", "photos", "--json", environment=server.environment)
            expected = [{"name": "\u202eevil/"}, {"name": "\u65e5\u672c/"}]
            self.assertEqual(json.loads(parsed.stdout), expected)

    def test_no_folders(self):
        with FakeS3Server(folders()) as server:
            result = run("s3", "ls", "photos", environment=server.environment)
            self.assertEqual((result.stdout, result.stderr), ("", "vemlo: no folders\n"))
            self.assertEqual(result.returncode, DONE)
            result = run("s3", "ls", "photos", "--json", environment=server.environment)
            self.assert_prints(result, "[]\n")


class LsTerminal(Terminal):
    """A process of `ls` whose standard error is a terminal."""

    def __init__(self, server, *options, **variables):
        super().__init__("s3", "ls", "photos", *options, **server.environment, **variables)


class Progress(ToolTest):
    SPINNER = r"[|/\\-] \d+ s\r"
    SPINNER_WITH_REQUESTS = r"[|/\\-] \d+ s, \d+ requests?"

    def run_with_spinner(self, body, status=200):
        """Runs `ls` on a terminal with a server that responds when the spinner is visible."""
        is_spinning = threading.Event()

        def watch(sent):
            if re.search(self.SPINNER, sent):
                is_spinning.set()

        with FakeS3Server(body, status, wait=lambda: is_spinning.wait(30)) as server:
            output, sent = LsTerminal(server).read_to_end(watch)
        self.assertTrue(is_spinning.is_set(), "there was no spinner")
        return output, lines_shown(sent)

    def test_a_spinner_shows_on_a_terminal_and_is_erased(self):
        output, shown = self.run_with_spinner(folders("2019/"))
        self.assertEqual((output, shown), ("NAME\n2019/\n", [""]))

    def test_the_spinner_counts_requests_and_entries(self):
        """The second page arrives when the display shows what the first one has brought."""
        page = folders("1/", "2/").replace(
            "</ListBucketResult>",
            "<IsTruncated>true</IsTruncated><NextContinuationToken>next</NextContinuationToken>"
            "</ListBucketResult>",
        )
        is_shown = threading.Event()
        pages = iter([page, folders("3/")])

        def respond(*_):
            page = next(pages)
            if "<IsTruncated>" not in page:
                is_shown.wait(30)
            return 200, page

        def watch(sent):
            if ", 1 request, 2 entries" in sent:
                is_shown.set()

        with FakeS3Server(respond) as server:
            output, sent = LsTerminal(server).read_to_end(watch)
        self.assertTrue(is_shown.is_set(), sent)
        self.assertEqual((output, lines_shown(sent)), ("NAME\n1/\n2/\n3/\n", [""]))

    def test_the_spinner_counts_all_calls_of_a_command(self):
        """The last of three calls waits until the display shows what the first two have brought."""
        contents = {"": ["a/"], "a/": ["a/b/"], "a/b/": []}
        is_shown = threading.Event()

        def respond(_, prefix):
            if prefix == "a/b/":
                is_shown.wait(30)
            return 200, folders(*contents[prefix])

        def watch(sent):
            if ", 2 requests, 2 entries" in sent:
                is_shown.set()

        with FakeS3Server(respond) as server, tempfile.TemporaryDirectory() as home:
            account = {**server.environment, "XDG_CONFIG_HOME": home}
            run("login", "s3", "--no-check", environment=account)
            terminal = Terminal("ls", "-R", "s3:/photos", XDG_CONFIG_HOME=home)
            output, sent = terminal.read_to_end(watch)
        self.assertTrue(is_shown.is_set(), sent)
        self.assertEqual((output, lines_shown(sent)), ("s3:/photos/a\ns3:/photos/a/b\n", [""]))

    def test_messages_and_results_replace_the_spinner(self):
        """A folder in the middle of a walk fails while the spinner is shown; the walk goes on."""
        is_spinning = threading.Event()

        def respond(_, prefix):
            if prefix == "a/":
                is_spinning.wait(30)
                return 403, error("AccessDenied")
            return 200, folders(*(["a/", "b/"] if not prefix else []))

        def watch(sent):
            if re.search(self.SPINNER_WITH_REQUESTS, sent):
                is_spinning.set()

        with FakeS3Server(respond) as server, tempfile.TemporaryDirectory() as home:
            account = {**server.environment, "XDG_CONFIG_HOME": home}
            run("login", "s3", "--no-check", environment=account)
            terminal = Terminal("ls", "-R", "s3:/photos", XDG_CONFIG_HOME=home)
            output, sent = terminal.read_to_end(watch)
        self.assertTrue(is_spinning.is_set(), sent)
        self.assertEqual(output, "s3:/photos/a\ns3:/photos/b\n")
        failed, missing, end = lines_shown(sent)
        self.assertRegex(failed, r"\Avemlo: cannot list the folders in 's3:/photos/a': [^|]*\)\Z")
        self.assertEqual((missing, end), ("vemlo: some folders are missing here", ""))

    def test_the_spinner_leaves_no_text_beside_messages(self):
        body = "<Error><Code>AccessDenied</Code><Message>no</Message></Error>"
        output, (message, end) = self.run_with_spinner(body, 403)
        self.assertEqual((output, end), ("", ""))
        self.assertRegex(
            message, r"\Avemlo: cannot list the folders in bucket 'photos': [^|]* \(no\)\Z"
        )

    def test_no_spinner_in_a_file_beside_json_and_in_a_verbose_log(self):
        # The delay is real: only a call that takes longer than the delay of the spinner shows that
        # there is no spinner.
        with FakeS3Server(folders("2019/"), wait=lambda: threading.Event().wait(1)) as server:
            json_terminal = LsTerminal(server, "--json")
            verbose_terminal = LsTerminal(server, "--verbose")
            result = run("s3", "ls", "photos", environment=server.environment)
            self.assert_prints(result, "NAME\n2019/\n")
            self.assertEqual(json_terminal.read_to_end(), ('[{"name":"2019/"}]\n', ""))
            output, sent = verbose_terminal.read_to_end()
            self.assertEqual(output, "NAME\n2019/\n")
            self.assertNotRegex(sent, self.SPINNER)

    def test_no_spinner_on_a_terminal_that_cannot_overwrite_a_line(self):
        with FakeS3Server(folders("2019/"), wait=lambda: threading.Event().wait(1)) as server:
            terminals = [LsTerminal(server, TERM=kind) for kind in ("dumb", "")]
            for terminal in terminals:
                self.assertEqual(terminal.read_to_end(), ("NAME\n2019/\n", ""))


class Log(ToolTest):
    def test_is_shown_only_if_asked_for(self):
        with FakeS3Server("<Error><Code>AccessDenied</Code></Error>", 403) as server:
            quiet = run("s3", "ls", "photos", environment=server.environment)
            self.assert_fails(quiet, SERVICE_FAILED, "the account may not do this; ask its")
            shown = run("s3", "ls", "photos", "-v", environment=server.environment)
        logged, message = shown.stderr.splitlines()
        self.assertRegex(logged, r"\AE\d{8} .* Error type: 15, Exception: AccessDenied")
        self.assertEqual(message + "\n", quiet.stderr)

    def test_is_in_no_file(self):
        """Where the logger would write it if it were told nothing."""
        with tempfile.TemporaryDirectory() as folder:
            with FakeS3Server("<Error><Code>AccessDenied</Code></Error>", 403) as server:
                environment = {**server.environment, "TMPDIR": folder, "TEST_TMPDIR": folder}
                run("s3", "ls", "photos", environment=environment)
            self.assertEqual(os.listdir(folder), [])


class Colours(ToolTest):
    RED = "\x1b[0;31m"
    REFUSED = "<Error><Code>AccessDenied</Code><Message>no</Message></Error>"

    def logged_on_terminal(self, **variables):
        with FakeS3Server(self.REFUSED, 403) as server:
            _, sent = LsTerminal(server, "--verbose", **variables).read_to_end()
        self.assertIn("Error type: 15", sent)
        return sent

    def test_an_error_is_red_on_a_terminal(self):
        self.assertTrue(self.logged_on_terminal().startswith(self.RED + "E"))

    def test_no_colour_if_the_user_wants_none(self):
        self.assertNotIn("\x1b", self.logged_on_terminal(NO_COLOR="1"))
        self.assertNotIn("\x1b", self.logged_on_terminal(TERM="dumb"))

    def test_no_escape_sequence_in_a_file(self):
        terminal = {"TERM": "xterm-256color"}
        with FakeS3Server(self.REFUSED, 403) as server:
            for options in (("--verbose",), ("--verbose", "--json")):
                result = run(
                    "s3", "ls", "photos", *options, environment={**server.environment, **terminal}
                )
                self.assertIn("Error type: 15", result.stderr)
                self.assertNotIn("\x1b", result.stderr)
        # This is logged while the session is opened.
        key = {**AZURE_KEYS, "VEMLO_AZURE_KEY": "confidential!", **terminal}
        result = run("azure", "containers", "-v", environment=key)
        self.assertIn("Failed to decode AzureSSB access key.", result.stderr)
        self.assertNotIn("\x1b", result.stderr)


if __name__ == "__main__":
    unittest.main()

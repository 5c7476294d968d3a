"""Completion of the command-line tool's arguments, by the tool and in the shells."""

import html
import os
import pathlib
import re
import subprocess
import tempfile
import threading

from support.account_file import AccountFileTest
from support.fake_s3 import FakeS3Server, error, tree
from support.shells import SHELLS, Shell
from support.tool import BAD_USAGE, DONE

SCRIPTS = pathlib.Path(__file__).parents[2] / "tools/vemlo/completions"
FILES = {"bash": "vemlo.bash", "zsh": "_vemlo", "fish": "vemlo.fish"}
# Each is the only folder in one of this name.
NAMES = {
    "space": "a b", "single": "it's", "double": 'say "x"', "colon": "10:30 a", "equals": "a=b@c",
    "dash": "-rf", "dollar": "$HOME", "command": "`touch x`$(touch y)", "semicolon": "a;b|c&d",
    "glob": "[x]*?", "brace": "{a,b}", "tilde": "~root", "hash": "#1", "bang": "a!b!!",
    "backslash": "back\\slash\\", "redirect": "<a>(b)^", "letters": "Grüße 日本", "percent": "100%",
}  # fmt: skip


def escaped_tree(**contents):
    """Like `tree`, with any names."""
    respond = tree(**contents)

    def respond_with_escapes(bucket, prefix):
        status, body = respond(bucket, prefix)
        pattern = r"(?<=<Prefix>).*?(?=</Prefix>)"
        return status, re.sub(pattern, lambda name: html.escape(name[0], quote=False), body)

    return respond_with_escapes


class CompletionTest(AccountFileTest):
    def serve(self, *arguments, **options):
        """Starts a server and links it as `work`."""
        server = self.enterContext(FakeS3Server(*arguments, **options))
        self.link("work", server.endpoint)
        return server

    def link(self, name, endpoint):
        options = ("--as", name, "--endpoint", endpoint, "--access-key", "key", "--no-check")
        result = self.tool("login", "s3", *options, environment={"VEMLO_S3_SECRET_KEY": "secret"})
        self.assertEqual(result.returncode, DONE)

    def lines(self, *words, **options):
        result = self.tool("complete", "--", *words, **options)
        self.assertEqual((result.stderr, result.returncode), ("", DONE))
        return result.stdout.splitlines()

    def candidates(self, *words, **options):
        return [line.split("\t")[0] for line in self.lines(*words, **options)]


class CommandsAndOptions(CompletionTest):
    def names_in_help(self, *level):
        text = self.tool(*level, "--help").stdout
        commands = re.search(r"(?s)\nSubcommands:\n(.*?)\nOptions of", text)
        found = re.findall(r"(?m)^  (\w[\w-]*)(?: |$)", commands[1] if commands else "")
        return found, set(re.findall(r"(?m)^  (?:-\w,)?(--[\w-]+)", text))

    def test_every_command_and_option_of_the_help_is_offered(self):
        commands, _ = self.names_in_help()
        self.assertGreater(len(commands), 5)
        levels = [(), *((command,) for command in commands)]
        while levels:
            level = levels.pop()
            with self.subTest(level=level):
                commands, options = self.names_in_help(*level)
                levels += [(*level, command) for command in commands if level]
                if commands:
                    self.assertCountEqual(self.candidates(*level, ""), commands)
                offered = self.candidates(*level, "-")
                self.assertLessEqual(options, set(offered))
                self.assertEqual(len(offered), len(set(offered)))

    def test_the_command_behind_this_is_not_shown(self):
        self.assertNotIn("complete", self.candidates("comp"))
        self.assertNotIn("complete", self.names_in_help()[0])
        self.assert_fails(self.tool("complet"), BAD_USAGE, "did you mean 'completion'?")

    def test_what_is_typed_selects_candidates(self):
        self.assertEqual(self.candidates("lo"), ["login", "logout"])
        self.assertEqual(self.candidates("s3", "create-bucket", "--fl"), ["--flavour"])
        self.assertEqual(self.candidates("x"), [])
        self.assertEqual(self.candidates("unknown", ""), [])
        self.assertEqual(self.candidates("s3", "unknown", ""), [])

    def test_candidates_are_described_by_one_clause(self):
        self.assertIn("mkdir\tMake a folder, bucket or container", self.lines("m"))
        self.assertEqual(self.lines("ls", "--dep"), ["--depth\tHow many levels to show"])

    def test_an_option_is_offered_once(self):
        for given in (["--json"], ["--id", "x"], ["--id=x"]):
            offered = self.candidates("ls", *given, "-")
            self.assertNotIn(given[0].split("=")[0], offered)
            self.assertIn("--depth", offered)

    def test_the_value_of_an_option_is_no_command_and_no_argument(self):
        self.assertEqual(self.candidates("s3", "--endpoint", "ls", "cr"), ["create-bucket"])
        self.assertEqual(self.candidates("login", "--as", "s3", "goo"), ["google-drive"])
        self.assertEqual(self.candidates("ls", "--id", "-"), [])

    def test_nothing_is_an_option_behind_two_dashes(self):
        self.assertEqual(self.candidates("login", "--", "-"), [])
        self.assertEqual(self.candidates("login", "--", "goo"), ["google-drive"])


class Values(CompletionTest):
    def test_services(self):
        services = ["google-drive", "onedrive", "dropbox", "amazon-drive", "s3", "azure"]
        self.assertEqual(self.candidates("login", ""), services)
        self.assertEqual(self.candidates("login", "s3", ""), [])

    def test_shells(self):
        self.assertEqual(self.candidates("completion", ""), [*SHELLS])

    def test_flavours(self):
        level = ("s3", "create-bucket")
        flavours = ["aws", "china", "wasabi", "custom"]
        self.assertEqual(self.candidates(*level, "--flavour", ""), flavours)
        self.assertEqual(self.candidates(*level, "--flavour=c"),
                         ["--flavour=china", "--flavour=custom"])

    def test_regions_of_the_flavour_or_endpoint(self):
        level = ("s3", "create-bucket", "new")
        self.assertEqual(self.candidates(*level, "--region", "North"), ["Northern California"])
        self.assertEqual(self.candidates(*level, "--region=Frank"), ["--region=Frankfurt"])
        china = self.candidates(*level, "--flavour", "china", "--region", "")
        self.assertIn("Beijing", " ".join(china))
        wasabi = {"VEMLO_S3_ENDPOINT": "https://s3.wasabisys.com"}
        of_wasabi = self.candidates(*level, "--flavour", "wasabi", "--region", "")
        self.assertEqual(self.candidates(*level, "--region", "", environment=wasabi), of_wasabi)
        self.assertNotEqual(of_wasabi, china)

    def test_regions_of_a_linked_account(self):
        self.link("wasabi", "https://s3.wasabisys.com")
        expected = self.candidates("s3", "create-bucket", "--flavour", "wasabi", "--region", "")
        self.assertEqual(self.candidates("mkdir", "wasabi:/new", "--region", ""), expected)
        self.assertEqual(self.candidates("mkdir", "--region", ""), [])

    def test_files_are_left_to_the_shell(self):
        for words in (["login", "s3", "--secret-key-file", ""], ["ls", "--proxy-password-file=/e"]):
            self.assertEqual(self.lines(*words), ["\tfile"])

    def test_accounts(self):
        self.assertEqual(self.candidates("ls", ""), [])
        self.link("work", "http://127.0.0.1:1")
        self.link("home", "http://127.0.0.1:1")
        for command in ("ls", "tree", "mkdir"):
            self.assertEqual(self.lines(command, ""), ["home:/\tS3", "work:/\tS3"])
            self.assertEqual(self.candidates(command, "work:"), ["work:/"])
        for command in ("whoami", "logout"):
            self.assertEqual(self.candidates(command, "w"), ["work"])
        # The name of a new bucket is free.
        self.assertEqual(self.candidates("s3", "create-bucket", "w"), [])


class Folders(CompletionTest):
    def test_buckets_and_folders_below_the_typed_path(self):
        server = self.serve(tree(photos=["2019/may/x", "2019/june/x", "2020/x"], plans=[]))
        self.assertEqual(self.candidates("ls", "work:/p"), ["work:/photos/", "work:/plans/"])
        self.assertEqual(self.candidates("ls", "work:ph"), ["work:photos/"])
        self.assertEqual(self.candidates("ls", "work:/photos/"),
                         ["work:/photos/2019/", "work:/photos/2020/"])
        server.requests.clear()
        self.assertEqual(self.candidates("tree", "work:/photos/2019/m"), ["work:/photos/2019/may/"])
        self.assertEqual(len(server.requests), 1)
        self.assertIn("prefix=2019%2F&", server.requests[0] + "&")

    def test_a_colon_in_a_name_ends_no_account(self):
        self.serve(tree(photos=["10:30/am/x", "10:40/x"]))
        self.assertEqual(self.candidates("ls", "work:/photos/10:3"), ["work:/photos/10:30/"])
        self.assertEqual(self.candidates("ls", "work:/photos/10:30/"), ["work:/photos/10:30/am/"])

    def test_names_that_would_confuse_a_terminal_are_left_out(self):
        unsafe = ["\u202eevil/x", "tab\there/x", "line&#10;/x", "\u0085/x", "\u2066y/x"]
        self.serve(tree(photos=[*unsafe, "plain/x", "/x"]))
        self.assertEqual(self.lines("ls", "work:/photos/"), ["work:/photos/plain/"])

    def test_a_given_proxy_is_used(self):
        server = self.serve(tree(photos=[]))
        self.link("far", "http://far.example")
        proxy = server.endpoint.removeprefix("http://")
        self.assertEqual(self.candidates("ls", "--proxy", proxy, "far:/"), ["far:/photos/"])
        environment = {"VEMLO_PROXY": proxy}
        self.assertEqual(self.candidates("ls", "far:/", environment=environment), ["far:/photos/"])

    def test_no_password_is_read_from_standard_input(self):
        server = self.serve(tree(photos=[]))
        proxy = ("--proxy", server.endpoint, "--proxy-password-file", "-")
        self.assertEqual(self.candidates("ls", *proxy, "work:/", input="password\n"), [])
        self.assertEqual(server.requests, [])


class Failures(CompletionTest):
    """They print nothing."""

    def test_of_the_service(self):
        server = self.serve(lambda bucket, prefix: (403, error("AccessDenied")))
        self.assertEqual(self.lines("ls", "work:/"), [])
        self.assertNotEqual(server.requests, [])

    def test_of_the_network(self):
        self.link("work", "http://127.0.0.1:1")
        self.assertEqual(self.lines("ls", "work:/"), [])

    def test_of_what_was_typed(self):
        self.link("work", "http://127.0.0.1:1")
        for words in (["ls", "nobody:/"], ["ls", "--proxy", "::", "work:/"],
                      ["ls", "--id", "1", "work:/"], ["mkdir", "nobody:/", "--region", ""]):
            self.assertEqual(self.lines(*words), [])

    def test_of_the_account_file(self):
        self.keep("damaged")
        for words in (["ls", ""], ["ls", "work:/"], ["logout", ""]):
            self.assertEqual(self.lines(*words), [])

    def test_a_service_that_does_not_respond_is_not_waited_for(self):
        is_over = threading.Event()
        self.addCleanup(is_over.set)
        self.serve(tree(photos=[]), wait=is_over.wait)
        self.assertEqual(self.lines("ls", "work:/"), [])


    def test_a_password_file_that_nobody_writes_is_not_waited_for(self):
        self.link("work", "http://127.0.0.1:1")
        pipe = os.path.join(self.enterContext(tempfile.TemporaryDirectory()), "pipe")
        os.mkfifo(pipe)
        words = ["ls", "--proxy", "127.0.0.1:1", "--proxy-user", "u", "--proxy-password-file", pipe]
        self.assertEqual(self.lines(*words, "work:/"), [])


class Scripts(CompletionTest):
    def test_each_is_the_installed_file_and_valid(self):
        for shell, file in FILES.items():
            with self.subTest(shell=shell):
                script = self.tool("completion", shell)
                self.assert_prints(script, (SCRIPTS / file).read_text(encoding="utf-8"))
                check = subprocess.run([shell, "-n"], input=script.stdout, encoding="utf-8",
                                       capture_output=True, check=False)
                self.assertEqual((check.stdout, check.stderr, check.returncode), ("", "", 0))

    def test_an_unknown_shell(self):
        result = self.tool("completion", "tcsh")
        self.assert_fails(result, BAD_USAGE, "for a shell 'tcsh'; there is for bash, zsh and fish")


def in_each_shell(case):
    """A class decorator: adds a class with the tests of `case` for each shell."""
    for shell in SHELLS:
        name = f"{case.__name__}In{shell.title()}"
        members = {"name": shell, "__module__": __name__}
        globals()[name] = type(name, (case, CompletionTest), members)
    return case


@in_each_shell
class Completion:
    def shell(self, **options):
        return self.enterContext(Shell(self.name, self.home, self.environment, **options))

    def test_commands_options_and_values_are_followed_by_a_space(self):
        self.assertEqual(self.shell().complete("logi\tgoog\t--no-b\tx"),
                         ["login", "google-drive", "--no-browser", "x"])

    def test_values_with_spaces_and_behind_an_equals_sign(self):
        shell = self.shell()
        self.assertEqual(shell.complete("s3 create-bucket --region North\tx"),
                         ["s3", "create-bucket", "--region", "Northern California", "x"])
        self.assertEqual(shell.complete("s3 create-bucket --flavour=wa\tx"),
                         ["s3", "create-bucket", "--flavour=wasabi", "x"])

    def test_files(self):
        (self.home / "secret file").touch()
        shell = self.shell()
        file = f"{self.home}/secret file"
        self.assertEqual(shell.complete(f"login s3 --secret-key-file {file[:-8]}\tx"),
                         ["login", "s3", "--secret-key-file", file, "x"])
        self.assertEqual(shell.complete(f"login s3 --secret-key-file={file[:-8]}\tx"),
                         ["login", "s3", f"--secret-key-file={file}", "x"])

    def test_an_account_a_bucket_and_folders_one_after_the_other(self):
        self.serve(tree(photos=["2019/may/x", "2020/x"]))
        self.assertEqual(self.shell().complete("ls wo\tph\t2019/\t"),
                         ["ls", "work:/photos/2019/may/"])

    def complete_names(self, mark):
        """Completes a folder with each name, and then one in it, behind a quotation mark."""
        self.serve(escaped_tree(b=[f"{case}/{name}/inner/x" for case, name in NAMES.items()]))
        shell = self.shell()
        # bash closes quotations itself.
        end = "" if self.name == "bash" else mark
        for case, name in NAMES.items():
            with self.subTest(case=case):
                folder = f"work:/b/{case}/{name}/"
                typed = f"ls {mark}work:/b/{case}/\t"
                self.assertEqual(shell.complete(typed + end), ["ls", folder])
                self.assertEqual(shell.complete(f"{typed}inn\t{end}"), ["ls", f"{folder}inner/"])

    def test_special_characters(self):
        self.complete_names("")

    def test_special_characters_between_single_quotes(self):
        self.complete_names("'")

    def test_special_characters_between_double_quotes(self):
        self.complete_names('"')

    def test_several_candidates_are_listed(self):
        self.serve(tree(photos=["may 1/x", "may 2/x"]))
        shell = self.shell()
        shell.type("show ls work:/photos/m\t\t\t")
        # bash and zsh are told to list the last names; fish shortens the words itself.
        listed = shell.read_until("2/" if self.name == "fish" else "may 2/")
        self.assertNotIn("work:/photos/may 1/", listed)

    def test_a_failure_shows_nothing(self):
        self.link("work", "http://127.0.0.1:1")
        shell = self.shell()
        self.assertEqual(shell.complete("ls work:/p\t"), ["ls", "work:/p"])
        self.assertNotIn("vemlo:", shell.received)


class Zsh(CompletionTest):
    def test_the_script_can_be_evaluated(self):
        load = 'autoload -U compinit; compinit -u -D; eval "$(vemlo completion zsh)"'
        shell = self.enterContext(Shell("zsh", self.home, self.environment, load=load))
        self.assertEqual(shell.complete("acc\t"), ["accounts"])


class Bash(CompletionTest):
    def setUp(self):
        super().setUp()
        self.shell = self.enterContext(Shell("bash", self.home, self.environment))

    def test_a_command_behind_another_and_a_variable(self):
        self.shell.type("true; NAME=value show acc\t\r")
        self.assertEqual(self.shell.shown(), ["accounts"])

    def test_the_middle_of_a_line(self):
        left = "\033[D" * len(" x")
        self.assertEqual(self.shell.complete(f"acc x{left}\t"), ["accounts", "x"])

    def test_words_without_the_colon_as_a_word_break(self):
        self.serve(tree(photos=["a b/x"]))
        self.shell.type("COMP_WORDBREAKS=${COMP_WORDBREAKS//:}\r")
        self.assertEqual(self.shell.complete("ls wo\tpho\ta\t"), ["ls", "work:/photos/a b/"])

    def test_no_candidate_where_unset_variables_are_errors(self):
        self.shell.type("set -u\r")
        self.assertEqual(self.shell.complete("ls nobody:/x\t"), ["ls", "nobody:/x"])
        self.assertNotIn("unbound", self.shell.received)

    def test_commands_in_what_is_typed_are_not_run(self):
        file = self.home / "made"
        self.shell.type(f"show ls \"$(touch {file})\" work:/`touch\\ {file}`\t")
        delete_line = "\x15"
        self.shell.type(f"{delete_line}show end\r")
        self.assertEqual(self.shell.shown(), ["end"])
        self.assertFalse(file.exists())

"""Interactive shells that complete the arguments of the command-line tool."""

import contextlib
import os
import pathlib
import pty
import re
import shutil

from .tool import TOOL, environment_with

# How each shell starts, loads the completion, and prints arguments. What is printed is enclosed in
# control characters, which nothing that is typed contains.
SHELLS = {
    "bash": (
        ["bash", "--noprofile", "--norc", "-i"],
        'eval "$(vemlo completion bash)"',
        r"complete -F _vemlo show; show() { printf '\002%s\003' "
        r""""$@"; printf '\004'; }""",
    ),
    "zsh": (
        ["zsh", "-f", "-i"],
        'fpath=("$COMPLETIONS" $fpath); autoload -U compinit; compinit -u -D',
        r"""compdef _vemlo show; show() { printf '\002%s\003' "$@"; printf '\004'; }""",
    ),
    "fish": (
        ["fish", "--private"],
        "vemlo completion fish | source",
        r"complete --command show --wraps vemlo; "
        r"function show; printf '\002%s\003' $argv; printf '\004'; end",
    ),
}


class Shell(contextlib.AbstractContextManager):
    """A shell on a terminal, with the completion of the tool for the command `show`.

    `folder` is for the shell's own files; `load` replaces how the completion is loaded.
    """

    def __init__(self, name, folder, environment, load=None):
        command, usual, define = SHELLS[name]
        completions = pathlib.Path(folder) / "completions"
        completions.mkdir(exist_ok=True)
        scripts = pathlib.Path(__file__).parents[3] / "tools/vemlo/completions"
        shutil.copy(scripts / "_vemlo", completions)
        variables = {
            "HOME": str(folder), "COMPLETIONS": str(completions), "TERM": "xterm",
            "LC_ALL": "C.UTF-8", "PATH": f"{pathlib.Path(TOOL).parent}:{os.environ['PATH']}",
            **environment,
        }  # fmt: skip
        variables = environment_with(variables)
        self.name = name
        self.received = ""
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execvpe(command[0], command, variables)
        for line in (load or usual, define):
            self.type(line + "\r")
        self.type("show begin\r")
        self.shown()

    def __exit__(self, *_):
        os.close(self.terminal)  # which ends the shell
        os.waitpid(self.process, 0)

    def type(self, text):
        os.write(self.terminal, text.encode())

    def read_until(self, end):
        """What the shell writes to the terminal, up to `end`."""
        received = b""
        while end.encode() not in received:
            received += os.read(self.terminal, 65536)
        self.received = received.decode()
        return self.received

    def shown(self):
        """The arguments that `show` was called with."""
        return re.findall("\2([^\3]*)\3", self.read_until("\4"))

    def complete(self, line):
        """The arguments of `show` after `line` was typed, in which tabs complete, and Enter."""
        self.type(f"show {line}\r")
        return self.shown()

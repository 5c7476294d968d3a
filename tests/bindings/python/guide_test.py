"""The code in the guide runs: each block in its order, with the variables of those before it."""

import contextlib
import io
import json
import pathlib
import re
import tempfile
import types
import unittest
from unittest import mock

import vemlo

from cloud import Cloud, certificate, response, s3_buckets, s3_folders

ROOT = pathlib.Path(__file__).parents[3]
DOCUMENTS = ("bindings/python/README.md", "docs/bindings/python.md")
FOLDERS = {"files": [{"id": "1", "name": "Holiday"}], "has_more": False, "id": "new",
           "entries": [], "name": "Photos", "userPrincipalName": "j@example.test",
           "access_token": "access", "refresh_token": "refresh"}  # fmt: skip


def respond(request):
    """One response for every request of a drive."""
    if request.path == "/":
        return s3_buckets(["holiday"])
    if request.path.startswith("/holiday"):
        return s3_folders(["photos/2020/"])
    return response(json.dumps(FOLDERS))


def refusal(request, status, reason):
    if request.path.endswith("/token"):
        return response('{"error": "invalid_grant"}', "400 Bad Request")
    error = {"error": {"message": "No", "errors": [{"reason": reason}]}}
    return response(json.dumps(error), status)


def blocks(document):
    text = (ROOT / document).read_text(encoding="utf-8")
    return re.findall(r"^```python\n(.*?)^```$", text, re.M | re.S)


class Guide(unittest.TestCase):
    def setUp(self):
        self.cloud = self.enterContext(Cloud(respond))
        self.enterContext(contextlib.chdir(self.enterContext(tempfile.TemporaryDirectory())))

    @contextlib.contextmanager
    def instead_of_the_services(self):
        """Lets sessions without a proxy reach the cloud, and trust it."""
        record, apply = vemlo._session.proxy_record, vemlo.library._apply

        def apply_and_trust(settings):
            apply(settings)
            vemlo._c.load().vemlo_client_set_trust(certificate().encode(), None)

        def with_proxy(proxy, into):
            return record(proxy or self.cloud.proxy, into)

        with mock.patch.object(vemlo._session, "proxy_record", with_proxy), \
                mock.patch.object(vemlo.account, "proxy_record", with_proxy), \
                mock.patch.object(vemlo.library, "_apply", apply_and_trust):  # fmt: skip
            yield

    def run_blocks(self, texts, variables):
        """What the blocks print."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            for text in texts:
                self.run_block(text, variables)
        return output.getvalue()

    def run_block(self, text, variables):
        # Blocks that go on with a drive of an earlier one have a drive that is open.
        opens_its_own = "vemlo.Library(" in text or "drive." not in text
        has_its_own_server = "127.0.0.1" in text
        with contextlib.ExitStack() as stack:
            if not has_its_own_server:
                stack.enter_context(self.instead_of_the_services())
            if not opens_its_own:
                stack.enter_context(vemlo.Library())
                drive = stack.enter_context(vemlo.Drive(vemlo.Service.GOOGLE_DRIVE))
                drive.set_tokens(variables["stored_tokens"])
                variables["drive"] = drive
            exec(compile(text, "block", "exec"), variables)

    def variables(self):
        return {
            "vemlo": vemlo,
            "stored_tokens": vemlo.Tokens("access", "refresh"),
            "code_from_redirect": lambda state: "code", "on_cancel_button": lambda cancel: cancel(),
            "accounts": [types.SimpleNamespace(refresh_token="other")],
        }  # fmt: skip

    def test_the_guide(self):
        texts = blocks("docs/bindings/python.md")
        self.assertGreater(len(texts), 10)
        arguments = ["list_buckets.py", "https://s3.example.com", "key", "secret"]
        self.enterContext(mock.patch("sys.argv", arguments))
        variables = self.variables()
        output = self.run_blocks(texts, variables)
        for line in (
            "holiday\n", "photos/2020/\n", "Open https://accounts.google.com", "Holiday 1\n",
            "j@example.test\n", "1 entries so far\n", "You ended it.\n",
        ):  # fmt: skip
            with self.subTest(line=line):
                self.assertIn(line, output)
        recording = pathlib.Path("calls.har").read_text(encoding="utf-8")
        self.assertIn("https://api.dropboxapi.com/2/files/list_folder", recording)

        # What it defines without using it.
        with self.instead_of_the_services(), vemlo.Library(), \
                vemlo.Drive(vemlo.Service.GOOGLE_DRIVE) as drive:  # fmt: skip
            drive.set_tokens(variables["stored_tokens"])
            advise = variables["folders_or_advice"]
            self.assertEqual(advise(drive, "root")[0], ("Holiday", "1"))
            for status, reason, advice in (
                ("403 Forbidden", "dailyLimitExceeded", "Try again in 60 seconds."),
                ("404 Not Found", "notFound", "not found: "),
                ("401 Unauthorized", "authError", "Link the account again."),
            ):
                self.cloud.respond = lambda request: refusal(request, status, reason)
                self.assertIn(advice, advise(drive, "root"))

    def test_the_readme(self):
        (text,) = blocks("bindings/python/README.md")
        self.assertEqual(self.run_blocks([text], self.variables()), "Holiday\n")

    def test_the_docstring(self):
        text = re.search(r"\n\n(    with .*?)\n\n", vemlo.__doc__, re.S)[1]
        block = "if True:\n" + text
        self.assertEqual(self.run_blocks([block], self.variables()), "Holiday\n")


if __name__ == "__main__":
    unittest.main()

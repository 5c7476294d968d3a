"""A session that is recorded, and played without the services."""

import contextlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import uuid

from support import drives, output, recordings, sandbox
from support.case import LibraryTest
from support.drive_sessions import DRIVES, DriveSession
from support.libvemlo import SERVICES, proxy_setting

HERE = pathlib.Path(__file__).parent
COMMAND_LINE = HERE.parent.parent / "sandbox" / "cli.mjs"


def run_calls(internet, recording=None, **given):
    """Runs the calls in a process that trusts `internet` and uses its proxy."""
    removed = ("RECORDINGS_FOLDER", "SSL_CERT_DIR")
    environment = {name: os.environ[name] for name in os.environ if name not in removed}
    result = subprocess.run(
        [sys.executable, "-m", "support.service_calls"], cwd=HERE, check=False, timeout=60,
        input=json.dumps({"port": internet["proxyPort"], "recording": recording, **given}),
        env={**environment, "SSL_CERT_FILE": internet["caFile"]}, capture_output=True,
        encoding="utf-8",
    )  # fmt: skip
    output.keep(result.stderr)
    assert result.returncode == 0, result.stderr
    return json.loads(result.stdout)


@contextlib.contextmanager
def played(recording, folder):
    """The state of a sandbox that plays a recording."""
    state = pathlib.Path(folder) / "state.json"
    node = ["node", COMMAND_LINE]
    subprocess.run(
        [*node, "start", "--state", state, "--play", recording, "--parent", str(os.getpid())],
        check=True, capture_output=True, timeout=60,
    )  # fmt: skip
    try:
        yield json.loads(state.read_text(encoding="utf-8"))
    finally:
        subprocess.run([*node, "stop", "--state", state], check=True, capture_output=True)


def credentials(service):
    """What the calls need to use an account of the sandbox."""
    if service == "s3":
        account = sandbox.account("radosgw")
        return {"keys": [account.access_key, account.secret_key]}
    if service == "azure_ssb":
        azure = sandbox.state()["azure"]
        return {"keys": [azure["accountName"], azure["accessKey"]]}
    proxy = proxy_setting(sandbox.state()["internet"]["proxyPort"])
    with DriveSession(next(drive for drive in DRIVES if drive.family == service), proxy) as session:
        holder = f"{uuid.uuid4().hex[:12]}@example.test"
        page = drives.consent(session.authorize_url(), holder)
    return {"code": drives.query_of(page)["code"]}


class Recording(LibraryTest):
    service = None

    def setUp(self):
        sandbox.reset_internet()
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.path = f"{self.folder}/session.har"
        self.name = f"e2e-{uuid.uuid4().hex[:20]}"

    def record(self):
        given = {"service": self.service, "name": self.name, **credentials(self.service)}
        sandbox.control("DELETE", "log")
        internet = sandbox.state()["internet"]
        return given, run_calls(internet, recording=self.path, **given)


class RecordingTest:
    def test_has_every_request(self):
        self.record()
        recorded = recordings.entries_in(self.path)
        self.assertEqual(
            [(entry["request"]["method"], entry["response"]["status"]) for entry in recorded],
            [(entry["method"], entry["status"]) for entry in sandbox.requests()],
        )
        self.assertEqual({recordings.service_of(entry) for entry in recorded}, {self.service})

    def test_can_be_played(self):
        """The same calls have the same results, without the services and with other credentials."""
        given, results = self.record()
        codes = [result if isinstance(result, int) else int(result["code"]) for result in results]
        self.assertEqual(codes[:4], [0] * 4)
        self.assertNotEqual(codes[-1], 0)
        if "code" in given:
            given["code"] = "another"
        else:
            given["keys"][1] = "YW5vdGhlcg=="
        with played(self.path, self.folder) as state:
            self.assertEqual(run_calls(state["internet"], **given), results)


class PlayedRecording(Recording):
    service = "google_drive"

    def test_has_nothing_else(self):
        given, results = self.record()
        with played(self.path, self.folder) as state:
            other = run_calls(state["internet"], **{**given, "name": self.name + "x"})
        self.assertEqual(other[1], results[1])
        self.assertNotEqual(other[2], results[2], "the folder of this name was not recorded")


for _service in SERVICES:
    _name = f"RecordingOf{_service.title().replace('_', '')}"
    globals()[_name] = type(
        _name, (RecordingTest, Recording), {"service": _service, "__module__": __name__}
    )


if __name__ == "__main__":
    unittest.main()

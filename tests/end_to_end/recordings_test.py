"""The recordings of the earlier tests contain no token, code, secret or e-mail address."""

import json
import os
import pathlib
import re
import tempfile
import unittest
import uuid

from recording_test import credentials, run_calls
from secrets_test import all_secrets
from support import recordings, sandbox
from support.case import LibraryTest
from support.libvemlo import SERVICES

E_MAIL = re.compile(
    r"(@|%(25)?40|\\+(u00|x)40|&(amp;)?(commat|#0*64|#x0*40);)(example\.|sandbox\.)"
)
LEAST_ENTRIES = 5


def forbidden():
    """Every spelling of what no recording may show."""
    state = sandbox.state()
    names = ("accessKey", "secretKey", "otherAccessKey", "otherSecretKey")
    parts = [state[part] for part in ("radosgw", "swift", "azure")]
    keys = [part[name] for part in parts for name in names if name in part]
    secrets = {*all_secrets(), *keys}
    return recordings.Spellings(
        {spelling for secret in secrets for spelling in recordings.spellings(secret)}
    )


class Recordings(LibraryTest):
    def setUp(self):
        self.paths = sorted(pathlib.Path(os.environ["RECORDINGS_FOLDER"]).glob("*.har"))

    def test_show_no_secret(self):
        # Makes at least one recording of each service, whichever tests ran before.
        counts = dict.fromkeys(SERVICES, 0)
        with tempfile.TemporaryDirectory() as folder:
            for service in SERVICES:
                path = pathlib.Path(folder) / f"{service}.har"
                self.paths.append(path)
                run_calls(
                    sandbox.state()["internet"], service=service, recording=str(path),
                    name=f"e2e-{uuid.uuid4().hex[:20]}", **credentials(service),
                )  # fmt: skip
            words = forbidden()
            for path in self.paths:
                for entry in recordings.entries_in(path):
                    service = recordings.service_of(entry)
                    if service:
                        counts[service] += 1
                self.assertEqual(words.found_in(path), [], path)
                self.assertIsNone(E_MAIL.search("\n".join(recordings.texts_of(path))), path)
        self.assertGreaterEqual(min(counts.values()), LEAST_ENTRIES, counts)
        print(f"{len(self.paths)} recordings, entries: {counts}")

    def test_with_a_secret_are_detected(self):
        """In any spelling, in a header, in the text of a body and in the bytes of one."""
        secret = 'ya29.a0/AfH"6SMB+~=\\x&y<\'>z'
        words = recordings.spellings(secret)
        self.assertIn("ya29.a0/AfH&quot;6SMB+~=\\x&amp;y&lt;&#x27;&gt;z", words)
        searched = recordings.Spellings(words)
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "planted.har"
            for word in words:
                for planted in (
                    {"headers": [{"name": "x", "value": f"<{word}>"}]},
                    {"content": {"text": f"<{word}>"}},
                ):
                    har = {"log": {"version": "1.2", "entries": [{"response": planted}]}}
                    path.write_text(json.dumps(har), encoding="utf-8")
                    self.assertIn(word, searched.found_in(path))
            for sign in ("@", "%40", "%2540", "\\\\u0040", "&#64;", "&#x40;", "&commat;"):
                self.assertTrue(E_MAIL.search(f"ann{sign}example.test"), sign)


if __name__ == "__main__":
    unittest.main()

"""Tests of the log parser that the other tests use: it detects malformed lines and secrets."""

import hashlib
import os
import unittest

from support import sandbox
from support.log import Log, captured

PREFIX = "E20260102 03:04:05.678901    42 file.cpp:7] "
ERROR = (
    "{ Error type: 15, Exception: AccessDenied, Message: Access, Denied, "
    "HttpResponseCode: 403, Retryable: 0 }"
)


class Errors(unittest.TestCase):
    def test_fields(self):
        for text in (f"{PREFIX}{ERROR}\n", f"\x1b[0;31m{PREFIX}{ERROR}\n\x1b[m"):
            error = Log(text).service_error()
            self.assertEqual(error, (15, "AccessDenied", "Access, Denied", 403, False))

    def test_anything_but_one_such_line_is_refused(self):
        texts = (
            "",
            f"{ERROR}\n",
            f"{PREFIX}{ERROR}\n" * 2,
            f"{PREFIX}{ERROR} \n",
            f"{PREFIX}Failed. {ERROR}\n",
            f"{PREFIX.replace('E', 'W', 1)}{ERROR}\n",
            f"WARNING: something else\n{PREFIX}{ERROR}\n",
        )
        for text in texts:
            with self.subTest(text=text), self.assertRaises(AssertionError):
                Log(text).service_error()


class Secrets(unittest.TestCase):
    def test_secrets_of_the_sandbox(self):
        state = sandbox.state()
        secrets = [state["radosgw"]["secretKey"], state["swift"]["otherSecretKey"]]
        for secret in (*secrets, state["internet"]["proxyPassword"], sandbox.MADE_UP_SECRET):
            with self.assertRaises(AssertionError) as refusal:
                Log(f"{PREFIX}key is {secret}!\n")
            self.assertNotIn(secret, str(refusal.exception))

    def test_signatures_and_what_belongs_to_them(self):
        signature = hashlib.sha256(b"").hexdigest()
        header = "Authorization: AWS4-HMAC-SHA256 Credential=a/b, Signature=c"
        for text in (signature, header, "Proxy-Authorization: Basic YTpi", "&X-Amz-Signature=1"):
            with self.subTest(text=text), self.assertRaises(AssertionError):
                Log(PREFIX + text)

    def test_names_of_errors_are_not_secrets(self):
        for name in ("SignatureDoesNotMatch", "AuthorizationHeaderMalformed"):
            Log(PREFIX + ERROR.replace("AccessDenied", name)).service_error()


class Capturing(unittest.TestCase):
    def test_output_that_bypasses_python_is_captured(self):
        with captured() as capture:
            os.write(2, b"from below\n")
        self.assertEqual(capture.log.lines, ["from below"])


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Shows that scripts/check-layering finds every kind of fault. usage: SCRIPT"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = None

# A tree without a fault.
GOOD = {
    "src/libvemlo_s3.cpp":
        ["<glog/logging.h>", '"CloudStorage/Client/S3/S3Client.h"', '"libvemlo.h"',
         '"libvemlo/session.h"'],
    "src/libvemlo_azure_ssb.cpp": ['"CloudStorage/Client/AzureSSB/AzureSSBClient.h"'],
    "src/libvemlo/session.h":
        ["<Poco/Crypto/Crypto.h>", '"CloudStorage/Client/S3/S3Client.h"',
         '"CloudStorage/Client/AzureSSB/AzureSSBClient.h"'],
    "src/libvemlo/constants.h.in": [],
    "service_client/include/CloudStorage/Client/S3/S3Client.h": ['"CloudStorage/Client/WSClient.h"'],
    "service_client/include/CloudStorage/Client/AzureSSB/AzureSSBClient.h": [],
    "service_client/include/CloudStorage/Client/WSClient.h": ["<memory>"],
    "service_client/src/Client/S3/S3Client.cpp":
        ['"CloudStorage/Client/S3/S3Client.h"', '"Client/ServiceCall.h"', '"Util/Xml.h"'],
    "service_client/src/CInterface/Failures.cpp":
        ['"libvemlo_service_client.h"', '"Client/ServiceCall.h"'],
    "service_client/src/Client/ServiceCall.h": [],
    "service_client/src/Http/CurlTransport.cpp": ["<curl/curl.h>", '"Http/CurlHandles.h"'],
    "service_client/src/Http/CurlHandles.h": ["<curl/curl.h>"],
    "service_client/src/Util/Xml.h": ["<pugixml.hpp>"],
    "bindings/cpp/libvemlo.hpp": ['"libvemlo/drive.hpp"'],
    "bindings/cpp/libvemlo/drive.hpp":
        ["<libvemlo.h>", "<libvemlo_service_client.h>", "<string_view>", '"call.hpp"'],
    "tools/vemlo/main.cpp":
        ["<libvemlo.hpp>", "<curl/curlver.h>"],
}

# Pairs of a file and an include that it must not have.
BAD = [
    ("src/libvemlo_s3.cpp", "<curl/curl.h>"),
    ("src/libvemlo/session.h", "<curl/curl.h>"),
    ("src/libvemlo_s3.cpp", "<simdjson.h>"),
    ("src/libvemlo_s3.cpp", "<pugixml.hpp>"),
    ("src/libvemlo_s3.cpp", "<nlohmann/json.hpp>"),
    ("src/libvemlo_s3.cpp", "<Poco/JSON/Parser.h>"),
    ("src/libvemlo_s3.cpp", "<Poco/DOM/Document.h>"),
    ("src/libvemlo/constants.h.in", "<curl/curl.h>"),
    ("src/libvemlo_s3.cpp", '"Client/ServiceCall.h"'),
    ("src/libvemlo/session.h", '"Util/Xml.h"'),
    ("src/libvemlo_s3.cpp", '"../service_client/src/Util/Xml.h"'),
    ("src/libvemlo_s3.cpp", '"service_client/src/Util/Xml.h"'),
    ("src/libvemlo_s3.cpp", '"CloudStorage/Client/S3/Internal.h"'),
    ("src/libvemlo_s3.cpp", '"CloudStorage/Client/AzureSSB/AzureSSBClient.h"'),
    ("src/libvemlo_azure_ssb.cpp", "<CloudStorage/Client/S3/S3Client.h>"),
    ("src/libvemlo_s3.cpp", '"libvemlo_azure_ssb.cpp"'),
    ("src/libvemlo/session.h", '"libvemlo_s3.h"'),
    ("src/libvemlo_s3.cpp", '"libvemlo_service_client.h"'),
    ("src/libvemlo/session.h", "<libvemlo_service_client.h>"),
    ("src/libvemlo_s3.cpp", '"CInterface/Records.h"'),
    ("bindings/cpp/libvemlo.hpp", '"CloudStorage/Client/WSClient.h"'),
    ("bindings/cpp/libvemlo/drive.hpp", '"libvemlo/session.h"'),
    ("bindings/cpp/libvemlo/drive.hpp", "<glog/logging.h>"),
    ("service_client/src/CInterface/Failures.cpp", '"libvemlo.h"'),
    ("service_client/src/Client/ServiceCall.h", '"libvemlo_service_client.h"'),
    ("service_client/include/CloudStorage/Client/WSClient.h", '"libvemlo_service_client.h"'),
    ("service_client/src/Client/S3/S3Client.cpp", '"libvemlo.h"'),
    ("service_client/include/CloudStorage/Client/WSClient.h", '"libvemlo.h"'),
    ("service_client/src/Client/ServiceCall.h", '"libvemlo/session.h"'),
    ("service_client/src/Client/ServiceCall.h", '"../../src/libvemlo/session.h"'),
    ("service_client/src/Client/S3/S3Client.cpp", '"Client/AzureSSB/AzureSSBCall.h"'),
    ("service_client/src/Client/S3/S3Client.cpp",
     '"CloudStorage/Client/AzureSSB/AzureSSBClient.h"'),
    ("service_client/include/CloudStorage/Client/S3/S3Client.h",
     '"CloudStorage/Client/AzureSSB/AzureSSBClient.h"'),
    ("service_client/include/CloudStorage/Client/WSClient.h", '"Client/ServiceCall.h"'),
    ("service_client/src/Client/ServiceCall.h", "<curl/curl.h>"),
    ("service_client/src/Util/Xml.h", "<curl/curl.h>"),
    ("service_client/include/CloudStorage/Client/WSClient.h", "<curl/curl.h>"),
    ("tools/vemlo/main.cpp", '"CloudStorage/Client/S3/S3Client.h"'),
    ("tools/vemlo/main.cpp", '"libvemlo/session.h"'),
    ("tools/vemlo/main.cpp", "<libvemlo.h>"),
    ("tools/vemlo/main.cpp", "<libvemlo_service_client.h>"),
    ("tools/vemlo/main.cpp", "<libvemlo/call.hpp>"),
]


def write_tree(root, tree):
    for path, includes in tree.items():
        file = Path(root) / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f"#include {include}\n" for include in includes), encoding="utf-8")


def run(tree):
    with tempfile.TemporaryDirectory() as root:
        write_tree(root, tree)
        return subprocess.run([sys.executable, "-B", SCRIPT, root], capture_output=True, text=True,
                              check=False)


class CheckLayering(unittest.TestCase):
    def test_accepts_a_good_tree(self):
        result = run(GOOD)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_finds_each_bad_include_and_only_it(self):
        for path, include in BAD:
            with self.subTest(path=path, include=include):
                result = run({**GOOD, path: GOOD[path] + [include]})
                self.assertEqual(result.returncode, 1)
                where = f"{path}:{len(GOOD[path]) + 1}: {include[1:-1]}: "
                self.assertTrue(result.stderr.startswith(where), result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1)

    def test_does_not_take_an_empty_tree_for_a_good_one(self):
        for folder in ("src/", "service_client/include/", "service_client/src/", "tools/"):
            with self.subTest(folder=folder):
                rest = {path: lines for path, lines in GOOD.items() if not path.startswith(folder)}
                result = run(rest)
                self.assertEqual(result.returncode, 1)
                self.assertIn(folder.rstrip("/") + ": no source file", result.stderr)


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()

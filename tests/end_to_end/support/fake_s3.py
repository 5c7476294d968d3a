"""A fake S3 server, which lets a test decide when and how it responds."""

import contextlib
import http.server
import threading
import urllib.parse

from .tool import KEYS


class FakeS3Server(contextlib.AbstractContextManager):
    """Responds to each upload with success and to other requests with `body`, after `wait`.

    `body` may be a function that returns the status and the body for a bucket and a prefix; the
    bucket is empty for the list of buckets. `upload` may be one that does so for a path.
    """

    def __init__(self, body="", status=200, wait=lambda: None, upload=lambda path: (200, "")):
        requests = self.requests = []

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                wait()
                if not callable(body):
                    return self.respond(status, body)
                url = urllib.parse.urlsplit(self.path)
                query = urllib.parse.parse_qs(url.query)
                return self.respond(*body(url.path.strip("/"), query.get("prefix", [""])[0]))

            def do_PUT(self):
                self.rfile.read(int(self.headers.get("Content-Length", "0")))
                self.respond(*upload(self.path))

            def respond(self, status, body):
                requests.append(f"{self.command} {self.path}")
                self.send_response(status)
                self.send_header("Content-Length", str(len(body.encode())))
                self.end_headers()
                # The tool may have been interrupted.
                with contextlib.suppress(OSError):
                    self.wfile.write(body.encode())

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.thread = threading.Thread(target=self.server.serve_forever, args=(0.01,))
        self.endpoint = f"http://127.0.0.1:{self.server.server_port}"
        self.environment = {**KEYS, "VEMLO_S3_ENDPOINT": self.endpoint}

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def folders(*names):
    """A listing of folders in the format of an S3 server."""
    prefixes = [f"<CommonPrefixes><Prefix>{name}</Prefix></CommonPrefixes>" for name in names]
    return f"<ListBucketResult>{''.join(prefixes)}</ListBucketResult>"


def buckets(*names):
    """A list of buckets in the format of an S3 server."""
    entries = [f"<Bucket><Name>{name}</Name></Bucket>" for name in names]
    return (
        f"<ListAllMyBucketsResult><Buckets>{''.join(entries)}</Buckets></ListAllMyBucketsResult>"
    )


def error(code, message="no"):
    return f"<Error><Code>{code}</Code><Message>{message}</Message></Error>"


def tree(**contents):
    """A function for a server with these buckets, each of which is a list of keys of folders."""

    def respond(bucket, prefix):
        if not bucket:
            return 200, buckets(*contents)
        if bucket not in contents:
            return 404, error("NoSuchBucket")
        below = (key[len(prefix) :] for key in contents[bucket] if key.startswith(prefix))
        names = dict.fromkeys(key.split("/")[0] for key in below if "/" in key)
        return 200, folders(*(f"{prefix}{name}/" for name in names))

    return respond

"""A server on loopback that stands in for the services: an HTTP server for S3, and for drives a
proxy behind which every host is this server, over TLS."""

import atexit
import contextlib
import functools
import pathlib
import shutil
import socket
import ssl
import subprocess
import tempfile
import threading
import unittest
import xml.sax.saxutils
from typing import NamedTuple
from urllib.parse import parse_qs, urlsplit

import vemlo

HOSTS = ("www.googleapis.com", "accounts.google.com", "graph.microsoft.com", "api.dropboxapi.com",
         "login.microsoftonline.com", "s3.example.com", "oauth2.googleapis.com",
         "drive.amazonaws.com", "api.amazon.com")  # fmt: skip


class Request(NamedTuple):
    method: str
    target: str
    body: bytes
    connection: socket.socket

    @property
    def path(self):
        return urlsplit(self.target).path

    @property
    def query(self):
        return {name: values[0] for name, values in parse_qs(urlsplit(self.target).query).items()}

    def wait_until_abandoned(self):
        """Returns when the client has closed the connection instead of waiting for the response."""
        with contextlib.suppress(ConnectionError):
            self.connection.recv(1)


def response(body=b"", status="200 OK", headers=""):
    if isinstance(body, str):
        body = body.encode()
    return f"HTTP/1.1 {status}\r\nContent-Length: {len(body)}\r\n{headers}\r\n".encode() + body


def s3_folders(names):
    """A listing of folders; a name may be bytes."""
    prefixes = b"".join(
        b"<CommonPrefixes><Prefix>"
        + (name if isinstance(name, bytes) else xml.sax.saxutils.escape(name).encode())
        + b"</Prefix></CommonPrefixes>"
        for name in names
    )
    return response(b"<ListBucketResult>" + prefixes + b"</ListBucketResult>")


def s3_buckets(names):
    buckets = "".join(f"<Bucket><Name>{name}</Name></Bucket>" for name in names)
    text = f"<Buckets>{buckets}</Buckets>"
    return response(f"<ListAllMyBucketsResult>{text}</ListAllMyBucketsResult>")


def s3_error(code, status, message="No way.", headers=""):
    text = f"<Error><Code>{code}</Code><Message>{message}</Message></Error>"
    return response(text, status, headers)


@functools.lru_cache(maxsize=None)
def certificate():
    """A file with a certificate for all hosts, and its key."""
    folder = tempfile.mkdtemp()
    atexit.register(shutil.rmtree, folder)
    path = pathlib.Path(folder) / "certificate.pem"
    names = ",".join(f"DNS:{host}" for host in HOSTS)
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
         "-nodes", "-subj", "/CN=services", "-addext", f"subjectAltName={names}", "-days", "2",
         "-keyout", f"{path}.key", "-out", path],
        check=True, capture_output=True,
    )  # fmt: skip
    return str(path)


class Cloud:
    """Responds to each request with the result of `respond(request)`, on a thread for each
    connection; None closes the connection. Stops at the end of a `with`."""

    def __init__(self, respond):
        self.respond = respond if callable(respond) else lambda _: respond
        self.requests = []
        self._listener = socket.create_server(("127.0.0.1", 0))
        self._connections = []
        self._errors = []
        self._threads = [threading.Thread(target=self._accept)]

    @property
    def port(self):
        return self._listener.getsockname()[1]

    @property
    def endpoint(self):
        return f"http://127.0.0.1:{self.port}"

    @property
    def proxy(self):
        return vemlo.Proxy("127.0.0.1", self.port)

    def __enter__(self):
        self._threads[0].start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._threads[0].join()
        for connection in self._connections:
            with contextlib.suppress(OSError):
                connection.shutdown(socket.SHUT_RDWR)
        for thread in self._threads[1:]:
            thread.join()
        self._listener.close()
        if self._errors:
            raise self._errors[0]

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:  # shut down
                return
            thread = threading.Thread(target=self._serve, args=(connection,))
            self._connections.append(connection)
            self._threads.append(thread)
            thread.start()

    def _serve(self, connection):
        # The client may close the connection at any time.
        gone = (ConnectionError, ssl.SSLError)
        with contextlib.suppress(*gone), contextlib.ExitStack() as stack:
            stack.enter_context(connection)
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            reader = stack.enter_context(connection.makefile("rb"))
            head = reader.readline()
            if head.startswith(b"CONNECT"):
                while reader.readline().strip():
                    pass
                connection.sendall(b"HTTP/1.1 200 OK\r\n\r\n")
                context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
                context.load_cert_chain(certificate(), certificate() + ".key")
                connection = stack.enter_context(context.wrap_socket(connection, server_side=True))
                reader = stack.enter_context(connection.makefile("rb"))
                head = reader.readline()
            while head:
                connection.sendall(self._response_to(head, reader, connection))
                head = reader.readline()

    def _response_to(self, head, reader, connection):
        method, target, _ = head.decode().split(" ")
        length = 0
        while line := reader.readline().strip():
            name, _, value = line.partition(b":")
            if name.lower() == b"content-length":
                length = int(value)
        request = Request(method, target, reader.read(length), connection)
        self.requests.append(request)
        try:
            content = self.respond(request)
        except Exception as error:
            self._errors.append(error)
            raise ConnectionResetError from error
        if content is None:
            raise ConnectionResetError
        return content


class CloudCase(unittest.TestCase):
    """Has an open library. `settings` are those of the library."""

    settings = {}

    def setUp(self):
        settings = vemlo.Settings(trust_file=certificate(), **self.settings)
        self.library = self.enterContext(vemlo.Library(settings))

    def cloud(self, respond):
        return self.enterContext(Cloud(respond))

    def s3(self, respond):
        """A session with a cloud, which is its member `cloud`."""
        cloud = self.cloud(respond)
        session = self.enterContext(vemlo.S3(cloud.endpoint, "", "key", "not-to-be-shown"))
        session.cloud = cloud
        return session

    def drive(self, service, respond, tokens=vemlo.Tokens("access", "refresh")):
        cloud = self.cloud(respond)
        session = self.enterContext(vemlo.Drive(service, cloud.proxy))
        session.set_tokens(tokens)
        session.cloud = cloud
        return session

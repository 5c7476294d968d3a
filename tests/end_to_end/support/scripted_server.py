"""A loopback server that responds to every request with bytes given by a test."""

import contextlib
import socket
import threading

from .sandbox import MADE_UP_SECRET, Account


class ScriptedServer:
    """Serves one connection after the other until the end of a `with`.

    `response` is bytes, or a function that is called with the connection once the head of a request
    has arrived and that sends the response. The connection is closed afterwards.
    """

    def __init__(self, response):
        self.respond = _sends(response) if isinstance(response, bytes) else response
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.thread = threading.Thread(target=self._serve)

    @property
    def account(self):
        port = self.listener.getsockname()[1]
        return Account(f"http://127.0.0.1:{port}", "key", MADE_UP_SECRET)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        self.listener.close()

    def _serve(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:  # shut down
                return
            # In some tests the client closes the connection early.
            with connection, contextlib.suppress(ConnectionError):
                self._receive_head(connection)
                self.respond(connection)

    @staticmethod
    def _receive_head(connection):
        head = b""
        # This byte starts a TLS handshake, in which the client waits for a response.
        while b"\r\n\r\n" not in head and not head.startswith(b"\x16"):
            received = connection.recv(65536)
            if not received:
                raise ConnectionError("the client has gone")
            head += received


def _sends(content):
    return lambda connection: connection.sendall(content)


def http_response(body, status="200 OK", declared=None):
    """A whole response; `declared` is the Content-Length if it is not that of the body."""
    length = len(body) if declared is None else declared
    head = f"HTTP/1.1 {status}\r\nContent-Length: {length}\r\nConnection: close\r\n\r\n"
    return head.encode() + body


def repeated(head, chunk, times=None):
    """For ScriptedServer: sends `head` and then `chunk`, `times` times or endlessly."""

    def respond(connection):
        connection.sendall(head)
        sent = 0
        while times is None or sent < times:
            connection.sendall(chunk)
            sent += 1

    return respond

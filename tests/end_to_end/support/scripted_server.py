"""A loopback server that answers every request with bytes of a test's choosing."""

import contextlib
import socket
import threading

from .sandbox import MADE_UP_SECRET, Account


class ScriptedServer:
    """Serves one connection after the other until the end of a `with`.

    `answer` is bytes, or is called with the connection once a request's head has arrived and sends
    what it likes. The connection is closed after it.
    """

    def __init__(self, answer):
        self.answer = _sends(answer) if isinstance(answer, bytes) else answer
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
            # Clients that break off are what some tests are about.
            with connection, contextlib.suppress(ConnectionError):
                self._take_head(connection)
                self.answer(connection)

    @staticmethod
    def _take_head(connection):
        head = b""
        # What begins so wants to talk TLS, and will not go on before it has an answer.
        while b"\r\n\r\n" not in head and not head.startswith(b"\x16"):
            received = connection.recv(65536)
            if not received:
                raise ConnectionError("the client has gone")
            head += received


def _sends(content):
    return lambda connection: connection.sendall(content)


def http_answer(body, status="200 OK", promised=None):
    """An answer of one piece; `promised` is the length that it claims to have."""
    length = len(body) if promised is None else promised
    head = f"HTTP/1.1 {status}\r\nContent-Length: {length}\r\nConnection: close\r\n\r\n"
    return head.encode() + body


def repeated(head, piece, times=None):
    """An `answer` that sends `head` and then `piece` as often as said, or without end."""

    def answer(connection):
        connection.sendall(head)
        sent = 0
        while times is None or sent < times:
            connection.sendall(piece)
            sent += 1

    return answer

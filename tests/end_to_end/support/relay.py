"""A proxy in front of another one, which lets a test act when the first connection is made."""

import contextlib
import socket
import socketserver
import threading


class Relay(contextlib.AbstractContextManager):
    def __init__(self, host, port, on_first_connection):
        steps = iter([on_first_connection])

        class Handler(socketserver.BaseRequestHandler):
            def handle(self):
                next(steps, lambda: None)()
                with socket.create_connection((host, port)) as upstream:
                    back = threading.Thread(target=copy, args=(upstream, self.request))
                    back.start()
                    copy(self.request, upstream)
                    back.join()

        self.server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = False
        self.thread = threading.Thread(target=self.server.serve_forever, args=(0.01,))
        self.address = f"127.0.0.1:{self.server.server_address[1]}"

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def copy(source, target):
    with contextlib.suppress(OSError):
        while data := source.recv(65536):
            target.sendall(data)
    with contextlib.suppress(OSError):
        target.shutdown(socket.SHUT_WR)

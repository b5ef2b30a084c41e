"""What tests of the Python client share: real servers, and one that answers as it is told."""

import os
import signal
import socket
import subprocess
import sys
import tempfile
import threading
from contextlib import contextmanager

QV = os.environ.get("QV", "qv")
# What a process takes is read from /proc; a sanitizer keeps freed memory.
MEASURABLE = sys.platform == "linux" and not os.environ.get("QV_SANITIZE")


class QvServe:
    """A process `qv serve` on a free port."""

    def __init__(self, *arguments, port=0):
        self.folder = tempfile.TemporaryDirectory()
        self.errors = open(os.path.join(self.folder.name, "errors"), "w+b")
        self.process = subprocess.Popen(
            [QV, "serve", "--port", str(port), *arguments],
            cwd=self.folder.name,
            env={**os.environ, "QV_SETTINGS": "none"},
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=self.errors,
        )
        for line in self.process.stdout:
            if line.startswith(b"port "):
                self.port = int(line.split()[1])
                return
        self.process.wait()
        message = self.error_text()
        self.__exit__()
        raise ChildProcessError(message)

    def stop(self):
        """Ends it as Ctrl-C does; its exit status."""
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(20)

    def memory(self):
        """Resident bytes."""
        with open(f"/proc/{self.process.pid}/statm") as sizes:
            return int(sizes.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def open_files(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def error_text(self):
        self.errors.seek(0)
        return self.errors.read().decode()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.errors.close()
        self.folder.cleanup()


def frame(payload):
    return str(len(payload)).encode().ljust(20, b"\0") + payload


def result(text):
    return frame(b"RETVAL:" + text.encode() + b"\0")


def error(text):
    return frame(b"ERROR:" + text.encode() + b"\0")


class FakeServer:
    """Sends what `answer(command)` returns: bytes, or several of them with pauses between; None
    closes the connection."""

    def __init__(self, answer):
        self.answer = answer
        self.commands = []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            with client, client.makefile("rb") as stream:
                try:
                    while self._serve_one(client, stream):
                        pass
                except OSError:
                    pass

    def _serve_one(self, client, stream):
        header = stream.read(20)
        if len(header) < 20:
            return False
        command = stream.read(int(header.split(b"\0")[0]))[:-1].decode()
        self.commands.append(command)
        answer = self.answer(command)
        if answer is None:
            return False
        for piece in [answer] if isinstance(answer, bytes) else answer:
            client.sendall(piece)
            if not isinstance(answer, bytes):
                threading.Event().wait(0.02)
        return True

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()


@contextmanager
def raw_connection(port):
    with socket.create_connection(("127.0.0.1", port), 10) as connection:
        yield connection

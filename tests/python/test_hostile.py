"""Clients that `qv serve` must survive; after each of them a good one is served."""

import os
import random
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

import qvclient
from support import MEASURABLE, QV, QvServe, frame, raw_connection


def text(command):
    return frame(command.encode() + b"\0")


def answered(connection):
    """Whether anything comes back before the server closes; it must do one of both."""
    connection.settimeout(20)
    try:
        return connection.recv(100) != b""
    except ConnectionError:
        return False


class Hostile(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = QvServe("--stall-timeout", "0.5")
        cls.addClassCleanup(cls.server.__exit__)

    def tearDown(self):
        with qvclient.connect(self.server.port, timeout=60) as app:
            self.assertEqual(app.command("app.numsubnodes()"), "0")  # nothing was executed

    def test_what_is_no_frame_is_dropped_without_an_answer(self):
        create = 'app.addsubnode("projectTB", "P")'
        number = random.Random(1)
        wrong = [
            f"GET /?{create} HTTP/1.1\r\nHost: localhost\r\n\r\n".encode(),
            f"POST / HTTP/1.1\r\nContent-Length: 40\r\n\r\n{create}\r\n".encode(),
            create.encode() + b"\n" * 20,
            b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" * 3,
        ]
        for length in (b"-33", b"+33", b" 33", b"33 ", b"0x21", b"3.3", b"", b"33" * 10, b"9" * 19):
            wrong.append(length.ljust(20, b"\0")[:20] + create.encode() + b"\0")
        wrong += [number.randbytes(number.randrange(20, 3000)) for _ in range(30)]
        for data in wrong:
            with self.subTest(data[:30]), raw_connection(self.server.port) as connection:
                connection.sendall(data)
                self.assertFalse(answered(connection))

    def test_a_length_beyond_the_limit_takes_no_memory(self):
        before = self.server.memory() if MEASURABLE else 0
        with raw_connection(self.server.port) as connection:
            connection.sendall(b"268435457".ljust(20, b"\0"))
            self.assertFalse(answered(connection))
        if MEASURABLE:
            self.assertLess(self.server.memory() - before, 10_000_000)

    def test_a_client_may_leave_at_every_point_of_a_frame(self):
        whole = text('app.addsubnode("projectTB", "P")')
        for end in range(len(whole)):
            with raw_connection(self.server.port) as connection:
                if end % 2:  # a reset instead of an orderly end
                    linger = struct.pack("ii", 1, 0)
                    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, linger)
                connection.sendall(whole[:end])

    def test_a_client_that_stalls_makes_place_for_the_next(self):
        whole = text('app.addsubnode("projectTB", "P")')
        for begun in (whole[:5], whole[:20], whole[:-1]):
            with raw_connection(self.server.port) as stalled:
                stalled.sendall(begun)
                with qvclient.connect(self.server.port, timeout=20) as app:
                    self.assertEqual(app.command("app.numsubnodes()"), "0")
                self.assertFalse(answered(stalled))

    def test_a_client_that_takes_no_answers_is_dropped(self):
        with raw_connection(self.server.port) as deaf:
            deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            deaf.settimeout(3)
            try:
                for _ in range(100_000):
                    deaf.sendall(text("help app"))
            except (socket.timeout, ConnectionError):
                pass
            with qvclient.connect(self.server.port, timeout=20) as app:
                self.assertEqual(app.command("app.numsubnodes()"), "0")

    def test_storms_of_connections_leave_nothing_behind(self):
        for count in (200, 10_000):  # the first for what is only set up once
            for i in range(count):
                with raw_connection(self.server.port) as connection:
                    if i % 10 == 0:  # those that wait are fewer than the system lets wait
                        connection.sendall(text(""))
                        self.assertTrue(answered(connection))
                    elif i % 3 == 0:
                        connection.sendall(text("")[: i % 20])
            with qvclient.connect(self.server.port, timeout=60) as app:
                app.command("")
            if MEASURABLE:
                files, memory = self.server.open_files(), self.server.memory()
                if count == 200:
                    first = files, memory
        if MEASURABLE:
            self.assertLessEqual(files, first[0] + 1)
            self.assertLess(memory - first[1], 2_000_000)


class Alone(unittest.TestCase):
    """What needs a server of its own."""

    def test_large_commands_and_answers_pass(self):
        with QvServe() as server, qvclient.connect(server.port, timeout=60) as app:
            app.addsubnode("projectTB", "P")
            app.subnodes[1].addsubnode("notesTB", "n")
            note = app.subnodes[1].subnodes[1]
            long = "0123456789\n" * 1_000_000
            note.text = long
            self.assertEqual(note.text, long)

    @unittest.skipIf(sys.platform == "win32", "no signals")
    def test_a_request_to_end_leaves_no_files_behind(self):
        for arguments, status in (("serve", "--port", "0"), 0), ((), 1):
            with self.subTest(arguments), tempfile.TemporaryDirectory() as folder:
                process = subprocess.Popen(
                    [QV, *arguments],
                    env={**os.environ, "QV_SETTINGS": "none", "TMPDIR": folder},
                    stdin=subprocess.PIPE,
                    stdout=subprocess.PIPE,
                    stderr=subprocess.DEVNULL,
                )
                with process:
                    process.stdin.write(b"app.numsubnodes()\n")
                    process.stdin.flush()
                    process.stdout.readline()
                    self.assertNotEqual(os.listdir(folder), [])
                    process.terminate()
                    self.assertEqual(process.wait(20), status)
                self.assertEqual(os.listdir(folder), [])


if __name__ == "__main__":
    unittest.main()

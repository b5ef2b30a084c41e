"""What is sent, and what becomes of answers that a real server gives rarely or never."""

import os
import signal
import sys
import threading
import time
import unittest
from unittest import mock

import qvclient
from support import FakeServer, error, frame, result

try:
    import numpy
except ImportError:
    numpy = None

# An object with something of every kind.
ANSWERS = {
    'app.objmember("subnodes")': "LIST<qvProjectNode>\n1 2",
    'app.objmember("rename")': "FUNCTION",
    'app.objmember("width")': "FLOAT\n1",
    'app.objmember("count")': "INTEGER\n7",
    'app.objmember("axis")': "CHARACTER\n1",
    'app.objmember("field")': "COMPLEX\n(1,2)",
    'app.objmember("note")': "STRING\n42\n",
    'app.objmember("shape")': "qvCircle",
    'app.objmember("gaps")': "LIST<FLOAT>\n-1 1",
    "app.gaps": "     [-1]     0.5\n     [0]     1\n     [1]     1.5\n",
    'app.objmember("names")': "LIST<STRING>\n1 2",
    "app.names": "     [1]     a\n     [2]     b\n     [2]     c\n",
    "app.names[1]": "a\n     [2]     b",
    "app.names[2]": "c",
    'app.objmember("modes")': "MATRIX<INTEGER>\n1 2 0 1",
    "app.modes": "     [1][0]     10\n     [1][1]     11\n     [2][0]     20\n     [2][1]     21\n",
    "app.modes[2][1]": "21",
    "app.modes[2][0]": "20",
    "app.subnodes[1]": "????",
    'app.subnodes[1].objmember("rename")': "FUNCTION",
    'app.subnodes[1].rename("wg2")': "\n",
    "app.rename()": "????",
    "app.rename(1)": "007",
}


def tree(command):
    if command in ANSWERS:
        return result(ANSWERS[command])
    if "=" in command:
        return result("\n")
    return error(f'could not find item "{command.partition(chr(34))[2].rstrip(chr(34) + ")")}"\n')


class Tree(unittest.TestCase):
    def setUp(self):
        self.server = FakeServer(tree)
        self.addCleanup(self.server.listener.close)
        self.app = qvclient.connect(self.server.port, timeout=10)
        self.addCleanup(self.app.close)

    def sent(self):
        commands, self.server.commands[:] = list(self.server.commands), []
        return commands

    def test_members_become_what_they_are(self):
        app = self.app
        values = [app.width, app.count, app.axis, app.field, app.note]
        self.assertEqual(values, [1.0, 7, "1", 1 + 2j, "42\n"])
        self.assertEqual([type(value) for value in values], [float, int, str, complex, str])
        self.assertIsInstance(app.shape, qvclient.QvObject)
        self.assertEqual(app.shape, app["shape"])
        with self.assertRaises(AttributeError) as caught:
            app.nothing
        self.assertEqual(caught.exception.command, 'app.objmember("nothing")')
        self.assertFalse(hasattr(app, "__len__") or hasattr(app, "_repr_html_"))
        with self.assertRaises(TypeError):
            iter(app)

    def test_paths_are_sent_as_they_would_be_typed(self):
        self.assertIsNone(self.app.subnodes[1].rename("wg2"))
        self.assertEqual(self.sent()[-1], 'app.subnodes[1].rename("wg2")')
        for statement, command in [
            ('app.note = \'a "b"; c\'', r'app.note = "a \"b\"; c"'),
            ("app.width = 2.5", "app.width = 2.5"),
            ("app.field = 1j", "app.field = (0.0,1.0)"),
            ("app.width += 1", "app.width = 2.0"),
            ("app.gaps[-1] = 3", "app.gaps[-1] = 3"),
            ("app.gaps = (1, 2, 3)", "app.gaps[-1] = 1\napp.gaps[0] = 2\napp.gaps[1] = 3"),
            ("app.modes[2][0] = 5", "app.modes[2][0] = 5"),
            ("app.modes[2, 0] = 5", "app.modes[2][0] = 5"),
            ('app["class"] = 1', "app.class = 1"),
        ]:
            with self.subTest(statement):
                exec(statement, {"app": self.app})
                self.assertEqual(self.sent()[-1], command)

    def test_lists_keep_their_indices(self):
        app = self.app
        self.assertEqual((len(app.gaps), list(app.gaps)), (3, [0.5, 1.0, 1.5]))
        self.assertEqual(app.names.tolist(), ["a\n     [2]     b", "c"])
        self.assertEqual(app.modes.tolist(), [[10, 11], [20, 21]])
        self.assertEqual((app.modes[2][1], app.modes[2, 1], list(app.modes[2])), (21, 21, [20, 21]))
        self.assertEqual(list(app.subnodes)[0], app.subnodes[1])
        for wrong in (lambda: app.gaps[1:2], lambda: app.gaps["1"], lambda: app.gaps[1.0]):
            self.assertRaises(TypeError, wrong)
        for wrong in ([1, 2], [[1, 2, 3]], [1, 2, None]):
            with self.assertRaises(qvclient.QvQuotingError):
                app.gaps = wrong
        for wrong in ("app.width = [1, 2]", "app.modes = [1, 2]", "app.modes = [[1, 2]]"):
            with self.assertRaises(qvclient.QvQuotingError):
                exec(wrong)
        self.assertRaises(TypeError, lambda: app[1])

    def test_an_object_that_a_call_returns_is_held_and_its_name_used_again(self):
        names = set()
        for _ in range(50):
            found = self.app.rename()
            self.assertIn("app.rename()", repr(found))
            names.update(command for command in self.sent() if command.startswith("Ref& "))
        self.assertLessEqual(len(names), 2)
        self.assertEqual(self.app.rename(1), "007")

    @unittest.skipIf(numpy is None, "NumPy is not installed")
    def test_arrays_go_in_and_out(self):
        app = self.app
        self.assertEqual(numpy.asarray(app.modes).shape, (2, 2))
        self.assertEqual((numpy.array(app.gaps) * 2).tolist(), [1, 2, 3])
        app.modes = numpy.arange(4).reshape(2, 2)
        self.assertEqual(self.sent()[-1].splitlines()[2], "app.modes[2][0] = 2")
        self.assertEqual(app.rename(numpy.ones((2, 1), int)).tolist(), [["007"], ["007"]])


class Answers(unittest.TestCase):
    def client(self, answer, **options):
        server = FakeServer(answer)
        self.addCleanup(server.listener.close)
        app = qvclient.connect(server.port, **options)
        self.addCleanup(app.close)
        return app, server

    def test_answers_come_whole_in_whatever_pieces(self):
        long = "x" * 300_000
        for text in ("value", "", "\u00b5m", long):
            whole = result(text)
            pieces = [whole[:1], whole[1:19], whole[19:24], whole[24:]]
            with self.subTest(text[:10]):
                app, _ = self.client(lambda command: pieces)
                self.assertEqual([app.command("x"), app.command("y")], [text, text])

    def test_bytes_that_are_no_text_come_back_as_they_were(self):
        app, _ = self.client(lambda command: frame(b"RETVAL:\xff\0"))
        self.assertEqual(qvclient.quoting.encode(app.command("x")), b"\xff")

    def test_an_error_has_message_and_command(self):
        app, _ = self.client(lambda command: error("it failed\n"))
        with self.assertRaises(qvclient.QvError) as caught:
            app.command("x")
        self.assertEqual((caught.exception.message, caught.exception.command), ("it failed", "x"))

    def test_nonsense_ends_the_connection_and_the_next_command_makes_a_new_one(self):
        nonsense = [
            None,
            b"HTTP/1.1 400 Bad Request\r\n\r\n",
            b"-1".ljust(20, b"\0"),
            b"99999999999".ljust(20, b"\0"),
            frame(b"neither\0"),
            result("one") + result("two"),
        ]
        for wrong in nonsense:
            with self.subTest(wrong):
                app, _ = self.client(lambda command: wrong if command == "x" else result("well"))
                with self.assertRaises(ConnectionError):
                    app.command("x")
                self.assertEqual(app.command("y"), "well")

    def test_a_late_answer_is_never_taken_for_another(self):
        def slow(command):
            if command == "slow":
                time.sleep(1)
            return result(command)

        app, _ = self.client(slow, timeout=0.1)
        began = time.monotonic()
        with self.assertRaises(TimeoutError):
            app.command("slow")
        self.assertLess(time.monotonic() - began, 0.9)
        app.timeout = 10
        self.assertEqual(app.command("next"), "next")

    @unittest.skipIf(sys.platform == "win32", "no signals")
    def test_an_interrupt_ends_a_wait_and_leaves_the_client_usable(self):
        app, _ = self.client(lambda command: time.sleep(command == "slow") or result(command))
        threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
        with self.assertRaises(KeyboardInterrupt):
            app.command("slow")
        self.assertEqual(app.command("next"), "next")

    def test_the_port_comes_from_the_environment(self):
        app, server = self.client(lambda command: result("here"))
        app.close()
        with mock.patch.dict(os.environ, QV_SCRIPT_PORT=str(server.port)):
            with qvclient.connect() as app:
                self.assertEqual(app.command("x"), "here")
        for wrong in ("0", "x", "65536", "-1"):
            with mock.patch.dict(os.environ, QV_SCRIPT_PORT=wrong):
                self.assertRaises(qvclient.QvConnectionError, qvclient.connect)
            self.assertRaises(qvclient.QvConnectionError, qvclient.connect, wrong)

    def test_a_timeout_may_be_longer_than_any_wait(self):
        app, _ = self.client(lambda command: result("well"), timeout=float("inf"))
        self.assertEqual(app.command("x"), "well")
        app.timeout = 1e300
        self.assertEqual(app.command("x"), "well")
        for wrong in (0, float("nan"), "soon"):
            with self.assertRaises((ValueError, TypeError)):
                app.timeout = wrong

    def test_a_closed_client_stays_closed(self):
        app, server = self.client(lambda command: result("well"))
        with app:
            app.command("x")
        self.assertRaises(qvclient.QvConnectionError, app.command, "y")
        app.reconnect()
        self.assertEqual(app.command("z"), "well")
        self.assertEqual(server.commands, ["x", "z"])


if __name__ == "__main__":
    unittest.main()

"""The client against real processes of qv."""

import contextlib
import copy
import gc
import io
import os
import pydoc
import subprocess
import threading
import unittest

import qvclient
from qvclient.quoting import quote
from support import MEASURABLE, QV, QvServe

try:
    import numpy
except ImportError:
    numpy = None


class Client(unittest.TestCase):
    def setUp(self):
        self.server = self.enterContext_(QvServe())
        self.app = self.enterContext_(qvclient.connect(self.server.port, timeout=30))
        self.app.addsubnode("projectTB", "chip")
        self.chip = self.app.subnodes[1]

    def enterContext_(self, manager):  # unittest has it from Python 3.11 on
        thing = manager.__enter__()
        self.addCleanup(manager.__exit__, None, None, None)
        return thing

    def node(self, block_type, name):
        self.chip.addsubnode(block_type, name)
        return self.chip.findnode(name)

    def test_a_project_is_made_and_looked_through(self):
        self.assertEqual(self.chip.rename("wg2"), None)
        self.assertEqual(self.chip.nodename(), "wg2")
        for name in ("a", "b", "c"):
            self.chip.addsubnode("notesTB", name)
        self.assertEqual([node.nodename() for node in self.chip.subnodes], ["a", "b", "c"])
        self.assertEqual(list(reversed(self.chip.subnodes))[0].nodename(), "c")
        self.assertEqual((len(self.chip.subnodes), self.chip.numsubnodes()), (3, 3))
        self.assertEqual(repr(self.chip), "<qvProject app.subnodes[1]>")
        for index in (0, 4, -1):
            with self.assertRaises(IndexError):
                self.chip.subnodes[index]

    def test_every_text_comes_back_as_it_went(self):
        note = self.node("notesTB", "note")
        ascii_text = "".join(map(chr, range(1, 128)))
        texts = [ascii_text, "", '"', '"" \\', "\\n", " blanks ", "a//b;c", "(1,2)", "007", "42"]
        texts += ["\u00b5m \U0001f600", "caf\udce9", "\n", "????", "x = y", "x" * 100_000]
        for text in texts:
            with self.subTest(text[:20]):
                note.text = text
                self.assertEqual(note.text, text)
                self.assertEqual(note["text"], text)
                note.cleartext()
                note.appendtext(text)
                self.assertEqual(note.text, text)

    def test_numbers_keep_their_type_and_digits(self):
        self.assertEqual(self.node("notesTB", "007").nodename(), "007")
        guide = self.node("parametersTB", "guide")
        types = {"double": 0.1, "complex": 1.5 - 1e-300j, "int": -7, "float": 0.5}
        for name, value in types.items():
            guide.addparameter("p" + name, name)
            setattr(guide, "p" + name, value)
            read = getattr(guide, "p" + name)
            self.assertEqual((read, type(read)), (value, type(value)))
        guide.pdouble = "2*3"
        self.assertEqual((guide.pdouble, type(guide.pdouble)), (6.0, float))
        guide.pdouble += 0.5
        self.assertEqual(guide.pdouble, 6.5)

    def test_mistakes_say_what_and_where(self):
        cases = [
            (lambda: self.chip.rename("a/b"), "invalid name."),
            (lambda: self.chip.rename(), "insufficient arguments"),
            (lambda: self.chip.setdirty("yes"), 'argument 1 is not a number: "yes"'),
            (lambda: self.app.findnode("gone"), 'could not find node "gone"'),
            (lambda: setattr(self.chip, "subnods", 1), 'app.subnodes[1] has no "subnods"'),
            (lambda: self.chip.subnods, 'app.subnodes[1] has no "subnods"'),
            (lambda: self.app.subnodes[1].subnodes[1], "index 1 out of bounds"),
        ]
        for wrong, message in cases:
            with self.subTest(message), self.assertRaises(qvclient.QvError) as caught:
                wrong()
            self.assertTrue(caught.exception.message.startswith(message), caught.exception)
            self.assertIn("app.", caught.exception.command)

    def test_raw_commands_give_the_whole_answer(self):
        command = self.app.command
        self.assertEqual(command("app.numsubnodes(); app.subnodes[1].nodename()"), "1\nchip")
        self.assertEqual(command("Set n = app.numsubnodes()\nn // said twice\nn"), "1\n1")
        self.assertEqual(command(""), "")
        with self.assertRaises(qvclient.QvError) as caught:
            command("n\napp.nothing\nn = 7")
        self.assertTrue(caught.exception.message.startswith('could not find item "nothing"'))
        self.assertEqual(command("n"), "1")

    def test_a_found_object_is_held_while_it_lives(self):
        note = self.node("notesTB", "note")
        self.chip.rename("other")
        note.rename("renamed")
        self.assertEqual(note.nodename(), "renamed")
        first = qvclient.hold(self.chip.subnodes[1])
        self.chip.subnodes[1].delete()
        for gone in (note, first):
            with self.assertRaisesRegex(qvclient.QvError, "is gone"):
                gone.nodename()
        self.assertEqual(self.app.findnode("other").getparent().numsubnodes(), 1)
        self.assertRaises(TypeError, copy.copy, self.chip)

    def test_help_and_completion_show_what_is_published(self):
        self.assertTrue({"rename", "subnodes", "help"} <= set(dir(self.chip)))
        for shown in (pydoc.render_doc(self.chip), self.printed(self.chip.help)):
            self.assertIn("rename the node", shown)
        for shown in (pydoc.render_doc(self.chip.rename), self.printed(self.chip.rename.help)):
            self.assertIn("( newname ): rename the node", shown)

    def printed(self, function):
        with contextlib.redirect_stdout(io.StringIO()) as output:
            function()
        return output.getvalue()

    def test_threads_share_a_client(self):
        note = self.node("notesTB", "note")
        found = []

        def find():
            found.extend(self.chip.findnode("note") for _ in range(20))

        threads = [threading.Thread(target=find) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual({node.nodename() for node in found}, {note.nodename()})
        self.assertEqual(len({node._place.path for node in found}), 80)

    @unittest.skipUnless(hasattr(os, "fork"), "this system does not fork")
    def test_a_forked_process_does_not_take_the_answers_of_its_parent(self):
        child = os.fork()
        if child == 0:
            try:
                self.app.numsubnodes()
            except qvclient.QvConnectionError:
                os._exit(0)
            os._exit(1)
        self.assertEqual(os.waitpid(child, 0)[1], 0)
        self.assertEqual(self.app.numsubnodes(), 1)

    @unittest.skipUnless(MEASURABLE, "memory cannot be measured here")
    def test_memory_is_flat_over_many_commands(self):
        def work(count):
            for _ in range(count):
                self.app.findnode("chip").nodename()

        work(1000)
        gc.collect()
        objects, memory = len(gc.get_objects()), self.server.memory()
        work(3000)
        gc.collect()
        self.assertLess(len(gc.get_objects()) - objects, 50)
        self.assertLess(self.server.memory() - memory, 2_000_000)

    def test_a_server_that_was_started_again_is_found_again(self):
        self.assertEqual(self.server.stop(), 0)
        for _ in range(2):
            self.assertRaises(qvclient.QvConnectionError, self.app.command, "app.numsubnodes()")
        with QvServe(port=self.server.port):
            self.assertEqual(self.app.numsubnodes(), 0)

    def test_a_script_in_a_project_finds_the_client(self):
        code = "import qvclient; print(qvclient.connect().subnodes[1].nodename() * 2)"
        commands = f"""app.addsubnode("projectTB", "chip")
            app.subnodes[1].addsubnode("scriptTB", "sweep"); Ref& sweep = app.findnode("chip/sweep")
            sweep.language = 1; sweep.text = {quote(code)}; sweep.runscript()"""
        environment = {**os.environ, "QV_SETTINGS": "none"}
        del environment["PYTHONPATH"]
        run = subprocess.run([QV, "-c", commands], env=environment, capture_output=True, text=True)
        self.assertIn("chipchip\n", run.stdout)

    @unittest.skipIf(numpy is None, "NumPy is not installed")
    def test_a_call_is_swept_over_arrays(self):
        algaas = self.app.material("standard.mat", "AlGaAs")
        wavelengths = numpy.linspace(1.3, 1.6, 4)
        fractions = numpy.array([[0.1], [0.2]])
        indices = algaas.nr(fractions, 0, wavelengths, 300)
        self.assertEqual((indices.shape, indices.dtype), ((2, 4), float))
        self.assertEqual(indices[1, 0], algaas.nr(0.2, 0, 1.3, 300))
        self.assertTrue((numpy.diff(indices, axis=1) < 0).all())


if __name__ == "__main__":
    unittest.main()

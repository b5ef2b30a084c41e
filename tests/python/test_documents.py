"""The examples of the documents, run against a real server."""

import doctest
import os
import pathlib
import re
import subprocess
import sys
import unittest
from unittest import mock

from support import QvServe

try:
    import numpy
except ImportError:
    numpy = None

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Documents(unittest.TestCase):
    def setUp(self):
        server = QvServe()
        self.addCleanup(server.__exit__)
        patch = mock.patch.dict(os.environ, QV_SCRIPT_PORT=str(server.port))
        patch.start()
        self.addCleanup(patch.stop)

    def example(self, *command, **options):
        return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout

    @unittest.skipIf(numpy is None, "NumPy is not installed")
    def test_the_page_about_python_says_what_happens(self):
        # To doctest a fence would be a part of what is printed.
        text = re.sub(r"^```.*$", "", (ROOT / "docs/python.md").read_text("utf-8"), flags=re.MULTILINE)
        test = doctest.DocTestParser().get_doctest(text, {}, "python.md", "python.md", 0)
        runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
        results = runner.run(test, clear_globs=False)
        test.globs["app"].close()
        self.assertEqual(results.failed, 0)
        self.assertGreater(results.attempted, 30)

    def test_the_sweep_hangs_on_its_variable(self):
        lines = self.example(sys.executable, ROOT / "examples/sweep.py").splitlines()
        self.assertEqual(lines[0], "radius,length,fsr")
        self.assertEqual(lines[2], "10,62.832,9.104")
        self.assertEqual(len(lines), 6)


if __name__ == "__main__":
    unittest.main()

"""The examples of the documents, run against a real server."""

import doctest
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

from support import QV, QvServe

try:
    import numpy
except ImportError:
    numpy = None

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Documents(unittest.TestCase):
    def serve(self, *arguments, **options):
        server = QvServe(*arguments, **options)
        self.addCleanup(server.__exit__)
        patch = mock.patch.dict(os.environ, QV_SCRIPT_PORT=str(server.port))
        patch.start()
        self.addCleanup(patch.stop)

    def test_the_page_about_python_says_what_happens(self):
        self.serve()
        text = (ROOT / "docs/python.md").read_text("utf-8")
        if numpy is None:
            text = re.sub("(?ms)^```python\n>>> import numpy.*?^```$", "", text)
        # To doctest a fence would be a part of what is printed.
        text = re.sub("(?m)^```.*$", "", text)
        test = doctest.DocTestParser().get_doctest(text, {}, "python.md", "python.md", 0)
        runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
        results = runner.run(test, clear_globs=False)
        test.globs["app"].close()
        self.assertEqual(results.failed, 0)
        self.assertGreater(results.attempted, 30)

    def test_the_sweep_of_the_readme_hangs_on_its_variable(self):
        example = ROOT / "examples/sweep.py"
        code = example.read_text("utf-8").partition("import qvclient")[2]
        self.assertIn(code, (ROOT / "README.md").read_text("utf-8"))
        with tempfile.TemporaryDirectory() as folder:
            # Some of its commands fail on purpose.
            making = [QV, "run", ROOT / "examples/waveguide.qv"]
            subprocess.run(making, cwd=folder, capture_output=True, check=False)
            self.serve(os.path.join(folder, "ring.prj"))
            command = [sys.executable, example]
            table = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        lines = table.splitlines()
        self.assertEqual(lines[0], "R,length,order")
        self.assertEqual(lines[2], "10,62.83185307179586,95")
        self.assertEqual(len(lines), 6)


if __name__ == "__main__":
    unittest.main()

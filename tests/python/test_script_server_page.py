"""The page about the protocol: its shell examples and its client say what the page says."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from support import QV, QvServe

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs/script-server.md"


class Page(unittest.TestCase):
    def test_says_what_happens(self):
        with QvServe() as server, tempfile.TemporaryDirectory() as folder:
            environment = {**os.environ, "QV_SCRIPT_PORT": str(server.port), "LC_ALL": "C"}
            shell = subprocess.run(
                ["sh", ROOT / "tests/docs/console_document.sh", QV, PAGE, folder + "/work"],
                env=environment, capture_output=True, text=True)
            self.assertEqual(shell.returncode, 0, shell.stdout)

            text = PAGE.read_text("utf-8")
            client = re.search(r"```python\n(.*?)```", text, re.DOTALL).group(1)
            printed = re.search(r"It prints `(.*?)`, then `(.*?)`\.", text).groups()
            python = subprocess.run([sys.executable, "-c", client], env=environment,
                                    capture_output=True, text=True)
            self.assertEqual(python.stdout.splitlines(), list(printed), python.stderr)


if __name__ == "__main__":
    unittest.main()

"""pip installs the client without a network."""

import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2] / "python"


@unittest.skipIf(importlib.util.find_spec("pip") is None, "pip is not installed")
class Installing(unittest.TestCase):
    def test_pip_installs_all_of_the_package(self):
        with tempfile.TemporaryDirectory() as folder:
            target = pathlib.Path(folder) / "there"
            copy = shutil.copytree(SOURCE, pathlib.Path(folder) / "python")
            options = ["--quiet", "--no-index", "--disable-pip-version-check", "--target", target]
            subprocess.run([sys.executable, "-m", "pip", "install", *options, copy], check=True)
            ask = "import qvclient, sys; print(qvclient.__file__); qvclient.connect"
            answer = subprocess.run(
                [sys.executable, "-c", ask],
                env={**os.environ, "PYTHONPATH": str(target)},
                cwd=folder,
                check=True,
                capture_output=True,
                text=True,
            )
            self.assertTrue(answer.stdout.startswith(str(target)))
            self.assertTrue((target / "qvclient" / "py.typed").exists())


if __name__ == "__main__":
    unittest.main()

# SPDX-License-Identifier: BSD-3-Clause
"""What tests of the command line share. They are called with ICAWAVE GOLDEN_DIR."""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy as np

ICAWAVE = sys.argv[1]
GOLDEN = pathlib.Path(sys.argv[2])
README = (pathlib.Path(__file__).parent.parent / "README.md").read_text()


def from_bits(patterns):
    return np.array([int(p, 16) for p in patterns], dtype=np.uint64).view(np.float64)


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def run_it(self, *words, timeout=60):
        return subprocess.run([ICAWAVE, *map(str, words)], cwd=self.folder, capture_output=True, timeout=timeout)

    def good(self, *words):
        done = self.run_it(*words)
        self.assertEqual((done.returncode, done.stderr), (0, b""), words)
        return done.stdout.decode()

    def bad(self, pattern, *words, status=2):
        """The status, and one line on stderr that the pattern describes. Returns stdout."""
        done = self.run_it(*words)
        error = done.stderr.decode()
        self.assertEqual(done.returncode, status, words)
        self.assertRegex(error, r"\Aicawave: [^\n]*\n\Z")
        self.assertRegex(error, pattern)
        return done.stdout.decode()

    def dump(self, file):
        return json.loads(self.good("dump", file))["object"]

# SPDX-License-Identifier: BSD-3-Clause
"""Commands that write: test_writers.py ICAWAVE GOLDEN_DIR"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import scipy.io
from set_files import small_set

ICAWAVE, GOLDEN = os.fsencode(sys.argv[1]), pathlib.Path(sys.argv[2])


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = os.fsencode(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, os.fsencode(name))

    def run_it(self, *words, **more):
        return subprocess.run([ICAWAVE, *map(os.fsencode, words)], cwd=self.folder, capture_output=True, timeout=60, **more)

    def good(self, *words):
        done = self.run_it(*words)
        self.assertEqual((done.returncode, done.stderr), (0, b""), words)
        return done.stdout.decode()

    def names(self):
        return {name for name in os.listdir(self.folder) if not name.endswith(b".lock")}


class Names(Case):
    def test_every_command_opens_the_file_with_exactly_these_bytes(self):
        scipy.io.savemat(self.path("in.set"), {"EEG": small_set()})
        os.rename(self.path("in.set"), self.path(b"in\xe9.set"))
        made = {b"in\xe9.set"}
        for letter in (b"\xe9", b"\xea"):
            package, other, single = b"out" + letter + b".icpkg", b"other" + letter, b"one" + letter + b".icd"
            shown = f"out\\x{letter.hex()}.icpkg"
            report = self.good("import", b"in\xe9.set", "-o", package)
            self.assertTrue(report.startswith(shown + ": "), report)
            for command in ("list", "info", "stats", "check", "dump", "index"):
                self.good(command, package)
                self.assertEqual(json.loads(self.good("list", "--json", package))["file"], shown)
            self.good("export", package, "-d", "0", "-o", single)
            self.good("check", single)
            self.good("norm", single, "-o", single, "--force")
            for words in (["copy", single], ["copy", package], ["salvage", package, "-o"], ["extract", package, "-d", "0", "-o"],
                          ["sum", package, "-o"], ["merge", package, package, "-o"], ["norm", package, "-d", "0", "-o"]):
                self.good(*words, other, "--force")
            self.assertIn("differs", self.run_it("diff", package, other).stderr.decode())
            made |= {package, other, single}
        self.assertEqual(self.names(), made)
        done = self.run_it("check", b"none\xe9")
        self.assertEqual(done.stderr, b"icawave: none\\xe9: No such file or directory\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])

# SPDX-License-Identifier: BSD-3-Clause
"""Commands that write: test_writers.py ICAWAVE"""
import json
import fcntl
import os
import pathlib
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

import numpy as np
import scipy.io
from set_files import small_set

ICAWAVE = os.fsencode(sys.argv[1])


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


class Together(Case):
    def setUp(self):
        super().setUp()
        scipy.io.savemat(self.path("in.set"), {"EEG": small_set()})
        self.good("import", "in.set", "-o", "a.icpkg")

    def start(self, *words):
        return subprocess.Popen([ICAWAVE, *words], cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def lock(self):
        held = open(self.path(".a.icpkg.lock"), "r+")
        self.addCleanup(held.close)
        fcntl.flock(held, fcntl.LOCK_EX)
        held.write("77 elsewhere another program\n")
        held.flush()
        return held

    def test_pairs_of_changes_are_both_kept(self):
        original = pathlib.Path(os.fsdecode(self.path("a.icpkg"))).read_bytes()
        norm = lambda k: ("norm", "a.icpkg", "-d", str(k), "-o", "a.icpkg", "--force")
        for k in (0, 1):
            self.good(*norm(k))
        expected = self.good("dump", "a.icpkg")
        for _ in range(30):
            pathlib.Path(os.fsdecode(self.path("a.icpkg"))).write_bytes(original)
            pair = [self.start(*norm(k)) for k in (0, 1)]
            for process in pair:
                self.assertEqual((process.communicate()[1], process.returncode), (b"", 0))
            self.assertEqual(self.good("dump", "a.icpkg"), expected)

    def test_a_writer_waits_says_for_whom_and_gives_up(self):
        held = self.lock()
        started = time.monotonic()
        shutil.copy(self.path("a.icpkg"), self.path("b"))
        os.symlink("a.icpkg", self.path("link"))
        giving_up = [self.start("norm", "a.icpkg", "-d", "0", "-o", "a.icpkg", "--force"),
                     self.start("copy", "b", "link", "--force"), self.start("import", "no.set", "-o", "a.icpkg", "--force")]
        before = pathlib.Path(os.fsdecode(self.path("a.icpkg"))).read_bytes()
        for reader in (("list", "a.icpkg"), ("check", "a.icpkg"), ("copy", "a.icpkg", "c")):
            self.good(*reader)
        self.assertLess(time.monotonic() - started, 1)
        who = rb"another program \(process 77 on elsewhere\)"
        for process in giving_up:
            error = process.communicate()[1]
            self.assertRegex(error, rb"\Aicawave: [^\n]*: waiting for " + who + rb", which is writing it\n"
                                    rb"icawave: [^\n]*: is being written by " + who + rb"; gave up after 10 s\n\Z")
            self.assertEqual(process.returncode, 2)
        self.assertTrue(9.5 < time.monotonic() - started < 20)
        self.assertEqual(pathlib.Path(os.fsdecode(self.path("a.icpkg"))).read_bytes(), before)
        held.close()
        self.good("copy", "b", "link", "--force")

    def test_signals_leave_nothing_and_are_what_ends_the_command(self):
        scipy.io.savemat(self.path("in.set"), {"EEG": small_set(data=np.zeros((3, 5, 20000)), trials=20000, icaact=np.zeros((0, 0)))})
        before = self.names()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start("import", "in.set", "-o", "out.icpkg")
            while not any(name.startswith(b".icawave-") for name in os.listdir(self.folder)):
                self.assertIsNone(process.poll(), "too fast to be interrupted")
            process.send_signal(number)
            process.communicate()
            self.assertEqual(process.returncode, -number)
            self.assertEqual(self.names(), before)
        process = self.start("import", "in.set", "-o", "out.icpkg")
        while self.names() == before:
            self.assertIsNone(process.poll())
        process.kill()
        process.communicate()
        self.assertEqual(len(self.names() - before), 1)
        self.good("copy", "a.icpkg", "b.icpkg")
        self.assertEqual(self.names() - before, {b"b.icpkg"})

    def test_an_access_list_stays(self):
        """Version 2, then tag, rights and whose for owner, another user, group, mask and all others."""
        entries = [(1, 6, -1), (2, 4, 1234), (4, 4, -1), (16, 6, -1), (32, 0, -1)]
        access = struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
        try:
            os.setxattr(self.path("a.icpkg"), "system.posix_acl_access", access)
        except OSError as refused:
            self.skipTest(str(refused))
        self.good("norm", "a.icpkg", "-d", "0", "-o", "a.icpkg", "--force")
        self.assertEqual(os.getxattr(self.path("a.icpkg"), "system.posix_acl_access"), access)

    def test_hard_links_that_part_are_told(self):
        os.link(self.path("a.icpkg"), self.path("second"))
        done = self.run_it("norm", "a.icpkg", "-d", "0", "-o", "a.icpkg", "--force")
        self.assertEqual((done.returncode, done.stderr),
                         (0, b"icawave: a.icpkg: had 2 names (hard links); the others keep the old contents\n"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])

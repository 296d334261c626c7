# SPDX-License-Identifier: BSD-3-Clause
"""The command line: whole packages, what is kept, joined, compared; test_cli_packages.py ICAWAVE GOLDEN_DIR"""
import json
import os
import pty
import re
import signal
import subprocess
import sys
import time
import unittest

import numpy as np
import scipy.io
from cli import ICAWAVE, README, Case, from_bits
from set_files import small_set


class Packages(Case):
    def setUp(self):
        super().setUp()
        random = np.random.default_rng(3)
        scipy.io.savemat(self.folder / "in.set", {"EEG": small_set(trials=4, data=random.normal(size=(3, 5, 4)))})
        self.good("import", "in.set", "-o", "p.icpkg")
        self.bytes = (self.folder / "p.icpkg").read_bytes()

    def write(self, name, content):
        (self.folder / name).write_bytes(content)

    def damaged(self, data_set):
        """The package with one bit of a data set's last value changed."""
        content = bytearray(self.bytes)
        places = [m.start() for m in re.finditer(re.escape("TRIALICADATA".encode("utf-16-le")), content)]
        content[content.find(b"\xff\xfe\xff\x0b", places[data_set]) + 60] ^= 1
        return bytes(content)

    def same(self, *files):
        self.assertEqual(len({(self.folder / file).read_bytes() for file in files}), 1, files)

    def test_salvage_loses_the_damaged_data_set_alone(self):
        self.assertIn("4 data sets", self.good("check", "p.icpkg"))
        self.write("bad", self.damaged(2))
        self.assertIn("FACEICA, TRIALICADATA 2\n", self.bad("data set|bytes", "check", "bad", status=1))
        lost = self.run_it("salvage", "bad", "-o", "out")
        self.assertEqual((lost.returncode, lost.stderr), (1, b""))
        self.assertRegex(lost.stdout.decode(), "TRIALICADATA 2\n" + "".join(
            f"data set {k} réc trial {k + 1}: {'lost' if k == 2 else 'whole'}\n" for k in range(4)) + "out: 3 data sets\n$")
        self.write("all", self.bytes)
        self.bad("holds 4 data sets, and 3 would replace them; --fewer", "salvage", "bad", "-o", "all", "--force")
        self.assertEqual((self.folder / "all").read_bytes(), self.bytes)
        self.assertEqual(self.run_it("salvage", "bad", "-o", "all", "--force", "--fewer").returncode, 1)
        self.same("out", "all")
        self.good("extract", "p.icpkg", "-d", "0-1,03", "-o", "expected")
        self.same("out", "expected")
        self.write("bad index", self.bytes[:-20])
        self.assertIn("out: 4 data sets", self.good("salvage", "bad index", "-o", "out", "--force"))
        self.same("out", "p.icpkg")
        self.good("salvage", "p.icpkg", "-o", "again")
        self.same("out", "again")
        self.good("export", "bad", "-d", 3, "-o", "v.icd")
        self.good("export", "p.icpkg", "-d", 3, "-o", "w.icd")
        self.same("v.icd", "w.icd")
        for words, pattern in [(["salvage", "bad", "-o", "./bad", "--force"], "is a file that is read"),
                               (["salvage", "v.icd", "-o", "x"], "not a package"),
                               (["export", "bad", "-d", "2", "-o", "x.icd"], "TRIALICADATA 2"),
                               (["extract", "bad", "-d", "2", "-o", "x"], "TRIALICADATA 2"),
                               (["merge", "p.icpkg", "bad", "-o", "x"], "TRIALICADATA 2"),
                               (["copy", "bad", "x"], "TRIALICADATA 2"), (["diff", "p.icpkg", "bad"], "TRIALICADATA 2")]:
            self.bad(pattern, *words)
        self.assertEqual((self.folder / "bad").read_bytes(), self.damaged(2))
        self.assertFalse((self.folder / "x").exists())

    def test_taken_apart_and_joined_it_is_the_same_file(self):
        for k in range(4):
            self.good("extract", "p.icpkg", "-d", k, "-o", f"{k}")
            self.good("export", "p.icpkg", "-d", k, "-o", f"{k}.icd")
        self.good("merge", "0", "1", "2.icd", "3", "-o", "merged")
        self.good("copy", "p.icpkg", "copied")
        self.same("p.icpkg", "merged", "copied")
        self.good("extract", "-d", 3, "-o", "turned", "-d", 0, "p.icpkg")
        self.assertEqual([(row["name"], row["current"]) for row in self.rows("turned")],
                         [("réc trial 4", False), ("réc trial 1", True)])

    def rows(self, file):
        return json.loads(self.good("list", file, "--json"))["dataSets"]

    def test_an_index_is_added_and_kept(self):
        plain = self.bytes[:self.bytes.index(b"ICAW\x1a")]
        self.write("plain", plain)
        self.good("copy", "plain", "copied")
        self.same("plain", "copied")
        self.assertEqual(self.rows("plain"), self.rows("p.icpkg"))
        self.good("diff", "plain", "p.icpkg")
        self.assertIn("index of 4 data sets", self.good("index", "plain"))
        self.same("plain", "p.icpkg")
        self.assertIn("already", self.good("index", "plain"))
        self.write("cut", plain[:-1])
        self.bad("own fields are lost", "index", "cut")
        self.assertEqual((self.folder / "cut").read_bytes(), plain[:-1])

    def test_diff_tells_every_field(self):
        self.assertEqual(self.good("diff", "p.icpkg", "p.icpkg"), "")
        self.good("norm", "p.icpkg", "-d", 1, "-o", "n")
        out = self.bad(r"n: differs from p\.icpkg in \d fields", "diff", "p.icpkg", "n", status=1)
        self.assertRegex(out, r"(?m)^m_icaDataArray\[1\]\.m_chnlIcaData\[1\]\.m_data: 5 of 5 values, first \[0\]: ")
        self.assertNotIn("m_icaDataArray[0]", out)
        self.good("extract", "p.icpkg", "-d", 0, "-o", "0")
        self.assertEqual(self.bad("in 1 field\n", "diff", "p.icpkg", "0", status=1), "data sets: 4 | 1\n")
        self.good("export", "p.icpkg", "-d", 0, "-o", "0.icd")
        self.bad("not the same kind", "diff", "0", "0.icd")
        record = (self.folder / "0.icd").read_bytes()
        self.good("export", "0.icd", "-o", "v.npy")
        value = np.load(self.folder / "v.npy")[1, 3].tobytes()
        self.write("zero.icd", record.replace(value, bytes(8)))
        self.write("minus.icd", record.replace(value, bytes(7) + b"\x80"))
        weight = from_bits(self.dump("0.icd")["m_icaParam.m_Wunmix.data"][1])[:1].tobytes()
        self.write("weight.icd", record.replace(weight, bytes(8)))
        self.assertIn("m_Wunmix.data: 1 of 4 values, first row 1 column 0: ",
                      self.bad("in 1 field", "diff", "0.icd", "weight.icd", status=1))
        self.assertIn("0 | -0", self.bad("in 1 field", "diff", "zero.icd", "minus.icd", status=1))

    def test_a_file_that_is_cut_short_says_so(self):
        self.good("export", "p.icpkg", "-d", 0, "-o", "v.icd")
        for whole in (self.bytes, (self.folder / "v.icd").read_bytes()):
            for length in range(60, len(whole), 131):
                self.write("cut", whole[:length])
                done = self.run_it("check", "cut")
                self.assertRegex(done.stdout + done.stderr, b"file ends early|unexpected end of file", length)
                self.assertEqual((done.returncode, b"memory" in done.stderr), (1, False))

    def test_nothing_is_replaced_that_nobody_meant_to(self):
        """(arguments before the target, the target, a file that is read)"""
        samples = np.arange(60, dtype="<f4")
        self.write("s.fdt", samples.tobytes())
        scipy.io.savemat(self.folder / "s.set", {"EEG": small_set(trials=4, data="s.fdt")})
        self.good("export", "p.icpkg", "-d", 0, "-o", "0.icd")
        for name in ("p.icpkg", "0.icd", "s.set", "s.fdt"):
            (self.folder / f"soft-{name}").symlink_to(name)
            (self.folder / f"hard-{name}").hardlink_to(self.folder / name)
        table = [("import s.set -o", "s.icpkg", "s.set"), ("import s.set -o", "s.icpkg", "s.fdt"),
                 ("export p.icpkg -d 0 -o", "v.npy", None), ("export p.icpkg -d 0 -o", "v.csv", None),
                 ("export 0.icd -o", "v.icd", "0.icd"), ("copy p.icpkg", "c", "p.icpkg"), ("sum p.icpkg -o", "s", "p.icpkg"),
                 ("salvage p.icpkg -o", "s", "p.icpkg"), ("extract p.icpkg -d 1 -o", "e", "p.icpkg"),
                 ("merge 0.icd p.icpkg -o", "m", "p.icpkg"), ("norm p.icpkg -d 1 -o", "n", None)]
        for words, target, read in table:
            with self.subTest(words):
                words = words.split()
                self.good(*words, target, "--force")
                written = (self.folder / target).read_bytes()
                self.write(target, b"precious")
                self.bad("exists already; --force", *words, target)
                self.assertEqual((self.folder / target).read_bytes(), b"precious")
                self.good(*words, target, "--force")
                self.assertEqual((self.folder / target).read_bytes(), written)
                contents = lambda: {path: path.read_bytes() for path in self.folder.iterdir() if path.suffix != ".lock"}
                before = contents()
                for prefix in ("", "./", "soft-", "hard-", f"{self.folder}/") if read else ():
                    self.bad("is a file that is read here", *words, prefix + read, "--force")
                self.assertEqual(before, contents())
        (self.folder / "hard-p.icpkg").unlink()
        self.good("norm", "p.icpkg", "-d", 1, "-o", "./p.icpkg", "--force")
        self.same("p.icpkg", "n")

    def test_a_target_that_changes_meanwhile_is_kept(self):
        """The command is stopped while it writes; then its line tells the progress, too, if it has a terminal."""
        for before, pattern in ((None, "was made by another"), (b"old", "was changed by another")):
            if before:
                self.write("out", before)
            try:
                here, there = pty.openpty()
                progress = r"reading p.icpkg: \d\d %, \d s left\r.*"
            except OSError: # a machine without pseudo-terminals
                (here, there), progress = os.pipe(), ""
            merging = subprocess.Popen([ICAWAVE, "merge", *["p.icpkg"] * 3000, "-o", "out", "--force"], cwd=self.folder, stderr=there)
            while not list(self.folder.glob(".icawave-*")):
                self.assertIsNone(merging.poll())
            merging.send_signal(signal.SIGSTOP)
            self.write("out", b"precious")
            time.sleep(0.3)
            merging.send_signal(signal.SIGCONT)
            self.assertEqual(merging.wait(60), 2)
            self.assertRegex(os.read(here, 9999).decode(), f"(?s){progress}{pattern}")
            self.assertEqual((self.folder / "out").read_bytes(), b"precious")
            os.close(there)
            os.close(here)

    def test_several_files(self):
        self.write("bad", self.damaged(1))
        for command, text in [(["list"], "trial 4"), (["info"], "Data sets          4"), (["stats", "-d", 3], "trial 4 Min"),
                              (["check"], "4 data")]:
            self.assertEqual(self.good(*command, "p.icpkg", "p.icpkg").count(text), 2)
            done = self.run_it(*command, "none", "bad", "p.icpkg")
            self.assertEqual((done.returncode, done.stdout.decode().count(text) > 0), (2, True))
            self.assertRegex(done.stderr, rb"\Aicawave: none: No such[^\n]*\n(icawave: bad: [^\n]*\n)?\Z")
        self.assertEqual(self.run_it("check", "p.icpkg", "bad", "p.icpkg").returncode, 1)
        (self.folder / "o").mkdir()
        self.write("junk.set", b"junk")
        self.bad("junk.set: ", "import", "junk.set", "in.set", "-o", "o")
        self.assertEqual([path.name for path in (self.folder / "o").glob("[!.]*")], ["in.icpkg"])
        self.same("o/in.icpkg", "p.icpkg")

    def test_a_key_means_one_thing(self):
        keys = {}
        def note(pairs):
            for name, value in pairs:
                keys.setdefault(name, set()).add(float if isinstance(value, int) and not isinstance(value, bool) else type(value))
        for words in (["list"], ["info"], ["stats", "--components", "-d", "1-2", "-d", "003"]):
            for line in self.good(*words, "--json", "p.icpkg", "p.icpkg").splitlines():
                json.loads(line, object_pairs_hook=note)
        self.assertEqual({name for name, types in keys.items() if len(types) > 1}, set())
        self.assertEqual([name for name in keys if f"`{name}`" not in README], [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

# SPDX-License-Identifier: BSD-3-Clause
"""The command line: test_cli.py ICAWAVE GOLDEN_DIR"""
import csv
import json
import os
import pathlib
import pty
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import numpy as np
import scipy.io
from set_files import small_set

ICAWAVE = sys.argv[1]
GOLDEN = pathlib.Path(sys.argv[2])
CASES = [case for case in json.loads((GOLDEN / "MANIFEST.json").read_text())["cases"]
         if case["kind"] in ("package", "dataset") and not case["preload"]]


def from_bits(patterns):
    return np.array([int(p, 16) for p in patterns], dtype=np.uint64).view(np.float64)


def with_flat_matrices(fields):
    """A dump has matrices by rows."""
    return {key: sum(value, []) if key[-5:] == ".data" else value for key, value in fields.items()}


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def run_it(self, *words, **more):
        return subprocess.run([ICAWAVE, *map(str, words)], cwd=self.folder, capture_output=True, timeout=60,
                              **more)

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


class Records(Case):
    def test_copy_gives_the_bytes_that_every_writer_gives(self):
        sound = [case for case in CASES if case["resave"] and case["group"].startswith("valid")]
        self.assertGreater(len(sound), 50)
        for case in sound:
            with self.subTest(case["name"]):
                self.good("copy", GOLDEN / case["file"], "copy", "--force")
                self.assertEqual((self.folder / "copy").read_bytes(), (GOLDEN / case["resave"]).read_bytes())

    def test_dump_and_check_agree_with_the_expected_outcomes(self):
        """What loading left, sound or not; a fault is one line with its place, whatever the file."""
        for case in CASES:
            expected = json.loads((GOLDEN / case["expected"]).read_text())
            outcomes = expected["accept"] + expected["tolerate"]
            faults = [bool(o["messages"]) or o["exception"] is not None for o in outcomes]
            if len(set(faults)) != 1:
                continue
            file = GOLDEN / case["file"]
            with self.subTest(case["name"]):
                done = self.run_it("dump", file)
                self.assertEqual(done.returncode, 2 if faults[0] else 0)
                if done.stdout and '"any"' not in json.dumps(outcomes):
                    self.assertIn(with_flat_matrices(json.loads(done.stdout)["object"]), [o["object"] for o in outcomes])
                if faults[0]:
                    other = b"neither a package nor a data set file" in done.stderr
                    self.bad(r"at byte \d+ in |neither ", "check", file, status=2 if other else 1)
                    self.bad("icawave", "copy", file, "copy")
                    self.assertEqual(list(self.folder.iterdir()), [])
                else:
                    size = file.stat().st_size
                    self.assertIn(f", {size} bytes, no fault found", self.good("check", file))


class Import(Case):
    def make(self, top_level=False, **changes):
        fields = small_set(**changes)
        scipy.io.savemat(self.folder / "in.set", fields if top_level else {"EEG": fields})
        return fields

    def values(self, trial):
        self.good("export", "out.icpkg", "-d", trial, "-o", "v.npy", "--force")
        return np.load(self.folder / "v.npy")

    def test_values_and_parameters(self):
        random = np.random.default_rng(2)
        reduced = dict(icaweights=random.normal(size=(2, 3)), icasphere=random.normal(size=(3, 3)),
                       icawinv=random.normal(size=(3, 2)), icachansind=np.zeros((0, 0)))
        samples = random.normal(size=(3, 5, 2)).astype("<f4")
        (self.folder / "data.fdt").write_bytes(samples.tobytes(order="F"))
        table = {"square": {}, "single": dict(data=samples), "reduced": reduced, "top level": dict(top_level=True, reject=np.zeros((0, 0))),
                 "file": dict(data="/elsewhere/data.fdt"), "datfile": dict(data="", datfile=r"C:\x\data.fdt"),
                 "continuous": dict(data=samples[:, :, 0], trials=1),
                 "one component": dict(icaweights=[[2.0]], icasphere=[[0.5]], icawinv=[[1.0]], icachansind=2)}
        for name, changes in table.items():
            with self.subTest(name):
                eeg = self.make(**changes)
                report = self.good("import", "in.set", "-o", "out.icpkg", "--force")
                data = samples if isinstance(eeg["data"], str) else eeg["data"]
                data = np.asarray(data, float).reshape(3, 5, -1)
                used = np.ravel(eeg["icachansind"]).astype(int) - 1
                data = data[used] if used.size else data
                unmix = np.asarray(eeg["icaweights"]) @ eeg["icasphere"]
                trials = json.loads(self.good("list", "out.icpkg", "--json"))["dataSets"]
                self.assertEqual([t["name"] for t in trials],
                                 [f"réc trial {k + 1}" for k in range(data.shape[2])])
                self.assertIn(f"{len(data)} sensor", report)
                for k in range(data.shape[2]):
                    expected = unmix @ data[:, :, k]
                    error = np.linalg.norm(self.values(k) - expected) / np.linalg.norm(expected)
                    self.assertLess(error, 1e-12)
                package = self.dump("out.icpkg")
                field = lambda name: package["m_icaDataArray[0]." + name]
                matrix = lambda m: np.array([from_bits(row) for row in field(f"m_icaParam.{m}.data")])
                np.testing.assert_allclose(matrix("m_Wunmix") @ matrix("m_extraMatrixA"), unmix, rtol=1e-12)
                np.testing.assert_allclose(matrix("m_Wsecond") @ matrix("m_Wunmix"), np.eye(len(unmix)), atol=1e-12)
                np.testing.assert_array_equal(matrix("m_extraMatrixB"), eeg["icawinv"])
                self.assertEqual((field("m_selectEnd"), field("m_icaInfo")[3], field("m_icaShow")), (4, 2, 1))
                self.assertEqual(list(from_bits([field("m_sampleRate"), field("m_anaLatencyBegin"),
                                                 field("m_anaLatencyEnd")])), [250.0, -0.008, 0.008])

    def test_the_report_tells_what_is_special(self):
        eeg = small_set()
        unmix = eeg["icaweights"] @ eeg["icasphere"]
        stored = np.einsum("kn,npt->kpt", unmix, eeg["data"][[2, 0]])
        table = [(dict(reject={"gcompreject": np.array([[0, 1]])}), "1 component hidden"),
                 (dict(icaweights=np.ones((2, 2))), "singular"), (dict(setname=""), "no setname"),
                 (dict(icaact=stored), r"difference from the stored activations: \d(\.\d+)?(e-1\d)? of"),
                 (dict(event={"type": "x"}), "not imported: events, 1 channel outside")]
        for changes, pattern in table:
            self.make(**changes)
            self.assertRegex(self.good("import", "in.set", "-o", "out.icpkg", "--force"), pattern)
            first = self.dump("out.icpkg")
            self.assertIn(f"Hidden components  {int('reject' in changes)} of 2\n", self.good("info", "out.icpkg"))
            shown = [first[f"m_icaDataArray[1].m_chnlIcaData[{k}].m_show"] for k in range(2)]
            self.assertEqual(shown, [1, 0] if "reject" in changes else [1, 1])
            self.assertEqual(first["m_icaDataArray[0].m_icaParam.m_Wsecond.rows"], 0 if pattern == "singular" else 2)

    def test_every_fault_is_named_and_nothing_is_written(self):
        (self.folder / "short.fdt").write_bytes(b"\0" * 119)
        table = [(dict(icaweights=None), "no decomposition"), (dict(icaweights=np.zeros((0, 0))), "no decomposition"),
                 (dict(icasphere=np.ones((3, 2))), r"EEG\.icasphere is 3 x 2 instead of 2 x 2"),
                 (dict(icasphere=np.ones((2, 3)), icawinv=np.ones((3, 2))), "icasphere is 2 x 3 instead of 2 x 2"),
                 (dict(icawinv=np.ones((3, 2))), "icawinv is 3 x 2"), (dict(icawinv=None), "icawinv is missing"),
                 (dict(icaweights=1j * np.ones((2, 2))), "complex"), (dict(icaweights="text"), "not numeric"),
                 (dict(icaweights=np.full((2, 2), np.nan)), "not finite"), (dict(icaweights={"a": 1}), "not numeric"),
                 (dict(icachansind=np.array([0, 1])), "channel 0 of 3"), (dict(icachansind=[1, 4]), "channel 4 of 3"),
                 (dict(icachansind=[1.5, 2]), "channel 1.5"), (dict(icachansind=[1, 2, 3]), "icasphere is 2 x 2"),
                 (dict(srate=None), "srate is missing"), (dict(srate=0), "srate is not positive"),
                 (dict(nbchan=np.nan), "nbchan is not finite"), (dict(pnts=np.zeros((0, 0))), "pnts is missing"),
                 (dict(trials=-2), "trials is -2"), (dict(trials=1e300), "trials is 1e"), (dict(trials=1.5), "trials is 1.5"),
                 (dict(trials=3), "data is 3 x 5 x 2 instead of 3 x 5 x 3"), (dict(xmin=[1, 2]), "xmin is not a single"),
                 (dict(data=None), "data is missing"), (dict(data="none.fdt"), "cannot read none.fdt"),
                 (dict(data="short.fdt"), "holds 119 bytes instead of 120"), (dict(data="x.dat"), "no .fdt"),
                 (dict(data="short.fdt", nbchan=2**31 - 1, pnts=2**31 - 1, trials=99, icachansind=[1, 2]), "impossible"),
                 (dict(setname=7), "setname is not a line"), (dict(icachansind=[3, 3]), "channel 3 more than once"),
                 (dict(reject=7), "reject is not a single structure")]
        for changes, pattern in table:
            with self.subTest(pattern):
                self.make(**changes)
                self.bad(r"in\.set: .*" + pattern, "import", "in.set", "-o", "out.icpkg")
                self.assertFalse((self.folder / "out.icpkg").exists())
        scipy.io.savemat(self.folder / "in.set", {"x": 1})
        self.bad("holds no EEGLAB data set", "import", "in.set", "-o", "out.icpkg")
        self.make()
        (self.folder / "in.set").write_bytes((self.folder / "in.set").read_bytes()[:1200])
        self.bad(r"in\.set: ", "import", "in.set", "-o", "out.icpkg")


class Tables(Case):
    def setUp(self):
        super().setUp()
        scipy.io.savemat(self.folder / "in.set", {"EEG": small_set(setname="a\n\x1b[31m,é")})
        self.good("import", "in.set", "-o", "p.icpkg")

    def test_list_and_info(self):
        lines = self.good("list", "p.icpkg").splitlines()
        self.assertEqual(re.split(r"  +", lines[0]), ["Index", "Name", "Sample", "Num ICA", "Act ICA", "Class",
                                                      "Select B", "Select E", "Current", "Shown"])
        self.assertEqual(lines[2].split(), r"1 a\u000a\u001b[31m,é trial 2 5 2 0 0 0 4 Back shown".split())
        self.assertEqual(len({line.index(word) for line, word in zip(lines, ("Current", "Front", "Back"))}), 1)
        info = json.loads(self.good("info", "p.icpkg", "--json"))
        self.assertEqual(info["shapes"], [{"dataSetCount": 2, "components": 2, "samples": 5}])
        self.assertEqual((info["dataSetCount"], info["currentIndex"]), (2, 0))
        scipy.io.savemat(self.folder / "in.set", {"EEG": small_set(reject={"gcompreject": np.array([[0, 1]])})})
        self.good("import", "in.set", "-o", "hidden.icpkg")
        self.good("merge", "p.icpkg", "hidden.icpkg", "-o", "m")
        self.assertIn("Hidden components  0 of 2 in every data set, 1 more in some\n", self.good("info", "m"))
        summary = json.loads(self.good("dump", "p.icpkg", "--summary"))["object"]
        field = lambda name: summary[f"m_icaDataArray[1].{name}.count"]
        self.assertEqual((field("m_chnlIcaData[1].m_data"), field("m_icaParam.m_Wunmix.data")), (5, 4))
        self.assertEqual({key[18:] for key, value in summary.items() if isinstance(value, list)}, {"m_icaInfo", "m_icaParam.m_extraUintList"})
        self.assertIn("2 x (nIca 2, nComp 2, nSample 5, unmixing 2 x 2", self.good("info", "p.icpkg"))

    def test_export_keeps_every_bit(self):
        for name in ("v.npy", "v.csv", "v.icd"):
            self.good("export", "p.icpkg", "-d", 1, "-o", name)
        package, single = self.dump("p.icpkg"), self.dump("v.icd")
        bits = [single[f"m_chnlIcaData[{k}].m_data"] for k in range(2)]
        self.assertEqual(bits[1], package["m_icaDataArray[1].m_chnlIcaData[1].m_data"])
        values = np.array([from_bits(row) for row in bits])
        with open(self.folder / "v.csv", newline="") as file:
            rows = list(csv.reader(file))
        self.assertEqual(rows[0], ["latency", "ICA1", "ICA2"])
        self.assertEqual([float(row[0]) for row in rows[1:]], [t / 250.0 - 0.008 for t in range(5)])
        np.testing.assert_array_equal(np.array(rows[1:], float)[:, 1:].T, values)
        np.testing.assert_array_equal(np.load(self.folder / "v.npy"), values)
        self.good("export", "v.icd", "-o", "again.icd")
        self.assertEqual((self.folder / "again.icd").read_bytes(), (self.folder / "v.icd").read_bytes())

    def test_norm_and_sum(self):
        before = np.load(self.export("p.icpkg", 1))
        means = [("Min", before[1].min()), ("Mean", before[1].mean()), ("Max", before[1].max()),
                 ("MeanMagnitude", np.abs(before[1]).mean()), ("RMS", np.sqrt((before[1]**2).mean()))]
        for label, value in means:
            self.assertRegex(self.good("stats", "-d", 1, "--components", "p.icpkg"), f"  ICA2 .*{label}: {str(value)[:6]}")
        rms = np.sqrt((before**2).sum() / 2)
        self.assertRegex(self.good("norm", "p.icpkg", "-d", 1, "-o", "n.icpkg"), rf"^divided by {rms:.6}\d* = sqrt\(sum of squares / components\)\n$")
        np.testing.assert_allclose(np.load(self.export("n.icpkg", 1)), before / rms, rtol=1e-14)
        np.testing.assert_array_equal(np.load(self.export("n.icpkg", 0)), np.load(self.export("p.icpkg", 0)))
        self.bad("has no values", "norm", GOLDEN / "default_dataset.bin", "-o", "x")
        self.assertEqual(self.good("sum", "p.icpkg", "-o", "s.icpkg"), "2 data sets summed\n")
        total = np.load(self.export("p.icpkg", 0)) + before
        np.testing.assert_array_equal(np.load(self.export("s.icpkg", 0)), total)
        one = self.dump("s.icpkg")
        self.assertEqual((one["m_icaDataArray"], one["m_icaDataArray[0].m_icaName"][:28]), (1, "sum of 2 data sets, first a\n"))
        scipy.io.savemat(self.folder / "in.set", {"EEG": small_set(icaweights=np.eye(2))})
        scipy.io.savemat(self.folder / "hz.set", {"EEG": small_set(srate=100.0, xmin=0.0, xmax=0.04)})
        (self.folder / "o").mkdir()
        self.good("import", "in.set", "hz.set", "-o", "o")
        for other, pattern in [("in", "set 2 has another unmixing matrix"), ("hz", "set 2 has another sampling rate")]:
            self.good("merge", "p.icpkg", f"o/{other}.icpkg", "-o", "m", "--force")
            self.bad(pattern, "sum", "m", "-o", "x")
            self.assertEqual(self.good("sum", "m", "--different", "-o", f"{other}.sum"), "4 data sets summed\n")
        several = GOLDEN / "package_several.bin"
        self.assertEqual(self.good("sum", several, "-o", "s.icpkg", "--force"), "1 data set summed; of another size: 1, 2, 3, 4\n")
        self.assertFalse((self.folder / "x").exists())

    def export(self, file, index):
        self.good("export", file, "-d", index, "-o", "v.npy", "--force")
        return self.folder / "v.npy"

    def test_usage_and_file_errors(self):
        (self.folder / "junk").write_bytes(b"junk")
        table = [([], "subcommand"), (["frobnicate"], "no command frobnicate: icawave --help"), (["lits"], "did you mean list?"), (["list"], "FILE is required"), (["list", "none"], "none: No such"),
                 (["list", "."], "is a directory"), (["info", "junk"], "junk: neither a package nor"),
                 (["export", "p.icpkg", "-o", "v.csv"], "needs -d"), (["export", "p.icpkg", "-d", "x", "-o", "v.csv"], "-d"),
                 (["export", "p.icpkg", "-d", "2", "-o", "v.csv"], "no data set 2; the file holds 2"),
                 (["export", "p.icpkg", "-d", "-1", "-o", "v.csv"], "-d -1: is not"),
                 *((["extract", "p.icpkg", "-d", numbers, "-o", "x"], f"-d {numbers}: is not a data set's number")
                   for numbers in ("", "0,", "1-0", "0-", "0x1", "99999999999", "0 1")),
                 (["extract", "p.icpkg", "-d", "0-2000000000", "-o", "x"], "no data set 2000000000"),
                 (["export", "p.icpkg", "-d", "0-1", "-o", "v.npy"], "the number of one data set"),
                 (["import", "in.set", "p.icpkg", "-o", "x"], "x: is not a folder"),
                 (["import", "in.set", "./in.set", "-o", "."], "would be made of in.set and of ./in.set"),
                 (["export", "p.icpkg", "-d", "0", "-o", "v.txt"], "must end in"),
                 (["copy", "p.icpkg", "/dev/full"], "no space"), (["copy", "p.icpkg", "."], "Is a directory"),
                 (["copy", "p.icpkg", "none/x"], "No such"), (["norm", "p.icpkg", "-d", 2, "-o", "x"], "no data set 2"),
                 (["import", "none", "-o", "x"], "none: No such"), (["import", "junk", "-o", "x"], "junk: "),
                 (["import", "in.set", "-o", "in.set"], "is a file that is read"), (["list", "a\nb"], r"a\\u000ab")]
        before = sorted(self.folder.iterdir())
        for words, pattern in table:
            with self.subTest(words):
                self.bad(pattern, *words)
                self.assertEqual(sorted(self.folder.iterdir()), before)
        for words in (["--help"], *([name, "--help"] for name in "import list info export check dump copy".split())):
            self.assertIn("Usage: icawave", self.good(*words))
        with open("/dev/full", "w") as full:
            failed = subprocess.run([ICAWAVE, "list", self.folder / "p.icpkg"], stdout=full, stderr=subprocess.PIPE)
        closed = subprocess.run(f"'{ICAWAVE}' list '{self.folder}/p.icpkg' >&-", shell=True, stderr=subprocess.PIPE)
        for done in (failed, closed):
            self.assertEqual((done.returncode, done.stderr), (2, b"icawave: standard output: cannot be written\n"))


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
        self.assertRegex(lost.stdout, rb"TRIALICADATA 2\nout: 3 data sets\n$")
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
        plain = self.bytes[:self.bytes.index("ICAWAVEINDEX".encode("utf-16-le")) - 4]
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
                contents = lambda: {path: path.read_bytes() for path in self.folder.iterdir()}
                before = contents()
                for prefix in ("", "./", "soft-", "hard-", f"{self.folder}/") if read else ():
                    self.bad("is a file that is read here", *words, prefix + read, "--force")
                self.assertEqual(before, contents())
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
        self.assertEqual([path.name for path in (self.folder / "o").iterdir()], ["in.icpkg"])
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
        readme = (pathlib.Path(__file__).parent.parent / "README.md").read_text()
        self.assertEqual([name for name in keys if f"`{name}`" not in readme], [])

    def test_the_readme_lists_the_commands(self):
        readme = (pathlib.Path(__file__).parent.parent / "README.md").read_text()
        helped = re.findall(r"(?m)^  ([a-z]+)  +[A-Z]", self.good("--help").partition("ommands:")[2])
        self.assertEqual(re.findall(r"(?m)^    icawave ([a-z]+)", readme), helped)
        for name in helped:
            self.assertIn(f"Usage: icawave {name}", self.good(name, "--help"))
        self.assertRegex(self.good("--version"), r"^icawave \d+\.\d+\.\d+\n$")

    def test_a_closed_pipe_ends_silently(self):
        done = subprocess.run(f"'{ICAWAVE}' list {'p.icpkg ' * 999} | head -1", shell=True, cwd=self.folder, capture_output=True)
        self.assertEqual((done.stdout, done.stderr), (b"p.icpkg:\n", b""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

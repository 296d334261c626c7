# SPDX-License-Identifier: BSD-3-Clause
"""The command line: records, import, what is told and written of the values; test_cli.py ICAWAVE GOLDEN_DIR"""
import csv
import json
import os
import re
import struct
import subprocess
import sys
import unittest

import numpy as np
import scipy.io
from cli import GOLDEN, ICAWAVE, README, Case, from_bits
from set_files import small_set

CASES = [case for case in json.loads((GOLDEN / "MANIFEST.json").read_text())["cases"]
         if case["kind"] in ("package", "dataset") and not case["preload"]]


def with_flat_matrices(fields):
    """A dump has matrices by rows."""
    return {key: sum(value, []) if key[-5:] == ".data" else value for key, value in fields.items()}


class Records(Case):
    def test_dump_and_check_agree_with_the_expected_outcomes(self):
        """What loading left, sound or not; a fault is one line with its place, whatever the file."""
        for case in CASES:
            expected = json.loads((GOLDEN / case["expected"]).read_text())
            outcomes = expected["accept"] + expected["tolerate"]
            faults = [bool(o["messages"]) or o["exception"] is not None for o in outcomes]
            if len(set(faults)) != 1:
                continue
            faults[0] |= case["name"] == "package_trailing_bytes"
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
        with open("/dev/full", "w") as full:
            failed = subprocess.run([ICAWAVE, "list", self.folder / "p.icpkg"], stdout=full, stderr=subprocess.PIPE)
        closed = subprocess.run(f"'{ICAWAVE}' list '{self.folder}/p.icpkg' >&-", shell=True, stderr=subprocess.PIPE)
        for done in (failed, closed):
            self.assertEqual((done.returncode, done.stderr), (2, b"icawave: standard output: cannot be written\n"))

    def test_the_readme_lists_the_commands(self):
        helped = re.findall(r"(?m)^  ([a-z]+)  +[A-Z]", self.good("--help").partition("ommands:")[2])
        self.assertEqual(re.findall(r"(?m)^    icawave ([a-z]+)", README), helped)
        for name in helped:
            self.assertIn(f"Usage: icawave {name}", self.good(name, "--help"))
        self.assertRegex(self.good("--version"), r"^icawave \d+\.\d+\.\d+\n$")

    def test_a_closed_pipe_ends_silently(self):
        done = subprocess.run(f"'{ICAWAVE}' list {'p.icpkg ' * 999} | head -1", shell=True, cwd=self.folder, capture_output=True)
        self.assertEqual((done.stdout, done.stderr), (b"p.icpkg:\n", b""))


SILENT_CHANNEL = (GOLDEN / "default_channel.bin").read_bytes()


def channel(values):
    """One that states 40,000 values and holds these."""
    return SILENT_CHANNEL[:52] + struct.pack("<qqi", 40_000, 0, 1) + values + SILENT_CHANNEL[72:]


def data_set(channels, records):
    """One that states so many channels of 40,000 samples and holds these."""
    record = (GOLDEN / "default_dataset.bin").read_bytes()
    return record[:36] + struct.pack("<q", 40_000) + record[44:68] + struct.pack("<qi", channels, 1) + records + record[80:]


class Hostile(Case):
    COMMANDS = ["import f.set -o o.icpkg", "list f", "list f --json", "info f", "info f --json",
                "export f -o o.csv", "export f -o o.npy", "export f -o o.icd", "check f", "dump f", "dump f --summary",
                "copy f o", "index f", "salvage f -o o", "extract f -d 0 -o o", "merge f f -o o", "diff f f",
                "stats f --components", "stats f --components --json", "norm f -o o", "sum f -o o"]

    def each_command(self):
        helped = re.findall(r"(?m)^  ([a-z]+)  +[A-Z]", self.good("--help").partition("ommands:")[2])
        self.assertEqual({words.split()[0] for words in self.COMMANDS}, set(helped))
        return [words.split() for words in self.COMMANDS]

    def test_outputs_follow_what_is_stored(self):
        """Whatever counts a file states, each command writes at most 32 bytes for each of the file's, and 64 KiB."""
        files = {"cut": data_set(1, channel(b""))[:150], "many channels": data_set(300_000, b"")[:80],
                 "4000 without values": data_set(4001, channel(bytes(320_000)) + SILENT_CHANNEL * 4000)}
        sound = 0
        for name, content in files.items():
            (self.folder / "f").write_bytes(content)
            for words in self.each_command():
                with self.subTest((name, words)):
                    done = self.run_it(*words)
                    written = len(done.stdout)
                    for path in self.folder.glob("o*"):
                        written += path.stat().st_size
                        path.unlink()
                    self.assertLess(written, 32 * len(content) + 2**16)
                    self.assertEqual(done.stderr.count(b"\n"), done.returncode != 0)
                    sound += done.returncode == 0
        self.assertGreater(sound, 10)

    def test_a_pipe_holds_no_reader(self):
        for name in ("f", "f.set"):
            os.mkfifo(self.folder / name)
        for words in self.each_command():
            with self.subTest(words):
                done = self.run_it(*words, timeout=10)
                self.assertEqual(done.returncode, 2)
                self.assertRegex(done.stderr, rb"\Aicawave: f(\.set)?: (is )?not a regular file\n\Z")
        scipy.io.savemat(self.folder / "in.set", {"EEG": small_set(data="f.fdt")})
        os.mkfifo(self.folder / "f.fdt")
        self.bad("cannot read f.fdt", "import", "in.set", "-o", "x")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

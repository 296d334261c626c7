# SPDX-License-Identifier: BSD-3-Clause
"""What the importer takes, warns of and refuses: test_importer.py ICAWAVE SWEEP DATA_DIR"""
import json
import os
import pathlib
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib

import h5py
import numpy as np
import scipy.io
from set_files import marked_set, small_set, write_hdf5

ICAWAVE, SWEEP = sys.argv[1:3]
DATA = pathlib.Path(sys.argv[3])
SANITIZED = "ICAWAVE_SANITIZED" in os.environ  # slower by far
REAL = DATA / "eeglab_data_epochs_ica.set"


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(dir="/dev/shm"))
        self.addCleanup(shutil.rmtree, self.folder)

    def imported(self, name="in.set", *more):
        """The result of the command, and the package's bytes."""
        target = self.folder / "out.icpkg"
        target.unlink(missing_ok=True)
        done = subprocess.run([ICAWAVE, "import", self.folder / name, "-o", target, *more], capture_output=True, text=True,
                              timeout=60)
        self.assertEqual(done.returncode == 0, target.exists())
        return done, target.read_bytes() if target.exists() else None

    def icawave(self, *words):
        return subprocess.run([ICAWAVE, *words], cwd=self.folder, check=True, capture_output=True, text=True).stdout

    def dump(self, file):
        return json.loads(self.icawave("dump", file))["object"]

    def sweep(self, source, step, words, files=()):
        folder = self.folder / "damaged"
        folder.mkdir(exist_ok=True)
        done = subprocess.run([SWEEP, source, folder, str(step), *(f"{at}:{size}" for at, size in words), *files], text=True,
                              capture_output=True, env={**os.environ, "MALLOC_PERTURB_": "165"})
        shutil.rmtree(folder)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def save(self, eeg, name="in.set", **how):
        scipy.io.savemat(self.folder / name, {"EEG": eeg}, **how)


class Kinds(Case):
    def test_every_kind_of_file_gives_the_same_package(self):
        eeg = marked_set()
        self.save(eeg)
        done, expected = self.imported()
        self.assertIn("1 component hidden", done.stdout)
        kinds = {"compressed": lambda: self.save(eeg, do_compression=True),
                 "loose": lambda: scipy.io.savemat(self.folder / "in.set", eeg),
                 "big-endian": lambda: (self.folder / "in.set").write_bytes(big_endian(self.saved(eeg))),
                 "as MATLAB": lambda: write_hdf5(self.folder / "in.set", {"EEG": eeg}, True),
                 "as h5py": lambda: write_hdf5(self.folder / "in.set", {"EEG": eeg}, False),
                 "loose 7.3": lambda: write_hdf5(self.folder / "in.set", eeg, True)}
        for kind, write in kinds.items():
            with self.subTest(kind):
                write()
                done, found = self.imported()
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertEqual(found, expected)

    def saved(self, eeg):
        self.save(eeg)
        return (self.folder / "in.set").read_bytes()

    def test_chunks_are_put_in_their_places(self):
        eeg = small_set(data=np.random.default_rng(5).normal(size=(3, 50, 7)), pnts=50, trials=7, xmax=-0.008 + 49 / 250)
        self.save(eeg)
        _, expected = self.imported()
        for how in (dict(chunks=(2, 9, 2), compression="gzip", shuffle=True), dict(chunks=(7, 50, 1)), dict(dtype=">f8")):
            with self.subTest(how):
                write_hdf5(self.folder / "in.set", {"EEG": {**eeg, "data": np.zeros((0, 0))}}, True)
                with h5py.File(self.folder / "in.set", "r+") as file:
                    del file["EEG/data"]
                    file["EEG"].create_dataset("data", data=eeg["data"].T, **how)
                done, found = self.imported()
                self.assertEqual((done.stderr, found == expected), ("", True))

    def test_files_that_lead_elsewhere_or_hold_something_else_are_refused(self):
        def replaced(name, make):
            def write():
                write_hdf5(self.folder / "in.set", {"EEG": small_set()}, False)
                with h5py.File(self.folder / "in.set", "r+") as file:
                    del file["EEG"][name]
                    make(file["EEG"], name)
            return write

        raw = self.folder / "raw"
        raw.write_bytes(bytes(4096))
        layout = h5py.VirtualLayout((2, 2), float)
        layout[:] = h5py.VirtualSource(raw, "x", (2, 2))
        eeg = small_set()
        table = [(replaced("data", lambda g, n: g.create_dataset(n, (2, 5, 3), float, external=[(raw, 0, 240)])), "another file"),
                 (replaced("icawinv", lambda g, n: g.create_virtual_dataset(n, layout)), "another file"),
                 (replaced("icawinv", lambda g, n: g.__setitem__(n, h5py.ExternalLink(raw, "/x"))), "lies elsewhere"),
                 (replaced("icawinv", lambda g, n: g.create_dataset(n, (2, 2), "f8")), "not as many"),
                 (replaced("icawinv", lambda g, n: g.create_dataset(n, data=np.ones((2, 2), complex))), "is complex"),
                 (replaced("data", lambda g, n: g.create_dataset(n, (2, 5, 3), "f8", chunks=(1, 5, 3))), "not as many"),
                 (replaced("icaweights", lambda g, n: g.create_dataset(n, (2**30, 2**30), "f8", chunks=(1, 5))), "too many for"),
                 (lambda: self.save(small_set(icasphere=scipy.sparse.eye(2).tocsc())), "icasphere is sparse"),
                 (lambda: self.save(small_set(data=np.zeros((1, 12_000_000)), nbchan=1, icachansind=[1], pnts=12_000_000, trials=1,
                                              icaweights=2.0, icasphere=1.0, icawinv=1.0), do_compression=True), "too large for"),
                 (lambda: scipy.io.savemat(self.folder / "in.set", {"ALLEEG": eeg}), "list of data sets"),
                 (lambda: scipy.io.savemat(self.folder / "in.set", eeg), "no variable reject"),
                 (lambda: self.save(np.array([(1,), (2,)], [("nbchan", object)])), "EEG is not a single structure"),
                 (lambda: (self.folder / "in.set").write_bytes(self.saved(eeg) + self.saved(eeg)[128:]), "two variables named EEG")]
        for write, pattern in table:
            with self.subTest(pattern):
                write()
                done, _ = self.imported()
                self.assertEqual(done.returncode, 2)
                self.assertRegex(done.stderr, r"\Aicawave: [^\n]*" + pattern + r"[^\n]*\n\Z")

class Oddities(Case):
    def test_notes_and_warnings(self):
        eeg = small_set()
        stored = np.einsum("kn,npt->kpt", eeg["icaweights"] @ eeg["icasphere"], eeg["data"][[2, 0]])
        off = stored.copy()
        off[1, 4, 1] += 0.25 * np.abs(stored).max()
        holed = eeg["data"].copy()
        holed[2, 1, 1] = np.nan
        marks = lambda values: dict(reject={"gcompreject": np.array(values)})
        flat = dict(data=eeg["data"].reshape(3, 10, order="F"))
        table = [(marks([[0, 0], [1, 0]]), "note", "gcompreject is 2 x 2 for 2 components, of which the first column", "01"),
                 (marks([[0, 1], [1, 0]]), "warning", "gcompreject is 2 x 2 for 2 components; 1 mark not taken", "01"),
                 (marks([[1, 0, 7, 1]]), "warning", "gcompreject is 1 x 4 for 2 components; 2 marks not taken", "10"),
                 (marks([1]), "warning", "gcompreject is 1 x 1 for 2 components; the others count as unmarked", "10"),
                 (marks([[0, 1]]), "note", "1 component hidden", "01"),
                 (dict(icaweights=np.ones((2, 2))), "note", "singular", "00"), (dict(setname=""), "note", "no setname", "00"),
                 (dict(event={"type": "x"}), "note", "not imported: events, 1 channel outside", "00"),
                 (flat, "note", "data is 3 x 10, the trials one behind the other", "00"),
                 (dict(data=holed), "warning", "data holds values that are not finite, at 1 sample", "00"),
                 (dict(icaact=stored.astype(np.float32)), "note", "difference from the stored activations: ", "00"),
                 (dict(icaact=stored.reshape(2, 10, order="F")), "note", "activations: 0 of|activations: \\d.*e-1", "00"),
                 (dict(icaact=off), "warning", "icaact, the stored activations, differ.* 0.2", "00"),
                 (dict(icaact=np.zeros((2, 5))), "warning", "icaact is 2 x 5 instead of 2 x 5 x 2", "00"),
                 (dict(xmax=0.02), "warning", "xmax is 0.02 s, but the last sample is at 0.008 s", "00")]
        for changes, kind, pattern, hidden in table:
            with self.subTest(pattern):
                self.save(small_set(**changes))
                done, _ = self.imported()
                self.assertRegex(done.stderr, r"\Awarning: [^\n]*" + pattern + r"[^\n]*\n\Z" if kind == "warning" else r"\A\Z")
                self.assertRegex(done.stdout, "out.icpkg" if kind == "warning" else pattern)
                self.assertIn(f"{hidden.count('1')} component{'s' * (hidden.count('1') != 1)} hidden", done.stdout)
                dump = self.dump("out.icpkg")
                self.assertEqual(dump["m_icaDataArray[0].m_icaParam.m_Wsecond.rows"], 0 if pattern == "singular" else 2)
                shown = [dump[f"m_icaDataArray[1].m_chnlIcaData[{k}].m_show"] for k in range(2)]
                self.assertEqual(shown, [1 - int(mark) for mark in hidden])
                self.assertEqual(self.imported("in.set", "--strict")[0].returncode, 2 * (kind == "warning"))

    def test_samples_are_found_under_their_new_name(self):
        samples = small_set()["data"].astype("<f4").tobytes(order="F")
        table = {("a.fdt", "a.fdt"): "", ("a.FDT", "a.FDT"): "", ("a.fdt", "a.FDT"): "the samples are those of a.FDT",
                 ("a.fdt", "in.fdt"): "the samples are those of in.fdt, since there is no a.fdt", ("a.FDT", "in.FDT"): "since"}
        for (stated, there), note in table.items():
            with self.subTest(stated + there):
                self.save(small_set(data=stated))
                (self.folder / there).write_bytes(samples)
                self.assertIn(note, self.imported()[0].stdout.replace("not imported: 1 channel", note or "!"))
                (self.folder / there).write_bytes(samples[:-1])
                self.assertIn("holds 119 bytes instead of 120", self.imported()[0].stderr)
                (self.folder / there).unlink()


def children(content, order):
    """(tag, data, length, type) offsets of the elements that lie one behind the other from `at` to `end`."""
    data, at, end = content
    while at < end:
        word = struct.unpack_from(order + "I", data, at)[0]
        if word >> 16:
            yield at, at + 4, word >> 16, word & 0xFFFF
            at += 8
        else:
            length = struct.unpack_from(order + "I", data, at + 4)[0]
            yield at, at + 8, length, word
            at += 8 + (length + 7) // 8 * 8


def stated(data, at, end, of_array=False, order="<"):
    """Where lengths and counts lie, as (offset, bytes, is a length); all but the values themselves."""
    for index, (tag, begin, length, type) in enumerate(children((data, at, end), order)):
        yield (tag + (2 if order == "<" else 0), 2) if begin == tag + 4 else (tag + 4, 4)
        if type == 14:
            yield from stated(data, begin, begin + length, True, order)
        elif of_array and type == 5 and (index == 1 or index == 3 and length == 4 and data[at + 8] == 2):
            yield from ((begin + 4 * k, 4) for k in range(length // 4))


def big_endian(data):
    """A little-endian file in the other order."""
    turned = bytearray(data)
    turned[124:128] = b"\1\0MI"

    def turn(at, end):
        for tag, begin, length, type in children((data, at, end), "<"):
            turned[tag:tag + 4] = data[tag:tag + 4][::-1]
            if begin == tag + 8:
                turned[tag + 4:begin] = data[tag + 4:begin][::-1]
            if type == 14:
                turn(begin, begin + length)
            each = {3: 2, 4: 2, 5: 4, 6: 4, 7: 4, 9: 8, 12: 8, 13: 8, 17: 2}.get(type, 1)
            for k in range(begin, begin + length, each) if type != 14 else ():
                turned[k:k + each] = data[k:k + each][::-1]

    turn(128, len(data))
    return bytes(turned)


def hdf5_stated(path):
    """(offset, bytes) of what HDF5's groups and object headers state of lengths and counts."""
    data = path.read_bytes()
    base = max(0, data.find(b"\x89HDF"))
    for mark, at, size in ((b"SNOD", 6, 2), (b"TREE", 6, 2), (b"HEAP", 8, 8), (b"HEAP", 16, 8)):
        place = data.find(mark)
        while place >= 0:
            yield place + at, size
            place = data.find(mark, place + 1)
    headers = set()
    with h5py.File(path) as file:
        file.visititems(lambda name, item: headers.add(base + h5py.h5o.get_info(item.id).addr))
    for header in sorted(headers):
        yield from ((header + 2, 2), (header + 8, 4))
        at, end = header + 16, header + 16 + struct.unpack_from("<I", data, header + 8)[0]
        while at + 8 <= end:
            type, length = struct.unpack_from("<HH", data, at)
            yield at + 2, 2
            inside = {1: [(1, 1), *((k, 8) for k in range(8, length, 8))], 3: [(4, 4)], 5: [(4, 4)], 12: [(2, 2), (4, 2), (6, 2)],
                      8: [(10, 8)] if data[at + 9] == 1 else [(2, 1), *((k, 4) for k in range(11, length - 3, 4))]}.get(type, [])
            yield from ((at + 8 + k, size) for k, size in inside)
            at += 8 + length


class Damage(Case):
    """Every damaged file is refused, or gives exactly what the whole file gives."""

    def test_level_5(self):
        for name, variables in {"structure": {"EEG": marked_set()}, "loose": marked_set(data="in.fdt")}.items():
            (self.folder / "in.fdt").write_bytes(bytes(120))
            with self.subTest(name):
                scipy.io.savemat(self.folder / "in.set", variables)
                data = (self.folder / "in.set").read_bytes()
                self.sweep(self.folder / "in.set", 97, stated(data, 128, len(data)))

    def test_compressed(self):
        self.save(marked_set(), do_compression=True)
        data = (self.folder / "in.set").read_bytes()
        inner = zlib.decompress(data[136:])
        files = []
        for at, size in stated(inner, 0, len(inner)):
            value = int.from_bytes(inner[at:at + size], "little")
            for changed in {0, value // 2, value + 1, 2**31 - 1} - {value}:
                again = zlib.compress(inner[:at] + (changed & (256**size - 1)).to_bytes(size, "little") + inner[at + size:], 1)
                files.append(self.folder / f"{at}-{changed}.set")
                files[-1].write_bytes(data[:128] + struct.pack("<II", 15, len(again)) + again)
        self.sweep(self.folder / "in.set", 97, [(132, 4)], files)

    def test_hdf5(self):
        for as_matlab in (True, False):
            with self.subTest(as_matlab=as_matlab):
                write_hdf5(self.folder / "in.set", {"EEG": marked_set()}, as_matlab)
                words = list(hdf5_stated(self.folder / "in.set"))
                self.sweep(self.folder / "in.set", 97, words[:40] + words[40::64 if SANITIZED else 4])


class Recordings(Case):
    def test_a_recording_without_a_decomposition_is_refused_at_once(self):
        shutil.copyfile(DATA / "real_v73.set", self.folder / "in.set")
        begin = time.monotonic()
        done, _ = self.imported()
        self.assertLess(time.monotonic() - begin, 1)
        self.assertIn("holds no decomposition", done.stderr)

    def test_the_values_are_those_of_the_formula(self):
        shutil.copyfile(REAL.with_suffix(".fdt"), self.folder / REAL.with_suffix(".fdt").name)
        shutil.copyfile(REAL, self.folder / "in.set")
        self.assertIn("80 data sets of 32 components x 384 samples from 32 sensors at 128 Hz", self.imported()[0].stdout)
        rows = self.icawave("list", "out.icpkg").splitlines()
        self.assertEqual(len(rows), 81)
        self.assertRegex(rows[80], r"^79 +EEG Data epochs trial 80 +384 +32 +0 +0 +0 +383 +Back +shown$")
        eeg = scipy.io.loadmat(REAL)["EEG"][0, 0]
        data = np.fromfile(REAL.with_suffix(".fdt"), "<f4").astype(float).reshape((32, 384, 80), order="F")
        for trial in (0, 1, 40, 79):
            expected = eeg["icaweights"] @ eeg["icasphere"] @ data[eeg["icachansind"].ravel() - 1, :, trial]
            self.icawave("export", "out.icpkg", "-d", str(trial), "-o", "v.npy", "--force")
            values = np.load(self.folder / "v.npy")
            self.assertLess(np.linalg.norm(values - expected), 1e-12 * np.linalg.norm(expected))
        mixing = self.dump("out.icpkg")["m_icaDataArray[79].m_icaParam.m_extraMatrixB.data"]
        bits = np.array([[int(value, 16) for value in row] for row in mixing], np.uint64)
        np.testing.assert_array_equal(bits.view(float), eeg["icawinv"])

    def test_every_damage_of_the_real_recording(self):
        data = REAL.read_bytes()
        words = list(stated(data, 128, len(data)))
        self.sweep(REAL, 97, words[:400] + random.Random(1).sample(words, 200 if SANITIZED else 2000))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])

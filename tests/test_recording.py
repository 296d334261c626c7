# SPDX-License-Identifier: BSD-3-Clause
"""The real recording through the command line: test_recording.py ICAWAVE DATA_DIR"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import numpy as np
import scipy.io

ICAWAVE = sys.argv[1]
SET = pathlib.Path(sys.argv[2]) / "eeglab_data_epochs_ica.set"


class Recording(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.report = cls.icawave("import", SET, "-o", "r.icpkg")

    @classmethod
    def icawave(cls, *words):
        return subprocess.run([ICAWAVE, *map(str, words)], cwd=cls.folder, check=True, capture_output=True,
                              text=True).stdout

    def test_all_trials_are_listed(self):
        self.assertIn("80 data sets of 32 components x 384 samples from 32 sensors at 128 Hz", self.report)
        rows = self.icawave("list", "r.icpkg").splitlines()
        self.assertEqual(len(rows), 81)
        self.assertRegex(rows[80], r"^79 +EEG Data epochs trial 80 +384 +32 +0 +0 +0 +383 +Back +shown$")

    def test_copy_gives_the_same_bytes(self):
        self.assertIn("80 data sets", self.icawave("check", "r.icpkg"))
        self.icawave("copy", "r.icpkg", "copy")
        self.assertEqual((self.folder / "copy").read_bytes(), (self.folder / "r.icpkg").read_bytes())

    def test_values_are_those_of_the_formula(self):
        eeg = scipy.io.loadmat(SET)["EEG"][0, 0]
        data = np.fromfile(SET.with_suffix(".fdt"), "<f4").astype(float).reshape((32, 384, 80), order="F")
        used = eeg["icachansind"].ravel() - 1
        for trial in (0, 1, 40, 79):
            expected = eeg["icaweights"] @ eeg["icasphere"] @ data[used, :, trial]
            self.icawave("export", "r.icpkg", "-d", trial, "-o", "v.npy", "--force")
            values = np.load(self.folder / "v.npy")
            self.assertLess(np.linalg.norm(values - expected), 1e-12 * np.linalg.norm(expected))
        self.icawave("export", "r.icpkg", "-d", 79, "-o", "v.icd")
        single = json.loads(self.icawave("dump", "v.icd"))["object"]
        mixing = [int(bits, 16) for row in single["m_icaParam.m_extraMatrixB.data"] for bits in row]
        np.testing.assert_array_equal(np.array(mixing, np.uint64).view(float).reshape(32, 32), eeg["icawinv"])

    def test_statistics_are_those_of_the_values(self):
        eeg = scipy.io.loadmat(SET)["EEG"][0, 0]
        data = np.fromfile(SET.with_suffix(".fdt"), "<f4").astype(float).reshape((32, 384, 80), order="F")
        lines = self.icawave("stats", "r.icpkg").splitlines()
        self.assertEqual(len(lines), 80)
        for trial, line in enumerate(lines):
            values = eeg["icaweights"] @ eeg["icasphere"] @ data[:, :, trial]
            rms = np.sqrt((values**2).mean(axis=1))
            expected = [values.min(), values.mean(), values.max(), np.abs(values).mean(), np.sqrt(rms.mean())]
            name, *numbers = re.fullmatch(r"(.*) Min: (\S+)\tMean: (\S+) Max: (\S+) AbsSum: (\S+) RmsSum: (\S+) ", line).groups()
            self.assertEqual(name, f"EEG Data epochs trial {trial + 1}")
            np.testing.assert_allclose(np.array(numbers, float), expected, atol=6e-7, rtol=0)


if __name__ == "__main__":
    if not SET.exists():
        print("SKIPPED: the real recording is not here")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])

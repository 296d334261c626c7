# SPDX-License-Identifier: BSD-3-Clause
"""What Python's own ways of keeping the same values reach beside the same limits: peers.py [WORKLOAD...]

Each is the median of 7 pairs, limit / operation: writing beside write() of the same bytes in 1 MiB pieces to a new file, loading beside
readinto() of the same file into memory that is there. Packages that are not installed are left out.
"""
import os
import pickle
import statistics
import sys
import tempfile
import time

import numpy as np

PAIRS = 7
WORKLOADS = {"W1": (200, 64, 2000), "W2": (1, 44850, 200), "W3": (2000, 32, 384)}
PIECE = 1 << 20


def seconds(act):
    begin = time.perf_counter()
    act()
    return time.perf_counter() - begin


def peers(values):
    """Pairs of functions (save, load) of a path; what load returns holds the values."""
    data_sets = list(values)

    def save_pickle(path):
        with open(path, "wb") as file:
            pickle.dump(data_sets, file, protocol=5)

    def load_pickle(path):
        with open(path, "rb") as file:
            return pickle.load(file)

    found = {"numpy save, one array": (lambda path: np.save(path, values), np.load, ".npy"),
             "pickle": (save_pickle, load_pickle, ".pickle")}
    try:
        import h5py

        def save_h5py(path):
            with h5py.File(path, "w") as file:
                for k, data_set in enumerate(data_sets):
                    file[str(k)] = data_set

        def load_h5py(path):
            with h5py.File(path) as file:
                return [file[str(k)][()] for k in range(len(data_sets))]

        found["h5py, one array a data set"] = (save_h5py, load_h5py, ".h5")
    except ImportError:
        pass
    try:
        import scipy.io
        found["scipy savemat"] = (lambda path: scipy.io.savemat(path, {"x": values}),
                                  lambda path: scipy.io.loadmat(path)["x"], ".mat")
    except ImportError:
        pass
    try:
        import mne
        mne.set_log_level("ERROR")
        if values.shape[1] < 1000:  # as many channels as a recording has
            info = mne.create_info(values.shape[1], 128.0, "eeg")
            epochs = mne.EpochsArray(values, info)
            found["MNE epochs, double"] = (lambda path: epochs.save(path, fmt="double", overwrite=True),
                                           lambda path: mne.read_epochs(path).get_data(), "-epo.fif")
    except ImportError:
        pass
    return found


def main(names):
    for name in names:
        shape = WORKLOADS[name]
        values = np.random.default_rng(1).standard_normal(shape)
        raw = memoryview(values).cast("B")
        warm = bytearray(len(raw) + PIECE)

        def write_raw(path):
            with open(path, "wb", buffering=0) as file:
                for at in range(0, len(raw), PIECE):
                    file.write(raw[at:at + PIECE])

        def read_raw(path):
            view, at = memoryview(warm), 0
            with open(path, "rb", buffering=0) as file:
                while got := file.readinto(view[at:at + PIECE]):
                    at += got

        with tempfile.TemporaryDirectory() as folder:
            limit = os.path.join(folder, "raw")
            for peer, (save, load, ending) in peers(values).items():
                path = os.path.join(folder, "peer" + ending)
                ratios = {"save": [], "load": []}
                for _ in range(PAIRS):
                    for file in (limit, path):
                        if os.path.exists(file):
                            os.remove(file)
                    ratios["save"].append(seconds(lambda: write_raw(limit)) / seconds(lambda: save(path)))
                    ratios["load"].append(seconds(lambda: read_raw(limit)) / seconds(lambda: load(path)))
                assert np.array_equal(np.asarray(load(path)), values), peer
                print(f"{name}  {peer:28}" + "".join(f"  {what} {statistics.median(r):.2f}"
                                                     for what, r in ratios.items()), flush=True)
                os.remove(path)

        def ratio(limit, operation):
            return statistics.median(seconds(limit) / seconds(operation) for _ in range(PAIRS))

        copy = np.empty_like(values)
        turned = np.empty((shape[0], shape[2], shape[1]))
        np.copyto(turned, values.transpose(0, 2, 1))
        read = lambda: np.bitwise_xor.reduce(values.view(np.uint64), axis=None)
        figures = {"minimum, mean, maximum, magnitude and square means":
                   ratio(read, lambda: (values.min(2), values.mean(2), values.max(2), np.abs(values).mean(2),
                                        (values**2).mean(2))),
                   "transposition into an array": ratio(lambda: np.copyto(copy, values),
                                                        lambda: np.copyto(turned, values.transpose(0, 2, 1)))}
        for what, figure in figures.items():
            print(f"{name}  numpy {what}  {figure:.2f}", flush=True)


if __name__ == "__main__":
    main(sys.argv[1:] or WORKLOADS)

# SPDX-License-Identifier: BSD-3-Clause
"""EEGLAB's .set files for the tests: small ones, and any as HDF5."""
import h5py
import numpy as np


def small_set(**changes):
    """Two of three channels, two trials of five samples."""
    random = np.random.default_rng(1)
    fields = dict(setname="réc", nbchan=3, pnts=5, trials=2, srate=250.0, xmin=-0.008, xmax=0.008,
                  data=random.normal(size=(3, 5, 2)), icaweights=random.normal(size=(2, 2)),
                  icasphere=random.normal(size=(2, 2)), icawinv=random.normal(size=(2, 2)),
                  icachansind=np.array([[3, 1]]), icaact=np.zeros((0, 0)), event=np.zeros((0, 0)))
    fields.update(changes)
    return {name: value for name, value in fields.items() if value is not None}


def marked_set(**changes):
    """Of every kind that EEGLAB has: marks, texts, nested and empty structures, lists of them."""
    places = np.array([(f"E{k}", k / 7) for k in range(3)], [("labels", object), ("X", object)])
    fields = dict(reject={"rejjp": np.zeros((0, 0)), "gcompreject": np.array([[0.0, 1.0]])}, chanlocs=places,
                  history="pop_loadset", ref="common", stats={"jp": {}}, etc=np.array([1, 2], np.int32),
                  saved=np.array([[True, False]]), datfile="")
    return small_set(**{**fields, **changes})


def write_hdf5(path, variables, as_matlab):
    """Level 7.3: as MATLAB writes it, or as one does who only knows which attributes are needed."""
    with h5py.File(path, "w", userblock_size=512 if as_matlab else 0, libver="earliest") as file:
        for name, value in variables.items():
            put(file, file, name, value, as_matlab)
    if as_matlab:
        header = b"MATLAB 7.3 MAT-file, Platform: GLNXA64 HDF5 schema 1.00 .".ljust(116) + bytes(8) + b"\0\2IM"
        with open(path, "r+b") as raw:
            raw.write(header)


def put(file, group, name, value, as_matlab):
    if isinstance(value, np.ndarray) and value.dtype.names:
        value = {n: value[n] for n in value.dtype.names} if value.size != 1 else dict(zip(value.dtype.names, value.flat[0]))
        for field in value if isinstance(next(iter(value.values()), None), np.ndarray) and value[next(iter(value))].dtype == object else ():
            refs = file.require_group("#refs#")
            cells = [put(file, refs, f"r{len(refs)}", cell, as_matlab).ref for cell in np.ravel(value[field])]
            group.require_group(name)[field] = np.array(cells, h5py.ref_dtype).reshape(-1, 1)
        if name in group:
            return finish(group[name], "struct", as_matlab, list(value))
    if isinstance(value, dict):
        made = group.create_group(name)
        for field, inner in value.items():
            put(file, made, field, inner, as_matlab)
        return finish(made, "struct", as_matlab, list(value))
    text = isinstance(value, str)
    array = np.array([np.frombuffer(value.encode("utf-16-le"), "<u2")]) if text else np.atleast_2d(value)
    class_name = "char" if text else {"float64": "double", "float32": "single", "bool": "logical"}.get(array.dtype.name, array.dtype.name)
    array = array.astype(np.uint8) if array.dtype == bool else array
    if array.size == 0 and as_matlab:
        made = group.create_dataset(name, data=np.array(array.shape, np.uint64))
        made.attrs["MATLAB_empty"] = np.uint32(1)
    else:
        large = array.size > 8 and as_matlab
        made = group.create_dataset(name, data=array.T, **(dict(compression="gzip", chunks=True) if large else {}))
        if text:
            made.attrs["MATLAB_int_decode"] = np.int32(2)
    return finish(made, class_name, as_matlab)


def finish(made, class_name, as_matlab, fields=None):
    type = h5py.h5t.C_S1.copy()
    type.set_size(len(class_name))
    type.set_strpad(h5py.h5t.STR_NULLTERM if as_matlab else h5py.h5t.STR_NULLPAD)
    space = h5py.h5s.create(h5py.h5s.SCALAR)
    h5py.h5a.create(made.id, b"MATLAB_class", type, space).write(np.array(class_name.encode()), mtype=type)
    if as_matlab and fields:
        letters = np.empty(len(fields), object)
        letters[:] = [np.array(list(field), "S1") for field in fields]
        made.attrs.create("MATLAB_fields", letters, dtype=h5py.vlen_dtype(np.dtype("S1")))
    return made

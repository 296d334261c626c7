# SPDX-License-Identifier: BSD-3-Clause
"""layers.py SOURCE_FOLDER: rooms include only the rooms that they may know of, and only headers that exist.

A folder is a room. It knows itself and the rooms of the levels before its own, whose exported headers are named beside it.
"""
import re
import sys
from pathlib import Path

LEVELS = [
    {"system": "", "kernels": ""},
    {"platform": "platform/Array platform/AtomicFile platform/Exception platform/File platform/FrontEnd platform/Memory platform/Message platform/Module "
                 "platform/Resource platform/String Export Version"},
    {"windows": "platform/Dialog platform/ListCtrl platform/Menu platform/ScriptedFrontEnd platform/Window platform/Wnd",
     "persist/archive": "platform/Archive"},
    {"matrix": "MMatrix"},
    {"channel": "ChnlIcaData", "icaparam": "IcaParam"},
    {"trial": "TrialIcaData"},
    {"package": "FaceIca DataSetOwner"},
    {"persist/records": ""},
    {"persist/packagefile": "PackageFile", "ui": "IcaWaveManager"},
    {"exchange": "", "qt": "qt/QtFrontEnd", "apps": "", "examples": "", "bench": "", "fuzz": "", "tests": "icawave"},
]
TOP = len(LEVELS) - 1
KNOT = ("package/FaceIcazq.cpp", "include/icawave/IcaWaveManager.h")  # the package opens the dialog that edits it

LEVEL = {room: level for level, rooms in enumerate(LEVELS) for room in rooms}
ROOM_OF_HEADER = {f"include/icawave/{name}.h": room for rooms in LEVELS for room, names in rooms.items() for name in names.split()}


def room(path):
    return ROOM_OF_HEADER.get(path) or next(name for name in LEVEL if path.startswith(name + "/"))


def may_know(source, target):
    """At the top, tools know each other: programs their libraries, tests all of them."""
    own, other = room(source), room(target)
    return own == other or LEVEL[other] < LEVEL[own] or LEVEL[own] == TOP


def faults(root):
    sources = [p for top in ("include", *sorted({name.split("/")[0] for name in LEVEL}))
               for p in sorted((root / top).rglob("*.[ch]*")) if p.suffix in (".h", ".cpp")]
    assert len(sources) > 100, f"only {len(sources)} sources found"
    for source in sources:
        name = str(source.relative_to(root))
        for line in source.read_text().splitlines():
            if re.match(r"#\s*include <Q", line) and room(name) not in ("qt", "apps", "bench", "tests"):
                yield f"{name}: sees a toolkit's header"
            include = re.match(r'#\s*include (?:<(icawave/.*)>|"(.*)")', line)
            if not include:
                continue
            target = "include/" + include[1] if include[1] else include[2]
            if not (root / target).exists() and (source.parent / target).exists():
                continue  # of a project that also stands alone
            if not (root / target).exists():
                yield f"{name}: {target} does not exist"
            elif not may_know(name, target) and (name, target) != KNOT:
                yield f"{name} ({room(name)}) includes {target} ({room(target)})"


if __name__ == "__main__":
    found = list(faults(Path(sys.argv[1])))
    print("\n".join(found) or "every room knows only what it may")
    sys.exit(1 if found else 0)

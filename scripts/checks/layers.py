# SPDX-License-Identifier: BSD-3-Clause
"""layers.py SOURCE_FOLDER: rooms include only the rooms that they may know of, and only headers that exist.

Knowledge points one way: platform <- archive <- matrix <- channel, icaparam <- trial <- package <- ui <- tools. The record sources in
persist/ belong to their family's room.
"""
import re
import sys
from pathlib import Path

ORDER = ["platform", "archive", "matrix", "channel", "trial", "package", "ui", "tools"]
ROOM_OF_PREFIX = {"platform": "platform", "matrix": "matrix", "channel": "channel", "icaparam": "channel", "trial": "trial",
                  "package": "package", "ui": "ui", "apps": "tools", "examples": "tools", "tests": "tools"}
ROOM_OF_NAME = {  # public headers and record sources, by the beginning of their names
    "Archive": "archive", "Exchange": "archive", "Storable": "archive", "MMatrix": "matrix", "ChnlIcaData": "channel",
    "IcaParam": "channel", "TrialIcaData": "trial", "FaceIca": "package", "DataSetOwner": "package", "IcaWaveManager": "ui", "IcaDataStd": "trial", "PackageFile": "package", "Crc32c": "platform", "icawave.h": "tools", "Export": "platform"}

KNOTS = [("package/FaceIcazq.cpp", "include/icawave/IcaWaveManager.h"),  # the package opens the dialog that edits it
         ("ui/Module.cpp", "ui/Resources.h")]  # the library brings the dialog's resources


def room(path):
    if "/qt/" in path:
        return "tools"
    if path.startswith(("include/icawave/", "persist/")) and ("/platform/" not in path or path.endswith("/Archive.h")):
        for beginning, found in ROOM_OF_NAME.items():
            if Path(path).name.startswith(beginning):
                return found
    return ROOM_OF_PREFIX[path.removeprefix("include/icawave/").split("/")[0]]


def faults(root):
    sources = [p for folder in [*ROOM_OF_PREFIX, "include", "persist"] for p in sorted((root / folder).rglob("*.[ch]*"))
               if p.suffix in (".h", ".cpp")]
    assert len(sources) > 40, f"only {len(sources)} sources found"
    for source in sources:
        name = str(source.relative_to(root))
        for line in source.read_text().splitlines():
            if re.match(r"#\s*include <Q", line) and "/qt/" not in name:
                yield f"{name}: sees a toolkit's header"
            include = re.match(r'#\s*include (?:<(icawave/.*)>|"(.*)")', line)
            if not include:
                continue
            target = "include/" + include[1] if include[1] else include[2]
            if not (root / target).exists() and not (source.parent / target).exists():
                yield f"{name}: {target} does not exist"
                continue
            if not (root / target).exists():
                continue  # beside the source, so of its own room
            if (name, target) in KNOTS:
                continue
            if ORDER.index(room(target)) > ORDER.index(room(name)):
                yield f"{name} ({room(name)}) includes {target} ({room(target)})"


if __name__ == "__main__":
    found = list(faults(Path(sys.argv[1])))
    print("\n".join(found) or "every room knows only what it may")
    sys.exit(1 if found else 0)

# SPDX-License-Identifier: BSD-3-Clause
"""documents.py SOURCE_FOLDER: what the documents show is what the code is."""
import os
import re
import sys
from pathlib import Path

LICENCE = "SPDX-License-Identifier: BSD-3-Clause"


def sources(root):
    """C++, Python, CMake and scripts, those in the folders of builds left out."""
    for folder, inner, names in os.walk(root):
        inner[:] = [name for name in inner if name not in ("build", ".git")]
        for path in (Path(folder) / name for name in names):
            kind = "cmake" if path.name == "CMakeLists.txt" else path.suffix[1:]
            if kind in ("cpp", "h", "py", "cmake") or (not kind and path.read_bytes()[:2] == b"#!"):
                yield path


def main(root):
    for path in sources(root):
        line = ("// " if path.suffix in (".cpp", ".h") else "# ") + LICENCE
        if line not in path.read_text().splitlines()[:2]:
            return f"{path.relative_to(root)}: does not begin with {line}"

    hex_block = re.search(r"```hex\n(.*?)```", (root / "docs/FORMAT.md").read_text(), re.S)[1]
    shown = bytes.fromhex("".join(re.match(r"(?:[0-9A-F]{2} ?)+", line)[0] for line in hex_block.splitlines()))
    if shown != (root / "tests/golden/default_package.bin").read_bytes():
        return "docs/FORMAT.md: the file in hex is not tests/golden/default_package.bin"

    host = (root / "examples/host/main.cpp").read_text()
    snippets = re.findall(r"```cpp\n(.*?)```", (root / "README.md").read_text(), re.S)
    if not snippets:
        return "README.md: no source is shown"
    for snippet in snippets:
        for piece in re.split(r"\n *// \.\.\.\n", snippet.strip()):  # left out between pieces
            if piece not in host:
                return f"README.md: not in examples/host/main.cpp:\n{piece}"

    tests = "".join(p.read_text() for p in (root / "tests").rglob("*.cpp"))
    for suite, name in re.findall(r"`(?:\w+/)?(\w+)\.(\w*)(?:\*|\.\.\.)?`", (root / "docs/RELIABILITY.md").read_text()):
        if not re.search(rf"TEST(?:_F|_P)?\({suite}, {name}", tests):
            return f"docs/RELIABILITY.md: there is no test {suite}.{name}"

    architecture = (root / "docs/ARCHITECTURE.md").read_text()
    headers = "".join(p.read_text() for p in (root / "include/icawave").glob("*.h"))
    for name in re.findall(r"class ICAWAVE_EXPORT (C\w+)", headers):
        if f"`{name}`" not in architecture:
            return f"docs/ARCHITECTURE.md: {name} is missing"
    return None


if __name__ == "__main__":
    fault = main(Path(sys.argv[1]))
    print(fault or "the documents show what is there")
    sys.exit(1 if fault else 0)

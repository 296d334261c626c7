# SPDX-License-Identifier: BSD-3-Clause
"""test_golden.py GOLDEN_DIR DUMPER: what loading each golden file must give, and the bytes that it is stored as again.

A case is met when the dumper's outcome is one of those listed; {"any": 1} stands for every value.
"""
import json
import os
import resource
import subprocess
import sys
import tempfile
from pathlib import Path

GOLDEN, DUMPER = Path(sys.argv[1]), sys.argv[2]
SECONDS, ADDRESS_SPACE = 20, 4 << 30


def limit_memory():
    if not os.environ.get("ICAWAVE_SANITIZED"):  # sanitizers reserve more than they use
        resource.setrlimit(resource.RLIMIT_AS, (ADDRESS_SPACE, ADDRESS_SPACE))


def met(expected, actual):
    if expected == {"any": 1}:
        return True
    if isinstance(expected, dict):
        return isinstance(actual, dict) and expected.keys() == actual.keys() and all(met(v, actual[k]) for k, v in expected.items())
    if isinstance(expected, list):
        return isinstance(actual, list) and len(expected) == len(actual) and all(map(met, expected, actual))
    return expected == actual


def fault(case, again):
    command = [DUMPER, case["kind"], GOLDEN / case["file"], "--resave", again]
    if case["preload"]:
        command += ["--preload", GOLDEN / case["preload"]]
    done = subprocess.run(command, capture_output=True, timeout=SECONDS, preexec_fn=limit_memory)
    if done.returncode != 0:
        return f"the dumper ended with {done.returncode}: {done.stderr.decode()[-500:]}"
    actual = json.loads(done.stdout)
    expected = json.loads((GOLDEN / case["expected"]).read_text())
    if not any(met(outcome, actual) for outcome in expected["accept"] + expected["tolerate"]):
        wanted = expected["accept"][0]
        keys = [k for k in wanted["object"] if not met(wanted["object"][k], actual["object"].get(k))]
        return f"{actual['messages']}, {actual['result']}, {actual['exception']}; other fields: {keys[:5]}"
    if case["resave"] and again.read_bytes() != (GOLDEN / case["resave"]).read_bytes():
        return "stored again as other bytes"
    return None


with tempfile.TemporaryDirectory() as folder:
    cases = json.loads((GOLDEN / "MANIFEST.json").read_text())["cases"]
    faults = [(case["name"], found) for case in cases if (found := fault(case, Path(folder) / "again.bin"))]
for name, found in faults:
    print(f"{name}: {found}")
print(f"{len(cases) - len(faults)} of {len(cases)} cases as expected")
sys.exit(1 if faults or len(cases) < 100 else 0)

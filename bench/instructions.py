#!/usr/bin/env python3
"""Instructions per operation, counted under callgrind: exact, and the same on every run.

    bench/instructions.py [BUILD_FOLDER]

BUILD_FOLDER (default build/release) holds the libraries of a release build; the driver is compiled against them with
the compiler in $CXX (default g++) and thrown away afterwards. The exit status is 1 when a bound is exceeded.
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# Operation, sizes, and the bound that holds at each of them (None: for information).
OPERATIONS = [
    ("copy", (10_000,), 18),
    ("find", (10_000, 100_000), 30),
    ("member", (10_000, 100_000), None),
    ("insert", (10_000, 100_000), 100),
    ("erase", (10_000, 100_000), 60),
    ("iterate", (10_000, 100_000), 16),
    ("snapshot", (8, 64), None),
    ("deliver", (1, 8, 64), None),
    ("loop", (1, 8, 64), None),
    ("event", (10_000,), 300),
    ("change-mirror", (10_000,), 350),
    ("remove-mirror", (10_000,), None),
    ("wire-mirror", (10_000,), 800),
    ("change-model", (10_000,), 200),
    ("sweep-slice", (10_000,), None),
    ("make-block", (19_000,), 500),
    ("wire-blocks", (1_000,), 500),
    ("wire-private-blocks", (1_000,), 500),
]


def compile_driver(build: Path, folder: Path) -> Path:
    driver = folder / "driver"
    command = [os.environ.get("CXX", "g++"), "-std=c++20", "-O2", "-DNDEBUG", f"-I{ROOT}",
               str(ROOT / "bench" / "InstructionsDriver.cpp"), "-o", str(driver),
               f"-L{build / 'lib'}", "-Wl,-z,now", f"-Wl,-rpath,{build / 'lib'}", "-lvaro", "-lvaroplatform", "-lzon"]
    subprocess.run(command, check=True)
    return driver


def instructions(driver: Path, folder: Path, operation: str, count: int) -> float:
    """Instructions of the measured function with all it calls, divided by the number of operations."""
    symbol = "*measured" + operation.split("-")[0].capitalize() + "*"
    command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={folder / 'out'}", "--collect-atstart=no",
               f"--toggle-collect={symbol}", str(driver), operation, str(count)]
    run = subprocess.run(command, check=True, capture_output=True, text=True)
    collected = re.search(r"Collected : (\d+)", run.stderr)
    if collected is None or int(collected.group(1)) == 0:
        sys.exit(f"callgrind collected nothing for {operation}:\n{run.stderr}")
    return int(collected.group(1)) / int(run.stdout)


def main() -> int:
    build = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build" / "release").resolve()
    exceeded = False
    print(f"{'operation':<20} {'size':>8} {'instructions':>13} {'bound':>6}")
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        driver = compile_driver(build, folder)
        for operation, counts, bound in OPERATIONS:
            for count in counts:
                each = instructions(driver, folder, operation, count)
                missed = bound is not None and each > bound
                exceeded = exceeded or missed
                print(f"{operation:<20} {count:>8} {each:>13.1f} {bound or '':>6}{'  exceeded' if missed else ''}")
    return 1 if exceeded else 0


if __name__ == "__main__":
    sys.exit(main())

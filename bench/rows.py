#!/usr/bin/env python3
"""The results of benchmarks as rows for docs/performance.md.

    bench/rows.py FILE.json...

Names read WHAT/HOW/N. One table for each WHAT, one row for each N, one column for each HOW; the first column is what the
others are peers of. Figures are nanoseconds of processor time an item (the median where there were repetitions), in
brackets the first column's time divided by the peer's. Of loading, microseconds of the quickest.
"""

import json
import re
import sys
from pathlib import Path

# What Google Benchmark appends to a name.
APPENDED = re.compile(r"([a-z_]+:\d+|manual_time|real_time|process_time)(_[a-z]+)?")


def figures(file: Path) -> dict[str, dict[str, dict[str, float]]]:
    """WHAT, N and HOW to time, in the order of the file."""
    found: dict[str, dict[str, dict[str, float]]] = {}
    runs = json.loads(file.read_text())["benchmarks"]
    repeated = any(run.get("run_type") == "aggregate" for run in runs)
    for run in runs:
        if "error_occurred" in run or (repeated and run.get("aggregate_name") != "median"):
            continue
        parts = [part for part in run.get("run_name", run["name"]).split("/") if not APPENDED.fullmatch(part)]
        size = parts.pop() if parts[-1].isdigit() else "-"
        what, how = parts[0], "/".join(parts[1:])
        time = run["min_us"] if "min_us" in run else 1e9 / run["items_per_second"] if "items_per_second" in run \
            else run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
        found.setdefault(what, {}).setdefault(size, {})[how] = time
    return found


def shown(time: float) -> str:
    """Three digits that count, thousands apart."""
    digits = 2 if time < 10 else 1 if time < 100 else 0
    return f"{round(time, digits) if time < 1000 else round(time, -1):,.{digits}f}"


def main() -> int:
    for file in map(Path, sys.argv[1:]):
        for what, sizes in figures(file).items():
            ways = list(dict.fromkeys(how for row in sizes.values() for how in row))
            print(f"\n| {what} | " + " | ".join(ways) + " |")
            print("|--:|" + "--:|" * len(ways))
            for size, row in sizes.items():
                base = row.get(ways[0])
                cells = []
                for how in ways:
                    ratio = f" ({base / row[how]:.2f})" if base and how in row and how != ways[0] else ""
                    cells.append(shown(row[how]) + ratio if how in row else "")
                print(f"| {int(size):,} | " if size.isdigit() else f"| {size} | ", end="")
                print(" | ".join(cells) + " |")
    return 0


if __name__ == "__main__":
    sys.exit(main())

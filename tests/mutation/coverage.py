"""Prints line and branch coverage of each folder, from llvm-cov's summary on standard input: coverage.py ROOT"""

import json
import os
import sys

FOLDERS = ("Zon", "platform", "VaroIntf", "VaroErrdisable", "host")
KINDS = ("lines", "branches")


def share(counts):
    count, covered = counts
    return f"{100 * covered / count:6.1f} %  {covered:5} of {count:5}" if count else "        none          "


def main():
    root = os.path.realpath(sys.argv[1])
    totals = {folder: {kind: [0, 0] for kind in KINDS} for folder in (*FOLDERS, "all")}
    for file in json.load(sys.stdin)["data"][0]["files"]:
        folder = os.path.relpath(os.path.realpath(file["filename"]), root).split(os.sep)[0]
        if folder not in FOLDERS:
            continue
        for kind in KINDS:
            summary = file["summary"][kind]
            for name in (folder, "all"):
                totals[name][kind][0] += summary["count"]
                totals[name][kind][1] += summary["covered"]
    if not totals["all"]["lines"][0]:
        sys.exit("error: no file of the library in the summary")
    print(f"{'folder':16}{'lines':>28}{'branches':>28}")
    for name, counts in totals.items():
        print(f"{name:16}" + "".join(f"{share(counts[kind]):>28}" for kind in KINDS))


main()

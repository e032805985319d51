#!/usr/bin/python3
"""Changes the library one small step at a time and lists the changes that no test notices. See scripts/mutate.

All changes are compiled into one copy of the tree, each behind a switch that the environment turns on (Selected.h), so
that one build serves them all; then the test programs run once for every selected change. A first run of every program
records which changes it passes: only those programs can notice it.
"""

import argparse
import json
import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import points as mutation

ROOT = Path(__file__).resolve().parent.parent.parent
WORK = ROOT / "build" / "mutate"
COPY = WORK / "source"
FOLDERS = ("Zon", "platform", "VaroIntf", "VaroErrdisable")
EQUIVALENT = ROOT / "tests" / "mutation" / "equivalent.txt"
SWITCH = "tests/mutation/Selected.h"
GOAL = 0.95
# Programs that take longer run after all others.
SLOW_SECONDS = 2.0
# The status of a failed test that ran in namespaces of its own.
ISOLATED_FAILURE = 99

# Programs that are not run, with the reason.
NOT_RUN = {
    "TypeNamesTest": "strips the libraries and reads what is left: no statement of theirs decides it",
}

# Tests that are left out: they do what others do, only far more often.
NOT_RUN_TESTS = ("*.AMillionInterfaces*", "*.TenThousandInterfaces*")

# How the copy is built: as delivered but quicker to compile; and as the sanitizers see it, which notice what a plain
# run forgives (use after free, leaks, broken requirements).
FLAVOURS = {
    "release": {
        "arguments": ["-DCMAKE_BUILD_TYPE=Mutants", "-DCMAKE_CXX_COMPILER=clang++",
                      "-DCMAKE_CXX_FLAGS_MUTANTS=-O0 -DNDEBUG"],
        "environment": {"MALLOC_PERTURB_": "165"},
        "memory": 4 << 30,
    },
    "asan": {
        "arguments": ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_COMPILER=clang++",
                      "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -gline-tables-only", "-DVARO_SANITIZE=address;undefined"],
        "environment": {
            "ASAN_OPTIONS": "detect_stack_use_after_return=1:strict_string_checks=1:detect_invalid_pointer_pairs=2",
        },
        "memory": None,
    },
}


def say(text):
    print(f"==> {text}", file=sys.stderr, flush=True)


def fail(text):
    sys.exit(f"error: {text}")


# -- the copy ---------------------------------------------------------------------------------------------------------


def tracked():
    out = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True,
                         text=True).stdout.split("\n")
    return sorted(name for name in out if name and (ROOT / name).is_file())


def library_sources(names):
    return [n for n in names if n.split("/")[0] in FOLDERS and n.endswith((".h", ".cpp"))]


def write_if_changed(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.is_file() or path.read_bytes() != content:
        path.write_bytes(content)


def write_copy(names, points):
    """The tree with the changes in it; files that stay as they are keep their time."""
    wanted = set(names)
    for path in COPY.rglob("*"):
        if path.is_file() and str(path.relative_to(COPY)) not in wanted:
            path.unlink()
    sources = set(library_sources(names))
    by_file = {}
    for point in points:
        by_file.setdefault(point.file, []).append(point)
    for name in names:
        content = (ROOT / name).read_bytes()
        if name in sources and name in by_file:
            text = mutation.rewrite(content.decode("latin-1"), by_file[name])
            content = f'#include "{SWITCH}"\n'.encode() + text.encode("latin-1")
        write_if_changed(COPY / name, content)
        shutil.copymode(ROOT / name, COPY / name)


ERROR = re.compile(r"^(?P<file>/[^:\n]+):(?P<line>\d+):(?:\d+:)? (?:fatal )?error: (?P<text>.*)$", re.MULTILINE)


def blamed(log):
    """The numbers of the changes on the lines that do not compile; the nearest before, where a line has none."""
    found = set()
    for match in ERROR.finditer(log):
        path = Path(match["file"])
        if COPY not in path.parents or str(path.relative_to(COPY)).split("/")[0] not in FOLDERS:
            continue
        lines = path.read_bytes().decode("latin-1").split("\n")
        at = int(match["line"]) - 1
        while at >= 0:
            numbers = re.findall(re.escape(mutation.SELECTED) + r"\((\d+)\)", lines[at])
            if numbers:
                found.update(map(int, numbers))
                break
            at -= 1
    return found


def build(names, points, flavour):
    """Builds the copy, leaving out what does not compile; returns the changes that are in it."""
    folder = WORK / flavour
    WORK.mkdir(parents=True, exist_ok=True)
    dropped_file = WORK / "dropped.json"
    dropped = set(json.loads(dropped_file.read_text())) if dropped_file.is_file() else set()
    for attempt in range(1, 9):
        inside = [p for p in points if p.key not in dropped]
        write_copy(names, inside)
        configured = subprocess.run(
            ["cmake", "-G", "Ninja", "-S", str(COPY), "-B", str(folder), "-DVARO_TESTS=ON", "-DVARO_HOST=OFF",
             "-DVARO_BENCH=OFF", "-DVARO_WERROR=OFF", "-DVARO_CCACHE=OFF", "-DCMAKE_CXX_FLAGS=-w",
             *FLAVOURS[flavour]["arguments"]],
            capture_output=True, text=True)
        if configured.returncode != 0:
            fail(f"configuring failed:\n{configured.stdout}{configured.stderr}")
        say(f"Building {flavour} with {len(inside)} changes, attempt {attempt}")
        # The libraries first: most of what does not compile shows there.
        for targets in (["zon", "platform", "varo"], ["all"]):
            command = ["cmake", "--build", str(folder), "--target", *targets, "--", "-k", "0",
                       "-j", str(os.cpu_count())]
            built = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                   errors="replace")
            (WORK / f"build-{flavour}.log").write_text(built.stdout)
            if built.returncode != 0:
                break
        else:
            return inside
        numbers = blamed(built.stdout)
        new = {p.key for p in inside if p.number in numbers}
        if not new:
            fail(f"the copy does not build, and no change is to blame: {WORK}/build-{flavour}.log")
        say(f"{len(new)} changes do not compile and are left out")
        dropped |= new
        dropped_file.write_text(json.dumps(sorted(dropped), indent=1))
    fail("the copy does not build")


# -- running ----------------------------------------------------------------------------------------------------------


class Programs:
    """The test programs of one build: what they take, what they pass, and what they say of a change."""

    def __init__(self, flavour, names):
        self.flavour = FLAVOURS[flavour]
        folder = WORK / flavour / "tests" / "bin"
        self.scratch = WORK / "scratch"
        self.scratch.mkdir(exist_ok=True)
        self.programs = sorted(p for p in folder.iterdir() if p.is_file() and os.access(p, os.X_OK)
                               and p.name not in NOT_RUN)
        if not self.programs:
            fail("there are no test programs")
        self.folder_of = {}
        for name in names:
            if name.endswith("Test.cpp"):
                parts = name.split("/")
                for target in (parts[-1][:-4], "_".join(parts[1:])[:-4]):
                    self.folder_of[target] = "/".join(parts[1:-1])
        self.seconds = {}
        self.reached = {}
        self.isolation = self.find_isolation()

    @staticmethod
    def find_isolation():
        """A change must not leave processes, shared memory or files to the next: every run has its own of each."""
        # The shell stays: as first process of its namespace a program would not get its own signals. A failed test
        # gets a status of its own, for unshare and mount may fail as well, and that is nobody's merit.
        mounts = ["mount -t tmpfs none /dev/shm || exit"]
        if ROOT.parts[1] != "tmp":
            mounts.append("mount -t tmpfs none /tmp || exit")
        setup = "; ".join(mounts + [f'"$@"; status=$?; [ $status = 1 ] && exit {ISOLATED_FAILURE}; exit $status'])
        flags = ["--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
        for extra in ([], ["--map-root-user"]):
            command = ["unshare", *extra, *flags, "sh", "-c", setup, "sh"]
            if subprocess.run(command + ["true"], capture_output=True).returncode == 0:
                return command
        say("No namespaces here: what one change leaves behind, another may stumble over")
        return []

    def run(self, program, extra, timeout):
        """How a run ended: passed, failed, crashed or timed out."""
        environment = {k: v for k, v in os.environ.items() if not k.startswith(("GTEST_", "VARO_MUTANT"))}
        environment.update(self.flavour["environment"], GTEST_FAIL_FAST="1", GTEST_BRIEF="1", GTEST_COLOR="no",
                           GTEST_FILTER="-" + ":".join(NOT_RUN_TESTS), **extra)

        def limits():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            # Only the soft limit: a test sets it itself.
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, resource.RLIM_INFINITY))
            if self.flavour["memory"]:
                # What is shared does not count: every manager of counters reserves much more than it uses.
                resource.setrlimit(resource.RLIMIT_DATA, (self.flavour["memory"],) * 2)

        with subprocess.Popen(self.isolation + [str(program)], env=environment, cwd=self.scratch,
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True, preexec_fn=limits) as process:
            try:
                status = process.wait(timeout)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
                return "timed out"
        if status == 0:
            return "passed"
        if status == (ISOLATED_FAILURE if self.isolation else 1):
            return "failed"
        if self.isolation and status in (1, 32):
            raise RuntimeError(f"no namespace for {program.name}: status {status}")
        return "crashed"

    def rehearse(self, count, jobs):
        """Every program without a change: it must pass, and tells what it takes and which changes it reaches."""

        def rehearsed(program):
            marks = WORK / f"reached-{program.name}.bin"
            marks.write_bytes(bytes(count + 1))
            start = time.monotonic()
            how = self.run(program, {"VARO_MUTANTS_REACHED": str(marks)}, 600)
            self.seconds[program] = time.monotonic() - start
            self.reached[program] = marks.read_bytes()
            marks.unlink()
            return how

        with ThreadPoolExecutor(jobs) as pool:
            ends = dict(zip(self.programs, pool.map(rehearsed, self.programs)))
        broken = [f"{program.name} ({how})" for program, how in ends.items() if how != "passed"]
        if broken:
            fail("these fail without any change: " + ", ".join(broken))

    def order(self, point):
        """The programs that reach the change, the likeliest to notice it first."""
        folder, _, name = point.file.rpartition("/")
        stem = name.rsplit(".", 1)[0]

        def rank(program):
            near = 0 if program.name.startswith(stem) else 1 if self.folder_of.get(program.name) == folder else 2
            return self.seconds[program] > SLOW_SECONDS, near, self.seconds[program]

        return sorted((p for p in self.programs if self.reached[p][point.number]), key=rank)

    def trial(self, point):
        """Result and, when the change was noticed, by which program and how."""
        programs = self.order(point)
        if not programs:
            return "not reached", "", ""
        for program in programs:
            patience = 5 + 10 * self.seconds[program]
            how = self.run(program, {"VARO_MUTANT": str(point.number)}, patience)
            if how == "timed out":
                # The machine may have been busy.
                how = self.run(program, {"VARO_MUTANT": str(point.number)}, 2 * patience)
            if how != "passed":
                return "killed", program.name, how
        return "survived", "", ""


def try_all(flavour, names, selected, count, jobs, quick, keep):
    """Gives each change and what came of it to `keep`, one at a time, as soon as it is known."""
    programs = Programs(flavour, names)
    say(f"Rehearsing {len(programs.programs)} programs ({flavour})")
    programs.rehearse(count, jobs)
    if quick:
        programs.programs = [p for p in programs.programs if programs.seconds[p] <= SLOW_SECONDS]
    total = sum(programs.seconds.values())
    say(f"All pass without a change, in {total:.1f} s of one processor; trying {len(selected)} changes")
    done, lock, start = [0], threading.Lock(), time.monotonic()

    def one(point):
        result = programs.trial(point)
        with lock:
            done[0] += 1
            if done[0] % 50 == 0:
                say(f"{done[0]} of {len(selected)} after {time.monotonic() - start:.0f} s")
            if result[0] != "killed":
                say(f"{result[0]}: {point.number} {point.key}")
            keep(point, result)

    with ThreadPoolExecutor(jobs) as pool:
        list(pool.map(one, selected))


# -- selection and report ---------------------------------------------------------------------------------------------


def choose(points, count, seed, only):
    """`count` of them, from every file its share; the same for the same seed."""
    points = [p for p in points if only is None or re.search(only, p.key)]
    if count is None or count >= len(points):
        return points
    by_file = {}
    for point in points:
        by_file.setdefault(point.file, []).append(point)
    chosen = []
    given = len(points)
    wanted = count
    for name in sorted(by_file):
        # Rounded so that the shares add up.
        share = round(wanted * len(by_file[name]) / given)
        given -= len(by_file[name])
        wanted -= share
        chosen += random.Random(f"{seed} {name}").sample(by_file[name], share)
    return sorted(chosen, key=lambda p: p.number)


def read_equivalent():
    """Key of each change that alters nothing observable, with the reason on the indented lines below it."""
    reasons, key = {}, None
    for line in EQUIVALENT.read_text().split("\n") if EQUIVALENT.is_file() else []:
        if not line.strip() or line.startswith("#"):
            key = None if not line.strip() else key
        elif line.startswith(" "):
            if key is None:
                fail(f"{EQUIVALENT}: a reason without a change: {line.strip()}")
            reasons[key] = (reasons[key] + " " + line.strip()).strip()
        else:
            key = line.strip()
            reasons[key] = ""
    for key, reason in reasons.items():
        if not reason:
            fail(f"{EQUIVALENT}: no reason for {key}")
    return reasons


def report(results):
    folders = {}
    for result in results:
        folders.setdefault(result["file"].split("/")[0], Counter())[result["result"]] += 1
    kinds = {}
    for result in results:
        kinds.setdefault(result["kind"], Counter())[result["result"]] += 1
    columns = ("killed", "survived", "not reached", "equivalent")
    for title, rows in (("folder", folders), ("kind", kinds)):
        print(f"{title:16}{'changes':>9}" + "".join(f"{c:>13}" for c in columns) + f"{'killed of rest':>16}")
        total = Counter()
        for name in sorted(rows):
            total += rows[name]
        for name, row in [*sorted(rows.items()), ("all", total)]:
            rest = sum(row.values()) - row["equivalent"]
            rate = f"{100 * row['killed'] / rest:.1f} %" if rest else "-"
            print(f"{name:16}{sum(row.values()):>9}" + "".join(f"{row[c]:>13}" for c in columns) + f"{rate:>16}")
        print()
    how = Counter(r["how"] for r in results if r["result"] == "killed")
    print("killed by: " + ", ".join(f"{n} {name}" for name, n in how.most_common()))
    for result in results:
        if result["result"] in ("survived", "not reached", "not tried"):
            print(f"{result['result']:12} {result['file']}:{result['line']}\n    {result['key']}")


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, help="how many changes to try, spread over the files (default: all)")
    parser.add_argument("--seed", default="1", help="which of them (default 1)")
    parser.add_argument("--only", metavar="PATTERN", help="only changes whose key matches")
    parser.add_argument("--again", action="store_true",
                        help="only those that the last run, also an interrupted one, did not see killed")
    parser.add_argument("--add", action="store_true", help="add to the results of the last run: another sample")
    parser.add_argument("--list", action="store_true", help="list the changes, run nothing")
    parser.add_argument("--no-sanitizers", action="store_true", help="do not try survivors under the sanitizers")
    parser.add_argument("--quick", action="store_true",
                        help="leave out the programs that take long; --again without it tries what then survives")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="runs at a time")
    options = parser.parse_args()

    names = tracked()
    points = mutation.find(ROOT, library_sources(names))
    equivalent = read_equivalent()
    keys = {p.key for p in points}
    for key in equivalent:
        if key not in keys:
            say(f"No such change any more (tests/mutation/equivalent.txt): {key}")
    if options.list:
        for point in choose(points, options.count, options.seed, options.only):
            print(f"{point.line:>5} {point.key}")
        return 0

    results_file = WORK / "results.json"
    inside = build(names, points, "release")
    earlier = {}
    if options.again or options.add:
        earlier = {r["key"]: r for r in json.loads(results_file.read_text())}
        say(f"{len(earlier.keys() - {p.key for p in inside})} changes of the last run are gone")
    chosen = set() if options.again else {p.key for p in choose(inside, options.count, options.seed, options.only)}
    selected = [p for p in inside if p.key in earlier or p.key in chosen]
    last = max(p.number for p in points)
    found = {p.key: tuple(earlier[p.key][field] for field in ("result", "by", "how")) if p.key in earlier
             else ("not tried", "", "") for p in selected}
    found.update({p.key: ("equivalent", "", equivalent[p.key]) for p in selected if p.key in equivalent})
    tried = [p for p in selected if found[p.key][0] != "killed" and p.key not in equivalent and
             (options.only is None or re.search(options.only, p.key))]

    def write_results():
        results = [{"number": p.number, "key": p.key, "file": p.file, "line": p.line, "kind": p.kind,
                    **dict(zip(("result", "by", "how"), found[p.key]))} for p in selected]
        results_file.write_text(json.dumps(results, indent=1) + "\n")
        return results

    def keep(point, result):
        found[point.key] = result
        write_results()

    def keep_killed(point, result):
        if result[0] == "killed":
            keep(point, (*result[:2], f"{result[2]} under the sanitizers"))

    if tried:
        try_all("release", names, tried, last, options.jobs, options.quick, keep)
    survivors = {p.key for p in tried if found[p.key][0] == "survived"}
    if survivors and not options.no_sanitizers:
        again = [p for p in build(names, points, "asan") if p.key in survivors]
        try_all("asan", names, again, last, options.jobs, options.quick, keep_killed)

    results = write_results()
    report(results)
    counts = Counter(r["result"] for r in results)
    rest = len(results) - counts["equivalent"]
    rate = counts["killed"] / rest if rest else 0.0
    print(f"\n{counts['killed']} of {rest} killed ({100 * rate:.1f} %), {counts['equivalent']} equivalent")
    return 0 if rate >= GOAL else 1


if __name__ == "__main__":
    sys.exit(main())

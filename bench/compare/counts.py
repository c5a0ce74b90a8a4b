"""Counts what the machine's load does not change: the instructions of each task on the storage S, and
its system calls for each policy directory, without its children. Fails if a count is more than a tenth
above bench/counts.txt; --update writes that file."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import storages
import tasks

BENCH = pathlib.Path(__file__).resolve().parent.parent
BUILD = BENCH.parent / "build/release"
WRITTEN = BENCH / "counts.txt"
SIZE = "S"
MOST_GROWTH = 1.1
KINDS = ("instructions", "system calls a directory")


def run(tool, storage, task):
    storage.begin_again()
    command = [*tool, *map(str, task.command("mdfixup", 1))]
    ended = subprocess.run(command, check=False, text=True, capture_output=True,
                           env={**os.environ, **task.environment()})
    if ended.returncode != 0:
        sys.exit(f"{' '.join(command)}: {ended.returncode}\n{ended.stderr}")
    return ended.stderr


def instructions(storage, task, work):
    report = run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={work}/callgrind"],
                 storage, task)
    return int(re.search(r"Collected : (\d+)", report).group(1))


def system_calls(storage, task, work):
    summary = pathlib.Path(work) / "strace"
    run(["strace", "-c", "-o", summary], storage, task)
    total = re.search(r"^100\.00\s.*?\s(\d+)\s+(?:\d+\s+)?total$", summary.read_text(), re.M)
    return round(int(total.group(1)) / storages.SIZES[SIZE].clients, 1)


def counts_of(name):
    with tempfile.TemporaryDirectory(dir=storages.default_dir()) as work:
        storage = storages.Storage(BUILD, work, name, SIZE)
        task = tasks.Task(name, BUILD, BENCH, storage)
        if task.changes:
            storage.keep()
        return (instructions(storage, task, work), system_calls(storage, task, work))


def written():
    rows = [line.split() for line in WRITTEN.read_text().splitlines() if line[0] != "#"]
    return {name: (int(count), float(calls)) for name, count, calls in rows}


def write(counts):
    lines = ["# task instructions system_calls_a_directory; brought up to date by scripts/count"]
    lines += [f"{name} {count} {calls}" for name, (count, calls) in counts.items()]
    WRITTEN.write_text("\n".join(lines) + "\n")


def compare(counts, before):
    grown = False
    for name, values in counts.items():
        for kind, value, old in zip(KINDS, values, before[name]):
            print(f"{name:9} {kind:25} {value:>13,} ({value / old:.3f} of what is written down)")
            grown = grown or value > old * MOST_GROWTH
    return grown


def main(words):
    counts = {name: counts_of(name) for name in ("scan", "dry_run", "repair", "deletion")}
    if words == ["--update"]:
        write(counts)
    if compare(counts, written()):
        sys.exit("the program does more than it did; if it has to: scripts/count --update")


main(sys.argv[1:])

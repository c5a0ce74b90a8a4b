"""Compares mdfixup with what its tasks cannot do without and with what an operator would write."""

import argparse
import pathlib
import sys
import tempfile

import runs
import storages
import table
import tasks

BENCH = pathlib.Path(__file__).resolve().parent.parent
BUILD = BENCH.parent / "build/release"

# Task -> name of the size -> size, milliseconds that the query takes, and contenders with their
# numbers of threads.
USUAL = [("limit", 1), ("limit", 2), ("mdfixup", 1), ("mdfixup", 2), ("python", 1), ("shell", 1)]
WAITING = [(program, threads) for threads in (1, 2, 8, 16) for program in ("limit", "mdfixup")]
ALONE = [("mdfixup", 1)]
# Deletions with one listing are compared with the peers alone.
WITHOUT_LIMIT = [(program, threads) for program, threads in USUAL if program != "limit"]
JOBS = {
    "scan": {size: (size, 0, USUAL) for size in ("S", "M", "deep", "wide")},
    "dry_run": {
        **{size: (size, 0, USUAL) for size in ("S", "M", "deep", "wide1000")},
        "slow": ("wide1000", 20, WAITING),
        **{size: (size, 0, ALONE) for size in storages.SIZES if size.endswith(" POs")},
    },
    "one_listing_dry_run": {
        **{size: (size, 0, USUAL) for size in ("S", "M", "deep", "wide1000")},
        "10,000,000 copies": ("10,000,000 copies", 0, ALONE),
    },
    "repair": {
        **{size: (size, 0, USUAL) for size in ("S", "M", "deep")},
        "wide1000": ("wide1000 in pairs", 0, USUAL),
    },
    "deletion": {size: (size, 0, [*USUAL, ("no undo", 1)]) for size in ("S", "M", "deep")},
    "one_listing_deletion": {size: (size, 0, WITHOUT_LIMIT)
                             for size in ("S", "M", "deep", "wide1000")},
    "restore": {"M": ("M", 0, [(program, threads) for threads in (1, 2)
                               for program in ("limit", "mdfixup")])},
}
# Sizes whose storages take long to make: compared only when they are named.
ONLY_WHEN_NAMED = ("10,000,000 copies",)


def usual_sizes(task):
    return [size for size in JOBS[task] if size not in ONLY_WHEN_NAMED]


def default_table():
    """Outside the tree: a table that is not finished changes no document."""
    return pathlib.Path(tempfile.gettempdir()) / "mdfixup-bench/table.md"


class Table:
    """The rows on standard output, as they are measured, and in a file."""

    def __init__(self, path):
        path.parent.mkdir(parents=True, exist_ok=True)
        self._file = path.open("w")

    def add(self, text):
        for out in (sys.stdout, self._file):
            print(text, file=out, flush=True)


def compare(task_name, name, rounds, work, rows):
    size, milliseconds, contenders = JOBS[task_name][name]
    storage = storages.Storage(BUILD, work, task_name, size, milliseconds)
    task = tasks.Task(task_name, BUILD, BENCH, storage)
    if task_name == "restore":
        storage.delete_all(BUILD)
    if task.changes:
        storage.keep()
    series = [runs.Series(contender, threads) for contender, threads in contenders]
    runs.Rounds(BUILD, storage, task).run(series, rounds)
    storage.remove()
    for one in series:
        rows.add(table.row(task_name, name, one, series))


def parse(words):
    sizes = sorted({size for job in JOBS.values() for size in job})
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("job", nargs="?", choices=sorted(JOBS), help="one task alone")
    parser.add_argument("size", nargs="?", choices=sizes, help="one size alone")
    parser.add_argument("--rounds", type=int, default=5, help="rounds, by default 5")
    parser.add_argument("--dir", default=storages.default_dir(),
                        help="directory for the storages, by default in memory")
    parser.add_argument("--table", type=pathlib.Path, default=default_table(),
                        help="file for the table, by default %(default)s")
    given = parser.parse_args(words)
    if given.size and given.size not in JOBS[given.job]:
        parser.error(f"there is no size {given.size} of {given.job}")
    return given


def main(words):
    given = parse(words)
    rows = Table(given.table)
    rows.add(table.HEADER)
    for task in [given.job] if given.job else JOBS:
        for size in [given.size] if given.size else usual_sizes(task):
            with tempfile.TemporaryDirectory(dir=given.dir) as work:
                compare(task, size, given.rounds, work, rows)
    print(f"The table is in {given.table}.")


try:
    main(sys.argv[1:])
except (RuntimeError, OSError) as error:
    sys.exit(f"scripts/bench: {error}")

"""Runs the contenders in turn, in several rounds, and keeps the figures of each run."""

import os
import pathlib
import statistics
import subprocess
import tempfile

# A slower peer runs in one round only.
SLOW_SECONDS = 30


class Run:
    """The figures of one run: seconds, CPU seconds without and with its children, peak MiB."""

    def __init__(self, line):
        wall, own, cpu, kib = line.split()
        self.wall, self.own, self.cpu, self.peak = (
            float(wall), float(own), float(cpu), int(kib) / 1024)


class Series:
    """The runs of one contender, by round."""

    def __init__(self, contender, threads):
        self.contender = contender
        self.threads = threads
        self.runs = {}

    def values(self, figure):
        return [getattr(run, figure) for run in self.runs.values()]

    def median(self, figure):
        return statistics.median(self.values(figure))

    def ratios(self, other, figure="wall"):
        """The ratio of this figure to the other's, for each round that both ran in."""
        return [getattr(run, figure) / getattr(other.runs[number], figure)
                for number, run in self.runs.items() if number in other.runs]


class Rounds:
    def __init__(self, build, storage, task):
        self._measure = build / "bench/measure"
        self._storage = storage
        self._task = task
        self._digest = None

    def run(self, series, rounds):
        for number in range(rounds):
            for one in series:
                is_peer = one.contender in ("python", "shell")
                if is_peer and one.runs and one.median("wall") > SLOW_SECONDS:
                    continue
                one.runs[number] = self._run(one, is_first=not one.runs)

    def _run(self, one, is_first):
        self._storage.begin_again()
        command = [str(word) for word in self._task.command(one.contender, one.threads)]
        with tempfile.TemporaryDirectory() as work:
            figures = pathlib.Path(work) / "figures"
            ended = subprocess.run([self._measure, figures, *command], check=False, text=True,
                                   capture_output=True,
                                   env={**os.environ, **self._task.environment()})
            if ended.returncode != 0 or ended.stderr:
                raise RuntimeError(f"{' '.join(command)}: {ended.returncode} {ended.stderr}")
            run = Run(figures.read_text())
        if is_first:
            self._check(one.contender, ended.stdout)
        return run

    def _check(self, contender, out):
        self._task.check(contender, out)
        if not self._task.changes:
            return
        digest = self._task.digest()
        self._digest = self._digest or digest
        if digest != self._digest:
            raise RuntimeError(f"{contender} left other path objects than the others")

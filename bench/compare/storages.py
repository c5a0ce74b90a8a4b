"""The storages that the programs are compared on."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import typing


class Size(typing.NamedTuple):
    """Each client has one policy, an image one copy, a copy two POs."""

    clients: int
    images: int
    # Additional pairs of clients whose names differ in letter case. The directory of each holds a
    # copy of its own and one of the other's.
    pairs: int = 0
    record_bytes: int = 128


SIZES = {
    "S": Size(200, 153),
    "M": Size(1000, 510),
    "deep": Size(4, 125025),
    "wide": Size(20000, 2),
    "wide1000": Size(1000, 2),
    # 1,000 directories too. About half of the groups that a repair moves have a target already.
    "wide1000 in pairs": Size(532, 2, pairs=234),
    "10,000 POs": Size(10, 510),
    "100,000 POs": Size(100, 510),
    "1,000,000 POs": Size(1000, 510),
    "10,000,000 POs": Size(10000, 510),
    # A dry run reads only names. Without records the storage fits into memory.
    "10,000,000 copies": Size(10000, 1020, record_bytes=0),
}


def default_dir():
    """The directory for storages: in memory, so that no disk is timed."""
    shm = pathlib.Path("/dev/shm")
    return shm if shm.is_dir() else tempfile.gettempdir()


def shares(task, size):
    """The shares of the copies that are out of place, orphans and missing.

    A dry run and a deletion come after a repair, a restore after the deletion of all. Few are
    found in a large directory, since the limit's deletion reads all of it for each. What is missing
    makes up for the two POs of a copy.
    """
    if task == "restore":
        return 0, 1, 0
    found = {"deep": 0.0002}.get(size, 0.02)
    out_of_place = {"scan": found, "repair": 0.5}.get(task, 0)
    missing = 0.25 if size.startswith("wide") else found
    return out_of_place, found, missing


def copy_tree(source, target):
    """Copies the clients of a metadata tree in the order of their names.

    In memory a walk follows the order in which directories were made. If the clients of a pair were
    adjacent, two threads would wait for each other at each pair.
    """
    for client in sorted(source.glob("*/*")):
        shutil.copytree(client, target / client.relative_to(source))


class Storage:
    """A storage with a pristine copy of its metadata tree, which begin_again restores."""

    def __init__(self, build, work, task, size, query_milliseconds=0):
        self.root = pathlib.Path(work) / "storage"
        self._pristine = pathlib.Path(work) / "pristine"
        planned = SIZES[size]
        miscased, orphans, missing = shares(task, size)
        create = [build / "sandbox/mdfixup-sandbox", "create", self.root,
                  f"--clients={planned.clients}", "--policies=1", f"--images={planned.images}",
                  "--copies=1", f"--pairs={planned.pairs}",
                  f"--record_bytes={planned.record_bytes}",
                  f"--miscased={miscased}", f"--orphans={orphans}", f"--missing={missing}"]
        subprocess.run(create, check=True, stdout=subprocess.DEVNULL)
        self.query = self.root / "quorv/tavrin/bin/admincmd/tvimagequery"
        shutil.copy(build / "bench/query", self.query)
        (self.query.parent / "milliseconds").write_text(f"{query_milliseconds}\n")

    def delete_all(self, build):
        """Deletes the orphans, and moves the run's record beside the storage."""
        subprocess.run([build / "src/mdfixup", "--tvr_location", self.root / "quorv",
                        "--FORCE_DEDUPE_METADATA_CONSISTENCY"], check=True, capture_output=True,
                       env={**os.environ, "KSREGISTRY": str(self.root / "etc/ksregistry.cfg")})
        (made,) = (self.root / "log/mdfixup/runs").glob("*.db")
        shutil.move(made, self.record)

    @property
    def record(self):
        return self._pristine.parent / "record.db"

    def keep(self):
        """Keeps a copy of the metadata tree."""
        copy_tree(self.tree, self._pristine)

    def begin_again(self):
        """Restores the tree that was kept, if any, and removes all logs."""
        if self._pristine.exists():
            shutil.rmtree(self.tree)
            copy_tree(self._pristine, self.tree)
        for entry in (self.root / "log").iterdir():
            shutil.rmtree(entry) if entry.is_dir() else entry.unlink()

    def remove(self):
        shutil.rmtree(self.root)
        shutil.rmtree(self._pristine, ignore_errors=True)

    @property
    def tree(self):
        return self.root / "catalog"

    def generated(self, kind):
        """The lines that a run must report: scan, orphans or missing."""
        return (self.root / "planted" / f"{kind}.txt").read_text().splitlines()

    def missing_images(self):
        """The lines of the last run's report."""
        (report,) = (self.root / "log/metadata_consistency").glob("MissingImages_*")
        return report.read_text().splitlines()[1:]

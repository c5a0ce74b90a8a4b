"""The storages that the programs are compared on."""

import pathlib
import shutil
import subprocess

POOL = "dp_sandbox"

# Clients, images, and the shares of the copies that are out of place, orphans and missing. An image
# has one copy, a copy two POs. Orphans are few where each one's deletion reads a large directory.
PLANS = {
    "S": (200, 153, 0.02, 0.02, 0.02),
    "M": (1000, 510, 0.02, 0.02, 0.02),
    "deep": (4, 125025, 0.0002, 0.0002, 0.0002),
    "wide": (20000, 2, 0.05, 0.02, 0.25),
    "wide1000": (1000, 2, 0.05, 0.02, 0.25),
    # For the repair, where half of all is moved.
    "M, half moved": (1000, 510, 0.5, 0.02, 0.02),
    "deep, half moved": (4, 125025, 0.5, 0.0002, 0.0002),
    # Ten times as many POs each.
    "10,000 POs": (10, 510, 0.02, 0.02, 0.02),
    "100,000 POs": (100, 510, 0.02, 0.02, 0.02),
    "1,000,000 POs": (1000, 510, 0.02, 0.02, 0.02),
    "10,000,000 POs": (10000, 510, 0.02, 0.02, 0.02),
}


class Storage:
    """A storage with a pristine copy of its catalog, to begin again from."""

    def __init__(self, build, work, name, query_milliseconds=0):
        self.root = pathlib.Path(work) / "storage"
        self._pristine = pathlib.Path(work) / "pristine"
        clients, images, miscased, orphans, missing = PLANS[name]
        create = [build / "sandbox/mdfixup-sandbox", "create", self.root,
                  f"--clients={clients}", "--policies=1", f"--images={images}", "--copies=1",
                  f"--miscased={miscased}", f"--orphans={orphans}", f"--missing={missing}"]
        subprocess.run(create, check=True, stdout=subprocess.DEVNULL)
        self.query = self.root / "quorv/tavrin/bin/admincmd/tvimagequery"
        shutil.copy(build / "bench/query", self.query)
        (self.query.parent / "milliseconds").write_text(f"{query_milliseconds}\n")

    def keep(self):
        """Notes the catalog as it is."""
        shutil.copytree(self.catalog, self._pristine)

    def begin_again(self):
        """Puts back the catalog that was kept, if one was, and removes all logs."""
        if self._pristine.exists():
            shutil.rmtree(self.catalog)
            shutil.copytree(self._pristine, self.catalog)
        for entry in (self.root / "log").iterdir():
            shutil.rmtree(entry) if entry.is_dir() else entry.unlink()

    def remove(self):
        shutil.rmtree(self.root)
        shutil.rmtree(self._pristine, ignore_errors=True)

    @property
    def catalog(self):
        return self.root / "catalog"

    def planted(self, kind):
        """The lines that a run must report: scan, orphans or missing."""
        return (self.root / "planted" / f"{kind}.txt").read_text().splitlines()

    def missing_images(self):
        """The lines of the report of the run that has just ended."""
        (report,) = (self.root / "log/metadata_consistency").glob("MissingImages_*")
        return report.read_text().splitlines()[1:]

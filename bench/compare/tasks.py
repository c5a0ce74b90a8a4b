"""The commands of each task, and the checks of their results."""

import hashlib
import subprocess
import sys

# The prefix of tasks that list the backup catalog only once.
ONE_LISTING = "one_listing_"


class Task:
    """One task as each contender does it."""

    def __init__(self, name, build, bench, storage):
        self._lists_once = name.startswith(ONE_LISTING)
        self._name = name.removeprefix(ONE_LISTING)
        self._build = build
        self._bench = bench
        self._storage = storage
        self.changes = self._name in ("repair", "deletion", "restore")

    def command(self, contender, threads):
        tree = self._storage.tree
        kind = "consistency" if self._name in ("dry_run", "deletion") else self._name
        words = [tree]
        if kind == "consistency":
            words = [self._name, tree, self._storage.query, "dp_sandbox"]
        if self._name == "restore":
            words = [tree, self._storage.record]
        if contender == "limit":
            return [self._build / "bench" / f"limit-{kind}", *words, threads]
        peer = "one_listing" if self._lists_once else kind
        if contender == "python":
            return [sys.executable, self._bench / f"peers/{peer}.py", *words]
        if contender == "shell":
            return [self._bench / f"peers/{peer}.sh", *words]
        location = ["--tvr_location", self._storage.root / "quorv", "--num_threads", threads]
        if self._name == "restore":
            return [self._build / "undo/mdfixup-undo", "restore", self._storage.record, *location]
        flags = {"scan": ["--scan_client_name_case"],
                 "repair": ["--repair_client_name_case"],
                 "dry_run": ["--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"],
                 "deletion": ["--FORCE_DEDUPE_METADATA_CONSISTENCY"]}[self._name]
        if self._lists_once:
            flags = [*flags, "--one_listing"]
        if contender == "no undo":
            flags = [*flags, "--no_undo"]
        return [self._build / "src/mdfixup", *location, *flags]

    def environment(self):
        return {"KSREGISTRY": str(self._storage.root / "etc/ksregistry.cfg")}

    def check(self, contender, out):
        """Compares the findings of the last run with the generated ones."""
        lines = out.splitlines()
        if self._name == "scan":
            self._expect("scan", [line for line in lines if line.startswith("Client ")])
        if self._name in ("dry_run", "deletion"):
            missing = [line for line in lines if line.endswith("|")]
            if contender in ("mdfixup", "no undo"):
                missing = self._storage.missing_images()
            self._expect("missing", missing)
        if self._name == "dry_run":
            self._expect("orphans", [line for line in lines if line.startswith("{client")])

    def _expect(self, kind, lines):
        if sorted(lines) != sorted(self._storage.generated(kind)):
            raise RuntimeError(f"the {kind} lines differ from the generated ones")

    def digest(self):
        """A digest of all path objects in the metadata tree."""
        listing = subprocess.Popen(
            [self._build / "sandbox/mdfixup-sandbox", "list", self._storage.tree],
            stdout=subprocess.PIPE)
        digest = hashlib.file_digest(listing.stdout, "sha256").hexdigest()
        if listing.wait() != 0:
            raise RuntimeError("the metadata tree could not be listed")
        return digest

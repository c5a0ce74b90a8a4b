"""What scripts/fleet-demo runs: takes simulated media servers from a fresh inventory to the fleet page, and deletes orphans on two of them.

Each host has file system, host name, processes and SSH server of its own, in namespaces of this machine.
One host is down, one waits for an import, one has a full disk; the others are sound and have orphans.
Needs root, Ansible and OpenSSH. Nothing is left but the page. Exits with 77 if the machine does not allow
such namespaces."""

import argparse
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

TREE = pathlib.Path(__file__).resolve().parent.parent
STORAGE = "srv/kestrel"
NAMESPACES = ["unshare", "--mount", "--uts", "--pid", "--net", "--fork", "--kill-child", "--mount-proc"]
PROBE = """mount -t tmpfs tmpfs /mnt && mkdir /mnt/u /mnt/w /mnt/m && ip link set lo up &&
  mount -t overlay overlay -o lowerdir=/,upperdir=/mnt/u,workdir=/mnt/w /mnt/m"""
# Runs in the namespaces of a host. Its services and its SSH server are the only processes.
BOOT = f"""set -e
hostname "$1"
mount -t proc proc "$2/proc"
mount --rbind /dev "$2/dev"
export KSREGISTRY=/{STORAGE}/etc/ksregistry.cfg
chroot "$2" /{STORAGE}/quorv/tavrin/bin/tvsvcwatch
chroot "$2" /{STORAGE}/quorv/ksde/ksconfigure/ksde start
unset KSREGISTRY
exec chroot "$2" /usr/sbin/sshd -D -e"""
SSHD = """ListenAddress {address}
HostKey /etc/ssh/demo_key
AuthenticationMethods publickey
PermitRootLogin prohibit-password
UsePAM no
Subsystem sftp internal-sftp
"""

# Ends the connection that it was started from, but not the server, which is process 1.
LOST_CONNECTION = """#!/bin/sh
pid=$$
while [ "$pid" != 1 ]; do
  parent=$(ps -o ppid= -p "$pid" | tr -d ' ')
  [ "$(cat "/proc/$pid/comm")" != sshd ] || kill -9 "$pid"
  pid=$parent
done
"""

# Its unit found something in the last run, and cannot start now.
MASKED_UNIT = """#!/bin/sh
case "$*" in
  start*) echo 'The unit is masked.' >&2; exit 1 ;;
  *Status*) echo 3 ;;
  *) echo 1 ;;
esac
"""


def expect(what, holds):
    """The demo ends unless this holds."""
    if not holds:
        raise SystemExit(f"fleet-demo: expected: {what}")
    print(f"  as expected: {what}", flush=True)


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, text=True, **options)


def output(*command):
    return run(*command, stdout=subprocess.PIPE).stdout


class Host:
    """A simulated media server: an overlay of this machine with a storage of its own."""

    def __init__(self, fleet, number):
        self.fleet = fleet
        self.name = f"media{number:02}"
        self.address = f"127.0.1.{number}"
        self.folder = fleet.work / self.name
        self.changes = self.folder / "changes"
        self.root = self.folder / "root"
        self.storage = self.root / STORAGE
        self.process = None
        self.make(number)

    def make(self, number):
        for folder in (self.changes, self.folder / "overlay", self.root):
            folder.mkdir(parents=True)
        layers = f"lowerdir=/,upperdir={self.changes},workdir={self.folder}/overlay"
        run("mount", "-t", "overlay", "overlay", "-o", layers, self.root)
        # There is no network: without lists apt asks for none.
        for folder in ("run", "tmp", "var/lib/apt/lists"):
            self.mount(folder, "8m")
        # Nor does anyone search these manual pages; dpkg would index all of this machine's.
        (self.root / "var/lib/man-db/auto-update").unlink(missing_ok=True)
        (self.root / "run/sshd").mkdir()
        shutil.copy(self.fleet.program("mdfixup-sandbox"), self.root / "srv")
        run("chroot", self.root, "/srv/mdfixup-sandbox", "create", f"/{STORAGE}", "--seed", number, "--clients",
            number % 3 + 1, "--images", 20 + number, "--orphans", "0.1", stdout=subprocess.DEVNULL)
        self.set_up_ssh()

    def mount(self, folder, size):
        run("mount", "-t", "tmpfs", "-o", f"size={size},mode=755", "tmpfs", self.root / folder)

    def set_up_ssh(self):
        ssh = self.root / "etc/ssh"
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", ssh / "demo_key")
        (ssh / "sshd_config").write_text(SSHD.format(address=self.address))
        keys = self.root / "root/.ssh"
        keys.mkdir(mode=0o700, exist_ok=True)
        shutil.copy(self.fleet.key.with_suffix(".pub"), keys / "authorized_keys")
        with self.fleet.known_hosts.open("a") as known:
            known.write(f"{self.address} {(ssh / 'demo_key.pub').read_text()}")

    def start(self):
        log = (self.folder / "log").open("w")
        self.process = subprocess.Popen(
            ["unshare", "--mount", "--uts", "--pid", "--fork", "--kill-child", "sh", "-c", BOOT, "boot", self.name,
             self.root], stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def wait(self):
        """Until it accepts connections."""
        for _ in range(1000):
            with socket.socket() as probe:
                if probe.connect_ex((self.address, 22)) == 0:
                    return
            time.sleep(0.01)
        raise SystemExit((self.folder / "log").read_text())

    def stop(self):
        self.process.kill()
        self.process.wait()

    def await_import(self):
        """The backup catalog is not complete, so a dry run must fail."""
        (self.storage / "quorv/pending_imports").write_text("image1\n")

    def fill(self, folder):
        """Leaves no room for a byte."""
        with (self.root / folder / "full").open("wb", buffering=0) as full, contextlib.suppress(OSError):
            while True:
                full.write(bytes(4096))

    def path_objects(self):
        return output(self.fleet.program("mdfixup-sandbox"), "list", self.storage / "catalog").splitlines()

    def orphans(self):
        """As they begin in the list of path objects."""
        line = re.compile(r"{client: (.*), policy: (.*), backup_time: (.*), copy_number: (.*)}\.")
        planted = (self.storage / "planted/orphans.txt").read_text()
        return tuple("{0}/{1}|{0}_{2}_C{3}_".format(*orphan) for orphan in line.findall(planted))

    def services_run(self):
        return [(self.root / "run" / f"{name}.pid").exists() for name in ("poolmgrd", "segstored")] == [True, True]

    def files(self):
        """All that differs from this machine's files, without the traces of every login."""
        return output("find", self.changes, "-path", "*/root/.ansible", "-prune", "-o", "-type", "f",
                      "!", "-name", "wtmp", "!", "-name", "lastlog", "-printf", "%p %s %T@\n")

    def result(self, suffix=".json"):
        return json.loads((self.fleet.results / f"{self.name}{suffix}").read_text())

    def state(self):
        state = self.result(".state.json")
        print(f"  {self.name}: {state['state']}. {state['text']}")
        return state["state"]

    def runs(self, task):
        return [run for run in self.result()["runs"] if run["task"] == task]

    def dry_run_id(self):
        return self.runs("dry_run")[0]["id"]


class Fleet:
    """The hosts, and the controller that reaches them."""

    def __init__(self, work, package, count):
        self.work = work
        self.page = work / "fleet.html"
        self.last_output = ""
        self.package = package
        self.results = work / "results"
        self.inventory = work / "inventory.yml"
        self.key = work / "key"
        self.known_hosts = work / "known_hosts"
        run("dpkg-deb", "--extract", package, work / "package")
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.key)
        self.hosts = [Host(self, number) for number in range(1, count + 1)]
        *self.sound, self.importing, self.full, self.down = self.hosts
        self.importing.await_import()
        self.full.mount(f"{STORAGE}/log", "4k")
        self.full.fill(f"{STORAGE}/log")
        for host in self.hosts[:-1]:
            host.start()
        for host in self.hosts[:-1]:
            host.wait()
        self.write_inventory()

    def program(self, name):
        return self.work / "package/usr/bin" / name

    def write_inventory(self):
        hosts = {host.name: {"ansible_host": host.address} for host in self.hosts}
        # Its check exits with 3, which is no failure of the check.
        hosts[self.sound[0].name]["mdfixup_fail_on_findings"] = True
        # JSON is YAML.
        self.inventory.write_text(json.dumps({"all": {
            "vars": {
                "ansible_user": "root",
                "ansible_ssh_private_key_file": str(self.key),
                "ansible_ssh_common_args": f"-o UserKnownHostsFile={self.known_hosts} -o StrictHostKeyChecking=yes",
                "mdfixup_package": str(self.package),
                "mdfixup_ksregistry": f"/{STORAGE}/etc/ksregistry.cfg",
                "mdfixup_tvr_location": f"/{STORAGE}/quorv",
                "mdfixup_tvr_disk_pool": "dp_sandbox",
                "mdfixup_num_threads": 2,
                "mdfixup_check_command": ["/usr/libexec/mdfixup/check"],
                "mdfixup_results": str(self.results),
                "mdfixup_page": str(self.page),
                "mdfixup_report_program": str(self.program("mdfixup-report")),
                # The last batch is the host that is down, alone.
                "mdfixup_at_once": len(self.hosts) - 1,
            },
            "children": {"vienna": {"hosts": hosts}},
        }}))

    def play(self, playbook, *options, approved=None):
        """Runs a playbook; returns its exit status and output, and prints only how long it took."""
        if approved is not None:
            options += ("-e", json.dumps({"mdfixup_approved": approved}))
        command = ["ansible-playbook", "-i", str(self.inventory), playbook, *options]
        print("$", shlex.join(command), flush=True)
        environment = {**os.environ, "ANSIBLE_CONFIG": str(TREE / "fleet/ansible.cfg"),
                       "ANSIBLE_HOME": str(self.work / "ansible"), "ANSIBLE_NOCOLOR": "1",
                       # Another demo's hosts have the same addresses: its connections must not be shared.
                       "ANSIBLE_SSH_CONTROL_PATH_DIR": str(self.work / "cp")}
        start = time.monotonic()
        done = subprocess.run(command, cwd=TREE / "fleet", env=environment, text=True, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        print(f"  exit status {done.returncode} after {time.monotonic() - start:.1f} s", flush=True)
        self.last_output = done.stdout
        return done.returncode, done.stdout

    def limit(self, hosts):
        return ("--limit", ",".join(host.name for host in hosts))

    def path_objects(self):
        return {host.name: host.path_objects() for host in self.hosts}

    def controller_files(self):
        return {path: path.read_bytes() for path in (*self.results.glob("*"), *self.work.glob("*.html"))}


def try_check_mode(fleet):
    fresh = fleet.sound[0]
    before = fresh.files(), fleet.controller_files()
    status, _ = fleet.play("site.yml", "--check", *fleet.limit([fresh]))
    expect("check mode on a fresh host succeeds and changes nothing there or here",
           status == 0 and (fresh.files(), fleet.controller_files()) == before)


def make_page(fleet):
    status, _ = fleet.play("site.yml")
    expect("the play fails, because some hosts were not checked", status != 0)
    states = {host.name: "checked" for host in fleet.sound}
    states.update({fleet.importing.name: "failed", fleet.full.name: "failed", fleet.down.name: "unreachable"})
    expect(f"these states: {states}", {host.name: host.state() for host in fleet.hosts} == states)
    expect("the importing host has a report, the full and the absent one have none",
           [(fleet.results / f"{host.name}.json").exists() for host in fleet.hosts[-3:]] == [True, False, False])
    expect("each report lists as many orphans as were planted",
           [host.runs("dry_run")[0]["orphan_copies"] for host in fleet.sound] ==
           [len(host.orphans()) for host in fleet.sound])
    expect("no report stays on a host",
           not any((host.root / "run/mdfixup-report.json").exists() for host in fleet.hosts))
    page = fleet.page.read_text()
    expect("every host is on the page", all(host.name in page for host in fleet.hosts))
    expect("no other user may read the results",
           {oct(path.stat().st_mode)[-3:] for path in fleet.results.iterdir()} == {"600"} and
           oct(fleet.results.stat().st_mode)[-3:] == "700")


def install_again(fleet):
    expect("the timer is enabled on each host that is up", all(
        (host.changes / "etc/systemd/system/timers.target.wants/mdfixup-check.timer").is_symlink()
        for host in fleet.hosts[:-1]))
    status, text = fleet.play("install.yml", *fleet.limit(fleet.sound))
    expect("a second installation changes nothing",
           status == 0 and re.findall(r" changed=(\d+) ", text) == ["0"] * len(fleet.sound))
    status, text = fleet.play("install.yml", "-e", json.dumps({"mdfixup_tvr_disk_pool": "dp\nKEEP_DAYS=1"}))
    expect("a value of two lines is refused by its name", status != 0 and "one line: TVR_DISK_POOL" in text)


def refuse_deletions(fleet):
    host, other = fleet.sound[:2]
    right = host.dry_run_id()
    before = fleet.path_objects()
    refusals = (
        (None, "-e @approved.yml"),
        ({}, "-e @approved.yml"),
        ({host.name: right, "all": right}, "'all: "),
        ({host.name: right, "vienna": right}, "'vienna: "),
        ({host.name: right, "media*": right}, "'media*: "),
        ({host.name: right + "; true"}, f"'{host.name}: "),
        ({host.name: other.dry_run_id()}, "is not a dry run of this host"))
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        plays = list(pool.map(lambda refusal: fleet.play("delete.yml", approved=refusal[0]), refusals))
    for (approved, complaint), (status, text) in zip(refusals, plays):
        expect(f"refused: {approved}", status != 0 and complaint in " ".join(text.split()))
    settings = host.root / "etc/default/mdfixup"
    kept = settings.read_text()
    settings.write_text(kept.replace("dp_sandbox", "dp_elsewhere"))
    status, text = fleet.play("delete.yml", approved={host.name: right})
    settings.write_text(kept)
    expect("refused: another disk pool than the inventory says", status != 0 and "is not what the inventory" in text)
    status, _ = fleet.play("delete.yml", "--check", approved={host.name: right})
    expect("check mode of a right approval succeeds", status == 0)
    expect("nothing was deleted or stopped",
           fleet.path_objects() == before and host.services_run() and fleet.importing.services_run())


def stop_at_failure(fleet):
    first, second = fleet.sound[:2]
    before = fleet.path_objects()
    approved = {host.name: host.dry_run_id() for host in (first, second)}

    def try_deletion(what, reason):
        status, text = fleet.play("delete.yml", approved=approved)
        words = " ".join(text.split())
        expect(f"{what} stops the play, the services stay stopped, and the next host is untouched",
               status != 0 and reason in words and "A deletion that fails" in words and not first.services_run() and
               second.services_run() and fleet.path_objects() == before)

    lock = first.storage / "mdfixup.lock"
    lock.touch()
    try_deletion("a failed deletion", "the lock file")
    lock.unlink()
    program = first.root / "usr/sbin/mdfixup"
    content = program.read_bytes()
    program.write_text(LOST_CONNECTION)
    try_deletion("a lost connection", "The connection broke")
    program.write_bytes(content)


def delete(fleet):
    """In the order of the approvals, which is not that of the inventory."""
    second, first = hosts = fleet.sound[:2]
    before = fleet.path_objects()
    status, text = fleet.play("delete.yml", approved={
        host.name: host.dry_run_id() for host in (first, second)})
    expect("the deletions succeed in the order of the file",
           status == 0 and re.findall(r"(media\d+): .*orphan copies", text) == [first.name, second.name])
    for host in hosts:
        gone = host.orphans()
        before[host.name] = [line for line in before[host.name] if not line.startswith(gone)]
    expect("exactly their orphans are gone, and nothing on the other hosts", fleet.path_objects() == before)
    expect("the services run again", all(host.services_run() for host in hosts))


def check_some(fleet):
    """One host goes down, and one has no room for temporary files either."""
    lost, full = fleet.sound[0], fleet.full
    status, _ = fleet.play("site.yml", "-e", "mdfixup_package=/nowhere", *fleet.limit([full]))
    expect("the state of the only host says that the installation failed",
           status != 0 and full.state() == "failed" and "/nowhere" in full.result(".state.json")["text"])
    full.fill("tmp")
    lost.stop()
    last = lost.result()
    others = [host for host in fleet.hosts if host not in (lost, full)]
    states = [host.result(".state.json") for host in others]
    status, _ = fleet.play("check.yml", *fleet.limit([lost, full]))
    expect("the lost host keeps its last report, and the play fails",
           status != 0 and lost.state() == "unreachable" and lost.result() == last)
    expect("the full host says what its check said",
           full.state() == "failed" and "the check exited with 1" in full.result(".state.json")["text"])
    expect("the other hosts stay as they were, and on the page",
           [host.result(".state.json") for host in others] == states and
           all(host.name in fleet.page.read_text() for host in fleet.hosts))


def check_by_systemctl(fleet):
    host = fleet.sound[1]
    systemctl = host.root / "usr/local/bin/systemctl"
    systemctl.write_text(MASKED_UNIT)
    systemctl.chmod(0o755)
    status, _ = fleet.play("check.yml", "-e", json.dumps({"mdfixup_check_command": ["systemctl", "start", "unit"]}),
                           *fleet.limit([host]))
    expect("a service that does not start fails, whatever its last run did",
           status != 0 and "is masked" in host.result(".state.json")["text"])


def demo(arguments):
    """Runs as the first process of its namespaces: all processes and mounts end with it."""
    run("ip", "link", "set", "lo", "up")
    run("mount", "-t", "tmpfs", "tmpfs", arguments.work)
    start = time.monotonic()
    fleet = Fleet(arguments.work, arguments.package.resolve(), arguments.hosts)
    print(f"{arguments.hosts} hosts after {time.monotonic() - start:.1f} s", flush=True)
    try:
        for step in (try_check_mode, make_page, install_again, refuse_deletions, stop_at_failure, delete, check_some,
                     check_by_systemctl):
            step(fleet)
    except BaseException:
        print(fleet.last_output[-5000:])
        raise
    page = arguments.page or tempfile.mkstemp(prefix="mdfixup-fleet-", suffix=".html")[1]
    shutil.copyfile(fleet.page, page)
    print(f"Every step did what it should, in {time.monotonic() - start:.0f} s. The page: {page}")


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("hosts", metavar="HOSTS", nargs="?", type=int, default=20, help="5 to 250, default 20")
    parser.add_argument("--page", type=pathlib.Path, help="where to write the page")
    parser.add_argument("--package", type=pathlib.Path, help="the package, in place of that of scripts/package")
    parser.add_argument("--work", type=pathlib.Path, help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    if not 5 <= arguments.hosts <= 250:
        parser.error("5 to 250 hosts")
    return arguments


def main():
    arguments = parse()
    if arguments.work:
        demo(arguments)
        return 0
    probe = subprocess.run([*NAMESPACES, "sh", "-c", PROBE], capture_output=True, check=False)
    if probe.returncode != 0:
        print("fleet-demo: this user or machine may not make namespaces with overlay mounts", file=sys.stderr)
        return 77
    package = arguments.package or output(TREE / "scripts/package").strip()
    # A signal must reach the end of the next block.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    with tempfile.TemporaryDirectory(prefix="mdfixup-fleet-") as work:
        words = [sys.executable, __file__, *sys.argv[1:], "--work", work, "--package", package]
        with subprocess.Popen([*NAMESPACES, *words]) as inside:
            try:
                return inside.wait()
            finally:
                inside.kill()


if __name__ == "__main__":
    sys.exit(main())

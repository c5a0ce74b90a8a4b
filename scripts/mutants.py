"""What scripts/mutants runs. The copy, the build and the programs under test are in build/mutants. While
some faults are tested, the next one is built. The likely tests of all faults come first, then all
others for those that they do not catch."""

import concurrent.futures
import fnmatch
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = "tests/mutants/faults.txt"
WORK = ROOT / "build/mutants"
TREE = WORK / "tree"
BUILD = WORK / "build"
TESTS = "tests/mdfixup_tests"
PROGRAMS = (TESTS, "tests/faults/mdfixup-faults", "src/mdfixup", "undo/mdfixup-undo",
            "report/mdfixup-report", "sandbox/mdfixup-sandbox")
LEAST_PERCENT = 92
LIMIT_SECONDS = 300  # tests that take longer have failed
WORKERS = os.cpu_count() + 1  # many tests wait more than they compute
# Its verdict depends on random names.
AT_RANDOM = ["*Deletion.DeletesWhatTheModel*"]
# They take longer than all others together.
SLOW = ["DeletionChildMatrix.*", "Report.MemoryDoesNotGrow*"]
# A /run of their own: pid files of other tests and services are neither seen nor changed.
ISOLATED = ["unshare", "--mount", "--propagation", "private",
            *([] if os.geteuid() == 0 else ["--map-root-user"]), "sh", "-c",
            'mount -t tmpfs none /run && mount --bind "$0" "$1" && shift && exec "$@"']


class Fault:
    def __init__(self, block):
        head, *self.lines = block.rstrip("\n").split("\n")
        self.id, self.text = head.split()[1], self.lines.pop(0)
        self.fields = {}
        while self.lines and (field := re.match(r"(file|tests|survives): (.*)", self.lines[0])):
            self.fields[field[1]] = field[2]
            self.lines.pop(0)
        self.file = self.fields.get("file", "")
        self.likely = self.fields.get("tests", "").split()

    # The file's text with the fault.
    def applied_to(self, text):
        text = text.split("\n")
        old = [line[1:].strip() for line in self.lines if line[0] != "+"]
        plain = [line.strip() for line in text]
        places = [i for i in range(len(text)) if plain[i:i + len(old)] == old]
        if len(places) != 1:
            sys.exit(f"{LIST}: {self.id}: its lines are at {len(places)} places in {self.file}")
        new = [line[1:] for line in self.lines if line[0] != "-"]
        return "\n".join(text[:places[0]] + new + text[places[0] + len(old):])


def read_list():
    blocks = re.split(r"(?m)^(?=== )", (ROOT / LIST).read_text())[1:]
    faults = [Fault(block) for block in blocks]
    for fault in faults:
        fault.applied_to((ROOT / fault.file).read_text())
    if len({fault.id for fault in faults}) != len(faults):
        sys.exit(f"{LIST}: two faults have the same id")
    return faults


def chosen(faults, words):
    if not words:
        return faults
    if len(words) == 1 and words[0].isdigit():
        return faults[:int(words[0])]
    by_id = {fault.id: fault for fault in faults}
    if unknown := [word for word in words if word not in by_id]:
        sys.exit(f"{LIST} has no fault {unknown[0]}")
    return [by_id[word] for word in words]


def copy_tree():
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, text=True,
                            capture_output=True).stdout.rstrip("\0").split("\0")
    listed = {name for name in listed if (ROOT / name).is_file()}
    for old in [path for path in TREE.rglob("*") if path.is_file()]:
        if str(old.relative_to(TREE)) not in listed:
            old.unlink()
    for name in listed:
        target = TREE / name
        if target.is_file() and target.read_bytes() == (ROOT / name).read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / name, target)


def configure():
    options = ["-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0 -w", "-DMDFIXUP_PRECOMPILE=ON"]
    if shutil.which("ld.lld"):
        options.append("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
    if shutil.which("ccache"):
        options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        os.environ.setdefault("CCACHE_SLOPPINESS", "pch_defines,time_macros")
    subprocess.run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", *options], check=True,
                   stdout=subprocess.DEVNULL)


# Why it does not build; empty if it does.
def build():
    targets = [pathlib.Path(program).name for program in PROGRAMS]
    ended = subprocess.run(["ninja", "-C", BUILD, *targets], text=True, errors="replace",
                           capture_output=True)
    return ended.stdout if ended.returncode != 0 else ""


# Tests of ctest with a command of their own, by name.
def other_commands():
    listed = subprocess.run(["ctest", "--test-dir", BUILD, "--show-only=json-v1"], check=True,
                            capture_output=True).stdout
    return {test["name"]: test["command"] for test in json.loads(listed)["tests"]
            if not test["name"].startswith("Faults.")
            and not test.get("command", [TESTS])[0].endswith(TESTS)}


# Puts the programs aside. Links would be enough only if no linker wrote into an existing file.
def store(name):
    stored = WORK / "stored" / name
    for program in PROGRAMS:
        (stored / program).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(BUILD / program, stored / program)
    return stored


# Runs a command with the stored programs in the place of the build. Returns whether it succeeded in
# time, and its output.
def run(stored, command):
    with tempfile.TemporaryFile("w+", errors="replace") as output:
        child = subprocess.Popen([*ISOLATED, stored, BUILD, *command], stdin=subprocess.DEVNULL,
                                 stdout=output, stderr=subprocess.STDOUT, start_new_session=True,
                                 cwd=WORK)  # a faulty program may write there
        try:
            succeeded = child.wait(LIMIT_SECONDS) == 0
        except subprocess.TimeoutExpired:
            succeeded = False
            os.killpg(child.pid, signal.SIGKILL)
            child.wait()
        output.seek(0)
        return succeeded, output.read()


# The first of these tests that fails, twice; empty if none does.
def failed_in_program(stored, wanted, unwanted):
    while True:
        names = f"{':'.join(wanted)}-{':'.join(AT_RANDOM + unwanted)}"
        succeeded, output = run(stored, [BUILD / TESTS, "--gtest_fail_fast",
                                         f"--gtest_filter={names}"])
        if succeeded:
            return ""
        # The test that failed, or that ended the program.
        failed = re.findall(r"^\[  FAILED  \] (\S+/\d+|\S+\.\w+)", output, re.M)
        begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.M)
        name = (failed or begun[-1:] or ["(all)"])[0].rstrip(",")
        if name == "(all)" or not run(stored, [BUILD / TESTS, f"--gtest_filter={name}"])[0]:
            return name
        unwanted = [*unwanted, name]  # it depends on the machine's load


# The first likely test that fails; empty if none does.
def first_likely_failure(stored, likely, others):
    patterns = with_parameters(likely)
    return (patterns and failed_in_program(stored, patterns, []) or
            failed_command(stored, [name for name in others if is_one_of(name, likely)], others))


# The first of all other tests that fails; empty if none does.
def first_other_failure(stored, likely, others):
    patterns = with_parameters(likely)
    return (failed_in_program(stored, ["*"], patterns + SLOW) or
            failed_command(stored, [name for name in others if not is_one_of(name, likely)], others) or
            failed_in_program(stored, SLOW, patterns))


def with_parameters(patterns):
    return [form for pattern in patterns for form in (pattern, "*/" + pattern)]


def is_one_of(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def failed_command(stored, names, others):
    return next((name for name in names if not run(stored, others[name])[0]), "")


# Builds the tree with the fault. Returns the programs, or none and an error.
def build_with(fault):
    path = TREE / fault.file
    text = path.read_text()
    path.write_text(fault.applied_to(text))
    error = build()
    path.write_text(text)
    return (None, error) if error else (store(fault.id), "")


def say(fault, verdict):
    print(f"{fault.id:30} {verdict}", flush=True)


# Returns how many of the faults the likely tests catch, and the others with their programs.
def test_likely(faults, others, pool):
    def test(fault, stored):
        failed = first_likely_failure(stored, fault.likely, others)
        say(fault, "caught by " + failed if failed else
            "not caught by the likely tests; the others are run later")
        return bool(failed), fault, stored

    tested = []
    for fault in faults:
        stored, error = build_with(fault)
        if error:
            say(fault, "DOES NOT BUILD: " + "; ".join(re.findall(r"error: .*", error)[:2]))
        else:
            tested.append(pool.submit(test, fault, stored))
    results = [future.result() for future in tested]
    return sum(caught for caught, _, _ in results), [item for item in results if not item[0]]


def test_others(left, others, pool):
    def test(item):
        _, fault, stored = item
        failed = first_other_failure(stored, fault.likely, others)
        say(fault, "caught by " + failed if failed else
            "SURVIVED: " + fault.fields.get("survives", fault.text))
        return bool(failed)

    return sum(pool.map(test, left))


def main():
    faults = chosen(read_list(), sys.argv[1:])
    if not faults:
        return 0
    copy_tree()
    configure()
    if error := build():
        sys.exit("the tree does not build without a fault:\n" + error)
    others = other_commands()
    shutil.rmtree(WORK / "stored", ignore_errors=True)
    unchanged = store("none")
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        caught, left = test_likely(faults, others, pool)
        if failed := first_other_failure(unchanged, [], others):
            sys.exit(f"{failed} fails without a fault")
        caught += test_others(left, others, pool)
    percent = 100 * caught / len(faults)
    print(f"{caught} of {len(faults)} faults are caught ({percent:.0f} %)")
    return 0 if percent >= LEAST_PERCENT else 1


sys.exit(main())

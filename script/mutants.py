"""Plants faults in a copy of the tree and tells which of them the tests catch.

The table (script/mutants.tsv) has a fault a row: file, which of the lines that read so (from 1), the
line as it is, the line with the fault, what the tests say (caught, survived, or same for a fault that
changes nothing), and the reason, all separated by tabs. Another list may be given with --table; its
rows may also be JSON objects with file, line number, old and new line, as --draw --list prints them.

The unchanged tree is built and tested first. Then faults that can stand behind a switch go into one
build, which must pass the tests with all switches off; each is run against the test programs that
reach its line, cheapest first, until one fails. The others are patched in and built one by one, and run
against the test programs that depend on the file. A test program has five times as long as without a
fault, at least 20 s. All happens below build-mutants/: faults.tsv lists the faults, results.tsv gets
a line for each as soon as it is known.

exit code:
  0  every fault of the table came out as the table says
  1  wrong usage, or a row whose line is not found
  2  a fault survived that the table says is caught
  3  as 0, but some faults were only noticed because a test ran out of time
  4  the tree does not build or does not pass its tests without a fault
  5  a row is out of date: the fault is caught now, or does not compile
"""

from __future__ import annotations

import argparse
import collections
import contextlib
import functools
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
from collections.abc import Iterable
from dataclasses import dataclass, field
from pathlib import Path
from typing import NoReturn

from mutants_draw import Candidate, draw
from mutants_switch import code_of, switched

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build-mutants"
TREE = WORK / "tree"
BUILD = TREE / "build"
SWITCHES = WORK / "switches"
MAX_FAULTS = 4000  # a byte each in the page that mutants.h maps
# Builds the library once more in a build of its own, which takes longer than all else.
LEFT_OUT = {"package_subproject"}


class Stop(Exception):
    """Ends the run with an exit code and a message."""

    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


@dataclass
class Fault:
    """One fault: a line of a file that reads `old` and is to read `new`."""

    origin: str
    file: str
    line: int  # from 0
    old: str
    new: str
    expected: str = ""
    number: int = 0
    planted: str | None = None  # the line with the switch; None if the fault has to be patched in
    outcome: str = ""
    caught_by: str = ""


@dataclass
class Program:
    """Tests that run as one process."""

    name: str
    command: list[str]
    folder: str
    seconds: float = 0.0
    reaches: set[int] = field(default_factory=set)


# --- The list of faults ---------------------------------------------------------------------------


@functools.cache
def lines_of(file: str) -> list[str]:
    """The lines as they are when the run begins; who goes on editing does not disturb it."""
    return (ROOT / file).read_text().split("\n")


def read_table(path: Path) -> list[Fault]:
    faults = []
    for number, row in enumerate(path.read_text().splitlines(), start=1):
        if not row or row.startswith("#"):
            continue
        origin = f"{path.name}:{number}"
        try:
            faults.append(from_json(origin, row) if row[0] == "{" else from_columns(origin, row))
        except (ValueError, KeyError, IndexError, OSError) as error:
            raise Stop(1, f"{path}, row {number}: {error}") from error
    return faults


def from_columns(origin: str, row: str) -> Fault:
    file, which, old, new, expected = row.split("\t")[:5]
    if expected not in ("caught", "survived", "same"):
        raise ValueError(f"'{expected}' is not caught, survived or same")
    if expected == "same" and not row.split("\t")[5:]:
        raise ValueError("a fault that changes nothing needs a reason")
    places = [at for at, line in enumerate(lines_of(file)) if line.strip() == old]
    if len(places) < int(which):
        raise ValueError(f"{file} has {len(places)} lines that read: {old}")
    return Fault(origin, file, places[int(which) - 1], old, new, expected)


def from_json(origin: str, row: str) -> Fault:
    values = json.loads(row)
    file, line, old = values["file"], int(values["line"]) - 1, values["old"].strip()
    if lines_of(file)[line].strip() != old:
        raise ValueError(f"{file}:{line + 1} does not read: {old}")
    return Fault(origin, file, line, old, values["new"].strip(), values.get("expected", ""))


def drawn(candidates: Iterable[Candidate]) -> list[Fault]:
    return [Fault(c.kind, c.file, c.line, c.old, c.new) for c in candidates]


# --- The copy and its build -----------------------------------------------------------------------


def write_if_changed(path: Path, content: bytes) -> None:
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def copy_tree() -> None:
    """Makes the copy equal to the tree; what did not change keeps its time and is not built again."""
    listed = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=ROOT, check=True, capture_output=True, text=True,
    ).stdout.split("\0")  # fmt: skip
    wanted = {name for name in listed if name and (ROOT / name).is_file()}
    for name in wanted:
        write_if_changed(TREE / name, (ROOT / name).read_bytes())
        shutil.copymode(ROOT / name, TREE / name)
    for path in list(TREE.rglob("*")):
        if (
            path.is_file()
            and BUILD not in path.parents
            and str(path.relative_to(TREE)) not in wanted
        ):
            path.unlink()


def plant(faults: Iterable[Fault], patched: Fault | None = None) -> None:
    """Writes the files of all faults: switches in their lines, and in one of them the patched line."""
    by_file = collections.defaultdict(list)
    for fault in faults:
        by_file[fault.file].append(fault)
    for file, group in by_file.items():
        lines = list(lines_of(file))
        for fault in group:
            if fault.planted is not None:
                lines[fault.line] = fault.planted
        if patched in group:
            lines[patched.line] = patched.new
        write_if_changed(TREE / file, "\n".join(lines).encode())


def run(
    command: list[str], seconds: float | None = None, **options: object
) -> tuple[bool | None, str]:
    """Whether the command succeeded, None if it ran out of time, and what it printed."""

    def limits() -> None:  # a fault must not eat the machine
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))
        resource.setrlimit(resource.RLIMIT_FSIZE, (4 << 30, 4 << 30))

    output = WORK / "output.txt"
    with output.open("wb") as stream:
        process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=stream, stderr=subprocess.STDOUT,
            start_new_session=True, preexec_fn=limits, **options,  # type: ignore[call-overload]
        )  # fmt: skip
        try:
            succeeded: bool | None = process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            succeeded = None
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
    return succeeded, output.read_text(errors="replace")


def build(*options: str) -> tuple[bool, str]:
    succeeded, output = run(["ninja", "-C", str(BUILD), f"-j{ARGUMENTS.jobs}", *options])
    return bool(succeeded), output


def configure() -> None:
    flags = f"-w -include {TREE}/script/mutants.h -DZDB_FAULT_FILE='\"{SWITCHES}\"'"
    command = ["cmake", "--preset", "release", "-DZDB_WERROR=OFF", f"-DCMAKE_CXX_FLAGS={flags}"]
    if shutil.which("ccache"):
        command += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
    succeeded, output = run(command, cwd=TREE)
    if not succeeded:
        raise Stop(4, output + "the copy cannot be configured")


def build_switches(faults: list[Fault]) -> None:
    """Builds all switches at once. A line that does not compile with one goes back to what it was."""
    taken = set()
    for fault in faults:
        if (place := (fault.file, fault.line)) not in taken:
            fault.planted = planted_line(fault)
            taken.add(place)
    while True:
        plant(faults)
        succeeded, output = build("-k0")
        if succeeded:
            return
        with_switch = [fault for fault in faults if fault.planted is not None]
        blamed: list[Fault] = []
        for pattern in (r"%s:%d:\d+: error: ", r"%s:%d:\d+: ", r"%s:()"):
            blamed = blamed or [
                fault for fault in with_switch
                if re.search(pattern.replace("%d", str(fault.line + 1)) % re.escape(fault.file), output)
            ]  # fmt: skip
        if not blamed:
            raise Stop(4, output + "the copy with the switches does not build")
        for fault in blamed:
            fault.planted = None


def planted_line(fault: Fault) -> str | None:
    before = [code_of(line) for line in lines_of(fault.file)[: fault.line]]
    previous = next((line for line in reversed(before) if line), "")
    line = switched(fault.old, fault.new, fault.number)
    inside = previous.endswith(tuple("=,(&|+-*/<?")) or previous.endswith("return")
    return None if inside and line and line.startswith("{") else line


# --- Tests ----------------------------------------------------------------------------------------


def programs() -> list[Program]:
    """What CTest lists; the cases of a GoogleTest program run as one process."""
    listed = subprocess.run(
        ["ctest", "--test-dir", str(BUILD), "--show-only=json-v1"],
        check=True, capture_output=True, text=True,
    ).stdout  # fmt: skip
    found: dict[str, Program] = {}
    for test in json.loads(listed)["tests"]:
        name, command = test["name"], test.get("command", [""])
        folder = next(p["value"] for p in test["properties"] if p["name"] == "WORKING_DIRECTORY")
        if any(word.startswith("--gtest_filter=") for word in command):
            name = Path(command[0]).name
            command = [command[0], "--gtest_fail_fast", "--gtest_brief=1"]
        else:
            command = ["ctest", "--test-dir", str(BUILD), "--output-on-failure", "-R", f"^{name}$"]
        if name not in LEFT_OUT:
            found.setdefault(name, Program(name, command, folder))
    return list(found.values())


def test(program: Program, fault: int) -> tuple[bool | None, str]:
    SWITCHES.write_bytes(fault.to_bytes(4, "little") + bytes(4092))
    shutil.rmtree(WORK / "tmp", ignore_errors=True)
    (WORK / "tmp").mkdir()
    limit = max(20.0, 5 * program.seconds) if program.seconds else None
    environment = os.environ | {"TMPDIR": str(WORK / "tmp")}
    return run(program.command, limit, cwd=program.folder, env=environment)


def measure(tests: list[Program], what: str) -> None:
    """All tests pass with no fault; takes the times and which switches each program reaches."""
    for program in tests:
        start = time.monotonic()
        succeeded, output = test(program, 0)
        if not succeeded:
            raise Stop(4, f"{output}\n{program.name} fails in {what}")
        program.seconds = time.monotonic() - start
        reached = SWITCHES.read_bytes()[4:]
        program.reaches = {number for number in range(len(reached)) if reached[number]}
    tests.sort(key=lambda program: program.seconds)
    print(f"{what}: {sum(program.seconds for program in tests):.0f} s of tests", flush=True)


def depending(tests: list[Program], file: str) -> list[Program]:
    """The test programs that are linked with the file or wait for what is; scripts might be as well."""
    users = {file}
    for block in build("-t", "deps")[1].split("\n\n"):
        if f"/{file}\n" in block + "\n":
            users.add(block.split(":")[0])
    chosen = []
    for program in tests:
        binary = Path(program.command[0])
        inputs = (
            build("-t", "inputs", str(binary.relative_to(BUILD)))[1] if binary.is_absolute() else ""
        )
        if not binary.is_absolute() or any(line.endswith(tuple(users)) for line in inputs.split()):
            chosen.append(program)
    return chosen


def judge(fault: Fault, faults: list[Fault], tests: list[Program]) -> None:
    """Runs the tests that the fault concerns, cheapest first, until one fails."""
    if fault.planted is not None:
        chosen = [program for program in tests if fault.number in program.reaches]
    else:
        chosen = depending(tests, fault.file)
        plant(faults, patched=fault)
        succeeded, output = build()
        if not succeeded:  # a build also fails when a program crashes as it is asked for its tests
            fault.outcome = "unviable" if " error: " in output else "caught"
            fault.caught_by = "" if " error: " in output else "build"
            return
    fault.outcome = "survived"
    for program in chosen:
        passed, output = test(program, fault.number)
        if not passed:
            fault.outcome = "timeout" if passed is None else "caught"
            failed = re.search(r"\[  FAILED  \] ([\w./]+)|\*\*\*Failed", output)
            fault.caught_by = f"{program.name} {failed[1] or '' if failed else 'crash'}".strip()
            return


# --- The run --------------------------------------------------------------------------------------


def is_as_expected(fault: Fault) -> bool:
    expected = {"caught": ("caught", "timeout"), "survived": ("survived",), "same": ("survived",)}
    return fault.outcome in expected.get(
        fault.expected, ("caught", "timeout", "survived", "unviable")
    )


def report(faults: list[Fault]) -> int:
    count = collections.Counter(
        "same" if fault.expected == "same" and fault.outcome == "survived" else fault.outcome
        for fault in faults
    )
    noticed = count["caught"] + count["timeout"]
    changing = noticed + count["survived"]
    print(f"{len(faults)} faults:", ", ".join(f"{n} {outcome}" for outcome, n in count.items()))
    print(f"{noticed} of {changing} caught, {100 * noticed / max(changing, 1):.0f} %")
    wrong = [fault for fault in faults if not is_as_expected(fault)]
    for fault in wrong:
        print(f"{fault.origin}: {fault.outcome}, the table says {fault.expected}")
    if any(fault.expected == "caught" and fault.outcome == "survived" for fault in wrong):
        return 2
    return 5 if wrong else 3 if count["timeout"] else 0


def chosen_faults() -> list[Fault]:
    if ARGUMENTS.draw:
        faults = drawn(draw(ROOT, ARGUMENTS.draw, ARGUMENTS.seed))
    else:
        faults = read_table(ARGUMENTS.table)
    faults = [f for f in faults if f.file.startswith(tuple(ARGUMENTS.paths) or "")]
    if not 0 < len(faults) <= MAX_FAULTS:
        raise Stop(1, f"{len(faults)} faults to plant, 1 to {MAX_FAULTS} are possible")
    for number, fault in enumerate(faults, start=1):
        fault.number = number
    return faults


def row_of(fault: Fault) -> str:
    columns = (fault.origin, f"{fault.file}:{fault.line + 1}", fault.old, fault.new, fault.expected)
    return "\t".join(columns)


def plant_and_test(faults: list[Fault]) -> int:
    WORK.mkdir(exist_ok=True)
    SWITCHES.write_bytes(bytes(4096))
    (WORK / "faults.tsv").write_text("".join(row_of(fault) + "\n" for fault in faults))
    copy_tree()
    configure()
    succeeded, output = build()
    if not succeeded:
        raise Stop(4, output + "the tree does not build")
    tests = programs()
    measure(tests, "the unchanged tree")
    build_switches(faults)
    measure(tests, "the tree with switches")
    with (WORK / "results.tsv").open("w") as results:
        for fault in sorted(faults, key=lambda f: (f.planted is None, f.file)):
            start = time.monotonic()
            judge(fault, faults, tests)
            way = "switched" if fault.planted is not None else "patched"
            result = f"{fault.outcome}\t{fault.caught_by}\t{way}\t{time.monotonic() - start:.1f} s"
            print(f"{result}\t{row_of(fault)}", file=results, flush=True)
            if ARGUMENTS.verbose or fault.outcome != "caught" or not is_as_expected(fault):
                print(
                    f"{fault.outcome}  {fault.file}:{fault.line + 1}\n  - {fault.old}\n  + {fault.new}"
                )
    return report(faults)


class Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        self.print_usage(sys.stderr)
        self.exit(1, f"{self.prog}: {message}\n")


def parse_arguments() -> argparse.Namespace:
    parser = Parser(
        "mutants.sh", description=__doc__, formatter_class=argparse.RawTextHelpFormatter
    )
    parser.add_argument("paths", nargs="*", help="only faults of files whose names begin so")
    parser.add_argument("--table", type=Path, default=ROOT / "script/mutants.tsv", help="the list")
    parser.add_argument(
        "--draw", type=int, metavar="N", help="plant N faults drawn at random instead"
    )
    parser.add_argument("--seed", type=int, default=1, metavar="S", help="what the draw depends on")
    parser.add_argument("--list", action="store_true", help="print the faults as JSON, plant none")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="processes that compile")
    parser.add_argument("--verbose", action="store_true", help="print caught faults as well")
    return parser.parse_args()


def main() -> int:
    try:
        faults = chosen_faults()
        if not ARGUMENTS.list:
            return plant_and_test(faults)
        for f in faults:
            print(json.dumps({"file": f.file, "line": f.line + 1, "old": f.old, "new": f.new}))
    except Stop as stop:
        print(stop, file=sys.stderr)
        return stop.code
    return 0


ARGUMENTS = parse_arguments()
if __name__ == "__main__":
    sys.exit(main())

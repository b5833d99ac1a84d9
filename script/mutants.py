"""Plants faults in a copy of the tree and reports which of them the tests catch.

The table, script/mutants.tsv, has one fault per row, in columns separated by tabs: file, which of
the identical lines (from 1), the line, the line with the fault, the result of the tests (caught,
survived, or same for a fault that changes nothing) and a reason, which "same" needs. Rows of
another list may also be JSON objects with file, line, old and new, as --list prints them.

The unchanged tree is built and tested first. Then all faults that can have a run-time switch are
put into one build, which must pass with every switch off; for each, the test programs that reach
its line run, cheapest first, until one fails. The others are patched in one by one, and the test
programs that depend on the file run. A program may take five times as long as without a fault, but
at least 20 s. Everything is in build-mutants/: faults.tsv lists the faults, results.tsv gets a line
for each as soon as its outcome is known: outcome, what caught it, how it was planted, seconds, and
the fault.

exit code:
  0  every fault of the table came out as the table says
  1  wrong usage, or a row whose line is not found
  2  a fault survived, but the table says that it is caught
  3  like 0, but some faults were only noticed because a test ran out of time
  4  the tree does not build, or fails its tests, without a fault
  5  a row is out of date: its fault is caught now, or does not compile
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
import tempfile
import time
from collections.abc import Iterable
from dataclasses import dataclass, field
from pathlib import Path
from typing import NoReturn

from mutants_draw import draw
from mutants_switch import planted_line

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build-mutants"
TREE = WORK / "tree"
BUILD = WORK  # no longer a path than need be, since tests compare messages that are cut
SWITCHES = WORK / "switches"
PAGE = 4096  # bytes that mutants.h maps: a number, then a byte for each fault
LEFT_OUT = {"package_subproject"}  # builds the library once more, which takes longer than all else
EXPECTED = {
    "caught": {"caught", "timeout"},
    "survived": {"survived"},
    "same": {"survived"},
    "": {"caught", "timeout", "survived", "unviable"},
}


class Stop(Exception):
    """Ends the run with an exit code and a message."""

    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


@dataclass
class Fault:
    """A line `old` of a file that is replaced by `new`."""

    origin: str
    file: str
    line: int  # from 0
    old: str
    new: str
    expected: str
    number: int = 0
    planted: str | None = None  # the line with the switch; None: the fault has to be patched in
    outcome: str = ""

    def __str__(self) -> str:
        place = f"{self.file}:{self.line + 1}"
        return "\t".join((self.origin, place, self.old, self.new, self.expected))


@dataclass
class Program:
    """Tests that run in one process."""

    name: str
    binary: str
    command: list[str]
    folder: str
    seconds: float = 0.0
    reaches: set[int] = field(default_factory=set)


# --- The list of faults


@functools.cache
def lines_of(file: str) -> list[str]:
    """The lines as they are when the run begins, so that editing does not disturb it."""
    return (ROOT / file).read_text().split("\n")


def read_table(path: Path) -> list[Fault]:
    faults = []
    for number, row in enumerate(path.read_text().splitlines(), start=1):
        if not row or row.startswith("#"):
            continue
        read = from_json if row.startswith("{") else from_columns
        try:
            faults.append(read(f"{path.name}:{number}", row))
        except (ValueError, KeyError, IndexError, OSError) as error:
            raise Stop(1, f"{path}, row {number}: {error}") from error
    return faults


def from_columns(origin: str, row: str) -> Fault:
    file, which, old, new, expected, *reason = row.split("\t")
    if expected not in EXPECTED or (expected == "same" and not reason):
        raise ValueError("neither caught, survived, nor same with a reason")
    places = [at for at, line in enumerate(lines_of(file)) if line.strip() == old]
    if not 1 <= int(which) <= len(places):
        raise ValueError(f"{file} has {len(places)} lines that read: {old}")
    return Fault(origin, file, places[int(which) - 1], old, new, expected)


def from_json(origin: str, row: str) -> Fault:
    values = json.loads(row)
    file, line, old = values["file"], values["line"] - 1, values["old"].strip()
    if lines_of(file)[line].strip() != old:
        raise ValueError(f"{file}:{line + 1} does not read: {old}")
    return Fault(origin, file, line, old, values["new"].strip(), values.get("expected", ""))


def chosen_faults(options: argparse.Namespace) -> list[Fault]:
    if options.draw:
        faults = [Fault(*drawn, "") for drawn in draw(ROOT, options.draw, options.seed)]
    else:
        faults = read_table(options.table)
    faults = [fault for fault in faults if fault.file.startswith(tuple(options.paths) or "")]
    if not 0 < len(faults) < PAGE - 4:
        raise Stop(1, f"{len(faults)} faults to plant, 1 to {PAGE - 5} are possible")
    for number, fault in enumerate(faults, start=1):
        fault.number = number
    return faults


# --- The copy and its build


def run(
    command: list[str], seconds: float | None = None, cwd: str | Path | None = None
) -> tuple[bool | None, str]:
    """Returns whether the command succeeded (None if it ran out of time) and its output."""
    printed = WORK / "output.txt"

    def limits() -> None:  # a fault must not take all memory or disk
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))
        resource.setrlimit(resource.RLIMIT_FSIZE, (4 << 30, 4 << 30))

    # Files that killed tests leave are removed with the folder.
    scratch = tempfile.TemporaryDirectory(prefix="z", ignore_cleanup_errors=True)
    os.chmod(scratch.name, 0o1777)  # as /tmp: a test run by root goes on as nobody
    with scratch, printed.open("wb") as output:
        process = subprocess.Popen(
            command, cwd=cwd, env=os.environ | {"TMPDIR": scratch.name}, preexec_fn=limits,
            stdin=subprocess.DEVNULL, stdout=output, stderr=output, start_new_session=True,
        )  # fmt: skip
        try:
            succeeded: bool | None = process.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            succeeded = None
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
    return succeeded, printed.read_text(errors="replace")


def ninja(*arguments: str) -> tuple[bool | None, str]:
    return run(["ninja", "-C", str(BUILD), *arguments])


def write_if_changed(path: Path, content: bytes) -> None:
    """Files that do not change keep their times and are not built again."""
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def copy_tree() -> None:
    listing = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(listing, cwd=ROOT, check=True, capture_output=True).stdout.decode()
    wanted = {name for name in names.split("\0") if name and (ROOT / name).is_file()}
    for name in wanted:
        write_if_changed(TREE / name, (ROOT / name).read_bytes())
        shutil.copymode(ROOT / name, TREE / name)
    for path in list(TREE.rglob("*")):
        if path.is_file() and str(path.relative_to(TREE)) not in wanted:
            path.unlink()


def build_unchanged() -> None:
    flags = f"-w -include {TREE}/script/mutants.h -DZDB_FAULT_FILE='\"{SWITCHES}\"'"
    options = ["-DZDB_WERROR=OFF", f"-DCMAKE_CXX_FLAGS={flags}"]
    if shutil.which("ccache"):
        options += [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX")]
    for command in (["cmake", "--preset=release", f"-B{BUILD}", *options], ["ninja", f"-C{BUILD}"]):
        succeeded, output = run(command, cwd=TREE)
        if not succeeded:
            raise Stop(4, output + "the tree does not build")


def plant(faults: Iterable[Fault], patched: Fault | None = None) -> None:
    """Writes the files of all faults with their switches, and one line with its fault."""
    by_file = collections.defaultdict(list)
    for fault in faults:
        by_file[fault.file].append(fault)
    for file, group in by_file.items():
        lines = list(lines_of(file))
        for fault in group:
            lines[fault.line] = fault.planted or lines[fault.line]
        if patched is not None and patched.file == file:
            lines[patched.line] = patched.new
        write_if_changed(TREE / file, "\n".join(lines).encode())


def build_switches(faults: list[Fault]) -> None:
    """Builds all switches at once; a line that does not compile with one is restored."""
    taken: set[tuple[str, int]] = set()
    for fault in faults:
        if (fault.file, fault.line) not in taken:
            fault.planted = planted_line(lines_of(fault.file), fault.line, fault.new, fault.number)
            taken.add((fault.file, fault.line))
    while True:
        plant(faults)
        succeeded, output = ninja("-k0")
        if succeeded:
            return
        mentioned = re.findall(r"([\w./-]+:\d+):\d+: ", output)
        blamed = [
            fault
            for fault in faults
            if fault.planted
            and any(place.endswith(f"{fault.file}:{fault.line + 1}") for place in set(mentioned))
        ]
        if not blamed:
            raise Stop(4, output + "the tree with switches does not build")
        for fault in blamed:
            fault.planted = None


# --- The tests


def find_programs() -> list[Program]:
    """The tests that CTest lists; the cases of a GoogleTest program run in one process."""
    ctest = ["ctest", "--test-dir", str(BUILD)]
    listed = subprocess.run([*ctest, "--show-only=json-v1"], check=True, capture_output=True).stdout
    found: dict[str, Program] = {}
    for test in json.loads(listed)["tests"]:
        name, words = test["name"], test.get("command", [""])  # a program not installed yet: none
        folder = next(p["value"] for p in test["properties"] if p["name"] == "WORKING_DIRECTORY")
        command = [*ctest, "--output-on-failure", "-R", f"^{name}$"]
        if any(word.startswith("--gtest_filter=") for word in words):
            name = Path(words[0]).name
            command = [words[0], "--gtest_fail_fast", "--gtest_brief=1"]
        if name not in LEFT_OUT:
            found.setdefault(name, Program(name, words[0], command, folder))
    return list(found.values())


def passes(program: Program, fault: int) -> tuple[bool | None, str]:
    SWITCHES.write_bytes(fault.to_bytes(4, "little").ljust(PAGE, b"\0"))
    limit = max(20.0, 5 * program.seconds) if program.seconds else None
    return run(program.command, limit, program.folder)


def measure(programs: list[Program], what: str) -> None:
    """Checks that all pass without a fault; notes their times and the switches they reach."""
    for program in programs:
        start = time.monotonic()
        succeeded, output = passes(program, 0)
        if not succeeded:
            raise Stop(4, f"{output}\n{program.name} fails in {what}")
        program.seconds = time.monotonic() - start
        reached = SWITCHES.read_bytes()[4:]
        program.reaches = {number for number in range(len(reached)) if reached[number]}
    programs.sort(key=lambda program: program.seconds)
    print(f"{what}: {sum(program.seconds for program in programs):.0f} s of tests", flush=True)


def depending(programs: list[Program], file: str) -> list[Program]:
    """The tests linked with the file or with what is built before; scripts may use anything."""
    users = {f"/{file}"}
    for block in ninja("-t", "deps")[1].split("\n\n"):
        if f"/{file}\n" in f"{block}\n":
            users.add(block.split(":")[0])
    chosen = []
    for program in programs:
        is_target, inputs = ninja("-t", "inputs", program.binary.removeprefix(f"{BUILD}/"))
        if not is_target or any(line.endswith(tuple(users)) for line in inputs.splitlines()):
            chosen.append(program)
    return chosen


def judge(fault: Fault, faults: list[Fault], programs: list[Program]) -> str:
    """Runs the tests that the fault concerns, cheapest first, and returns the one that failed."""
    if fault.planted:
        chosen = [program for program in programs if fault.number in program.reaches]
    else:
        chosen = depending(programs, fault.file)
        plant(faults, patched=fault)
        succeeded, output = ninja()
        if not succeeded:  # a build also fails when a program crashes as it is asked for its tests
            fault.outcome = "unviable" if " error: " in output else "caught"
            return "build"
    for program in chosen:
        succeeded, output = passes(program, fault.number)
        if not succeeded:
            fault.outcome = "timeout" if succeeded is None else "caught"
            failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
            return f"{program.name} {failed[1] if failed else ''}".rstrip()
    fault.outcome = "survived"
    return f"{len(chosen)} programs passed"


# --- The run


def report(faults: list[Fault]) -> int:
    count = collections.Counter(
        "same" if (fault.expected, fault.outcome) == ("same", "survived") else fault.outcome
        for fault in faults
    )
    noticed = count["caught"] + count["timeout"]
    changing = noticed + count["survived"]
    print(f"{len(faults)} faults:", ", ".join(f"{n} {outcome}" for outcome, n in count.items()))
    print(f"{noticed} of {changing} caught, {100 * noticed / max(changing, 1):.0f} %")
    wrong = [fault for fault in faults if fault.outcome not in EXPECTED[fault.expected]]
    for fault in wrong:
        print(f"{fault.origin}: {fault.outcome}, the table says {fault.expected}")
    if any((fault.expected, fault.outcome) == ("caught", "survived") for fault in wrong):
        return 2
    return 5 if wrong else 3 if count["timeout"] else 0


def plant_and_test(faults: list[Fault], is_verbose: bool) -> int:
    WORK.mkdir(exist_ok=True)
    SWITCHES.write_bytes(bytes(PAGE))
    (WORK / "faults.tsv").write_text("".join(f"{fault}\n" for fault in faults))
    copy_tree()
    build_unchanged()
    programs = find_programs()
    measure(programs, "the unchanged tree")
    build_switches(faults)
    measure(programs, "the tree with switches")
    with (WORK / "results.tsv").open("w") as results:
        for fault in sorted(faults, key=lambda fault: (fault.planted is None, fault.file)):
            start = time.monotonic()
            by = judge(fault, faults, programs)
            how = "switch" if fault.planted else "patch"
            seconds = f"{time.monotonic() - start:.1f}"
            print(fault.outcome, by, how, seconds, fault, sep="\t", file=results, flush=True)
            if is_verbose or fault.outcome != "caught":
                print(f"{fault.outcome}: {fault.file}:{fault.line + 1}, {fault.origin}")
                print(f"  - {fault.old}\n  + {fault.new}", flush=True)
    return report(faults)


class Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        self.print_usage(sys.stderr)
        self.exit(1, f"{self.prog}: {message}\n")


def main() -> int:
    raw = argparse.RawDescriptionHelpFormatter
    parser = Parser("mutants.sh", description=__doc__, formatter_class=raw)
    parser.add_argument("paths", nargs="*", help="only files whose names begin so: src/io")
    parser.add_argument("--table", type=Path, default=ROOT / "script/mutants.tsv", help="the list")
    parser.add_argument("--draw", type=int, metavar="N", help="N faults drawn at random instead")
    parser.add_argument(
        "--seed", type=int, default=1, metavar="S", help="what the draw starts from"
    )
    parser.add_argument("--list", action="store_true", help="print the faults as JSON and stop")
    parser.add_argument("--verbose", action="store_true", help="print caught faults as well")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # what was started ends as well
    try:
        faults = chosen_faults(options)
        if not options.list:
            return plant_and_test(faults, options.verbose)
        for f in faults:
            print(json.dumps({"file": f.file, "line": f.line + 1, "old": f.old, "new": f.new}))
    except Stop as stop:
        print(stop, file=sys.stderr)
        return stop.code
    return 0


if __name__ == "__main__":
    sys.exit(main())

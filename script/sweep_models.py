#!/usr/bin/env python3
"""Sweeps the models of Debian's glpk-utils, and compares with changed files solved by glpsol.

    sweep_models.py [--only NAME] [--solvers NAME,NAME] [--limit SECONDS] ZDBCC RESULTS.tsv [FOLDER]
    sweep_models.py --page doc/why/model-library.md RESULTS.tsv

Each model is solved with each solver. Then up to 100 numbers are changed, one at a time:
right-hand sides, bounds and costs by the names of rows and columns, params by theirs. glpsol
solves a changed file for each, from scratch: the MPS file that it makes of the model, or the
MathProg text, edited. zdbcc sweeps the model itself. What glpsol does not solve within the limit
is left out of the sweep; what a sweep does not solve within it is counted. A model with an integer
column gets the same limit, so those that are hard have fewer scenarios; where glpsol does not solve
the model itself, it is relaxed for the sweep: its columns need not be integer.

Results are appended to the file model by model, and models that are in it are passed over, so the
run can be broken off and taken up again; with --again, those for which the limit was too short get
another, longer one. The second form makes the page of the results. Times and limits are of the
processor, so that a machine that others use as well gives the same results.
Exits with 1 if an objective differs.
"""

from __future__ import annotations

import argparse
import csv
import datetime
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
from collections.abc import Iterator
from dataclasses import asdict, dataclass
from itertools import zip_longest
from pathlib import Path

from changed_mps import Change, Description, MpsText, near
from glpk_models import TOLERANCE, models
from mathprog_data import Number, changed, numbers
from sweep_results import Line, append, known_lines, newest, write_page

MOST = 100  # scenarios of a model
PATIENCE = 20  # how many times as long a process may take as it may use the processor
KINDS = ("rhs", "bound", "cost", "param")
FORMATS = {".mps": "--mps", ".lp": "--lp", ".mod": "--math"}
SOLVED = re.compile(r"^s bas \d+ \d+ f f (\S+)|^s mip \d+ \d+ o (\S+)", re.MULTILINE)
LEVEL = re.compile(r"^j (\d+) (?:[blufs] )?(\S+)", re.MULTILINE)


@dataclass(frozen=True)
class Ended:
    """A command that has ended by itself, or was ended after the limit."""

    seconds: float  # of the processor
    is_late: bool
    code: int
    errors: str


def processor_time(process: int) -> float:
    """Seconds that a running process has used, with those of its children that have ended."""
    try:
        words = Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    except OSError:
        return 0.0
    return sum(int(each) for each in words[11:15]) / os.sysconf("SC_CLK_TCK")


def is_late(process: subprocess.Popen[bytes], limit: float) -> bool:
    """Waits for a process to end by itself."""
    end = time.monotonic() + PATIENCE * limit
    while time.monotonic() < end and processor_time(process.pid) < limit:
        try:
            process.wait(timeout=0.05)
        except subprocess.TimeoutExpired:
            continue
        return False
    return process.poll() is None


def run(command: list[str], folder: Path, limit: float, output: Path | None = None) -> Ended:
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(output or os.devnull, "wb") as out, tempfile.TemporaryFile() as errors:
        process = subprocess.Popen(command, stdout=out, stderr=errors, cwd=folder)
        ended_late = is_late(process, max(limit, 0.1))
        if ended_late:
            process.send_signal(signal.SIGINT)
            try:
                process.wait(timeout=PATIENCE * 5)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        errors.seek(0)
        text = errors.read().decode(errors="replace").strip()
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    seconds = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return Ended(seconds, ended_late, process.returncode, text)


@dataclass(frozen=True)
class Answer:
    """Of glpsol: "" is no optimum, None none within the limit, or a text that it refuses."""

    objective: str | None
    seconds: float
    is_refused: bool = False
    text: str = ""  # of the solution


@dataclass(frozen=True)
class Scenario:
    kind: str
    heading: str
    value: float
    objective: str  # of glpsol


class Library:
    """A model of the folder, copied to where it may write what it likes."""

    def __init__(self, given: argparse.Namespace, model: Path, data: Path | None) -> None:
        self.given = given
        self.limit: float = given.limit
        self.name = model.name if data is None else f"{model.name} {data.name}"
        self.folder = Path(tempfile.mkdtemp(prefix="zdbcc-sweep-"))
        shutil.copytree(model.parent, self.folder / "m", ignore=shutil.ignore_patterns("*.c"))
        self.place = self.folder / "m"
        self.model = self.place / model.name
        self.data = None if data is None else self.place / data.name
        self.turned: list[str] = []  # words for zdbcc
        self.is_relaxed = False

    def glpsol(self, words: list[str], limit: float) -> Answer:
        solution = self.folder / "solution.txt"
        solution.unlink(missing_ok=True)
        relax = ["--nomip"] if self.is_relaxed else []
        ended = run(["glpsol", *words, *relax, "--write", str(solution)], self.place, limit)
        if ended.is_late:
            return Answer(None, ended.seconds)
        text = solution.read_text() if solution.exists() else ""
        found = SOLVED.search(text)
        objective = (found[1] or found[2]) if found else ""
        return Answer(objective, ended.seconds, not text, text)

    def translate(self) -> tuple[Description, MpsText] | None:
        base, described = self.folder / "base.mps", self.folder / "base.glp"
        command = ["glpsol", FORMATS[self.model.suffix], str(self.model), "--check"]
        command += ["--wfreemps", str(base), "--wglp", str(described)]
        data = ["-d", str(self.data)] if self.data else []
        self.translation = run(command + data, self.place, self.limit)
        if self.translation.is_late or not described.exists():
            return None
        self.about = Description(described)
        return self.about, MpsText(base, self.about)

    def solve_mps(self, text: str, limit: float) -> Answer:
        (self.folder / "changed.mps").write_text(text)
        words = ["--freemps", str(self.folder / "changed.mps"), "--" + self.about.direction]
        return self.glpsol(words, limit)

    def turn(self, mps: MpsText) -> Answer:
        self.turned = ["--max"]
        self.about.direction = "max"
        return self.solve_mps(mps.written(), self.limit)

    def params(self) -> list[Number]:
        """Those of the model and of its data, which are told apart by is_in_data."""
        if self.model.suffix != ".mod":
            return []
        data = None if self.data is None else self.data.read_text(errors="replace")
        own, others = numbers(self.model.read_text(errors="replace"), data)
        self.in_data = set(others)
        return own + others

    def solve_param(self, param: Number, value: float, limit: float) -> Answer:
        model, data = self.model, self.data
        if param in self.in_data and data is not None:
            data = self.place / "changed.dat"
            data.write_text(changed((self.data or data).read_text(errors="replace"), param, value))
        else:
            model = self.place / "changed.mod"
            model.write_text(changed(self.model.read_text(errors="replace"), param, value))
        words = ["--math", str(model)] + (["-d", str(data)] if data else [])
        return self.glpsol(words, limit)

    def zdbcc(self, verb: str, *words: str) -> list[str]:
        relax = ["--relax"] if self.is_relaxed else []
        command = [self.given.zdbcc, verb, str(self.model), "--allow-files", *self.turned, *relax]
        command += words
        return command + (["--model-data", str(self.data)] if self.data else [])

    def close(self) -> None:
        shutil.rmtree(self.folder)


def spread(all_of: list[Change] | list[tuple[Number, float]], count: int) -> Iterator[object]:
    """At most count of them, at even distances."""
    step = max(1.0, len(all_of) / max(1, count))
    return (all_of[int(i * step)] for i in range(min(count, len(all_of))))


def param_changes(params: list[Number], count: int) -> list[tuple[Number, float]]:
    return [
        (param, value) for param in params for value in near(param.value, count, param.is_integer)
    ]


def turns(kinds: dict[str, list[object]]) -> list[tuple[str, object]]:
    """By turns one of each kind, as many as there are up to the most."""
    rows = zip_longest(*([(kind, each) for each in all_of] for kind, all_of in kinds.items()))
    return [each for row in rows for each in row if each is not None][:MOST]


class ScratchRun:
    """glpsol's answers to the changed files of a model, until the limit is over."""

    def __init__(self, library: Library, line: Line) -> None:
        self.library = library
        self.line = line
        self.scenarios: list[Scenario] = []
        self.spent = 0.0

    def run(self, mps: MpsText, levels: dict[str, float]) -> None:
        params = self.library.params()
        asked: list[tuple[str, object]] = []
        for count in (2, 4, 6, 8):  # small models need many values for each of their numbers
            found: dict[str, list[object]] = {}
            for kind, changes in mps.changes(levels, count).items():
                found[kind] = list(spread(changes, MOST))
            found["param"] = list(spread(param_changes(params, count), MOST))
            asked = turns(found)
            if len(asked) == MOST:
                break
        for kind, change in asked:
            # Among easy scenarios there may be one that takes for ever.
            left = min(self.library.limit - self.spent, self.library.limit / 5)
            if left <= 0:
                self.line.late += 1
            elif isinstance(change, Change):
                answer = self.library.solve_mps(mps.with_change(change), left)
                self.take(kind, change.heading, change.value, answer)
            elif isinstance(change, tuple):
                answer = self.library.solve_param(change[0], change[1], left)
                self.take(kind, change[0].heading(), change[1], answer)

    def take(self, kind: str, heading: str, value: float, answer: Answer) -> None:
        self.spent += answer.seconds
        if answer.is_refused:
            self.line.refused += 1
        elif answer.objective is None:
            self.line.late += 1
        else:
            self.line.scratch += answer.seconds
            setattr(self.line, kind, getattr(self.line, kind) + 1)
            self.scenarios.append(Scenario(kind, heading, value, answer.objective))


def is_same(scratch: str, hot: str) -> bool:
    if not scratch or not hot:
        return scratch == hot
    left, right = float(scratch), float(hot)
    return abs(left - right) <= TOLERANCE * max(1.0, abs(left), abs(right))


def write_scenarios(scenarios: list[Scenario], file: Path) -> None:
    headings = list(dict.fromkeys(each.heading for each in scenarios))
    with file.open("w", newline="") as stream:
        writer = csv.writer(stream)
        writer.writerow(["scenario", *headings])
        for number, scenario in enumerate(scenarios):
            value = repr(scenario.value)
            row = [value if each == scenario.heading else "" for each in headings]
            writer.writerow([f"s{number}", *row])


def solve(library: Library, solver: str, scratch: Answer) -> str:
    """What a solve of the model itself gives, beside glpsol's."""
    output = library.folder / "solve.json"
    command = library.zdbcc("solve", "--solver", solver, "--json", "--no-explain")
    ended = run(command, library.place, library.limit, output)
    if ended.is_late:
        return "late"
    try:
        told = json.loads(output.read_text())
    except json.JSONDecodeError:
        return ended.errors[-150:]
    has_optimum = told["status"] in {"Optimal", "Integer solution"}
    objective = repr(told.get("objective", 0.0)) if has_optimum else ""
    if scratch.objective is None:
        return f"{told['status']} {objective}".strip()
    return "same" if is_same(scratch.objective, objective) else f"{told['status']} {objective}"


def sweep(library: Library, scenarios: list[Scenario], line: Line) -> None:
    results = library.folder / f"{line.solver}.csv"
    command = library.zdbcc("sweep", "--scenarios", str(library.folder / "scenarios.csv"))
    command += ["--solver", line.solver, "-o", str(results)]
    ended = run(command, library.place, library.limit)
    line.hot = ended.seconds
    rows = list(csv.DictReader(results.open())) if results.exists() else []
    line.solved = len(rows)
    wrong = [
        f"{a.heading}={a.value!r}: glpsol {a.objective or 'none'}, {b['objective'] or b['status']}"
        for a, b in zip(scenarios, rows)
        if not is_same(a.objective, b["objective"])
    ]
    line.different = len(wrong)
    if wrong:
        line.note = wrong[0]
    elif not ended.is_late and len(rows) < len(scenarios):
        line.note = "FAILED: " + (ended.errors.splitlines() or ["no answer"])[-1][-200:]


def solvers_of(given: argparse.Namespace) -> dict[str, list[str]]:
    """Those that are there, and the kinds of models that they solve."""
    told = subprocess.run([given.zdbcc, "solvers", "--json"], capture_output=True, text=True)
    known = {each["name"]: each for each in json.loads(told.stdout)}
    return {name: known[name]["solves"] for name in given.solvers.split(",") if name in known}


def run_model(given: argparse.Namespace, model: Path, data: Path | None) -> list[Line]:
    library = Library(given, model, data)
    line = Line(library.name, limit=library.limit)
    line.date = datetime.date.today().isoformat()
    try:
        translated = library.translate()
        if translated is None:
            line.note = untranslated(library)
            return [line]
        about, mps = translated
        line.kind, line.rows, line.columns = about.kind, about.row_count, about.column_count
        base = library.solve_mps(mps.written(), library.limit)
        if base.objective == "" and model.suffix == ".mps":  # which may not tell the direction
            base = library.turn(mps)
        line.objective = "late" if base.objective is None else base.objective
        solves = solve_all(library, line, base)
        scenarios = solved_from_scratch(library, line, mps, base)
        if not scenarios and line.kind == "mip":
            library.is_relaxed = True
            line.kind, line.late, line.refused = "mip, relaxed", 0, 0
            relaxed = library.solve_mps(mps.written(), library.limit)
            scenarios = solved_from_scratch(library, line, mps, relaxed)
        write_scenarios(scenarios, library.folder / "scenarios.csv")
        lines = []
        for solver, kinds in solvers_of(given).items():
            if line.kind == "mip" and "MIP" not in kinds:
                continue
            each = Line(**(asdict(line) | {"solver": solver}))
            each.solve = solves.get(solver, "")
            if scenarios:
                sweep(library, scenarios, each)
            each.load = round(os.getloadavg()[0], 1)
            lines.append(each)
        return lines
    finally:
        library.close()


def solved_from_scratch(library: Library, line: Line, mps: MpsText, base: Answer) -> list[Scenario]:
    """The scenarios that glpsol solves in time, none if it does not solve the model itself."""
    scratch = ScratchRun(library, line)
    if base.objective is not None:
        scratch.run(mps, levels_of(base.text, library.about))
    return scratch.scenarios


def solve_all(library: Library, line: Line, base: Answer) -> dict[str, str]:
    """What a solve of the model itself gives, by solver."""
    return {
        solver: solve(library, solver, base)
        for solver, kinds in solvers_of(library.given).items()
        if line.kind != "mip" or "MIP" in kinds
    }


def untranslated(library: Library) -> str:
    if library.translation.is_late:
        return "glpsol takes longer than the limit to translate it"
    ended = run(library.zdbcc("solve"), library.place, library.limit)
    return "neither glpsol nor zdbcc can translate it" if ended.code else "only zdbcc can"


def levels_of(solution: str, about: Description) -> dict[str, float]:
    levels = {}
    for index, level in LEVEL.findall(solution):
        levels[about.columns[int(index) - 1]] = float(level)
    return levels


def told(line: Line) -> str:
    head = f"{line.model:24} {line.solver:6} {line.count():3} scenarios, {line.late} late"
    text = f"{head}, {line.scratch:6.2f} s, hot {line.hot:6.2f} s, {line.solved} solved"
    return f"{text}; solve: {line.solve}; {line.different} differ {line.note}"


def run_all(given: argparse.Namespace) -> int:
    known = known_lines(given.results)
    known_names = {each.model for each in known}
    hurried = {each.model for each in known if each.hurried() and each.limit < given.limit}
    done = known_names - hurried if given.again else known_names
    found = sorted(models(Path(given.folder)), key=lambda each: each[0].stat().st_size)
    for model, data in found:
        name = model.name if data is None else f"{model.name} {data.name}"
        if name in done or (given.only and given.only not in name):
            continue
        if given.again and name not in known_names:
            continue
        lines = run_model(given, model.resolve(), data)
        append(lines, given.results)
        for line in lines:
            print(told(line), flush=True)
        known = newest(known + lines)
    different = sum(each.different for each in known)
    print(f"{len({each.model for each in known})} of {len(found)} models, {different} differences")
    return 1 if different else 0


def main() -> int:
    parser = argparse.ArgumentParser(description=(__doc__ or "").splitlines()[0])
    parser.add_argument("--only", help="models with this in their names")
    parser.add_argument("--solvers", default="clp,cbc,glpk,highs")
    parser.add_argument(
        "--limit",
        type=float,
        default=20.0,
        help="for glpsol with all scenarios, and for each solver",
    )
    parser.add_argument(
        "--again", action="store_true", help="run only models for which the limit was too short"
    )
    parser.add_argument("--page", type=Path, help="write this page, and run nothing")
    parser.add_argument("zdbcc", nargs="?")
    parser.add_argument("results", type=Path)
    parser.add_argument("folder", nargs="?", default="/usr/share/doc/glpk-utils/examples")
    given = parser.parse_args()
    if given.page is not None:
        write_page(given.page, known_lines(given.results))
        return 0
    given.zdbcc = str(Path(given.zdbcc).resolve())
    given.results = given.results.resolve()
    return run_all(given)


if __name__ == "__main__":
    sys.exit(main())

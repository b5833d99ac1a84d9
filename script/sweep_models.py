#!/usr/bin/env python3
"""Sweeps the models of Debian's glpk-utils, and compares with changed files solved by glpsol.

    sweep_models.py [--solvers NAME,NAME] [--limit SECONDS] [--total SECONDS] ZDBCC [FOLDER]

For each model, smallest first, some right-hand sides and costs are changed one at a time: once in
a sweep of the model by the names of rows and columns, once in the text of the MPS file that glpsol
makes of the model, which glpsol then solves from scratch. Prints objectives that differ and times.
Exits with 1 if any objective differs.
"""

from __future__ import annotations

import argparse
import csv
import re
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

from glpk_models import TOLERANCE, models

QUICK = 0.05  # seconds of a solve from scratch up to which a model gets all scenarios
OPTIMAL = re.compile(r"^Status:\s+(?:INTEGER )?OPTIMAL", re.MULTILINE)
OBJECTIVE = re.compile(r"^Objective:.*= (\S+)", re.MULTILINE)
FORMATS = {".mps": "--mps", ".lp": "--lp", ".mod": "--math"}


@dataclass(frozen=True)
class Change:
    heading: str  # of the column of scenarios
    value: float
    line: int  # of the MPS file, whose last field becomes the value


def run(command: list[str], folder: Path, limit: float) -> str | None:
    """Both outputs, or None if it took too long."""
    try:
        done = subprocess.run(
            command,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            timeout=limit,
            cwd=folder,
            check=False,
        )
    except subprocess.TimeoutExpired:
        return None
    return done.stdout


def changes(lines: list[str], count: int) -> list[Change]:
    """Up to count changes of single values, by turns of right-hand sides and costs."""
    section = objective = ""
    ranged = {line.split()[1] for line in section_of(lines, "RANGES")}
    found: dict[str, list[Change]] = {"RHS": [], "COLUMNS": []}
    for number, line in enumerate(lines):
        fields = line.split()
        if not line.startswith((" ", "*")) and fields:
            section = fields[0]
        elif section == "ROWS" and fields[0] == "N" and not objective:
            objective = fields[1]
        elif section in found and len(fields) == 3 and "'MARKER'" not in fields:
            is_cost = fields[1] == objective
            if is_cost != (section == "COLUMNS") or fields[1] in ranged:
                continue
            heading = f"{fields[0]}.cost" if is_cost else f"{fields[1]}.rhs"
            for factor in (1.02, 0.97, 1.1):
                found[section].append(Change(heading, float(fields[2]) * factor, number))
    half = count // 2
    rows, costs = found["RHS"], found["COLUMNS"]
    taken = max(half, count - len(costs))
    return spread(rows, taken) + spread(costs, count - min(taken, len(rows)))


def single(line: str) -> list[str]:
    """A line of two values as two lines."""
    fields = line.split()
    if not line.startswith(" ") or len(fields) != 5:
        return [line]
    return [f" {fields[0]} {fields[i]} {fields[i + 1]}" for i in (1, 3)]


def section_of(lines: list[str], name: str) -> list[str]:
    """The lines of a section with fields."""
    start = next((i for i, line in enumerate(lines) if line.split()[:1] == [name]), len(lines))
    taken = []
    for line in lines[start + 1 :]:
        if not line.startswith(" "):
            break
        taken.append(line)
    return taken


def spread(all_of: list[Change], count: int) -> list[Change]:
    """At most count of them, at even distances."""
    step = max(1.0, len(all_of) / max(1, count))
    return [all_of[int(i * step)] for i in range(min(count, len(all_of)))]


def glpsol(folder: Path, mps: str, sense: str, limit: float) -> str | None:
    """The optimal objective of an MPS file as printed, "" for none, None if it took too long."""
    out = folder / "out.txt"
    out.unlink(missing_ok=True)
    if run(["glpsol", "--freemps", mps, sense, "-o", str(out)], folder, limit) is None:
        return None
    text = out.read_text() if out.exists() else ""
    value = OBJECTIVE.search(text)
    return value[1] if value and OPTIMAL.search(text) else ""


def is_same(scratch: str, hot: str) -> bool:
    if not scratch or not hot:
        return scratch == hot
    left, right = float(scratch), float(hot)
    # glpsol prints nine digits
    return abs(left - right) <= TOLERANCE * max(1.0, abs(left), abs(right))


def sweep_model(given: argparse.Namespace, model: Path, data: Path | None, folder: Path) -> int:
    """Prints a line for each solver; how many objectives differ."""
    name = model.name if data is None else f"{model.name} {data.name}"
    base = folder / "base.mps"
    base.unlink(missing_ok=True)
    described = folder / "base.glp"  # an MPS file does not tell the direction
    command = ["glpsol", FORMATS[model.suffix], str(model), "--check", "--wfreemps", str(base)]
    command += ["--wglp", str(described)]
    run(command + (["-d", str(data)] if data else []), model.parent, given.limit)
    if not base.exists():
        print(f"{name:28} glpsol cannot translate it", flush=True)
        return 0
    lines = [each for line in base.read_text().splitlines() for each in single(line)]
    kind, direction = problem_line(described)
    sense = "--" + direction
    start = time.monotonic()
    if glpsol(folder, "base.mps", sense, given.limit) is None:
        print(f"{name:28} takes glpsol over {given.limit:g} s", flush=True)
        return 0
    seconds = time.monotonic() - start
    asked = changes(lines, 100 if seconds < QUICK else max(2, int(4 / seconds)))
    if not asked:
        print(f"{name:28} nothing to change", flush=True)
        return 0
    scratch: list[str | None] = []
    start = time.monotonic()
    for change in asked:
        changed = list(lines)
        changed[change.line] = re.sub(r"\S+\s*$", repr(change.value), changed[change.line])
        (folder / "changed.mps").write_text("\n".join(changed) + "\n")
        scratch.append(glpsol(folder, "changed.mps", sense, given.limit))
    seconds = time.monotonic() - start
    headings = list(dict.fromkeys(change.heading for change in asked))
    with (folder / "scenarios.csv").open("w", newline="") as file:
        writer = csv.writer(file)
        writer.writerow(["scenario", *headings])
        for number, change in enumerate(asked):
            row = [repr(change.value) if each == change.heading else "" for each in headings]
            writer.writerow([f"s{number}", *row])
    return sum(
        hot_sweep(given, solver, (name, model, data), folder, scratch, seconds)
        for solver in given.solvers.split(",")
        if (solver == "clp") <= (kind == "lp") and (solver == "cbc") <= (kind == "mip")
    )


def problem_line(file: Path) -> tuple[str, str]:
    """lp or mip, and min or max."""
    for line in file.read_text().splitlines():
        if line.startswith("p "):
            return line.split()[1], line.split()[2]
    raise ValueError(f"{file} has no problem line")


def hot_sweep(
    given: argparse.Namespace,
    solver: str,
    what: tuple[str, Path, Path | None],
    folder: Path,
    scratch: list[str | None],
    seconds: float,
) -> int:
    name, model, data = what
    command = [given.zdbcc, "sweep", str(model), "--scenarios", str(folder / "scenarios.csv")]
    command += ["--solver", solver, "--allow-files", "-o", str(folder / "results.csv"), "--force"]
    (folder / "results.csv").unlink(missing_ok=True)
    start = time.monotonic()
    told = run(command + (["--model-data", str(data)] if data else []), model.parent, given.limit)
    took = time.monotonic() - start
    head = f"{name:28} {solver:6} {len(scratch):4}"
    if told is None:
        print(f"{head}  over {given.limit:g} s", flush=True)
        return 0
    results = folder / "results.csv"
    rows = list(csv.DictReader(results.open())) if results.exists() else []
    if len(rows) < len(scratch):
        reason = (told.strip().splitlines() or ["no answer"])[-1][:150]
        print(f"{head}  FAILED: {reason}", flush=True)
        return 1
    known = [(a, b["objective"]) for a, b in zip(scratch, rows) if a is not None]
    wrong = [pair for pair in known if not is_same(*pair)]
    example = f"  DIFFERENT {len(wrong)}, as {wrong[0]}" if wrong else ""
    print(f"{head} {seconds:8.2f} s {took:8.2f} s{example}", flush=True)
    return len(wrong)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--solvers", default="glpk,clp,cbc", help="clp: linear, cbc: integer")
    parser.add_argument("--limit", type=float, default=20.0, help="seconds for each command")
    parser.add_argument("--total", type=float, default=900.0, help="seconds to begin models in")
    parser.add_argument("zdbcc")
    parser.add_argument("folder", nargs="?", default="/usr/share/doc/glpk-utils/examples")
    given = parser.parse_args()
    given.zdbcc = str(Path(given.zdbcc).resolve())
    begin = time.monotonic()
    different = left = 0
    print(f"{'model':28} {'solver':6} many  scratch        hot")
    found = sorted(models(Path(given.folder)), key=lambda each: each[0].stat().st_size)
    with tempfile.TemporaryDirectory() as folder:
        for model, data in found:
            if time.monotonic() - begin > given.total:
                left += 1
                continue
            different += sweep_model(given, model.resolve(), data, Path(folder))
    print(f"{len(found)} models, {left} left out, {different} differences")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())

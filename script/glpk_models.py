#!/usr/bin/env python3
"""Solves the models that come with Debian's glpk-utils with several solvers and compares them.

    glpk_models.py [--limit SECONDS] [--solvers NAME,NAME] ZDBCC [FOLDER]

Prints a line for each model: for each solver its objective, where it differs from the first
solver's, or its status, and its seconds, and in the last line how many models differ. Exits with 1
if any do. A model is every file that glpsol would take: MPS, LP and MathProg, the latter with each
of the data files in its folder if it has no data of its own.
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

TOLERANCE = 1e-6  # relative from 1 up


@dataclass(frozen=True)
class Result:
    status: str
    objective: float | None
    seconds: float

    def same_as(self, other: Result) -> bool:
        if self.objective is None or other.objective is None:
            return self.status == other.status
        size = max(1.0, abs(self.objective), abs(other.objective))
        return abs(self.objective - other.objective) <= TOLERANCE * size

    def text(self) -> str:
        return self.status if self.objective is None else f"{self.objective:.10g}"


def models(folder: Path) -> list[tuple[Path, Path | None]]:
    """Model files, each with the data file that it needs."""
    found: list[tuple[Path, Path | None]] = []
    for file in sorted(folder.rglob("*")):
        if file.suffix in (".mps", ".lp"):
            found.append((file, None))
        elif file.suffix == ".mod":
            found += [(file, data) for data in data_files(file)]
    return found


def data_files(file: Path) -> list[Path | None]:
    """What a MathProg model is solved with: two of them have no data of their own."""
    pattern = {"pbn": "*.dat", "misp": "misp*.dat"}.get(file.stem)
    return [None] if pattern is None else [*sorted(file.parent.glob(pattern))]


def solve(zdbcc: str, model: Path, data: Path | None, solver: str, limit: float) -> Result:
    command = [zdbcc, "solve", model.name, "--solver", solver, "--json", "--allow-files"]
    if data is not None:
        command += ["--model-data", data.name]
    start = time.monotonic()
    try:
        run = subprocess.run(
            command, capture_output=True, text=True, timeout=limit, cwd=model.parent, check=False
        )
    except subprocess.TimeoutExpired:
        return Result("too long", None, limit)
    seconds = time.monotonic() - start
    try:
        answer = json.loads(run.stdout)
    except json.JSONDecodeError:
        return Result((run.stderr.strip() or "no answer")[:60], None, seconds)
    return Result(answer["status"], answer.get("objective"), seconds)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--limit", type=float, default=60.0, help="seconds for each solve")
    parser.add_argument("--solvers", default="glpk,highs", help="the first one is compared with")
    parser.add_argument("zdbcc")
    parser.add_argument("folder", nargs="?", default="/usr/share/doc/glpk-utils/examples")
    given = parser.parse_args()
    zdbcc = str(Path(given.zdbcc).resolve())
    solvers = given.solvers.split(",")
    different = undecided = count = 0
    for model, data in models(Path(given.folder)):
        results = [solve(zdbcc, model, data, each, given.limit) for each in solvers]
        known = [each for each in results if each.status != "too long"]
        is_same = all(each.same_as(known[0]) for each in known)
        count += 1
        different += not is_same
        undecided += len(known) < len(results)
        columns = "  ".join(
            f"{name} {each.text():>18} {each.seconds:7.2f} s"
            for name, each in zip(solvers, results)
        )
        name = model.name if data is None else f"{model.name} {data.name}"
        print(f"{name:28} {columns}{'' if is_same else '  DIFFERENT'}", flush=True)
    print(f"{count} models, {different} different, {undecided} not solved in time by some solver")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())

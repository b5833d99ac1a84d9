"""Results of sweep_models.py: a file of lines that grows, and the page made of it."""

from __future__ import annotations

import csv
import os
import re
from collections.abc import Iterator
from dataclasses import asdict, dataclass, fields
from pathlib import Path

SOLVERS = ("clp", "cbc", "glpk", "highs")


@dataclass
class Line:
    """A line of the results: a model and a solver."""

    model: str
    kind: str = ""
    rows: int = 0
    columns: int = 0
    objective: str = ""  # glpsol's, of the model itself
    rhs: int = 0  # scenarios of each kind
    bound: int = 0
    cost: int = 0
    param: int = 0
    late: int = 0  # that glpsol did not solve within the limit
    refused: int = 0  # params that the model's own conditions forbid
    scratch: float = 0  # seconds of glpsol for all scenarios
    solver: str = ""
    solve: str = ""  # same, or what differs
    solved: int = 0
    different: int = 0
    hot: float = 0  # seconds of the sweep
    note: str = ""
    date: str = ""
    load: float = 0
    limit: float = 0

    def count(self) -> int:
        return self.rhs + self.bound + self.cost + self.param

    def hurried(self) -> bool:
        """Whether a longer limit might have given more."""
        is_late = self.objective == "late" or self.solve == "late" or self.late > 0
        return is_late or (self.solver != "" and self.solved < self.count())


def known_lines(file: Path) -> list[Line]:
    """Those of models that are there as a whole."""
    if not file.exists():
        return []
    text = file.read_text()
    rows = csv.DictReader(text[: text.rfind("\n\n") + 1].splitlines(), delimiter="\t")
    types = {each.name: each.type for each in fields(Line)}
    convert = {"int": int, "float": float, "str": str}
    lines = [
        Line(**{name: convert[str(types[name])](value) for name, value in row.items()})
        for row in rows
    ]
    return newest(lines)


def newest(lines: list[Line]) -> list[Line]:
    """Of models that were run again with a longer limit, only what that gave."""
    longest: dict[str, float] = {}
    for line in lines:
        longest[line.model] = max(line.limit, longest.get(line.model, 0))
    return [line for line in lines if line.limit == longest[line.model]]


def append(lines: list[Line], file: Path) -> None:
    """An empty line ends a model, so that one that is torn can be told."""
    text = file.read_text() if file.exists() else ""
    whole = text[: text.rfind("\n\n") + 2] if "\n\n" in text else ""
    names = [each.name for each in fields(Line)]
    rows = [] if whole else ["\t".join(names)]
    for line in lines:
        values = asdict(line)
        values |= {name: f"{values[name]:.3f}" for name in ("scratch", "hot")}
        rows.append("\t".join(" ".join(str(values[name]).split()) for name in names))
    file.write_text(whole + "\n".join(rows) + "\n\n")


def machine() -> str:
    found = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    return f"{os.cpu_count()} cores, {found[1] if found else 'unknown'}"


def row_of(lines: list[Line]) -> str:
    """Of the table: a model."""
    line = lines[0]
    if not line.kind:
        return f"| {line.model} | {line.note} | | | | | | |"
    kinds = ", ".join(str(getattr(line, kind)) for kind in ("rhs", "bound", "cost", "param"))
    scratch = f"{line.scratch:.2f}" + (f", {line.late} not in time" if line.late else "")
    if line.objective == "late" and line.count() == 0:
        scratch = "not in time, the model itself"
    by_solver = {each.solver: each for each in lines}
    cells = [cell(by_solver[each]) if each in by_solver else "" for each in SOLVERS]
    size = f"{line.rows} x {line.columns}"
    return f"| {line.model} | {line.kind}, {size} | {kinds} | {scratch} | {' | '.join(cells)} |"


def cell(line: Line) -> str:
    if line.count() == 0:
        return {"late": "not in time", "": ""}.get(line.solve, f"solve: {line.solve}")
    if line.note.startswith("FAILED"):
        return "failed"
    text = f"{line.hot:.2f}"
    if line.solved < line.count():
        text += f", {line.solved} in time"
    return text + (f", {line.different} differ" if line.different else "")


def remarks(lines: list[Line]) -> Iterator[str]:
    for line in lines:
        if line.note and line.kind:
            yield f"- {line.model}, {line.solver}: {line.note}."
        if line.solve not in {"same", ""} and line.objective != "late":
            solve = "not done in time" if line.solve == "late" else line.solve
            yield f"- {line.model}, {line.solver}, the model itself: {solve}."


MARK = "<!-- From here on the page is made by script/sweep_models.py --page. -->"


def write_page(page: Path, lines: list[Line]) -> None:
    """Writes what stands below the mark of a page."""
    by_model: dict[str, list[Line]] = {}
    for line in lines:
        by_model.setdefault(line.model, []).append(line)
    loads = [line.load for line in lines if line.solver]
    heads = ["model", "kind, rows x columns", "right-hand sides, bounds, costs, params"]
    heads += ["glpsol", *SOLVERS]
    text = [
        page.read_text().split(MARK)[0] + MARK,
        "",
        *summary(by_model),
        f"- Date and machine: {' to '.join(dates(lines))}, {machine()}, load {min(loads):g} to "
        f"{max(loads):g}, as others used it as well. Limit: {' to '.join(limits(lines))} seconds, "
        "the longer ones for what needed them.",
        "",
        f"| {' | '.join(heads)} |",
        "| --- " * len(heads) + "|",
        *(row_of(each) for _, each in sorted(by_model.items())),
        "",
        *remarks(lines),
    ]
    page.write_text("\n".join(text).rstrip() + "\n")


def limits(lines: list[Line]) -> list[str]:
    all_of = {line.limit for line in lines}
    return [f"{each:g}" for each in dict.fromkeys([min(all_of), max(all_of)])]


def dates(lines: list[Line]) -> list[str]:
    days = sorted({line.date for line in lines})
    return [days[0], days[-1]] if len(days) > 1 else days


def summary(by_model: dict[str, list[Line]]) -> Iterator[str]:
    lines = [each for of_model in by_model.values() for each in of_model]
    swept = [each[0] for each in by_model.values() if each[0].count()]
    relaxed = sum(each.kind == "mip, relaxed" for each in swept)
    solved = [each for each in lines if each.solve and each.objective != "late"]
    same = sum(each.solve == "same" for each in solved)
    late = sum(each.solve == "late" for each in solved)
    yield (
        f"- Models, each with its data file: {len(by_model)}, of which {len(swept)} were swept, "
        f"{relaxed} of them relaxed, as glpsol did not solve them in time."
    )
    yield (
        f"- Scenarios: {sum(each.count() for each in swept)}. Of their "
        f"{sum(each.solved for each in lines)} objectives by a solver each, "
        f"{sum(each.different for each in lines)} differ from those of glpsol."
    )
    yield (
        f"- Solves of the models themselves: {len(solved)}. {same} have the objective of glpsol, "
        f"{late} were not done in time, {len(solved) - same - late} differ."
    )

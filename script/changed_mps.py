"""Changes single numbers in the text of a free MPS file, as somebody would with an editor.

The text is that which glpsol writes of a model; what bounds rows and columns have and what they are
called comes from the file that glpsol writes with --wglp, in which names keep their blanks.
"""

from __future__ import annotations

import math
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Limits:
    lower: float
    upper: float


@dataclass(frozen=True)
class Change:
    heading: str  # of the column of scenarios, as zdbcc names what changes
    kind: str  # rhs, bound, cost
    value: float
    name: str  # in the MPS file
    limits: Limits  # new ones, of a bound


def number(value: float) -> str:
    return str(int(value)) if value == int(value) else repr(value)


FACTORS = (1.02, 0.97, 1.1, 0.9, 1.25, 0.75, 1.5, 0.5)
STEPS = (1, -1, 2, -2, 3, -3, 5, -5)


def near(value: float, count: int, is_integer: bool) -> list[float]:
    """Others that a model might well have instead, eight at most."""
    if is_integer or (value == int(value) and abs(value) < 50):
        return [value + step for step in STEPS[:count]]
    return [value * factor for factor in FACTORS[:count]]


class Description:
    """What a file of --wglp tells: kind, direction, limits of rows and columns, names."""

    def __init__(self, file: Path) -> None:
        self.names: dict[str, str] = {}  # MPS name: real one
        self.row_limits: dict[str, Limits] = {}
        self.column_limits: dict[str, Limits] = {}
        self.integers: set[str] = set()
        self.columns: list[str] = []
        numbered: dict[str, dict[str, str]] = {"i": {}, "j": {}}
        described: dict[str, dict[str, list[str]]] = {"i": {}, "j": {}}
        for line in file.read_text().splitlines():
            fields = line.split(" ")
            if fields[0] == "p":
                self.kind, self.direction = fields[1], fields[2]
                self.row_count, self.column_count = int(fields[3]), int(fields[4])
            elif fields[0] == "n" and fields[1] in numbered:
                real = " ".join(fields[3:])
                numbered[fields[1]][fields[2]] = real.replace(" ", "_")
                self.names[real.replace(" ", "_")] = real
            elif fields[0] in described:
                described[fields[0]][fields[1]] = fields[2:]
        for index, name in numbered["i"].items():
            self.row_limits[name] = limits_of(described["i"].get(index, []), Limits(0, 0))
        for index in map(str, range(1, self.column_count + 1)):
            name = numbered["j"].get(index, "")
            fields = described["j"].get(index, [])
            usual_kind = "b" if self.kind == "mip" else "c"  # those without a line
            kind = fields.pop(0) if self.kind == "mip" and fields else usual_kind
            if kind != "c":
                self.integers.add(name)
            usual = Limits(0, 1 if kind == "b" else math.inf)
            self.column_limits[name] = limits_of(fields, usual)
            self.columns.append(name)


def limits_of(fields: list[str], usual: Limits) -> Limits:
    if not fields:
        return usual
    kind, *values = fields[0], *map(float, fields[1:])
    lower = values[0] if kind in {"l", "d", "s"} else -math.inf
    upper = values[-1] if kind in {"u", "d", "s"} else math.inf
    return Limits(lower, upper)


def single(line: str) -> list[str]:
    """A line of two values as two lines."""
    fields = line.split()
    if not line.startswith(" ") or len(fields) != 5:
        return [line]
    return [f" {fields[0]} {fields[i]} {fields[i + 1]}" for i in (1, 3)]


class MpsText:
    def __init__(self, file: Path, description: Description) -> None:
        self.about = description
        self.sections: dict[str, list[str]] = {"NAME": [], "ROWS": [], "COLUMNS": [], "RHS": []}
        self.sections |= {"RANGES": [], "BOUNDS": []}
        section = "NAME"
        for line in file.read_text().splitlines():
            if line.startswith(" "):
                self.sections[section] += single(line)
            elif line.split()[:1] and line.split()[0] in self.sections:
                section = line.split()[0]
        rows = [line.split() for line in self.sections["ROWS"]]
        self.objective = next(name for kind, name in rows if kind == "N")

    def written(self) -> str:
        text = []
        for name, lines in self.sections.items():
            if lines or name in {"NAME", "ROWS", "COLUMNS"}:
                text += [name, *lines]
        return "\n".join([*text, "ENDATA", ""])

    def with_change(self, change: Change) -> str:
        section = {"rhs": "RHS", "cost": "COLUMNS", "bound": "BOUNDS"}[change.kind]
        before = {each: self.sections[each] for each in (section, "ROWS", "RHS", "RANGES")}
        try:
            if change.kind == "rhs":
                self.put("RHS", [f" RHS1 {change.name} {number(change.value)}"], change.name)
            elif change.kind == "cost":
                self.put(
                    "COLUMNS",
                    [f" {change.name} {self.objective} {number(change.value)}"],
                    change.name,
                    self.objective,
                )
            elif change.name in self.about.column_limits:
                self.put("BOUNDS", self.bounds(change), change.name)
            else:
                self.bound_row(change)
            return self.written()
        finally:
            self.sections.update(before)

    def put(self, section: str, lines: list[str], *names: str) -> None:
        """Lines in place of those for these names."""
        first = {"BOUNDS": 2, "COLUMNS": 0}.get(section, 1)
        last = first + len(names)
        old = self.sections[section]
        places = [i for i, line in enumerate(old) if tuple(line.split()[first:last]) == names]
        kept = [line for i, line in enumerate(old) if i not in set(places)]
        place = places[0] if places else len(kept)
        self.sections[section] = kept[:place] + lines + kept[place:]

    @staticmethod
    def bounds(change: Change) -> list[str]:
        """Both bounds, whatever the usual ones are."""
        lower, upper = change.limits.lower, change.limits.upper
        lines = [
            f" MI BND1 {change.name}"
            if lower == -math.inf
            else f" LO BND1 {change.name} {number(lower)}",
            f" PL BND1 {change.name}"
            if upper == math.inf
            else f" UP BND1 {change.name} {number(upper)}",
        ]
        return lines

    def bound_row(self, change: Change) -> None:
        lower, upper = change.limits.lower, change.limits.upper
        self.put("ROWS", [f" G {change.name}"], change.name)
        self.put("RHS", [f" RHS1 {change.name} {number(lower)}"], change.name)
        self.put("RANGES", [f" RNG1 {change.name} {number(upper - lower)}"], change.name)

    def changes(self, levels: dict[str, float], count: int) -> dict[str, list[Change]]:
        """What can be tried, up to count values for each number; the levels are those of the
        columns in the best solution."""
        return {
            "rhs": list(self.right_hand_sides(count)),
            "bound": list(self.bound_changes(levels, count)),
            "cost": list(self.costs(count)),
        }

    def heading(self, name: str, attribute: str) -> str:
        return f"{self.about.names[name]}.{attribute}"

    def right_hand_sides(self, count: int) -> Iterator[Change]:
        for line in self.sections["ROWS"]:
            kind, name = line.split()
            limits = self.about.row_limits.get(name)
            if kind == "N" or limits is None:
                continue
            is_range = limits.lower != limits.upper and math.isfinite(limits.upper - limits.lower)
            if is_range:
                continue
            side = limits.lower if math.isfinite(limits.lower) else limits.upper
            for value in near(side, count, False):
                yield Change(self.heading(name, "rhs"), "rhs", value, name, limits)

    def costs(self, count: int) -> Iterator[Change]:
        for line in self.sections["COLUMNS"]:
            fields = line.split()
            if len(fields) != 3 or fields[1] != self.objective or "'MARKER'" in fields:
                continue
            for value in near(float(fields[2]), count, False):
                heading = self.heading(fields[0], "cost")
                yield Change(heading, "cost", value, fields[0], Limits(0, 0))

    def bound_changes(self, levels: dict[str, float], count: int) -> Iterator[Change]:
        """Such that the best solution is cut off, where there is room for it."""
        for name, limits in self.about.column_limits.items():
            if not name or name not in levels:
                continue
            for step in range(1, count // 2 + 1):
                yield from self.bounds_around(name, levels[name], limits, step)
        for name, limits in self.about.row_limits.items():
            if limits.lower < limits.upper and math.isfinite(limits.upper - limits.lower):
                middle = (limits.lower + limits.upper) / 2
                yield self.bound(name, "lo", middle, Limits(middle, limits.upper))
                yield self.bound(name, "up", middle, Limits(limits.lower, middle))

    def bounds_around(self, name: str, level: float, limits: Limits, step: int) -> Iterator[Change]:
        less: float
        more: float
        if name in self.about.integers:
            less, more = math.ceil(level - 0.5) - step, math.floor(level + 0.5) + step
        else:
            room = step * (abs(level) / 10 + 0.1)
            less, more = level - room, level + room
        less, more = max(less, limits.lower), min(more, limits.upper)
        if less < level - 1e-6 and less < limits.upper:
            yield self.bound(name, "up", less, Limits(limits.lower, less))
        if more > level + 1e-6 and more > limits.lower:
            yield self.bound(name, "lo", more, Limits(more, limits.upper))
        value = more if more > level + 1e-6 else less
        if math.isfinite(value):
            yield self.bound(name, "fx", value, Limits(value, value))

    def bound(self, name: str, which: str, value: float, limits: Limits) -> Change:
        return Change(self.heading(name, which), "bound", value, name, limits)

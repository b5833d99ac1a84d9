"""Sweeps of two networks, hot, beside solving each scenario's file from scratch.

    sweep_networks.py make FOLDER FLIGHTS.csv AIRPORTS.csv
    sweep_networks.py measure FOLDER ZDBCC MODEL [SOLVER...] [--scenarios N] [--scratch N]

make writes two models with 1,000 scenarios each: `flights`, how travellers reach the airports of
the United States from the six largest ones over the flights that there are (the two files are in
the npm package vega-datasets), and `transport`, 200 plants that deliver to 1,000 towns. In each
scenario, one in ten of the needs is up to 30 % smaller or larger.

measure sweeps a model with zdbcc and each solver, and solves the files of some of the scenarios
with `zdbcc solve` and the same solver, and with glpsol. Prints seconds for a scenario, of the
processor and of time, and fails if an objective differs. The solver `glpsol` solves only from
scratch.
"""

from __future__ import annotations

import argparse
import csv
import json
import math
import random
import resource
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path

SCENARIOS = 1000
HUBS = 6
# Glpsol prints nine digits.
TOLERANCE = 1e-6


@dataclass
class Network:
    """A linear program with needs as right-hand sides."""

    name: str
    rows: dict[str, tuple[str, float]] = field(default_factory=dict)  # kind and right-hand side
    columns: dict[str, list[tuple[str, float]]] = field(default_factory=dict)
    tops: dict[str, float] = field(default_factory=dict)
    needs: list[str] = field(default_factory=list)

    def row(self, name: str, kind: str, side: float) -> None:
        self.rows[name] = kind, side
        if kind == "G":
            self.needs.append(name)

    def mps(self, sides: dict[str, float]) -> str:
        lines = [f"NAME {self.name}", "ROWS", " N cost"]
        lines += [f" {kind} {name}" for name, (kind, _) in self.rows.items()]
        lines.append("COLUMNS")
        for column, entries in self.columns.items():
            lines += [f" {column} {row} {value!r}" for row, value in entries]
        lines.append("RHS")
        for name, (_, side) in self.rows.items():
            lines.append(f" RHS {name} {sides.get(name, side)!r}")
        if self.tops:
            lines.append("BOUNDS")
            lines += [f" UP BND {column} {top!r}" for column, top in self.tops.items()]
        return "\n".join([*lines, "ENDATA", ""])

    def scenarios(self) -> list[dict[str, float]]:
        draw = random.Random(14)
        found = []
        for _ in range(SCENARIOS):
            changed = draw.sample(self.needs, max(1, len(self.needs) // 10))
            found.append({each: self.rows[each][1] * draw.uniform(0.7, 1.3) for each in changed})
        return found


def rows_of(file: Path) -> list[dict[str, str]]:
    with file.open(newline="") as stream:
        return list(csv.DictReader(stream))


def distance(one: dict[str, str], other: dict[str, str]) -> float:
    """Great circle, in miles."""
    a, b = math.radians(float(one["latitude"])), math.radians(float(other["latitude"]))
    turn = math.radians(float(one["longitude"]) - float(other["longitude"]))
    cosine = math.sin(a) * math.sin(b) + math.cos(a) * math.cos(b) * math.cos(turn)
    return 3958.8 * math.acos(min(1.0, cosine))


def flights(flights_file: Path, airports_file: Path) -> Network:
    airports = {each["iata"]: each for each in rows_of(airports_file)}
    arcs = [
        (each["origin"], each["destination"], int(each["count"]))
        for each in rows_of(flights_file)
        if each["origin"] in airports and each["destination"] in airports
    ]
    arriving: dict[str, int] = {}
    for _, destination, count in arcs:
        arriving[destination] = arriving.get(destination, 0) + count
    hubs = sorted(arriving, key=lambda each: -arriving[each])[:HUBS]
    network = Network("flights")
    for airport in sorted({each for arc in arcs for each in arc[:2]}):
        if airport in hubs:
            network.row(f"have[{airport}]", "L", 40000.0)
        else:
            network.row(f"need[{airport}]", "G", round(2 + arriving.get(airport, 0) / 20))
            # Whom no flight brings there.
            network.columns[f"left[{airport}]"] = [("cost", 9999.0), (f"need[{airport}]", 1.0)]
    for origin, destination, count in arcs:
        entries = [("cost", distance(airports[origin], airports[destination]))]
        for airport, sign in ((origin, -1.0), (destination, 1.0)):
            is_hub = airport in hubs
            entries.append(
                (f"{'have' if is_hub else 'need'}[{airport}]", -sign if is_hub else sign)
            )
        network.columns[f"fly[{origin},{destination}]"] = entries
        network.tops[f"fly[{origin},{destination}]"] = count / 10
    return network


def transport(plants: int = 200, towns: int = 1000) -> Network:
    draw = random.Random(4)
    places = [(draw.uniform(0, 1000), draw.uniform(0, 1000)) for _ in range(plants + towns)]
    network = Network("transport")
    needs = [round(draw.uniform(20, 80), 2) for _ in range(towns)]
    for i in range(plants):
        network.row(f"supply[p{i}]", "L", round(1.4 * sum(needs) / plants, 2))
    for j, need in enumerate(needs):
        network.row(f"need[t{j}]", "G", need)
    for i in range(plants):
        for j in range(towns):
            cost = round(math.dist(places[i], places[plants + j]), 3)
            entries = [("cost", cost), (f"supply[p{i}]", 1.0), (f"need[t{j}]", 1.0)]
            network.columns[f"ship[p{i},t{j}]"] = entries
    return network


def make(folder: Path, flights_file: Path, airports_file: Path) -> None:
    folder.mkdir(parents=True, exist_ok=True)
    for network in (flights(flights_file, airports_file), transport()):
        scenarios = network.scenarios()
        (folder / f"{network.name}.mps").write_text(network.mps({}))
        with (folder / f"{network.name}.csv").open("w", newline="") as stream:
            writer = csv.writer(stream)
            writer.writerow(["scenario", *(f"{each}.rhs" for each in network.needs)])
            for number, sides in enumerate(scenarios):
                values = [repr(sides[each]) if each in sides else "" for each in network.needs]
                writer.writerow([f"s{number}", *values])
        print(f"{network.name}: {len(network.rows)} rows, {len(network.columns)} columns")


@dataclass(frozen=True)
class Took:
    processor: float
    passed: float
    output: str

    def text(self, count: int) -> str:
        return f"{1000 * self.processor / count:9.2f} ms {1000 * self.passed / count:9.2f} ms"


def run(command: list[str]) -> Took:
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    done = subprocess.run(command, capture_output=True, text=True)
    passed = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {done.stderr or done.stdout}")
    processor = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return Took(processor, passed, done.stdout)


def cut(file: Path, count: int) -> Path:
    """The first scenarios, without columns that change nothing in them."""
    rows = rows_of(file)[:count]
    headings = [each for each in rows[0] if any(row[each] for row in rows)]
    part = file.with_name(f"{file.stem}-{count}.csv")
    with part.open("w", newline="") as stream:
        writer = csv.DictWriter(stream, headings, extrasaction="ignore")
        writer.writeheader()
        writer.writerows(rows)
    return part


def changed_file(folder: Path, model: str, row: dict[str, str]) -> Path:
    """The MPS file of a scenario."""
    sides = {name.removesuffix(".rhs"): value for name, value in row.items() if value}
    lines = []
    for line in (folder / f"{model}.mps").read_text().splitlines():
        words = line.split()
        if words[0] == "RHS" and len(words) == 3 and words[1] in sides:
            line = f" RHS {words[1]} {sides[words[1]]}"
        lines.append(line)
    file = folder / f"{model}-changed.mps"
    file.write_text("\n".join([*lines, ""]))
    return file


def scratch(given: argparse.Namespace, solver: str, row: dict[str, str]) -> tuple[Took, float]:
    file = str(changed_file(given.folder, given.model, row))
    if solver != "glpsol":
        took = run([given.zdbcc, "solve", file, "--solver", solver, "--json"])
        return took, float(json.loads(took.output)["objective"])
    solution = given.folder / "solution.txt"
    took = run(["glpsol", "--freemps", file, "--write", str(solution)])
    line = next(each for each in solution.read_text().splitlines() if each.startswith("s bas"))
    return took, float(line.split()[-1])


def hot(given: argparse.Namespace, solver: str, scenarios: Path) -> tuple[Took, list[float]]:
    model = str(given.folder / f"{given.model}.mps")
    took = run([given.zdbcc, "sweep", model, "--scenarios", str(scenarios), "--solver", solver])
    return took, [float(each["objective"]) for each in csv.DictReader(took.output.splitlines())]


def measure(given: argparse.Namespace) -> int:
    all_of = given.folder / f"{given.model}.csv"
    rows = rows_of(all_of)[: given.scratch]
    for row in rows:
        del row["scenario"]
    several = cut(all_of, given.scenarios)
    wrong = 0
    known: list[float] = []
    print(f"{given.model}, {given.scenarios} scenarios hot, {given.scratch} from scratch")
    print("solver          hot: processor, time          scratch: processor, time")
    for solver in given.solvers:
        text = " " * 27
        if solver != "glpsol":
            took, objectives = hot(given, solver, several)
            text = took.text(given.scenarios)
            known = known or objectives
            wrong += sum(
                not math.isclose(a, b, rel_tol=TOLERANCE) for a, b in zip(objectives, known)
            )
        totals = Took(0, 0, "")
        for number, row in enumerate(rows):
            took, objective = scratch(given, solver, row)
            totals = Took(totals.processor + took.processor, totals.passed + took.passed, "")
            wrong += not math.isclose(objective, known[number], rel_tol=TOLERANCE)
        text += "      " + totals.text(given.scratch) if rows else ""
        print(f"{solver:8} {text}", flush=True)
    print(f"{wrong} objectives differ")
    return 1 if wrong else 0


def main() -> int:
    parser = argparse.ArgumentParser(description=(__doc__ or "").splitlines()[0])
    verbs = parser.add_subparsers(dest="verb", required=True)
    making = verbs.add_parser("make")
    measuring = verbs.add_parser("measure")
    for each in (making, measuring):
        each.add_argument("folder", type=Path)
    making.add_argument("flights", type=Path)
    making.add_argument("airports", type=Path)
    measuring.add_argument("zdbcc")
    measuring.add_argument("model", choices=["flights", "transport"])
    measuring.add_argument("solvers", nargs="*", default=["clp", "glpk", "highs", "glpsol"])
    measuring.add_argument("--scenarios", type=int, default=SCENARIOS)
    measuring.add_argument("--scratch", type=int, default=20)
    given = parser.parse_args()
    if given.verb == "make":
        make(given.folder, given.flights, given.airports)
        return 0
    return measure(given)


if __name__ == "__main__":
    sys.exit(main())

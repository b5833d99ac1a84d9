"""A sweep of the diet with all 77 foods, beside the same in C: sweep.py LIBRARY_FOLDER

Each scenario has other costs of all foods. Prints microseconds of the processor a scenario, the
least of five runs; that of Python includes reading the model and making the table. The C loop is
compiled from dietloop.c with the compiler cc.
"""

from __future__ import annotations

import csv
import ctypes
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

import numpy as np
import zdbcc

ROOT = Path(__file__).parents[2]
DATA = ROOT / "examples" / "diet" / "data"
SCENARIOS = 2000
RUNS = 5


def least(work: Callable[[], float]) -> float:
    """The least of a few runs in microseconds a scenario."""
    return min(work() for _ in range(RUNS)) / SCENARIOS * 1e6


def diet() -> tuple[str, list[str]]:
    """The model in MathProg, and the labels of its foods."""
    with (DATA / "needs.csv").open() as file:
        needs = list(csv.DictReader(file))
    with (DATA / "foods.csv").open() as file:
        foods = list(csv.DictReader(file))
    nutrients = [row["nutrient"] for row in needs]
    labels = [f"f{number}" for number in range(len(foods))]
    lines = ["var buy{{{}}} >= 0;".format(", ".join(f"'{label}'" for label in labels))]
    lines.append("minimize cost: " + " + ".join(f"1 * buy['{label}']" for label in labels) + ";")
    for number, nutrient in enumerate(nutrients):
        terms = " + ".join(
            f"{row[nutrient]} * buy['{label}']"
            for label, row in zip(labels, foods, strict=True)
            if float(row[nutrient]) != 0
        )
        lines.append(f"s.t. need{number}: {terms} >= {needs[number]['per_day']};")
    return "\n".join([*lines, "end;"]), labels


def c_loop(folder: Path, library: Path) -> ctypes.CDLL:
    """The loop in C, compiled."""
    built = folder / "dietloop.so"
    subprocess.run(
        ["cc", "-O2", "-shared", "-fPIC", f"-I{ROOT / 'include'}",
         str(Path(__file__).with_name("dietloop.c")), "-o", str(built), f"-L{library}",
         "-lzdbcclib", "-lzkitdclib64", f"-Wl,-rpath,{library}"],
        check=True,
    )  # fmt: skip
    loop = ctypes.CDLL(str(built))
    loop.dietLoop.restype = ctypes.c_double
    return loop


def main() -> None:
    text, labels = diet()
    prices = np.random.default_rng(1).uniform(0.7, 1.3, (SCENARIOS, len(labels)))
    columns = {f"buy[{label}].cost": prices[:, i] for i, label in enumerate(labels)}
    rows: dict[str, float] = {}
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        file = folder / "diet.mod"
        file.write_text(text)
        loop = c_loop(folder, Path(sys.argv[1]).resolve())
        names = (ctypes.c_char_p * len(labels))(*[label.encode() for label in labels])
        found = np.empty(SCENARIOS)
        for solver in ("clp", "glpk", "highs"):
            if next(s for s in zdbcc.solvers() if s.name == solver).why_not:
                continue

            def in_c(solver: str = solver) -> float:
                seconds = loop.dietLoop(
                    str(file).encode(), names, len(labels),
                    prices.ctypes.data_as(ctypes.POINTER(ctypes.c_double)), SCENARIOS,
                    solver.encode(), found.ctypes.data_as(ctypes.POINTER(ctypes.c_double)),
                )  # fmt: skip
                assert seconds >= 0
                return float(seconds)

            rows[f"{solver}, the C loop"] = least(in_c)
            with zdbcc.Model.read(file) as model:
                for start in ("last", "base"):

                    def in_python(start: str = start, solver: str = solver) -> float:
                        begin = time.process_time()
                        table = model.sweep(columns, start=start, solver=solver, progress=False)
                        seconds = time.process_time() - begin
                        assert np.allclose(table["objective"], found, rtol=1e-7)
                        return seconds

                    rows[f'{solver}, sweep(start="{start}")'] = least(in_python)
    for row, microseconds in rows.items():
        print(f"{row:28} {microseconds:9.1f}")


main()

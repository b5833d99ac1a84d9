#!/usr/bin/env python3
"""Fills the tables of doc/why/benchmarks.md: bench_page.py FOLDER [PAGE]

FOLDER has what make bench has kept there, figures.tsv and machine.tsv, and python.txt if
make bench-python has run. Each table stands between two comments that name it; the others stay as
they are. A peer that was not measured is left out, and so is a row without a figure of ours.
"""

from __future__ import annotations

import re
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path


@dataclass
class Figure:
    nanoseconds: float
    counters: dict[str, float]


Figures = dict[str, Figure]  # by program:benchmark

# Work, ours, peers. <NAME> is a time, <NAME|COUNTER> a counter: MB, or bytes for bytes_...
LIBRARY = [
    ("merge records in key order, by numbers", "<api:MergeSorted_Interface>",
     ["SQLite in memory <api:MergeSorted_SqliteNumbers>"]),
    ("find records by their texts, in random order", "<api:FindByTexts_Interface>",
     ["SQLite in memory <api:FindByTexts_SqliteTexts>"]),
    ("walk all records and read their levels", "<api:Walk_Interface>",
     ["SQLite in memory <api:Walk_SqliteNumbers>"]),
    ("put records in random order, by the column", "<bulk:LoadShuffled_BulkMap>",
     ["a call for each record <bulk:LoadShuffled_OneByOneMap>"]),
    ("add and find a million labels, one by one", "<labels:MergeThenFind<Interface>>",
     ["`absl::flat_hash_map` <labels:MergeThenFind<FlatHashMap>>",
      "`std::unordered_map` <labels:MergeThenFind<UnorderedMap>>"]),
    ("add a million labels, by the column", "<bulk:AddLabels_Bulk>",
     ["`absl::flat_hash_map` <bulk:AddLabels_AbslFlatHashMap>"]),
    ("find a million labels, by the column", "<bulk:FindLabels_Bulk>",
     ["`absl::flat_hash_map` <bulk:FindLabels_AbslFlatHashMap>"]),
    ("write an exchange file, random doubles",
     "<zxf:write/zxf_random>, <zxf:write/zxf_random|bytes_per_record> a record",
     ["SQLite file <zxf:write/sqlite>, <zxf:write/sqlite|bytes_per_record>"]),
    ("read it", "<zxf:read/zxf_random>", ["SQLite file <zxf:read/sqlite>"]),
]  # fmt: skip
TOOL = [
    ("`zdbcc import`, a million rows of CSV in any order",
     "<tool:ToolImport/zdbcc>, <tool:ToolImport/zdbcc|peak_MB> of memory, "
     "file of <tool:ToolImport/zdbcc|file_MB>",
     ["`sqlite3 .import` with a key <tool:ToolImport/sqlite3>, "
      "file of <tool:ToolImport/sqlite3|file_MB>",
      "without a key <tool:ToolImport/sqlite3_heap>",
      "`ncgen`, numbers only, <tool:ToolImport/ncgen>, <tool:ToolImport/ncgen|peak_MB>, "
      "file of <tool:ToolImport/ncgen|file_MB>"]),
    ("`zdbcc import`, a million labels in any order",
     "<tool:ToolLabels/zdbcc>, <tool:ToolLabels/zdbcc|peak_MB>",
     ["`sqlite3 .import` with a key <tool:ToolLabels/sqlite3>",
      "without a key <tool:ToolLabels/sqlite3_heap>"]),
    ("file of 30 million records with two decimals", "<tool:ToolInfo/zdbcc|file_MB>",
     ["HDF5 with gzip, numbers only, <tool:ToolInfo/ncdump|file_MB>",
      "SQLite, numbers only, <tool:ToolInfo/sqlite3|file_MB>"]),
    ("`zdbcc info` of it", "<tool:ToolInfo/zdbcc>, <tool:ToolInfo/zdbcc|peak_MB>",
     ["`ncdump -h` <tool:ToolInfo/ncdump>, <tool:ToolInfo/ncdump|peak_MB>"]),
    ("`zdbcc view` of it", "<tool:ToolView/zdbcc>, <tool:ToolView/zdbcc|peak_MB>", []),
    ("`zdbcc diff` of two such files", "<tool:ToolDiff/zdbcc>, <tool:ToolDiff/zdbcc|peak_MB>",
     ["`h5diff`, numbers only, <tool:ToolDiff/h5diff>, <tool:ToolDiff/h5diff|peak_MB>"]),
    ("the same, labels in the opposite order",
     "<tool:ToolDiff/zdbcc_other_order>, <tool:ToolDiff/zdbcc_other_order|peak_MB>", []),
]  # fmt: skip
HOT = [
    (f"{what}, {solver}", f"<kit:{name}_{solver}/hot>",
     [f"{how} <kit:{name}_{solver}/{other}>"])
    for name, what, other, how in (
        ("diet", "a day of the diet, 77 foods", "rebuilt", "the model rebuilt for each day"),
        ("transport", "a scenario of transport, 200 x 400", "plain", "solved from scratch"),
    )
    for solver in ("clp", "glpk", "highs")
]  # fmt: skip
CONTAINERS = {
    "**map**, the default": "DMap",
    "**vector**": "DMapVector",
    "**tree**": "DMapUTree",
    "`absl::btree_map`": "absl_btree_map",
    "`std::map`": "std_map",
    "sorted `std::vector`": "sorted_vector",
}
WORKS = ("load_sorted", "load_random", "find_random", "walk", "erase_random")
PYTHON = [
    ("frame with categorical labels in, in key order", "<python:frame in>", []),
    ("the same, in random order", "<python:frame in, shuffled>", []),
    ("frame out", "<python:frame out>", []),
    ("arrays in", "<python:arrays in>",
     ["`zdbx_put_records` by itself <python:arrays in, the C call>"]),
    ("arrays out", "<python:arrays out>",
     ["`zdbx_get_records` by itself <python:arrays out, the C call>"]),
    ("frame to file", "<python:frame to file>",
     [f"{peer} <python:frame to file, {peer}>"
      for peer in ("Parquet", "h5py gzip", "CSV", "sqlite3")]),
    ("frame from file", "<python:frame from file>",
     [f"{peer} <python:frame from file, {peer}>"
      for peer in ("Parquet", "h5py gzip", "CSV", "sqlite3")]),
    ("file", "<python:MB of the file, zxf|MB>",
     [f"{peer} <python:MB of the file, {suffix}|MB>"
      for peer, suffix in (("Parquet", "parquet"), ("HDF5", "h5"), ("CSV", "csv"),
                           ("SQLite", "sqlite"))]),
]  # fmt: skip


def read_figures(folder: Path) -> Figures:
    found = {}
    for line in (folder / "figures.tsv").read_text(encoding="utf-8").splitlines():
        file, _, name, nanoseconds, rest = line.split("\t")
        program = Path(file).stem.removeprefix("bench_")
        pairs = re.findall(r"(\S+)=([-+.e\d]+)(k?)", rest)
        counters = {key: float(value) * (1e3 if kilo else 1) for key, value, kilo in pairs}
        found[f"{program}:{name}"] = Figure(float(nanoseconds), counters)
    python = folder / "python.txt"  # names and milliseconds, or megabytes
    for line in python.read_text(encoding="utf-8").splitlines() if python.exists() else []:
        name, value = line.rsplit(maxsplit=1)
        found[f"python:{name}"] = Figure(float(value) * 1e6, {"MB": float(value)})
    return found


def time_text(nanoseconds: float) -> str:
    value, unit = nanoseconds / 1e6, "ms"
    if value < 0.95:
        value, unit = value * 1e3, "µs"
    return f"{value:.1f} {unit}" if value < 9.95 else f"{value:,.0f} {unit}"


def counter_text(name: str, value: float) -> str:
    unit = "bytes" if name.startswith("bytes") else "MB"
    return f"{value:.1f} {unit}" if value < 9.95 else f"{value:,.0f} {unit}"


def filled(template: str, figures: Figures) -> str | None:
    """The template with its figures; None if one of them was not measured."""
    is_whole = True

    def fill(match: re.Match[str]) -> str:
        nonlocal is_whole
        figure = figures.get(match[1])
        if figure is None or (match[2] and match[2] not in figure.counters):
            is_whole = False
            return ""
        if match[2]:
            return counter_text(match[2], figure.counters[match[2]])
        return time_text(figure.nanoseconds)

    text = re.sub(r"<(\w+:[^<>|]+(?:<\w+>)?)(?:\|(\w+))?>", fill, template)
    return text if is_whole else None


def table(heads: list[str], rows: list[list[str]]) -> list[str]:
    return [f"| {' | '.join(row)} |" for row in (heads, ["---"] * len(heads), *rows)]


def compared(rows: list[tuple[str, str, list[str]]], figures: Figures) -> list[str]:
    lines = []
    for work, ours, peers in rows:
        text = filled(ours, figures)
        if text is None:
            print(f"not measured: {work}", file=sys.stderr)
            continue
        others = [other for other in (filled(peer, figures) for peer in peers) if other]
        lines.append([work, text, "; ".join(others)])
    return table(["work", "zdbcclib", "for comparison"], lines)


def containers(figures: Figures) -> list[str]:
    """Nanoseconds a record, which are milliseconds for a million."""
    rows = []
    for title, name in CONTAINERS.items():
        found = [figures.get(f"containers:{work}/{name}") for work in WORKS]
        cells = [f"{each.nanoseconds / 1e6:.2g}" if each else "" for each in found]
        cells = [f"{float(cell):g}" if cell else "" for cell in cells]
        loads = [each for each in found[:2] if each and "bytes" in each.counters]
        rows.append([title, *cells, f"{loads[0].counters['bytes']:.0f}" if loads else ""])
    heads = ["container", "load in order", "load at random", "find", "walk", "erase", "bytes"]
    return table(heads, rows)


def machine(folder: Path) -> Iterator[str]:
    text = (folder / "machine.tsv").read_text(encoding="utf-8")
    of = dict(line.split("\t") for line in text.splitlines())
    speed = f"{float(of['MHz']) / 1e3:.1f} GHz"
    yield (
        f"Measured on {of['date']}: {of['cores']} cores of {of['processor']} at {speed}, "
        f"{of['system']}, {of['compiler']}; load before the start {of['load']}."
    )


def write(page: Path, name: str, lines: list[str]) -> None:
    text = page.read_text(encoding="utf-8")
    begin, end = f"<!-- figures: {name} -->\n", f"<!-- end of {name} -->"
    if text.count(begin) != 1 or text.count(end) != 1:
        raise SystemExit(f"bench_page.py: {page} has no place for {name}")
    head, rest = text.split(begin)
    tail = rest.split(end)[1]
    body = "\n".join(lines)
    page.write_text(f"{head}{begin}\n{body}\n\n{end}{tail}", encoding="utf-8")


def main() -> None:
    if len(sys.argv) not in (2, 3):
        raise SystemExit("usage: bench_page.py FOLDER [PAGE]")
    folder = Path(sys.argv[1])
    standard = Path(__file__).parents[1] / "doc/why/benchmarks.md"
    page = Path(sys.argv[2]) if len(sys.argv) > 2 else standard
    figures = read_figures(folder)
    write(page, "machine", list(machine(folder)))
    for name, rows in (("library", LIBRARY), ("tool", TOOL), ("models", HOT)):
        write(page, name, compared(rows, figures))
    write(page, "containers", containers(figures))
    if (folder / "python.txt").exists():
        write(page, "python", compared(PYTHON, figures))


if __name__ == "__main__":
    main()

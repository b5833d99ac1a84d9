"""The tool beside programs that do the same with other files: bench_tool.py ZDBCC LIBRARY [RECORDS]

Data of three labels and a number: a million rows of CSV come in (ToolImport), and a million rows
with a label each that no other row has (ToolLabels); a file of many records, 30 million unless
RECORDS says otherwise, is described, with its size (ToolInfo), shown as a page (ToolView), begun to
be printed (ToolHead), and compared with another one of the same records (ToolDiff). Wants pyarrow
and h5py; what Debian has in netcdf-bin and hdf5-tools is left out if it is not there.

zdbcc, sqlite3 and h5py read labels as texts from the CSV. sqlite3_heap makes a table without a key,
which takes no care of duplicates and finds nothing. NetCDF and HDF5 know no labels: ncgen gets
their numbers in the text form of its own, h5py looks them up in a dictionary, and the large file of
HDF5 holds numbers only.
"""

from __future__ import annotations

import csv
import ctypes
import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any

ROWS, LABELS = 1_000_000, 1000
COLUMNS = "abc"
CHUNK = 1 << 16


def write_rows(folder: Path) -> None:
    """The small files: rows in any order, and the same by the column for ncgen."""
    source = random.Random(20261126)
    keys = source.sample(range(LABELS**3), ROWS)
    values = [source.randrange(1_000_000) / 100 for _ in keys]
    columns = [[key // unit % LABELS for key in keys] for unit in (LABELS**2, LABELS, 1)]
    with open(folder / "rows.csv", "w", encoding="utf-8") as rows:
        rows.write("a,b,c,value\n")
        rows.writelines(
            f"a{a:03},b{b:03},c{c:03},{value}\n" for a, b, c, value in zip(*columns, values)
        )
    with open(folder / "labels.csv", "w", encoding="utf-8") as rows:
        rows.write("id,value\n")
        numbers = source.sample(range(ROWS), ROWS)
        rows.writelines(f"item{number},{value}\n" for number, value in zip(numbers, values))
    with open(folder / "rows.cdl", "w", encoding="utf-8") as text:
        types = "".join(f"int {name}(n);" for name in COLUMNS) + "double value(n);"
        text.write(f"netcdf rows {{ dimensions: n = {ROWS}; variables: {types}\ndata:\n")
        for name, column in zip((*COLUMNS, "value"), (*columns, values)):
            text.write(f"{name} = " + ",".join(map(str, column)) + ";\n")
        text.write("}\n")


def write_cubes(folder: Path, library: str, records: int) -> None:
    """The large files: of labels in order, in the opposite order, and of their numbers only."""
    import h5py
    import numpy as np
    import pyarrow as pa
    import zdb

    source = np.random.default_rng(20261126)
    keys = source.integers(1, 2 * LABELS**3 // records, records, dtype=np.int64).cumsum()
    values = source.integers(0, 1_000_000, records) / 100
    columns = [(keys // unit % LABELS).astype(np.int32) for unit in (LABELS**2, LABELS, 1)]
    write_table(folder / "a.db", columns, values)
    for name in ("a.h5", "b.h5"):
        with h5py.File(folder / name, "w") as file:
            for title, column in zip((*COLUMNS, "value"), (*columns, values)):
                file.create_dataset(title, data=column, chunks=(CHUNK,), compression="gzip")
    for name in ("a.zxf", "turned.zxf"):
        db = zdb.Database(library)
        symbol = db.symbol("cube", zdb.PARAMETER, ["*"] * 3)
        db.switch(symbol, 1)
        labels = [f"{i:03}" for i in range(LABELS)]
        if name == "turned.zxf":
            labels.reverse()
            columns = [LABELS - 1 - column for column in columns]
        arrays = [pa.DictionaryArray.from_arrays(pa.array(column), labels) for column in columns]
        stream = zdb.Stream()
        table = pa.table([*arrays, pa.array(values)], names=[*COLUMNS, "value"])
        table.to_reader()._export_to_c(ctypes.addressof(stream))
        done, result = db.put(symbol, stream)
        if not done:
            raise RuntimeError(result.message)
        db.require(db.library.c__zdbwritezxf(db.handle, os.fsencode(folder / name), 1))
        db.free()


def write_table(file: Path, columns: list[Any], values: Any) -> None:
    """A table of SQLite with the numbers of the labels as its key."""
    with sqlite3.connect(file) as base:
        base.executescript("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF")
        base.execute("CREATE TABLE t(a, b, c, value, PRIMARY KEY(a, b, c)) WITHOUT ROWID")
        for start in range(0, len(values), 1_000_000):
            parts = [column[start : start + 1_000_000].tolist() for column in (*columns, values)]
            base.executemany("INSERT INTO t VALUES(?, ?, ?, ?)", zip(*parts))


def import_by_h5py(table: str, output: str) -> None:
    """What somebody writes who has h5py: labels by dictionaries, columns packed."""
    import h5py
    import numpy as np

    with open(table, encoding="utf-8", newline="") as rows:
        reader = csv.reader(rows)
        names = next(reader)
        *texts, values = zip(*reader)
    with h5py.File(output, "w") as file:
        for name, column in zip(names, texts):
            numbers = {label: i for i, label in enumerate(dict.fromkeys(column))}
            coded = np.fromiter((numbers[label] for label in column), np.int32, len(column))
            file.create_dataset(name, data=coded, compression="gzip")
            file.create_dataset(f"{name}_labels", data=list(numbers), compression="gzip")
        file.create_dataset("value", data=np.array(values, float), compression="gzip")


class Contest:
    """Runs commands and prints lines like those of the other benchmarks."""

    def __init__(self, folder: Path) -> None:
        self.folder = folder

    def run(
        self, name: str, command: list[str], repetitions: int = 3, made: str = "", of: str = ""
    ) -> None:
        """The fastest repetition. This process is small, so the memory is that of the command."""
        if shutil.which(command[0]) is None:
            print(f"skipped: there is no {command[0]}", file=sys.stderr)
            return
        best, real, peak = float("inf"), float("inf"), 0
        for _ in range(repetitions):
            if made:
                (self.folder / made).unlink(missing_ok=True)
            start = time.monotonic()
            process = subprocess.Popen(
                command, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE
            )
            words = process.stderr.read() if process.stderr else b""
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            if process.returncode != 0:
                raise RuntimeError(f"{command}: {words.decode()}")
            real = min(real, time.monotonic() - start)
            best = min(best, usage.ru_utime + usage.ru_stime)
            peak = max(peak, usage.ru_maxrss)
        file = self.folder / (made or of)
        size = f" file_MB={file.stat().st_size / 1e6:.1f}" if file.is_file() else ""
        counters = f"real_ms={real * 1e3:.0f} peak_MB={peak / 1024:.0f}{size}"
        cpu = f"{best * 1e3:.1f} ms"
        print(f"{name} {cpu} {cpu} {repetitions} {counters}", flush=True)


def sqlite_import(table: str, definition: str) -> list[str]:
    load = f".import --skip 1 {table} t"
    return ["sqlite3", "rows.db", f"CREATE TABLE t{definition}", ".mode csv", load]


def compete(contest: Contest, zdbcc: str, python: list[str]) -> None:
    keyed = "(a TEXT, b TEXT, c TEXT, value REAL, PRIMARY KEY(a, b, c)) WITHOUT ROWID"
    for name, table in (("", keyed), ("_heap", "(a, b, c, value REAL)")):
        contest.run(f"ToolImport/sqlite3{name}", sqlite_import("rows.csv", table), made="rows.db")
    rows = [zdbcc, "import", "rows.zxf", "t=rows.csv:a,b,c->value"]
    contest.run("ToolImport/zdbcc", rows, made="rows.zxf")
    contest.run("ToolImport/ncgen", ["ncgen", "-4", "-o", "rows.nc", "rows.cdl"], made="rows.nc")
    contest.run("ToolImport/h5py", [*python, "--h5py", "rows.csv", "rows.h5"], 1, made="rows.h5")
    keyed = "(id TEXT PRIMARY KEY, value REAL) WITHOUT ROWID"
    for name, table in (("", keyed), ("_heap", "(id, value REAL)")):
        contest.run(f"ToolLabels/sqlite3{name}", sqlite_import("labels.csv", table), made="rows.db")
    labels = [zdbcc, "import", "labels.zxf", "t=labels.csv:id->value"]
    contest.run("ToolLabels/zdbcc", labels, made="labels.zxf")
    contest.run("ToolView/zdbcc", [zdbcc, "view", "a.zxf", "-o", "a.html"], made="a.html")
    contest.run("ToolInfo/zdbcc", [zdbcc, "info", "a.zxf"], of="a.zxf")
    contest.run("ToolInfo/ncdump", ["ncdump", "-h", "a.h5"], of="a.h5")
    contest.run("ToolInfo/sqlite3", ["sqlite3", "a.db", ".schema"], of="a.db")
    contest.run("ToolInfo/h5dump", ["h5dump", "-H", "a.h5"])
    contest.run("ToolHead/zdbcc", [zdbcc, "dump", "a.zxf", "cube", "--head", "10"])
    contest.run("ToolHead/h5dump", ["h5dump", "-d", "/value[0;;10]", "a.h5"])
    contest.run("ToolDiff/zdbcc", [zdbcc, "diff", "a.zxf", "a.zxf"], 1)
    contest.run("ToolDiff/zdbcc_other_order", [zdbcc, "diff", "a.zxf", "turned.zxf"], 1)
    contest.run("ToolDiff/h5diff", ["h5diff", "a.h5", "b.h5"], 1)


def main() -> None:
    if sys.argv[1] == "--h5py":
        return import_by_h5py(sys.argv[2], sys.argv[3])
    if sys.argv[1] == "--make":
        write_rows(Path(sys.argv[2]))
        return write_cubes(Path(sys.argv[2]), sys.argv[3], int(sys.argv[4]))
    zdbcc, library = (os.path.abspath(path) for path in sys.argv[1:3])
    records = sys.argv[3] if len(sys.argv) > 3 else "30000000"
    python = [sys.executable, "-B", os.path.abspath(__file__)]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([*python, "--make", folder, library, records], check=True)
        compete(Contest(Path(folder)), zdbcc, python)


main()

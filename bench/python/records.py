"""A million records of three labels and a double: frames and arrays in and out of a database,
beside the bulk calls in C, and files beside those of others. Prints a table:
records.py LIBRARY [--processor]

Each row is the least of five runs on one core, in milliseconds; databases are made and freed
outside the clock. Peers that cannot be imported are left out. With --processor, the clock is the
time of the processor in all threads, for a machine that others are using.
"""

from __future__ import annotations

import ctypes
import importlib.util
import os
import sqlite3
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pandas as pd
import zdbcc

SIDE = 100
COUNT = SIDE**3
RUNS = 5
CLOCK = time.process_time if "--processor" in sys.argv else time.perf_counter


def least(work: Callable[[Any], object], setup: Callable[[], Any] = lambda: None) -> float:
    """The least time of a few runs in milliseconds; each gets what its setup returns."""
    times = []
    for _ in range(RUNS):
        argument = setup()
        start = CLOCK()
        result = work(argument)
        times.append(CLOCK() - start)
        del result, argument
    return min(times) * 1e3


def sample(order: np.ndarray) -> pd.DataFrame:
    """Records in an order, with categorical labels."""
    codes = np.unravel_index(order, (SIDE, SIDE, SIDE))
    values = np.random.default_rng(1).random(COUNT)
    labels = {
        name: pd.Categorical.from_codes(code, [f"{name}{n}" for n in range(SIDE)])
        for name, code in zip("ijk", codes, strict=True)
    }
    return pd.DataFrame({**labels, "value": values})


def empty() -> zdbcc.Parameter:
    """An empty parameter in a database that has the labels."""
    db = zdbcc.Database()
    db.add_labels([f"{name}{n}" for name in "ijk" for n in range(SIDE)])
    return db.add_parameter("p", ["*", "*", "*"])


class Column(ctypes.Structure):
    """zdbx_column and zdbx_buffer."""

    _fields_ = (("data", ctypes.c_void_p), ("stride", ctypes.c_int64))


class Columns(ctypes.Structure):
    """zdbx_columns."""

    _fields_ = (
        ("size", ctypes.c_size_t),
        ("rows", ctypes.c_int64),
        ("keys", Column * 20),
        ("values", Column * 5),
        ("texts", ctypes.c_void_p),
    )


class Buffers(ctypes.Structure):
    """zdbx_buffers."""

    _fields_ = (
        ("size", ctypes.c_size_t),
        ("rows", ctypes.c_int64),
        ("keys", Column * 20),
        ("labels", Column * 20),
        ("values", Column * 5),
        ("texts", Column),
    )


class Bulk:
    """The bulk calls themselves."""

    def __init__(self, library: str, keys: list[np.ndarray], values: np.ndarray) -> None:
        self.library, self.keys, self.values = ctypes.CDLL(library), keys, values

    def fill(self, struct: Any) -> Any:
        struct.size, struct.rows = ctypes.sizeof(struct), COUNT
        for place, key in enumerate(self.keys):
            struct.keys[place].data = key.ctypes.data
        struct.values[0].data = self.values.ctypes.data
        return struct

    def symbol(self) -> tuple[ctypes.c_void_p, ctypes.c_void_p]:
        db, symbol = ctypes.c_void_p(), ctypes.c_void_p()
        assert self.library.zdbcreate(ctypes.byref(db), None, 0)
        for name in "ijk":
            for n in range(SIDE):
                number = ctypes.c_int()
                label = f"{name}{n}".encode()
                assert self.library.c__zdbmergeuel(db, label, ctypes.byref(number))
        assert self.library.c__zdbaddsymbol(db, b"p", 3, 1, 0, b"", ctypes.byref(symbol))
        return db, symbol

    def put(self, target: tuple[ctypes.c_void_p, ctypes.c_void_p]) -> None:
        columns = self.fill(Columns())
        assert self.library.zdbx_put_records(*target, ctypes.byref(columns), 0, 0, None)

    def get(self, target: tuple[ctypes.c_void_p, ctypes.c_void_p]) -> None:
        buffers = self.fill(Buffers())
        assert self.library.zdbx_get_records(*target, None, ctypes.byref(buffers), None)


def memory_rows(frame: pd.DataFrame, library: str) -> dict[str, float]:
    shuffled = sample(np.random.default_rng(2).permutation(COUNT))
    full = empty()
    full.update(frame)
    keys, (values,) = full.to_arrays()
    bulk = Bulk(library, keys, values)
    target = bulk.symbol()
    bulk.put(target)
    return {
        "frame in": least(lambda p: p.update(frame), empty),
        "frame in, shuffled": least(lambda p: p.update(shuffled), empty),
        "frame out": least(lambda _: full.to_frame()),
        "arrays in": least(lambda p: p.update_arrays(keys, values), empty),
        "arrays in, the C call": least(bulk.put, bulk.symbol),
        "arrays out": least(lambda _: full.to_arrays()),
        "arrays out, the C call": least(lambda _: bulk.get(target)),
    }


def h5py_rows(frame: pd.DataFrame, path: Path) -> dict[str, float]:
    """Numbers of labels, the labels and the values as datasets that gzip packs."""
    import h5py

    def write(_: object) -> None:
        with h5py.File(path, "w") as file:
            for name in "ijk":
                column = frame[name].array
                file.create_dataset(name, data=column.codes, compression="gzip", shuffle=True)
                file.create_dataset(f"{name} labels", data=list(column.categories))
            file.create_dataset("value", data=frame["value"], compression="gzip", shuffle=True)

    def read(_: object) -> pd.DataFrame:
        with h5py.File(path) as file:
            labels = {
                name: pd.Categorical.from_codes(
                    file[name][:], file[f"{name} labels"].asstr()[:].tolist()
                )
                for name in "ijk"
            }
            return pd.DataFrame({**labels, "value": file["value"][:]})

    return {
        "frame to file, h5py gzip": least(write),
        "frame from file, h5py gzip": least(read),
    }


def duckdb_rows(frame: pd.DataFrame, path: Path) -> dict[str, float]:
    import duckdb

    def write(_: object) -> None:
        path.unlink(missing_ok=True)
        with duckdb.connect(str(path), config={"threads": 1}) as connection:
            connection.register("frame", frame)
            connection.execute("CREATE TABLE p AS SELECT * FROM frame")

    def read(_: object) -> pd.DataFrame:
        with duckdb.connect(str(path), read_only=True, config={"threads": 1}) as connection:
            return connection.sql("FROM p").df()

    return {"frame to file, duckdb": least(write), "frame from file, duckdb": least(read)}


def file_rows(frame: pd.DataFrame, folder: Path) -> dict[str, float]:
    full = empty()
    full.update(frame)
    ends = ("zxf", "csv", "parquet", "sqlite", "h5", "duckdb")
    zxf, csv, parquet, sqlite, hdf5, duckdb = (folder / f"p.{end}" for end in ends)

    def read_zxf(_: object) -> pd.DataFrame:
        with zdbcc.open(zxf) as db:
            return db["p"].to_frame()

    def write_zxf(p: zdbcc.Parameter) -> None:
        p.update(frame)
        p.database.write(zxf)

    rows = {
        "frame to file": least(write_zxf, empty),
        "frame from file": least(read_zxf),
        "arrays from file": least(lambda _: zdbcc.open(zxf)["p"].to_arrays()),
    }
    if importlib.util.find_spec("pyarrow"):
        rows["frame to file, Parquet"] = least(lambda _: frame.to_parquet(parquet))
        rows["frame from file, Parquet"] = least(lambda _: pd.read_parquet(parquet))
    if importlib.util.find_spec("h5py"):
        rows |= h5py_rows(frame, hdf5)
    if importlib.util.find_spec("duckdb"):
        rows |= duckdb_rows(frame, duckdb)
    rows["frame to file, CSV"] = least(lambda _: frame.to_csv(csv, index=False))
    rows["frame from file, CSV"] = least(
        lambda _: pd.read_csv(csv, dtype=dict.fromkeys("ijk", "category"))
    )
    plain = frame.astype(dict.fromkeys("ijk", str))
    with sqlite3.connect(sqlite) as connection:
        rows["frame to file, sqlite3"] = least(
            lambda _: plain.to_sql("p", connection, index=False, if_exists="replace")
        )
        rows["frame from file, sqlite3"] = least(
            lambda _: pd.read_sql("SELECT * FROM p", connection)
        )
    for path in (zxf, parquet, hdf5, duckdb, csv, sqlite):
        if path.exists():
            rows[f"MB of the file, {path.suffix[1:]}"] = path.stat().st_size / 1e6
    return rows


def import_rows() -> dict[str, float]:
    """A new interpreter that imports a package, less one that imports nothing."""

    def start(code: str) -> float:
        return least(lambda _: subprocess.run([sys.executable, "-c", code], check=True))

    nothing = start("pass")
    return {
        f"import {name}": start(f"import {name}") - nothing for name in ("numpy", "zdbcc", "pandas")
    }


def main() -> None:
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    frame = sample(np.arange(COUNT))
    with tempfile.TemporaryDirectory() as folder:
        rows = memory_rows(frame, sys.argv[1]) | file_rows(frame, Path(folder))
    if CLOCK is time.perf_counter:  # other processes are not on the other clock
        rows |= import_rows()
    for name, milliseconds in rows.items():
        print(f"{name:28} {milliseconds:9.1f}")


main()

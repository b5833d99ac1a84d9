"""A million records of three labels and a double as Arrow tables: bench_arrow.py LIBRARY

ArrowOut makes a table: of a symbol; by pyarrow, of texts that it encodes, and of columns that it
copies. ArrowIn fills a symbol: with dictionaries, and with texts; by pyarrow, it finds the numbers
of all texts, which is what a symbol needs of them.
"""

from __future__ import annotations

import ctypes
import random
import sys
import time
from collections.abc import Callable
from functools import partial

import pyarrow as pa
import zdb

RECORDS, LABELS, REPETITIONS = 1_000_000, 400, 7
STORAGES = ("map", "vector", "tree")


def encoded_table() -> pa.Table:
    """Records in key order, as the label numbers of the database are too."""
    random.seed(20261126)
    keys = sorted(random.sample(range(LABELS**3), RECORDS))
    columns = []
    for position, unit in enumerate((LABELS**2, LABELS, 1)):
        labels = [f"{'abc'[position]}{i:03}" for i in range(LABELS)]
        numbers = pa.array([key // unit % LABELS for key in keys], pa.int32())
        columns.append(pa.DictionaryArray.from_arrays(numbers, labels))
    return pa.table(
        [*columns, pa.array([float(key) for key in keys])], names=["a", "b", "c", "value"]
    )


def plain(table: pa.Table) -> pa.Table:
    return pa.table(
        [*(column.cast(pa.string()) for column in table.columns[:3]), table.column(3)], names="abcv"
    )


def report(name: str, job: Callable[[], int]) -> None:
    """The fastest repetition, in a line like those of the other benchmarks."""
    best = float("inf")
    for _ in range(REPETITIONS):
        start = time.process_time()
        if job() != RECORDS:
            raise RuntimeError(f"{name}: wrong number of records")
        best = min(best, time.process_time() - start)
    print(f"{name} {best * 1e3:.2f} ms {best * 1e3:.2f} ms {REPETITIONS}", flush=True)


def export(db: zdb.Database, symbol: zdb.Handle) -> int:
    stream = db.export(symbol)
    return pa.RecordBatchReader._import_from_c(ctypes.addressof(stream)).read_all().num_rows


def take(db: zdb.Database, symbol: zdb.Handle, table: pa.Table) -> int:
    stream = zdb.Stream()
    table.to_reader()._export_to_c(ctypes.addressof(stream))
    done, result = db.put(symbol, stream, zdb.REPLACE)
    if not done:
        raise RuntimeError(result.message)
    return result.done


def copied(table: pa.Table) -> int:
    """The columns copied into arrays of their own."""
    return pa.concat_tables([table.slice(0, 1), table.slice(1)]).combine_chunks().num_rows


def main() -> None:
    pa.set_cpu_count(1)
    db = zdb.Database(sys.argv[1])
    encoded = encoded_table()
    texts = plain(encoded)
    for number, storage in enumerate(STORAGES):
        symbol = db.symbol(f"p{number}", zdb.PARAMETER, ["*", "*", "*"])
        db.switch(symbol, number)
        report(f"ArrowIn/zdb_dictionaries_{storage}", partial(take, db, symbol, encoded))
        report(f"ArrowIn/zdb_texts_{storage}", partial(take, db, symbol, texts))
        report(f"ArrowOut/zdb_{storage}", partial(export, db, symbol))
    report(
        "ArrowIn/pyarrow_encode", lambda: len([c.dictionary_encode() for c in texts.columns[:3]][0])
    )
    report("ArrowOut/pyarrow_copy", lambda: copied(encoded))
    report(
        "ArrowOut/pyarrow_encode",
        lambda: (
            pa.table(
                [*(c.dictionary_encode() for c in texts.columns[:3]), texts.column(3)], names="abcv"
            ).num_rows
        ),
    )


main()

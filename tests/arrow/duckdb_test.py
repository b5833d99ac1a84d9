"""Symbols to DuckDB and query results back: duckdb_test.py DUCKDB LIBRARY"""

from __future__ import annotations

import ctypes
import os
import subprocess
import sys
import tempfile
import unittest
from typing import Any

import zdb

LIBRARY = sys.argv.pop()
DUCKDB = ctypes.CDLL(sys.argv.pop())
OK = 0


class QueryResult(ctypes.Structure):
    """duckdb_result, whose members are DuckDB's own."""

    _fields_ = [("members", ctypes.c_uint64 * 6)]


DUCKDB.duckdb_result_error.restype = ctypes.c_char_p
DUCKDB.duckdb_query_arrow_error.restype = ctypes.c_char_p
DUCKDB.duckdb_row_count.restype = ctypes.c_uint64
DUCKDB.duckdb_column_count.restype = ctypes.c_uint64
DUCKDB.duckdb_value_varchar.restype = ctypes.c_void_p
DUCKDB.duckdb_value_varchar.argtypes = [ctypes.c_void_p, ctypes.c_uint64, ctypes.c_uint64]


class Connection:
    """A database in memory."""

    def __init__(self) -> None:
        self.database, self.handle = ctypes.c_void_p(), ctypes.c_void_p()
        if DUCKDB.duckdb_open(None, ctypes.byref(self.database)) != OK:
            raise RuntimeError("cannot open a database")
        if DUCKDB.duckdb_connect(self.database, ctypes.byref(self.handle)) != OK:
            raise RuntimeError("cannot connect")

    def close(self) -> None:
        DUCKDB.duckdb_disconnect(ctypes.byref(self.handle))
        DUCKDB.duckdb_close(ctypes.byref(self.database))

    def read(self, name: str, stream: zdb.Stream) -> None:
        """Makes the records of a stream a table."""
        if DUCKDB.duckdb_arrow_scan(self.handle, b"once", ctypes.byref(stream)) != OK:
            raise RuntimeError(f"cannot scan {name}")
        try:
            # All columns and rows: the view takes its stream for one that can leave out some.
            self.rows(f"CREATE OR REPLACE TABLE {name} AS SELECT * FROM once")
        finally:
            self.rows("DROP VIEW once")
            if stream.release:  # DuckDB leaves that to us
                stream.release(stream)

    def rows(self, sql: str) -> list[tuple[str | None, ...]]:
        """The rows of a query, as texts."""
        result = QueryResult()
        try:
            if DUCKDB.duckdb_query(self.handle, sql.encode(), ctypes.byref(result)) != OK:
                raise RuntimeError(DUCKDB.duckdb_result_error(ctypes.byref(result)).decode())
            columns = range(DUCKDB.duckdb_column_count(ctypes.byref(result)))
            count = DUCKDB.duckdb_row_count(ctypes.byref(result))
            return [
                tuple(self.value(result, column, row) for column in columns) for row in range(count)
            ]
        finally:
            DUCKDB.duckdb_destroy_result(ctypes.byref(result))

    @staticmethod
    def value(result: QueryResult, column: int, row: int) -> str | None:
        text = DUCKDB.duckdb_value_varchar(ctypes.byref(result), column, row)
        if text is None:
            return None
        try:
            return ctypes.string_at(text).decode()
        finally:
            DUCKDB.duckdb_free(ctypes.c_void_p(text))

    def stream(self, sql: str) -> zdb.Stream:
        return ResultStream(self, sql).stream


class ResultStream:
    """The result of a query as a stream, which DuckDB's C interface gives in pieces."""

    open: set[ResultStream] = set()

    def __init__(self, connection: Connection, sql: str) -> None:
        self.result = ctypes.c_void_p()
        if (
            DUCKDB.duckdb_query_arrow(connection.handle, sql.encode(), ctypes.byref(self.result))
            != OK
        ):
            raise RuntimeError(DUCKDB.duckdb_query_arrow_error(self.result).decode())
        # The callbacks live as long as this object, and it until it is released.
        self.stream = zdb.Stream(
            zdb.GetSchema(lambda _, out: self.fill(DUCKDB.duckdb_query_arrow_schema, out)),
            zdb.GetNext(lambda _, out: self.next(out)),
            zdb.GetError(lambda _: None),
            zdb.released(zdb.Stream)(self.release),
        )
        ResultStream.open.add(self)

    def fill(self, get: Any, out: Any) -> int:
        place = ctypes.c_void_p(ctypes.addressof(out.contents))
        return 0 if get(self.result, ctypes.byref(place)) == OK else 5

    def next(self, out: Any) -> int:
        ctypes.memset(out, 0, ctypes.sizeof(zdb.Array))
        return self.fill(DUCKDB.duckdb_query_arrow_array, out)

    def release(self, stream: Any) -> None:
        DUCKDB.duckdb_destroy_arrow(ctypes.byref(self.result))
        ResultStream.open.discard(self)
        ctypes.memset(ctypes.addressof(stream.contents) + zdb.Stream.release.offset, 0, 8)


class DuckDB(unittest.TestCase):
    def setUp(self) -> None:
        self.db, self.duck = zdb.Database(LIBRARY), Connection()

    def tearDown(self) -> None:
        self.duck.close()
        self.db.free()
        self.assertEqual(ResultStream.open, set())

    def put(self, name: str, kind: int, domains: list[str], sql: str) -> zdb.Handle:
        symbol = self.db.symbol(name, kind, domains)
        done, result = self.db.put(symbol, self.duck.stream(sql))
        self.assertTrue(done, result.message)
        return symbol

    def test_a_symbol_is_read_in_sql(self) -> None:
        symbol = self.put(
            "flow",
            zdb.PARAMETER,
            ["plant", "market"],
            "SELECT 'p' || a, 'm' || b, a * 100 + b FROM range(300) x(a), range(20) y(b)",
        )
        for rows in (0, 7, 2048, 5000):
            self.duck.read("flow", self.db.export(symbol, batch_rows=rows))
            for sql, expected in [
                ("SELECT count(*), sum(value) FROM flow", [("6000", "89757000.0")]),
                (
                    "SELECT plant, sum(value) s FROM flow GROUP BY plant ORDER BY s LIMIT 2",
                    [("p0", "190.0"), ("p1", "2190.0")],
                ),
                ("SELECT value FROM flow WHERE plant = 'p7' AND market = 'm3'", [("703.0",)]),
                ("SELECT count(DISTINCT market) FROM flow", [("20",)]),
                ("SELECT plant, market FROM flow ORDER BY value DESC LIMIT 1", [("p299", "m19")]),
            ]:
                with self.subTest(sql=sql, rows=rows):
                    self.assertEqual(self.duck.rows(sql), expected)

    def test_texts_and_fields_are_read_in_sql(self) -> None:
        food = self.put(
            "food", zdb.SET, ["*"], "SELECT * FROM (VALUES ('tea', 'in cups'), ('milk', ''))"
        )
        x = self.put(
            "x", zdb.EQUATION, ["food"], "SELECT 'tea', 1, 2::TINYINT, 3.5, 4::UTINYINT, 5::FLOAT"
        )
        self.duck.read("food", self.db.export(food))
        self.duck.read("x", self.db.export(x))
        joined = (
            "SELECT label, text, level, marginal, lower, upper, scale FROM food "
            "JOIN x ON label = food"
        )
        self.assertEqual(
            self.duck.rows(joined), [("tea", "in cups", "1.0", "2.0", "3.5", "4.0", "5.0")]
        )

    def test_results_of_every_type_are_taken(self) -> None:
        self.duck.rows("CREATE TYPE mood AS ENUM ('sad', 'ok', 'happy')")
        for number, (text, value, expected) in enumerate(
            [
                ("'ok'::mood", "1.25", "1.25"),
                ("'ok'", "sum(range)::HUGEINT", "499500.0"),
                ("'ok'", "sum(range * 0.01)", "4995.0"),
                ("'ok'", "count(*) > 3", "1.0"),
                ("'ok'", "avg(range)", "499.5"),
            ]
        ):
            symbol = self.put(
                f"p{number}",
                zdb.PARAMETER,
                ["*"],
                f"SELECT {text}, {value} FROM range(1000)" + (" LIMIT 1" if number == 0 else ""),
            )
            self.duck.read("p", self.db.export(symbol))
            self.assertEqual(self.duck.rows("SELECT * FROM p"), [("ok", expected)])

    def test_nulls_and_dates_are_refused(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        for sql, row, position, text in [
            (
                "SELECT CASE WHEN range = 5000 THEN NULL ELSE 'k' || range END, 1 FROM range(6000)",
                5000,
                0,
                "null",
            ),
            ("SELECT 'k' || range, NULLIF(range, 4000) FROM range(6000)", 4000, 1, "null"),
            ("SELECT DATE '2026-01-01', 1", -1, -1, "is date (format tdD), not text"),
        ]:
            done, result = self.db.put(symbol, self.duck.stream(sql))
            self.assertEqual(
                (done, result.row, result.position), (False, row, position), result.message
            )
            self.assertIn(text, result.message)
            self.assertEqual((self.db.count(symbol), self.db.label_count()), (0, 0))

    def test_an_error_in_the_stream_is_one_of_the_query(self) -> None:
        symbol = self.put("p", zdb.PARAMETER, ["*"], "SELECT 'k' || range, 1 FROM range(10)")
        stream = self.db.export(symbol)
        self.db.clear(symbol)
        with self.assertRaisesRegex(RuntimeError, "records of symbol p were removed"):
            self.duck.read("p", stream)


@unittest.skipUnless("ZDBCC" in os.environ, "the tool is not built")
class ParquetOfTheTool(unittest.TestCase):
    def run_tool(self, *words: str) -> str:
        result = subprocess.run(
            [os.environ["ZDBCC"], *words], capture_output=True, text=True, check=False
        )
        self.assertEqual(result.returncode, 1 if result.stderr else 0)
        return result.stderr

    def export(self, *options: str) -> str:
        return self.run_tool("export", os.environ["SAMPLE"], *options)

    def test_Export_HasRecordsNullsAndInfinities(self) -> None:
        expected = {
            "city": [
                ("Bonn", "on the Rhine"),
                ("Köln", "two\nlines"),
                ("Ulm, Donau", 'says "hello"'),
            ],
            "distance": [("Bonn", "Köln", "29.5"), ("Bonn", "Ulm, Donau", "0.3333333333333333")],
            "odd": [
                *(
                    ("undef", None),
                    ("na", None),
                    ("#plus", "inf"),
                    ("minus", "-inf"),
                    ("eps", "0.0"),
                )
            ],
            "nothing": [],
            "limit": [("-1e-07",)],
            "flow": [("Bonn", "coal", "7.0", "0.0", "0.0", "inf", "1.0")],
        }
        duck = Connection()
        self.addCleanup(duck.close)
        with tempfile.TemporaryDirectory() as folder:
            to = ("--to", folder, "--format", "parquet", "--duckdb", DUCKDB._name)
            self.assertEqual(self.export(*to), "")
            for symbol, records in expected.items():
                with self.subTest(symbol):
                    rows = duck.rows(f"SELECT * FROM read_parquet('{folder}/{symbol}.parquet')")
                    self.assertEqual(rows, records)
            self.assertEqual(len(os.listdir(folder)), 9)  # a file a symbol, none of aliases
            self.assertIn("exists; use --force", self.export(*to))
            self.assertEqual(self.export(*to, "--force"), "")

    def test_ExportInBatches_KeepsAllAndTheirOrder(self) -> None:
        duck = Connection()
        self.addCleanup(duck.close)
        with tempfile.TemporaryDirectory() as folder:
            table, file = os.path.join(folder, "t.csv"), os.path.join(folder, "t.zxf")
            with open(table, "w", encoding="utf-8") as rows:
                rows.write("i,j,v\n")
                rows.writelines(f"i{n // 700},j{n % 700},{n}\n" for n in range(350_000))
            command = [os.environ["ZDBCC"], "import", file, f"p={table}:i,j->v"]
            subprocess.run(command, check=True, capture_output=True)
            to = ("--to", folder, "--format", "parquet", "--duckdb", DUCKDB._name)
            self.assertEqual(self.run_tool("export", file, *to), "")
            rows_in_place = f"""SELECT count(*) FROM (SELECT *, row_number() OVER () - 1 n
                FROM read_parquet('{folder}/p.parquet'))
                WHERE value = n AND i = 'i' || (n // 700) AND j = 'j' || (n % 700)"""
            self.assertEqual(duck.rows(rows_in_place), [("350000",)])
            with open(file, "r+b") as damaged:
                damaged.seek(os.path.getsize(file) // 2)
                damaged.write(b"damage")
            self.assertIn("damaged", self.run_tool("export", file, *to, "--force"))
            self.assertEqual(sorted(os.listdir(folder)), ["p.parquet", "t.csv", "t.zxf"])


unittest.main()

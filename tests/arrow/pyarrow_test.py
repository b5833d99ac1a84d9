"""Symbols to pyarrow and back: pyarrow_test.py LIBRARY"""

from __future__ import annotations

import ctypes
import decimal
import itertools
import sys
import unittest
from collections.abc import Iterator
from typing import Any

import pyarrow as pa
import zdb
from zdb import ARGUMENT, LABEL

LIBRARY = sys.argv.pop()
INDEX_TYPES = [
    pa.int8(),
    pa.uint8(),
    pa.int16(),
    pa.uint16(),
    pa.int32(),
    pa.uint32(),
    pa.int64(),
    pa.uint64(),
]
TEXT_TYPES = [pa.string(), pa.large_string(), pa.string_view()]


def stream_of(source: pa.Table | pa.RecordBatchReader, rows: int | None = None) -> zdb.Stream:
    stream = zdb.Stream()
    reader = source.to_reader(rows) if isinstance(source, pa.Table) else source
    reader._export_to_c(ctypes.addressof(stream))
    return stream


def reader_of(stream: zdb.Stream) -> pa.RecordBatchReader:
    return pa.RecordBatchReader._import_from_c(ctypes.addressof(stream))


def routes() -> pa.Table:
    keys = [(a, b) for a in range(40) for b in range(30)]
    return pa.table(
        {
            "from": [f"from{a}" for a, _ in keys],
            "to": [f"to{b} \u00e9" for _, b in keys],
            "miles": [a * 100.0 + b for a, b in keys],
        }
    )


class Arrow(unittest.TestCase):
    def setUp(self) -> None:
        self.db = zdb.Database(LIBRARY)

    def tearDown(self) -> None:
        self.db.free()

    def table(self, symbol: zdb.Handle, **options: Any) -> pa.Table:
        table = reader_of(self.db.export(symbol, **options)).read_all()
        table.validate(full=True)
        return table

    def tried(self, symbol: zdb.Handle, *columns: Any, **options: Any) -> tuple[bool, zdb.Result]:
        table = pa.table(list(columns), names=[f"c{i}" for i in range(len(columns))])
        return self.db.put(symbol, stream_of(table), **options)

    def put(self, symbol: zdb.Handle, *columns: Any) -> None:
        done, result = self.tried(symbol, *columns)
        self.assertTrue(done, result.message)

    def refused(self, symbol: zdb.Handle, *columns: Any, **options: Any) -> zdb.Result:
        done, result = self.tried(symbol, *columns, **options)
        self.assertFalse(done)
        return result

    def records(self, symbol: zdb.Handle) -> list[tuple[Any, ...]]:
        return [tuple(row.values()) for row in self.table(symbol).to_pylist()]

    def test_table_returns_as_it_was(self) -> None:
        for storage in range(3):
            for rows in (0, 1, 7, 1000, 10**15):
                with self.subTest(storage=storage, rows=rows):
                    symbol = self.db.symbol(f"p{storage}_{rows}", zdb.PARAMETER, ["from", "to"])
                    self.db.switch(symbol, storage)
                    done, result = self.db.put(symbol, stream_of(routes(), 11))
                    self.assertTrue(done, result.message)
                    self.assertEqual((result.done, result.added, result.kind), (1200, 1200, 0))
                    out = self.table(symbol, batch_rows=rows)
                    self.assertEqual(out.column_names, ["from", "to", "value"])
                    self.assertEqual(
                        [column.to_pylist() for column in out.columns],
                        [column.to_pylist() for column in routes().columns],
                    )
                    sizes = {len(chunk) for chunk in out.column(2).chunks}
                    self.assertLessEqual(max(sizes), rows or 1200)
                    # And in again, dictionaries and all.
                    again = self.db.symbol(f"q{storage}_{rows}", zdb.PARAMETER, ["*", "*"])
                    self.put(again, *out.columns)
                    self.assertEqual(self.records(again), self.records(symbol))

    def test_schema_names_symbol_and_domains(self) -> None:
        symbol = self.db.symbol("x", zdb.VARIABLE, ["City", "city", "*", "level"], "a text")
        schema = reader_of(self.db.export(symbol)).schema
        self.assertEqual(
            schema.names,
            ["City", "city_2", "label", "level_2", "level", "marginal", "lower", "upper", "scale"],
        )
        facts = {"symbol": "x", "type": "variable", "dimension": "4", "text": "a text"}
        expected = {f"zdb:{key}".encode(): value.encode() for key, value in facts.items()}
        self.assertEqual(schema.metadata, expected)
        self.assertEqual(schema.types[0], pa.dictionary(pa.int32(), pa.string(), ordered=True))
        self.assertFalse(any(field.nullable for field in schema))

    def test_dictionary_holds_the_labels_in_use(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*", "*"])
        self.put(symbol, ["a", "b", "c"], ["x", "x", "y"], [1, 2, 3])
        batch = next(reader_of(self.db.export(symbol, labels=[0, self.db.label("x")])))
        self.assertEqual(batch.column(0).dictionary.to_pylist(), ["a", "b"])
        self.assertEqual(batch.column(1).dictionary.to_pylist(), ["x"])

    def test_records_added_while_reading_appear(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        self.put(symbol, ["a", "b", "c"], [1, 2, 3])
        reader = reader_of(self.db.export(symbol, batch_rows=2))
        next(reader)
        self.put(symbol, ["new"], [4])
        self.assertEqual(next(reader).to_pydict(), {"label": ["c", "new"], "value": [3, 4]})

    def test_every_kind_of_symbol(self) -> None:
        food = self.db.symbol("food", zdb.SET, ["*"])
        self.put(food, ["milk", "bread", "tea"], ["", "wheat \u00e9", "x" * 255])
        self.assertEqual(
            self.records(food), [("milk", ""), ("bread", "wheat \u00e9"), ("tea", "x" * 255)]
        )
        universe = self.db.find("*")
        self.assertEqual(self.table(universe).to_pydict(), {"label": ["milk", "bread", "tea"]})
        alias = self.db.alias("snack", 0)
        self.assertEqual(self.records(alias), self.records(food))
        scalar = self.db.symbol("limit", zdb.PARAMETER, [])
        self.put(scalar, pa.array([2.5]))
        self.assertEqual(self.records(scalar), [(2.5,)])
        bound = self.db.symbol("x", zdb.VARIABLE, ["food"])
        self.put(bound, ["tea"], [1], [2])
        self.assertEqual(self.records(bound), [("tea", 1.0, 2.0, 0.0, 0.0, 1.0)])
        self.assertEqual(self.records(self.db.symbol("none", zdb.SET, ["*"])), [])

    def test_texts_in_every_form(self) -> None:
        words = ["a", "a word of more than twelve bytes", "\u00e9"]
        values = ["skipped", words[1], words[2], words[0], "unused"]
        columns = [pa.array(words, text) for text in TEXT_TYPES]
        for index, text in itertools.product(INDEX_TYPES, TEXT_TYPES):
            dictionary = pa.array(values, text).slice(1)
            columns.append(pa.DictionaryArray.from_arrays(pa.array([2, 0, 1], index), dictionary))
        columns += [pa.concat_arrays([column, column]).slice(3) for column in columns]
        for number, column in enumerate(columns):
            with self.subTest(type=column.type):
                symbol = self.db.symbol(f"s{number}", zdb.SET, ["*"])
                self.put(symbol, column, column)
                self.assertEqual(self.records(symbol), list(zip(words, words)))
        self.assertEqual(self.db.label_count(), 3)

    def test_numbers_of_every_width(self) -> None:
        kinds = INDEX_TYPES + [pa.float16(), pa.float32(), pa.float64(), pa.bool_()]
        for number, kind in enumerate(kinds):
            symbol = self.db.symbol(f"p{number}", zdb.PARAMETER, ["*"])
            self.put(symbol, ["a", "b", "c"], pa.array([0, 0, 1, 0]).cast(kind).slice(1))
            self.assertEqual([row[1] for row in self.records(symbol)], [0.0, 1.0, 0.0], kind)
        decimals = [(pa.decimal32, 2), (pa.decimal64, 2), (pa.decimal128, 2), (pa.decimal128, -1)]
        for number, (of, scale) in enumerate(decimals):
            kind = of(9, scale)
            symbol = self.db.symbol(f"d{number}", zdb.PARAMETER, ["*"])
            self.put(symbol, ["a"], pa.array([decimal.Decimal(-120)], kind))
            self.assertEqual(self.records(symbol), [("a", -120.0)], kind)

    def test_halves(self) -> None:
        values = [0.5, -2.0, 65504.0, 2.0**-24, 3 * 2.0**-16, float("inf"), -float("inf")]
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        self.put(symbol, [str(value) for value in values], pa.array(values, pa.float16()))
        self.assertEqual([row[1] for row in self.records(symbol)], values)

    def test_what_does_not_fit_is_refused_and_undone(self) -> None:
        price = self.db.symbol("price", zdb.PARAMETER, ["*"])
        food = self.db.symbol("food", zdb.SET, ["*"])
        self.put(price, ["tea"], [1])
        labels = self.db.label_count()
        broken = pa.DictionaryArray.from_arrays([0, 1], ["x", None])
        encoded = pa.array([1]).dictionary_encode()
        date = pa.array([0], pa.timestamp("us", "UTC"))
        for symbol, columns, row, position, kind, text in [
            (price, (["x", None], [1, 2]), 1, 0, ARGUMENT, "row 1 of the stream, column 0 (c0): n"),
            (price, (["x", "y"], [None, 2]), 0, 1, ARGUMENT, "column 1 (c1): null"),
            (price, (broken, [1, 2]), 1, 0, ARGUMENT, "column 0 (c0): null"),
            (price, (["x", None], [None, 2]), 0, 1, ARGUMENT, "column 1 (c1): null"),
            (food, (["x", "y"], ["", None]), 1, 1, ARGUMENT, "column 1 (c1): null"),
            (food, (["x", "y"], ["", "z" * 256]), 1, 1, LABEL, "has 256 bytes"),
            (food, (["x", "y"], ["", "z\0"]), 1, 1, LABEL, "zero byte"),
            (price, (["x", "'\""], [1, 2]), 1, 0, LABEL, "column 0 (c0): Label with single and"),
            (price, (["x", "y\0"], [1, 2]), 1, 0, LABEL, "column 0 (c0): Label with control char"),
            (price, ([1], [1]), -1, -1, ARGUMENT, "column 0 (c0) of the stream is integer (format"),
            (price, ([b"x"], [1]), -1, -1, ARGUMENT, "not text: utf8 (u, U, vu) or a dictionary o"),
            (price, (["x"], ["1"]), -1, -1, ARGUMENT, "is utf8 (format u), not a number: integer"),
            (food, (["x"], [1]), -1, -1, ARGUMENT, "is integer (format l), not text"),
            (price, (["x"], date), -1, -1, ARGUMENT, "is timestamp (format tsu:UTC), not a number"),
            (price, (["x"], encoded), -1, -1, ARGUMENT, "is dictionary of integer (format i), not"),
            (price, (encoded, [1]), -1, -1, ARGUMENT, "is dictionary of integer (format i), not t"),
            (price, (["x"], [1], [2]), -1, -1, ARGUMENT, "at most 1 column of values, but the st"),
        ]:
            with self.subTest(text=text):
                result = self.refused(symbol, *columns)
                self.assertEqual((result.row, result.position, result.kind), (row, position, kind))
                self.assertIn(text, result.message)
                self.assertEqual(self.records(price), [("tea", 1.0)])
                self.assertEqual((self.db.count(food), self.db.label_count()), (0, labels))

    def test_an_existing_record_undoes_labels_too(self) -> None:
        price = self.db.symbol("price", zdb.PARAMETER, ["*"])
        self.put(price, ["tea"], [1])
        result = self.refused(price, ["new", "tea"], [1, 2], mode=zdb.ADD)
        self.assertEqual((result.row, result.position, result.kind), (1, -1, zdb.EXISTS))
        self.assertEqual((self.db.label_count(), self.db.count(price)), (1, 1))

    def test_keep_and_skip(self) -> None:
        table = pa.table(
            [["a", None, "b", "'\"", "a", "c"], [1, 2, None, 4, 5, 6]], names=["k", "v"]
        )
        kept = self.db.symbol("kept", zdb.PARAMETER, ["*"])
        done, result = self.db.put(kept, stream_of(table), zdb.ADD, zdb.KEEP)
        self.assertEqual((done, result.done, result.skipped, result.row), (False, 1, 0, 1))
        self.assertEqual(self.records(kept), [("a", 1.0)])
        for rows in (1, 2, 6):
            symbol = self.db.symbol(f"s{rows}", zdb.PARAMETER, ["*"])
            done, result = self.db.put(symbol, stream_of(table, rows), zdb.ADD, zdb.SKIP)
            self.assertTrue(done, result.message)
            self.assertEqual(
                (result.done, result.skipped, result.row, result.position), (2, 4, 1, 0)
            )
            self.assertEqual(self.records(symbol), [("a", 1.0), ("c", 6.0)])
        symbol = self.db.symbol("t", zdb.PARAMETER, ["*"])
        later = table.slice(2).append_column("w", pa.nulls(4, pa.float64())).select([0, 1])
        done, result = self.db.put(
            symbol, stream_of(pa.concat_tables([table.slice(0, 1), later])), zdb.ADD, zdb.SKIP
        )
        self.assertEqual((done, result.done, result.skipped, result.row), (True, 2, 3, 1))

    def test_empty_batches_and_streams(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        batch = pa.record_batch([["a"], [1.0]], names=["k", "v"])
        empty = batch.slice(0, 0)
        reader = pa.RecordBatchReader.from_batches(batch.schema, [empty, batch, empty])
        self.assertTrue(self.db.put(symbol, stream_of(reader))[0])
        self.assertEqual(self.records(symbol), [("a", 1.0)])
        nothing = pa.RecordBatchReader.from_batches(batch.schema, [])
        self.assertTrue(self.db.put(symbol, stream_of(nothing), zdb.REPLACE)[0])
        self.assertEqual(self.records(symbol), [])

    def test_failing_producer_is_named_and_undone(self) -> None:
        batch = pa.record_batch([["a"], [1.0]], names=["k", "v"])

        def batches() -> Iterator[pa.RecordBatch]:
            yield batch
            raise ValueError("the tape is torn")

        for on_failure, left in ((zdb.UNDO, 0), (zdb.KEEP, 1), (zdb.SKIP, 1)):
            symbol = self.db.symbol(f"p{on_failure}", zdb.PARAMETER, ["*"])
            reader = pa.RecordBatchReader.from_batches(batch.schema, batches())
            done, result = self.db.put(symbol, stream_of(reader), zdb.MERGE, on_failure)
            self.assertEqual((done, result.kind, result.done), (False, zdb.CALLBACK, left))
            self.assertIn("the tape is torn", result.message)
            self.assertEqual(self.db.count(symbol), left)

    def test_batches_outlive_stream_and_database(self) -> None:
        db = zdb.Database(LIBRARY)
        symbol = db.symbol("p", zdb.PARAMETER, ["*"])
        self.assertTrue(
            db.put(symbol, stream_of(pa.table([["a", "b"], [1.0, 2.0]], names=["k", "v"])))[0]
        )
        reader, unread = reader_of(db.export(symbol, batch_rows=1)), reader_of(db.export(symbol))
        batch = next(reader)
        db.free()
        with self.assertRaisesRegex(pa.ArrowInvalid, "records of symbol p were removed"):
            next(reader)
        del reader, unread
        self.assertEqual(batch.to_pydict(), {"label": ["a"], "value": [1.0]})

    def test_symbol_that_loses_its_records_ends_the_stream_with_an_error(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        self.put(symbol, ["a", "b"], [1, 2])
        for change in (lambda: self.db.clear(symbol), lambda: self.db.switch(symbol, 1)):
            reader = reader_of(self.db.export(symbol, batch_rows=1))
            change()
            for _ in range(2):
                with self.assertRaisesRegex(pa.ArrowInvalid, "records of symbol p were removed"):
                    reader.read_next_batch()

    def test_what_is_not_utf8_is_named(self) -> None:
        for text in (
            b"\xff",
            b"\xc0\x80",
            b"\xed\xa0\x80",
            b"\xf4\x90\x80\x80",
            b"\xe2\x82",
            b"\xf8",
        ):
            label = pa.array([text]).cast(pa.binary()).view(pa.string())
            symbol = self.db.symbol(f"s{text.hex()}", zdb.SET, ["*"])
            self.put(symbol, label)
            with self.assertRaisesRegex(RuntimeError, "is not UTF-8"):
                self.db.export(symbol)
            named = self.db.symbol(f"t{text.hex()}", zdb.SET, ["*"])
            self.put(named, ["a"], label)
            with self.assertRaisesRegex(OSError, "is not UTF-8"):
                reader_of(self.db.export(named)).read_all()
        odd = self.db.symbol("odd", zdb.SET, [b"\xff".decode(errors="surrogateescape")])
        with self.assertRaisesRegex(RuntimeError, "name of a domain is not UTF-8"):
            self.db.export(odd)

    def test_special_values_are_the_callers(self) -> None:
        symbol = self.db.symbol("p", zdb.PARAMETER, ["*"])
        self.db.specials([-1.0, -2.0, -3.0, -4.0, -5.0])
        self.put(symbol, list("abcdef"), [-1.0, -2.0, -3.0, -4.0, -5.0, 6.0])
        self.assertEqual(
            [row[1] for row in self.records(symbol)], [-1.0, -2.0, -3.0, -4.0, -5.0, 6.0]
        )
        self.db.specials([-1.0, -2.0, 1e30, -1e30, 0.0])
        self.assertEqual(
            [row[1] for row in self.records(symbol)], [-1.0, -2.0, 1e30, -1e30, 0.0, 6.0]
        )


unittest.main()

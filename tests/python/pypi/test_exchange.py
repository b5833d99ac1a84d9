"""Symbols go to pyarrow, polars and DuckDB by Arrow streams, and come back."""

from __future__ import annotations

from collections.abc import Iterator
from typing import Any

import duckdb
import numpy as np
import pandas as pd
import polars as pl
import pyarrow as pa
import pytest
import zdbcc
from conftest import LUNCH, MODELS
from hypothesis import given
from test_roundtrip import FIELDS, bits, records

NAN = float("nan")


def new_like(db: zdbcc.Database, symbol: zdbcc.Symbol, name: str) -> zdbcc.Symbol:
    kind = type(symbol).__name__.lower()
    return getattr(db, f"add_{kind}")(name, **{"domain": ["*"] * symbol.dim})


@given(records())
def test_Tables_HaveAllRecordsAndComeBack(
    given_records: tuple[str, int, dict[Any, Any]],
) -> None:
    kind, dim, found = given_records
    db = zdbcc.Database()
    symbol = getattr(db, f"add_{kind}")("s", **{"domain": ["*"] * dim})
    symbol.update(
        {
            (k[0] if dim == 1 else k): (v[0] if len(v) == 1 else v)
            for k, v in found.items()
        }
    )  # fmt: skip
    table = symbol.to_arrow()
    assert table.num_rows == len(found)
    assert table.column_names == symbol.columns
    for place in range(dim):
        assert pa.types.is_dictionary(table.schema.types[place])
        assert table.column(place).null_count == 0
    names = [f"c{i}" for i in range(table.num_columns)]
    rows = table.rename_columns(names).to_pylist()
    expected = {k: tuple(map(bits, v)) for k, v in found.items()}
    assert expected == {
        tuple(row[n] for n in names[:dim]): tuple(bits(row[n]) for n in names[dim:]) for row in rows
    }
    assert len(table.columns) == dim + max(FIELDS[kind], 1)
    for form in (table, table.combine_chunks(), table.to_reader(max_chunksize=3)):
        again = new_like(zdbcc.Database(), symbol, "again")
        again.update(form)
        assert repr(sorted(again.to_dict().items())) == repr(sorted(symbol.to_dict().items()))


@pytest.fixture
def p(db: zdbcc.Database) -> zdbcc.Parameter:
    values = {("a", "x"): 1.5, ("NA", "y"): zdbcc.INF, ("Köln", "x"): zdbcc.EPS}
    return db.add_parameter("p", ["i", "j"], values)


def test_Polars_TakesAndGivesColumns(db: zdbcc.Database, p: zdbcc.Parameter) -> None:
    frame = pl.DataFrame(p)
    assert frame.columns == ["i", "j", "value"]
    assert isinstance(frame.schema["i"], pl.Categorical | pl.Enum)
    assert [(i, j) for i, j, _ in frame.rows()] == list(p)
    assert frame["value"].to_numpy().tobytes() == p.to_numpy().tobytes()
    assert pl.DataFrame(p[:, "x"]).height == 2
    for form in (
        frame,
        frame.with_columns(pl.col("i", "j").cast(pl.String)),
        frame.with_columns(pl.col("i").cast(pl.Enum(frame["i"].unique().cast(pl.String)))),
        frame.sort("value", descending=True),
        pl.concat([frame[:1], frame[1:]], rechunk=False),
    ):
        again = new_like(zdbcc.Database(), p, "again")
        again.update(form)
        assert again.to_dict() == p.to_dict()
    counts = pl.DataFrame({"k": ["x", "y"], "n": [1, 2]})
    q = db.add_parameter("q", "*", counts.with_columns(pl.col("n").cast(pl.Int16)))
    assert q.to_dict() == {"x": 1.0, "y": 2.0}
    s = db.add_set("s", pl.DataFrame({"k": ["x", "y"], "t": ["text", ""]}))
    assert s.to_dict() == {"x": "text", "y": ""}


def test_DuckDb_TakesAndGivesRelations(db: zdbcc.Database, p: zdbcc.Parameter) -> None:
    connection = duckdb.connect()
    rows = connection.sql("SELECT j, count(*) AS n FROM p GROUP BY j ORDER BY j").fetchall()
    assert rows == [("x", 2), ("y", 1)]
    relation = connection.sql("SELECT i::VARCHAR, j::VARCHAR, value * 2 FROM p WHERE j = 'x'")
    q = db.add_parameter("q", ["i", "j"], relation)
    assert q.to_dict() == {("a", "x"): 3.0, ("Köln", "x"): 2 * zdbcc.EPS}
    connection.sql("CREATE TABLE kept AS SELECT * FROM p")
    again = new_like(zdbcc.Database(), p, "again")
    again.update(connection.sql("FROM kept"))
    assert again.to_dict() == p.to_dict()


def test_BadTables_ChangeNothing(db: zdbcc.Database, p: zdbcc.Parameter) -> None:
    before = db.labels, p.to_dict()
    label = pa.array(["new", None])
    for table, cls, message in [
        ({"i": label, "j": ["n", "m"], "v": [1.0, 2.0]}, zdbcc.ArgumentError, "row 1 .*null"),
        (
            {"i": label.dictionary_encode(), "j": ["n", "m"], "v": [1.0, 2.0]},
            zdbcc.ArgumentError,
            "row 1 .*null",
        ),
        ({"i": [1, 2], "j": ["n", "m"], "v": [1.0, 2.0]}, zdbcc.ArgumentError, "i"),
        ({"i": ["n", "m"], "j": ["n", "m"], "v": ["a", "b"]}, zdbcc.ArgumentError, "v"),
        ({"i": ["n", "m"], "v": [1.0, 2.0]}, zdbcc.ArgumentError, "column"),
        ({"i": ["n", "x" * 64], "j": ["n", "m"], "v": [1.0, 2.0]}, zdbcc.LabelError, "xxx"),
    ]:
        with pytest.raises(cls, match=message):
            p.update(pa.table(table))
        assert (db.labels, p.to_dict()) == before


def test_StreamThatFailsInTheMiddle_TellsWhy(db: zdbcc.Database, p: zdbcc.Parameter) -> None:
    before = db.labels, p.to_dict()
    batch = pa.record_batch({"i": ["n1", "n2"], "j": ["m", "m"], "v": [1.0, 2.0]})

    def batches() -> Iterator[pa.RecordBatch]:
        yield batch
        raise RuntimeError("the cable was pulled")

    with pytest.raises(zdbcc.StreamError, match="the cable was pulled"):
        p.update(pa.RecordBatchReader.from_batches(batch.schema, batches()))
    assert (db.labels, p.to_dict()) == before


def test_Streams_AreReadWhileTheirSymbolIsThere(p: zdbcc.Parameter) -> None:
    reader = pa.RecordBatchReader.from_stream(p)
    del p
    assert reader.read_all().num_rows == 3
    many = zdbcc.Database().add_parameter("many", "*", {f"k{i}": float(i) for i in range(100_000)})
    reader = pa.RecordBatchReader.from_stream(many)
    first = reader.read_next_batch().num_rows
    many.database.close()
    with pytest.raises(pa.ArrowInvalid, match="the records of symbol many were removed"):
        reader.read_all()
    assert 0 < first < 100_000


def test_Arrays_AreTakenWithoutLoss() -> None:
    values = np.random.default_rng(1).random(10_000)
    table = pa.table({"k": [f"k{i}" for i in range(10_000)], "v": values})
    p = zdbcc.Database().add_parameter("p", "*", table)
    assert p.to_numpy().tobytes() == values.tobytes()


def test_Models_TakeFramesAndTables() -> None:
    rows = {"scenario": ["a", "b"], "need[energy].rhs": [14.0, None]}
    with zdbcc.Model.from_text(LUNCH) as model:
        for table in (pl.DataFrame(rows), pa.table(rows)):
            found = model.sweep(table, progress=False)
            assert found["objective"].to_dict() == {"a": 16, "b": 14}
        model["need.rhs"] = pl.DataFrame({"k": ["energy"], "v": [16]})
        assert model.solve().objective == 18
    with zdbcc.Model.read(MODELS / "diet.mod") as model:
        for form in (pl.DataFrame, pa.table):
            model["price"] = form({"k": ["flour", "beans"], "v": [72.0, 11.8]})
            assert model["price"].to_dict() == {"flour": 72, "beans": 11.8}
            (changed,) = model.sweep(
                [{"price": form({"k": ["flour"], "v": [36]})}], progress=False
            )["objective"]
            assert changed < model.solve().objective


def test_ArrowTypesOfPandas_AreTaken() -> None:
    frame = pa.table(
        {"k": ["x", "NA", "y"], "v": [1.5, None, 3.0], "n": [1, 2, None], "b": [True, None, False]}
    ).to_pandas(types_mapper=pd.ArrowDtype)
    for column, expected in (("v", [1.5, NAN, 3]), ("n", [1, 2, NAN]), ("b", [1, NAN, 0])):
        for labels in (
            frame,
            frame.astype({"k": "category"}),
            frame.astype({"k": "string[pyarrow]"}),
        ):
            p = zdbcc.Database().add_parameter("p", "*", labels[["k", column]])
            np.testing.assert_array_equal([p["x"], p["NA"], p["y"]], expected)
    coded = frame.astype({"k": pd.ArrowDtype(pa.dictionary(pa.int32(), pa.string()))})
    assert list(zdbcc.Database().add_set("s", coded[["k"]])) == ["x", "NA", "y"]


@pytest.mark.parametrize(
    "label",
    [
        pa.string(),
        pa.large_string(),
        pa.string_view(),
        pa.dictionary(pa.uint8(), pa.string()),
        pa.dictionary(pa.int64(), pa.large_string()),
    ],
)
def test_Labels_OfAllTypesOfTextAreTaken(label: pa.DataType) -> None:
    chunks = [pa.array(part).cast(label) for part in (["x", "a long label, beyond 12"], [], ["NA"])]
    table = pa.table({"k": pa.chunked_array(chunks), "v": pa.chunked_array([[1, 2, 3]])})
    p = zdbcc.Database().add_parameter("p", "*", table)
    assert p.to_dict() == {"x": 1, "a long label, beyond 12": 2, "NA": 3}

"""Property tests: a frame goes to a symbol, to a file, to a symbol and to a frame again."""

from __future__ import annotations

import math
import struct
import tempfile
from pathlib import Path
from typing import Any

import hypothesis.strategies as st
import numpy as np
import pandas as pd
import pytest
import xarray as xr
import zdbcc
from hypothesis import HealthCheck, given, settings

settings.register_profile(
    "package",
    max_examples=60,
    deadline=None,
    database=None,
    suppress_health_check=list(HealthCheck),
)
settings.load_profile("package")

# What labels may have: neither control characters nor both quotes, and no blanks at the end. Labels
# that differ in case only are one.
LABELS = st.one_of(
    st.sampled_from(["NA", "nan", "", "-1", "a b", "Köln", "東京", 'say "no"', "it's", "é" * 31]),
    st.text(
        st.characters(
            min_codepoint=33,
            max_codepoint=0x2FFF,
            blacklist_categories=["Cc", "Cs"],
            blacklist_characters="'\"",
        ),
        min_size=1,
        max_size=12,
    ),
).filter(lambda label: label.strip(" ") != "" and len(label.encode()) <= 63)
SPECIAL = [zdbcc.NA, zdbcc.UNDEF, zdbcc.INF, -zdbcc.INF, zdbcc.EPS, 0.0, -0.0, 1e-320]
VALUES = st.one_of(st.sampled_from(SPECIAL), st.floats(width=64))
TEXTS = st.one_of(st.just(""), LABELS)
FIELDS = {"set": 0, "parameter": 1, "variable": 5, "equation": 5}


def fold(text: str) -> str:
    """What labels that are the same have in common."""
    return "".join(c.lower() if c.isascii() else c for c in text)


def bits(value: Any) -> Any:
    """A value so that equal ones are the same; every nan is NA."""
    if isinstance(value, str):
        return value
    return "nan" if math.isnan(value) else struct.pack("d", value)


@st.composite
def records(draw: st.DrawFn) -> tuple[str, int, dict[tuple[str, ...], tuple[Any, ...]]]:
    """A type, a dimension and records by key."""
    kind = draw(st.sampled_from(list(FIELDS)))
    least = 1 if kind == "set" else 0
    dim = draw(st.one_of(st.integers(least, 4), st.integers(5, 20)))
    # One spelling of each label, since the database keeps the first.
    pool = draw(st.lists(LABELS, min_size=1, max_size=6, unique_by=fold))
    key = st.tuples(*[st.sampled_from(pool)] * dim)
    row = st.tuples(*[VALUES] * FIELDS[kind]) if FIELDS[kind] else st.tuples(TEXTS)
    found = draw(st.dictionaries(key, row, max_size=12))
    if kind == "set":  # element texts that differ in case only are one, too
        spelling: dict[str, str] = {}
        found = {k: (spelling.setdefault(fold(v), v),) for k, (v,) in found.items()}
    return kind, dim, found


def frame_of(found: dict[Any, Any], dim: int, width: int, categorical: bool) -> pd.DataFrame:
    rows = [k + v for k, v in found.items()]
    frame = pd.DataFrame(rows, columns=[f"c{i}" for i in range(dim + width)], dtype=object)
    for i in range(dim + width):
        if i >= dim and width != 1 or i >= dim and not all(isinstance(r[i], str) for r in rows):
            frame[f"c{i}"] = frame[f"c{i}"].astype(float)
        elif i < dim and categorical:
            frame[f"c{i}"] = frame[f"c{i}"].astype("category")
    return frame


def rows_of(frame: pd.DataFrame, dim: int) -> dict[Any, Any]:
    """A frame by key; values bit by bit."""
    return {
        row[:dim]: tuple(map(bits, row[dim:])) for row in frame.itertuples(index=False, name=None)
    }


def through(db: zdbcc.Database, medium: str) -> zdbcc.Database:
    """The database once more, from the bytes of a file or from a file."""
    if medium == "bytes":
        return zdbcc.Database.from_bytes(db.to_bytes())
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder, "Köln 1.zxf")
        db.write(path if medium == "path" else str(path))
        return zdbcc.open(path if medium == "path" else str(path))


@given(
    records(),
    st.booleans(),
    st.sampled_from(["columns", "index", "arrow", "dict"]),
    st.sampled_from(["bytes", "file", "path"]),
)
def test_Frames_ComeBackFromFiles(
    given_records: tuple[str, int, dict[Any, Any]], categorical: bool, way: str, medium: str
) -> None:
    kind, dim, found = given_records
    width = max(FIELDS[kind], 1)
    frame = frame_of(found, dim, width, categorical)
    db = zdbcc.Database()
    symbol = getattr(db, f"add_{kind}")("s", **{"domain": ["*"] * dim})
    if way == "index" and dim > 0:
        symbol.update(frame.set_index(list(frame.columns[:dim])))
    elif way == "dict":
        symbol.update(
            {(k[0] if dim == 1 else k): (v[0] if width == 1 else v) for k, v in found.items()}
        )
    else:
        symbol.update(frame)
    if way == "arrow":
        other = getattr(db, f"add_{kind}")("t", **{"domain": ["*"] * dim})
        other.update(symbol)
        db.remove("s")
        db.rename("t", "s")
    back = through(db, medium)["s"]
    result = back.to_frame()
    expected = {k: tuple(map(bits, v)) for k, v in found.items()}
    assert rows_of(result, dim) == expected
    assert len(back) == len(found)
    # Records and categories come in the order of the labels of the database.
    numbers = {label: number for number, label in enumerate(db.labels)}
    keys = [tuple(numbers[label] for label in k) for k in rows_of(result, dim)]
    assert keys == sorted(keys)
    for i in range(dim):
        places = [numbers[label] for label in result.iloc[:, i].cat.categories]
        assert places == sorted({k[i] for k in keys})
    assert list(back) == [k[0] if dim == 1 else k for k in rows_of(result, dim)]


@given(records())
def test_SingleRecords_AreThoseOfTheFrame(given_records: tuple[str, int, dict[Any, Any]]) -> None:
    kind, dim, found = given_records
    symbol = getattr(zdbcc.Database(), f"add_{kind}")("s", **{"domain": ["*"] * dim})
    for k, v in found.items():
        symbol[k] = v[0] if len(v) == 1 else v
    as_dict = symbol.to_dict()
    assert len(as_dict) == len(found)
    for k, v in found.items():
        value = symbol[k]
        assert tuple(map(bits, (value,) if len(v) == 1 else value)) == tuple(map(bits, v))
        assert repr(as_dict[k[0] if dim == 1 else k]) == repr(value)
    for number, k in enumerate(found):
        if dim > 1 and number == 0:
            part = symbol[(slice(None), *k[1:])]
            assert list(part) == [key[0] for key in symbol if key[1:] == k[1:]]
            assert len(part) == len(part.to_frame()) == len(part.to_dict())
        del symbol[k]
        assert k not in symbol
        assert len(symbol) == len(found) - number - 1


@given(st.lists(st.tuples(st.integers(0, 4), st.integers(0, 4), VALUES), max_size=30))
def test_Arrays_WithGapsComeBack(rows: list[tuple[int, int, float]]) -> None:
    db = zdbcc.Database()
    numbers = db.add_labels(list("abcde"))
    p = db.add_parameter("p", ["*", "*"])
    table = np.array([(numbers[i], numbers[j]) for i, j, _ in rows], np.int32).reshape(-1, 2)
    values = np.array([v for _, _, v in rows] * 2, float).reshape(2, -1).T[:, 0]
    p.update_arrays([table[:, 0], table[:, 1]], values)
    last = {("abcde"[i], "abcde"[j]): v for i, j, v in rows}
    (i, j), (v,) = p.to_arrays()
    assert [(db.labels[a - 1], db.labels[b - 1]) for a, b in zip(i, j, strict=True)] == sorted(last)
    assert [bits(x) for x in v] == [bits(last[k]) for k in sorted(last)]


@pytest.mark.parametrize("field", ["level", "upper"])
def test_DenseAndSparse_HaveTheValuesAtTheirLabels(field: str) -> None:
    db = zdbcc.Database()
    db.add_labels(["unused", "b", "a"])
    rows = {
        ("a", "x"): (1, 0, 0, 5, 1),
        ("b", "y"): (2, 0, 0, 6, 1),
        ("a", "y"): (zdbcc.EPS, 0, 0, 7, 1),
    }
    x = db.add_variable("x", ["i", "i"], rows)
    place = {"level": 0, "upper": 3}[field]
    dense = x.to_xarray(field, fill=-1)
    assert dense.dims == ("i", "i_2")
    assert dense.coords["i"].values.tolist() == ["b", "a"]
    for k in [(i, j) for i in "ab" for j in "xy"]:
        assert dense.sel(i=k[0], i_2=k[1]).item() == rows.get(k, [-1] * 5)[place]
    matrix, names, others = x.to_scipy(field)
    for k, v in rows.items():
        assert matrix.toarray()[names.index(k[0]), others.index(k[1])] == v[place]
    assert matrix.nnz == 3
    series = x.to_series(field)
    assert {k: series[k] for k in rows} == {k: v[place] for k, v in rows.items()}
    members = db.add_set("s", list(rows), domain=["*", "*"]).to_xarray()
    assert members.values.sum() == 3
    assert not members.sel(label="b", label_2="x")


@st.composite
def grids(draw: st.DrawFn) -> tuple[list[list[str]], np.ndarray]:
    """Elements of up to three domains, and a value or nan for each combination."""
    pools = draw(
        st.lists(st.lists(LABELS, min_size=1, max_size=4, unique_by=fold), min_size=1, max_size=3)
    )
    spelling: dict[str, str] = {}
    pools = [[spelling.setdefault(fold(label), label) for label in pool] for pool in pools]
    shape = [len(pool) for pool in pools]
    size = math.prod(shape)
    values = draw(st.lists(st.one_of(VALUES, st.just(math.nan)), min_size=size, max_size=size))
    return pools, np.array(values).reshape(shape)


@given(grids(), st.sampled_from(["numpy", "xarray", "set"]))
def test_DenseArrays_PutARecordForEachNumber(
    grid: tuple[list[list[str]], np.ndarray], form: str
) -> None:
    pools, values = grid
    db = zdbcc.Database()
    names = [db.add_set(f"d{i}", pool).name for i, pool in enumerate(pools)]
    # The elements of a set stand in the order of the labels of the database, which may be another.
    elements = [list(db[name]) for name in names]
    sorted_values = values
    for axis, (pool, order) in enumerate(zip(pools, elements, strict=True)):
        sorted_values = np.take(sorted_values, [pool.index(label) for label in order], axis)
    if form == "set":
        s = db.add_set("s", ~np.isnan(sorted_values), domain=names)
        found = dict.fromkeys(s, 0.0)
    else:
        array = sorted_values
        if form == "xarray":
            coords = dict(zip(names, pools, strict=True))
            array = xr.DataArray(values, dims=names, coords=coords)
        found = db.add_parameter("p", names, array).to_dict()
    expected = {
        tuple(pool[i] for pool, i in zip(pools, place, strict=True)): value
        for place, value in np.ndenumerate(values)
        if not np.isnan(value)
    }
    if len(names) == 1:
        expected = {k: v for (k,), v in expected.items()}
    assert found.keys() == expected.keys()
    if form != "set":
        assert {k: bits(v) for k, v in found.items()} == {k: bits(v) for k, v in expected.items()}


def test_Xarray_GoesBackAndForth() -> None:
    db = zdbcc.Database()
    p = db.add_parameter("p", ["i", "j"], {("a", "x"): 1.0, ("b", "y"): 0.0})
    again = db.add_parameter("again", ["i", "j"], p.to_xarray())
    assert again.to_dict() == p.to_dict() == {("a", "x"): 1.0, ("b", "y"): 0.0}
    single = db.add_parameter("single", (), xr.DataArray(2.5))
    assert single[()] == 2.5
    x = db.add_variable("x", ["i", "j"], p.to_xarray(), kind="positive")
    assert x["a", "x"] == (1.0, 0.0, 0.0, zdbcc.INF, 1.0)

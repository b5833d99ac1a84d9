"""Forms of records that other packages give and take."""

from __future__ import annotations

import html
import sys
from typing import Any

import numpy as np
import pandas as pd
import pytest
import zdbcc
from scipy.sparse import coo_array


def labels_in_text(frame: pd.DataFrame) -> list[pd.DataFrame]:
    """A frame of one label and one other column, with the types that pandas has for labels."""
    return [
        frame,
        frame.astype({"k": "string"}),
        frame.astype({"k": "category"}),
        frame.set_index("k"),
        frame.astype({"k": "category"}).set_index("k"),
        frame.iloc[::-1],
        frame.set_index(pd.Index([7, 3, 5])),
    ]


def test_Values_OfEveryTypeOfNumberAreTaken() -> None:
    for values in (
        [1, 2, 3], np.array([1, 2, 3], np.uint8), np.array([1, 2, 3], np.float32),
        np.array([1, 2, 3], ">f8"), np.array([1, 2.0, np.int8(3)], object),
        pd.array([1, 2, 3], "Int64"), pd.array([1, 2, 3], "Float32"), np.arange(6.0)[::2] / 2 + 1,
    ):  # fmt: skip
        for frame in labels_in_text(pd.DataFrame({"k": ["x", "NA", "y"], "v": values})):
            p = zdbcc.Database().add_parameter("p", "*", frame)
            assert p.to_dict() == {"x": 1.0, "NA": 2.0, "y": 3.0}
    odd = np.array([0xFFF8000000000000, 0x7FF0000000000001], np.uint64).view(float)
    p = zdbcc.Database().add_parameter("p", "*", pd.DataFrame({"k": ["x", "y"], "v": odd}))
    assert p.to_numpy().view(np.uint64).tolist() == [0x7FF8000000000000] * 2
    for dtype in ("boolean", "Int8", "Float64", "Sparse[float]"):
        missing = pd.DataFrame({"k": ["x", "y"], "v": pd.array([None, 1], dtype)})
        p = zdbcc.Database().add_parameter("p", "*", missing)
        assert np.isnan(p["x"]) and p["y"] == 1.0


def test_MaskedNumbers_AreMissing() -> None:
    masked = np.ma.array([1.0, 2.0, 3.0], mask=[False, True, False])
    db = zdbcc.Database()
    numbers = db.add_labels(["x", "y", "z"])
    p = db.add_parameter("p", "*")
    p.update_arrays([numbers], masked)
    assert np.isnan(p["y"]) and (p["x"], p["z"]) == (1.0, 3.0)
    s = db.add_set("s", ["x", "y", "z"])
    assert db.add_parameter("q", s, masked).to_dict() == {"x": 1.0, "z": 3.0}


@pytest.mark.parametrize(
    ("package", "form"),
    [("pandas", "to_frame"), ("pandas", "to_series"), ("xarray", "to_xarray"),
     ("scipy.sparse", "to_scipy"), ("pyarrow", "to_arrow")],
)  # fmt: skip
def test_WithoutAPackage_TheErrorNamesIt(
    package: str, form: str, db: zdbcc.Database, monkeypatch: Any
) -> None:
    monkeypatch.setitem(sys.modules, package, None)
    with pytest.raises(zdbcc.MissingPackageError, match="pip install " + package.split(".")[0]):
        getattr(db["flow"], form)()


def test_Names_OfColumnsDiffer() -> None:
    db = zdbcc.Database()
    p = db.add_parameter("p", ["value", "city", "City", "*", "label"])
    p.update([("a", "b", "c", "d", "e", 1.0)])
    frame = p.to_frame()
    assert frame.columns.tolist() == ["value_2", "city", "City_2", "label", "label_2", "value"]
    assert frame.iloc[0].tolist() == ["a", "b", "c", "d", "e", 1.0]
    assert p.to_series().index.names == frame.columns.tolist()[:5]


def test_SparseMatrices_GoInAsTheyComeOut() -> None:
    db = zdbcc.Database()
    rows, columns = db.add_set("i", ["a", "b"]), db.add_set("j", ["x", "y"])
    p = db.add_parameter("p", [rows, columns], [("a", "y", 0.0), ("b", "x", zdbcc.NA)])
    q = db.add_parameter("q", [rows, columns], p.to_scipy()[0])
    assert repr(q.to_dict()) == "{('a', 'y'): 0.0, ('b', 'x'): nan}"
    matrix = coo_array(([1.0, 2.0, 4.0], ([0, 1, 1], [1, 0, 0])), shape=(2, 2))
    for form in (matrix, matrix.tocsr()):
        q.update(form, mode="replace")
        assert q.to_dict() == {("a", "y"): 1.0, ("b", "x"): 6.0}
    assert list(db.add_set("s", matrix.tocsc() > 1, domain=["i", "j"])) == [("b", "x")]
    for bad, message in ((coo_array((3, 2)), "2 x 2"), (p, "2 positions")):
        with pytest.raises(zdbcc.ArgumentError, match=message):
            rows.update(matrix) if bad is p else q.update(bad)


def test_ArraysOfXarray_GoInByTheirNames() -> None:
    db = zdbcc.Database()
    p = db.add_parameter("p", ["i", "j"], {("a", "x"): 1.0, ("b", "y"): 2.0})
    q = db.add_parameter("q", ["i", "j"], p.to_xarray().transpose())
    assert q.to_dict() == p.to_dict()


@pytest.mark.parametrize("dtype", [object, "string", "category"])
def test_MissingTexts_AreEmpty(dtype: str) -> None:
    frame = pd.DataFrame({"k": ["x", "NA", "y"], "t": ["NA", None, "b"]}).astype({"t": dtype})
    for each in labels_in_text(frame):
        s = zdbcc.Database().add_set("s", each)
        assert s.to_dict() == {"x": "NA", "NA": "", "y": "b"}
    assert zdbcc.Database().add_set("s", pd.Series({"x": None, "y": "b"}))["x"] == ""


def test_EmptyForms_GiveEmptySymbolsAndBack() -> None:
    for empty in ([], {}, pd.DataFrame({"a": [], "b": [], "v": []}), np.zeros((0, 3))):
        db = zdbcc.Database()
        p = db.add_parameter("p", ["i", "j"], empty)
        assert (len(p), list(p), p.to_dict(), db.labels) == (0, [], {}, [])
        assert list(p.to_frame().columns) == ["i", "j", "value"]
        assert (p.to_frame().shape, p.to_xarray().shape, len(p.to_series())) == ((0, 3), (0, 0), 0)
        p.update({("a", "b"): 1.0})
        p.update(empty, mode="replace")
        assert len(p) == 0


def test_SymbolsWithoutPositions_TakeAndGiveAllForms() -> None:
    p = zdbcc.Database().add_parameter("p", records=3)
    frame, array = p.to_frame(), p.to_xarray()
    assert (frame.shape, array.shape, float(array), p.to_series().tolist()) == ((1, 1), (), 3, [3])
    for form in (frame * 2, array * 2, p.to_series() * 2, {(): 6}, [(6.0,)], np.array(6), 6):
        p[()] = 0
        p.update(form)
        assert p.to_dict() == {(): 6}
    p.update([], mode="replace")
    assert len(p) == 0 and np.isnan(p.to_xarray())
    x = zdbcc.Database().add_variable("x", records=(1, 2))
    x.update([(3.0, 4.0)])
    assert x[()][:2] == (3, 4)


def test_Level_IsSetAndOtherValuesStay() -> None:
    x = zdbcc.Database().add_variable("x", "*", {"a": (1, 2, 3, 4, 5)}, kind="positive")
    x["a"] = 7
    assert x["a"] == (7, 2, 3, 4, 5)
    x["new"] = 7, 1
    assert x["new"] == (7, 1, 0, zdbcc.INF, 1)
    x["a"] = zdbcc.Values()
    assert x["a"] == (0, 0, -zdbcc.INF, zdbcc.INF, 1)


def test_UnusedCategories_AddNoLabels() -> None:
    db = zdbcc.Database()
    values = pd.Categorical(["b"], categories=["a", "b", "c"])
    db.add_parameter("p", "*", pd.DataFrame({"k": values, "v": [1.0]}))
    assert db.labels == ["b"]
    odd = pd.Categorical(["b", "c"], categories=[5, "x" * 64, 2.5, "b", "c"])
    q = db.add_parameter("q", "*", pd.DataFrame({"k": odd, "v": [1.0, 2.0]}))
    assert q.to_dict() == {"b": 1.0, "c": 2.0}
    series = pd.Series([1.0, 2.0], index=pd.MultiIndex.from_tuples([(5, "b"), ("b", "c")]))
    assert db.add_parameter("r", ["*", "*"], series[1:]).to_dict() == {("b", "c"): 2.0}


def test_Slices_GoInWithTheirOpenPositions(db: zdbcc.Database) -> None:
    other = zdbcc.Database()
    p = other.add_parameter("p", "*", db["flow"][:, "x"])
    assert p.to_dict() == {"tea": 1.0, "milk": 2.0} and other.labels == ["tea", "milk"]
    db["flow"].update(db["flow"][:, :], mode="replace")
    assert len(db["flow"]) == 3
    with pytest.raises(zdbcc.ArgumentError, match="has 2 positions, but <Slice"):
        db["flow"].update(db["flow"][:, "x"])


def test_Html_IsEscapedAndShort(db: zdbcc.Database) -> None:
    db["food"]["<b>"] = "<script>"
    text = db["food"]._repr_html_()
    assert "&lt;b&gt;" in text and "<script>" not in text and "<b>" not in text
    assert html.escape(repr(db["price"])) in db["price"]._repr_html_()
    text = db["flow"][:, "x"]._repr_html_()
    assert text.count("<tr>") == 3 and "more" not in text
    many: dict[Any, Any] = {f"{'x' * 50}{i}": float(i) for i in range(5000)}
    text = db.add_parameter("many", "*", many)._repr_html_()
    assert len(text) < 10_000 and text.count("<tr>") == 11 and "and 4990 more" in text


def test_Repr_IsOneLine(sample: Any) -> None:
    with zdbcc.open(sample) as db:
        for symbol in db.values():
            assert "\n" not in repr(symbol)
    long = zdbcc.Database().add_set("s", text="word " * 50)
    assert len(repr(long)) < 90


def test_Names_AreFoundInAnyCase(db: zdbcc.Database) -> None:
    assert db["PRICE"].name == "price" and "Price" in db and 5 not in db
    db.rename("price", "cost")
    assert list(db) == ["food", "cost", "flow", "ship"]
    assert dict(db)["cost"]["TEA"] == 2.5

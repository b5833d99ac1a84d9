"""Bad input of each method raises the right class, says what to do, and changes nothing."""

from __future__ import annotations

import pathlib
from collections.abc import Callable
from typing import Any

import numpy as np
import pandas as pd
import pytest
import xarray as xr
import zdbcc

NAN = float("nan")
SLICES = slice(None)


class Stream:
    """An object whose stream is not one."""

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        return object()


def cat(*labels: Any) -> pd.Categorical:
    return pd.Categorical(list(labels))


def frame(*columns: Any) -> pd.DataFrame:
    return pd.DataFrame({f"c{i}": column for i, column in enumerate(columns)})


def grid(*labels: Any) -> xr.DataArray:
    return xr.DataArray(np.ones([len(each) for each in labels]), coords=list(labels_by(labels)))


def labels_by(labels: Any) -> Any:
    return ((f"d{i}", np.array(each, object)) for i, each in enumerate(labels))


def newer(db: zdbcc.Database) -> bytes:
    """The bytes of a file that a later version has written: the number is at place 8."""
    data = bytearray(db.to_bytes())
    data[8] += 1
    return bytes(data)


Do = Callable[[zdbcc.Database], object]

# What is done, the class that it raises, and a part of its message.
BAD: list[tuple[Do, type[zdbcc.Error] | tuple[type[zdbcc.Error], ...], str]] = [
    # Wrong dimension.
    (lambda db: db["price"]["tea", "x"], zdbcc.ArgumentError, "has 1 position, but the key"),
    (lambda db: db["flow"]["tea"], zdbcc.ArgumentError, "has 2 positions, but the key 'tea' has 1"),
    (lambda db: db["flow"][:, "x"]["tea", "y"], zdbcc.ArgumentError, "1 open positions"),
    (lambda db: db["price"].update([("new", "new", 1.0)]), zdbcc.ArgumentError, "has 1 label and"),
    (lambda db: db["flow"].update([("a", "b", 1), ("a", 1)]), zdbcc.ArgumentError, "row 1 of the"),
    (lambda db: db["price"].update(frame(["new"])), zdbcc.ArgumentError, "columns by place"),
    (lambda db: db["price"].update(frame(["n"], [1.0], [2.0])), zdbcc.ArgumentError, "has 3 colum"),
    (lambda db: db["price"].update({("new", "x"): 1.0}), zdbcc.ArgumentError, "is not a label"),
    (lambda db: db["flow"].update({"new": 1.0}), zdbcc.ArgumentError, "not a tuple of 2 labels"),
    (lambda db: db["flow"].update(pd.Series({"new": 1.0})), zdbcc.ArgumentError, "1 index levels"),
    (lambda db: db["flow"].update(db["price"]), zdbcc.ArgumentError, "column"),
    (lambda db: db["price"].update_arrays([[1], [1]], [1.0]), zdbcc.ArgumentError, "not 2 and 1"),
    (lambda db: db["price"].update_arrays([[1]], [1.0], [2.0]), zdbcc.ArgumentError, "not 1 and 2"),
    (lambda db: db["price"].update_arrays([[1, 2]], [1.0]), zdbcc.ArgumentError, "with 2 entries"),
    (lambda db: db["ship"].update({"new": (1,) * 6}), zdbcc.ArgumentError, "at most 5"),
    (lambda db: db["ship"].update({"new": (1, 2), "b": 1}), zdbcc.ArgumentError, "same number"),
    (lambda db: db.add_parameter("new", ["*"] * 21), zdbcc.ArgumentError, "at most 20"),
    (lambda db: db["price"].to_scipy(), zdbcc.ArgumentError, "fix others in a slice"),
    # Arrays over the domains.
    (lambda db: db["price"].update(np.ones(2)), zdbcc.ArgumentError, "have 3 elements"),
    (lambda db: db["flow"].update(np.ones((2, 2))), zdbcc.ArgumentError, "domain from of symbol"),
    (lambda db: db["food"].update(np.ones(3)), zdbcc.ArgumentError, "domain * of symbol food"),
    (lambda db: db["price"].update(xr.DataArray([1.0])), zdbcc.ArgumentError, "along 'dim_0'; giv"),
    (lambda db: db["price"].update(grid(["q"], ["q"])), zdbcc.ArgumentError, "has 2 dimensions"),
    (lambda db: db["price"].update(grid(["q", 5])), zdbcc.LabelError, "5 (int)"),
    (lambda db: db["food"].update(grid(["q"])), zdbcc.ArgumentError, "has bool: true for each"),
    (lambda db: db["price"].update(grid(["q"]).astype(str)), zdbcc.ArgumentError, "not numbers"),
    # Labels and records that are not there.
    (lambda db: db["nothing"], zdbcc.NotFoundError, "no symbol 'nothing'"),
    (lambda db: db.remove("nothing"), zdbcc.NotFoundError, "no symbol 'nothing'"),
    (lambda db: db.rename("nothing", "new"), zdbcc.NotFoundError, "no symbol 'nothing'"),
    (lambda db: db["price"]["cake"], zdbcc.NotFoundError, "cake"),
    (lambda db: db["price"]["NA"], zdbcc.NotFoundError, "price"),
    (lambda db: db["flow"][:, "cake"], zdbcc.NotFoundError, "no label 'cake' (position 2)"),
    (lambda db: db["flow"][:, " "], zdbcc.NotFoundError, "no label ' '"),
    (lambda db: db["price"].__delitem__("cake"), zdbcc.NotFoundError, "cake"),
    (lambda db: db["flow"].__delitem__(("NA", SLICES)), zdbcc.NotFoundError, "no records in the"),
    (lambda db: db["price"].update_arrays([[99]], [1.0]), zdbcc.NotFoundError, "99"),
    (lambda db: db["price"].update_arrays([[2**32 + 1]], [1]), zdbcc.NotFoundError, "have 429"),
    (lambda db: db["price"].update_arrays([np.array([-1])], [1]), zdbcc.NotFoundError, "have -1"),
    # Keys that come twice, or are there.
    (lambda db: db.add_set("new", ["q", "Q"]), zdbcc.ExistsError, "xist"),
    (lambda db: db.add_parameter("new", "*", frame(["q", "q"], [1, 2])), zdbcc.ExistsError, "xist"),
    (lambda db: db["price"].update({"q": 1, "TEA": 2}, mode="add"), zdbcc.ExistsError, "xist"),
    (lambda db: db["price"].update_arrays([[1]], [1], mode="add"), zdbcc.ExistsError, "xist"),
    (lambda db: db.add_set("PRICE"), zdbcc.ArgumentError, "PRICE"),
    (lambda db: db.rename("flow", "price"), zdbcc.ExistsError, "price"),
    # Types of labels and values.
    (lambda db: db["price"][1], zdbcc.ArgumentError, "int, not a str; labels are str"),
    (lambda db: db["price"].update([("q", 1.0), (2020, 1.0)]), zdbcc.LabelError, "2020 (int), not"),
    (lambda db: db["price"].update([("q", 1.0), (NAN, 1.0)]), zdbcc.LabelError, "row 1 is nan"),
    (lambda db: db["price"].update(frame(["q", None], [1, 2])), zdbcc.LabelError, "row 1 is "),
    (lambda db: db["price"].update(frame(cat("q", None), [1, 2])), zdbcc.LabelError, "row 1 of th"),
    (lambda db: db["price"].update(frame(cat(1, 2), [1, 2])), zdbcc.LabelError, "not a str"),
    (lambda db: db["price"].update(frame(cat("q", 1), [1, 2])), zdbcc.LabelError, "row 1 is 1"),
    (lambda db: db["price"].update({"q": 1, "  ": 2}), zdbcc.LabelError, "has blanks only"),
    (lambda db: db["price"].update({"q": 1, "a\nb": 2}), zdbcc.LabelError, "control"),
    (lambda db: db["price"].update({"q": 1, "a\0b": 2}), zdbcc.LabelError, "NUL"),
    (lambda db: db["price"].update({"q": 1, "x" * 64: 2}), zdbcc.LabelError, "xxx"),
    (lambda db: db["price"].update({"q": 1, "'\"": 2}), zdbcc.LabelError, "row 1 of the records"),
    (lambda db: db.add_labels(["q", "x" * 64]), zdbcc.LabelError, "xxx"),
    (lambda db: db.add_labels(["q", 5]), zdbcc.LabelError, "label 1 is 5 (int)"),
    (lambda db: db.add_labels("new"), zdbcc.ArgumentError, "labels are a list"),
    (lambda db: db.find_labels("tea"), zdbcc.ArgumentError, "labels are a list"),
    (lambda db: db["price"].update({"q": 1, "\ud800": 2}), zdbcc.LabelError, "be written in UTF-8"),
    (lambda db: db["price"].update({"q": 10**400}), zdbcc.ArgumentError, "too large"),
    (lambda db: db["price"].update({"q": "1.5"}), zdbcc.ArgumentError, "convert it to float64"),
    (lambda db: db["price"].update(frame(["q"], ["1"])), zdbcc.ArgumentError, "'1' (str), not a n"),
    (lambda db: db["price"].update({"q": None}), zdbcc.ArgumentError, "None (NoneType), not a num"),
    (lambda db: db["price"].update(frame(["q"], [1j])), zdbcc.ArgumentError, "complex128"),
    (lambda db: db["price"].__setitem__("q", "1"), zdbcc.ArgumentError, "not numbers"),
    (lambda db: db["price"].__setitem__("q", (1, 2)), zdbcc.ArgumentError, "has 1 value, not 2"),
    (lambda db: db["price"].__setitem__(SLICES, 1), zdbcc.ArgumentError, "use update()"),
    (lambda db: db["price"].__contains__(SLICES), zdbcc.ArgumentError, "is not a key"),
    (lambda db: db["price"][1:2], zdbcc.ArgumentError, "only : is possible"),
    (lambda db: db["food"].__setitem__("q", 1), zdbcc.ArgumentError, "text is a str, not a int"),
    (lambda db: db["food"].update({"q": "x" * 256}), zdbcc.LabelError, "text"),
    (lambda db: db["food"].update({"q": 5}), zdbcc.LabelError, "5 (int)"),
    (lambda db: db["price"].update(5), zdbcc.ArgumentError, "pass a DataFrame"),
    (lambda db: db["price"].update("tea"), zdbcc.ArgumentError, "pass a DataFrame"),
    (lambda db: db["price"].update_arrays([[1.5]], [1.0]), zdbcc.ArgumentError, "from add_labels("),
    # Choices.
    (lambda db: db["price"].update({"q": 1}, mode="both"), zdbcc.ArgumentError, "merge, replace a"),
    (lambda db: db["price"].update({"q": 1}, mode=[]), zdbcc.ArgumentError, "merge, replace and"),
    (lambda db: db["price"].to_series("cost"), zdbcc.ArgumentError, "one of level, marginal"),
    (lambda db: db["price"].to_xarray(fill="no"), zdbcc.ArgumentError, "fill is a number"),
    (lambda db: db.add_parameter("new", None), zdbcc.ArgumentError, "domains are a list"),
    (lambda db: db.add_labels(None), zdbcc.ArgumentError, "labels are a list"),
    (lambda db: db["price"].update_arrays(None), zdbcc.ArgumentError, "keys are a list"),
    (lambda db: db["flow"].update_arrays(5, [1.0]), zdbcc.ArgumentError, "keys are a list"),
    (lambda db: db.rename("price", None), zdbcc.ArgumentError, "is a str, not None"),
    (lambda db: db["ship"].to_series("price"), zdbcc.ArgumentError, "one of level, marginal"),
    (lambda db: db.add_variable("new", kind="odd"), zdbcc.ArgumentError, "one of unknown, binary"),
    (lambda db: db.add_set("1st"), zdbcc.LabelError, "1st"),
    (lambda db: db.add_set(5), zdbcc.ArgumentError, "is a str, not 5"),
    (lambda db: db.add_set("new", domain=[5]), zdbcc.ArgumentError, "or the name of one, not 5"),
    (lambda db: db.add_alias("new", "price"), zdbcc.ArgumentError, "stands for a set"),
    (lambda db: db.remove("food"), zdbcc.StateError, "food"),
    # Files.
    (lambda db: zdbcc.open("no/such.zxf"), zdbcc.MissingFileError, "no/such.zxf"),
    (lambda db: zdbcc.open(5), zdbcc.ArgumentError, "by a str or a path, not by 5"),
    (lambda db: zdbcc.open("/dev"), (zdbcc.FileError, zdbcc.DamagedError), "/dev"),
    (lambda db: db.write("no/such/out.zxf"), zdbcc.FileError, "no/such/out.zxf"),
    (lambda db: zdbcc.Database.from_bytes(b"nonsense"), zdbcc.DamagedError, ""),
    (lambda db: zdbcc.Database.from_bytes("no.zxf"), zdbcc.ArgumentError, "open() takes a path"),
    (lambda db: zdbcc.Database.from_bytes(newer(db)), zdbcc.DamagedError, "use a newer library"),
    (lambda db: db.to_sqlite("no/such/out.db"), zdbcc.FileError, "no/such/out.db"),
    (lambda db: db.to_sqlite("/dev/null"), zdbcc.ExistsError, "pass overwrite=True"),
    (lambda db: db.to_sqlite("out.db", ["nothing"]), zdbcc.NotFoundError, "no symbol 'nothing'"),
    (lambda db: zdbcc.diff(db, "no/such.zxf"), zdbcc.MissingFileError, "no/such.zxf"),
    (lambda db: zdbcc.diff(db, db, ["pricy"]), zdbcc.NotFoundError, "did you mean price?"),
    (lambda db: zdbcc.diff(db, db, tolerance=-1), zdbcc.ArgumentError, "needs numbers from 0 on"),
    (lambda db: zdbcc.diff(db, db, tolerance="1"), zdbcc.ArgumentError, "needs numbers from 0 on"),
    (lambda db: zdbcc.diff(db, None), zdbcc.ArgumentError, "by a str or a path, not by None"),
    (lambda db: zdbcc.diff(db, db, limit=-1), zdbcc.ArgumentError, "a whole number from 0 on"),
    (lambda db: zdbcc.read_csv(), zdbcc.ArgumentError, "there is nothing to read"),
    (lambda db: zdbcc.read_csv("no/such.csv"), zdbcc.MissingFileError, "no/such.csv"),
    (lambda db: zdbcc.read_csv("/"), zdbcc.ArgumentError, "/"),
    (lambda db: zdbcc.read_csv("p=x.csv:a->b->c"), zdbcc.ArgumentError, "not understood: ->c"),
    (lambda db: zdbcc.read_csv("x.csv", decimal=";"), zdbcc.ArgumentError, "one of point, comma"),
    (lambda db: zdbcc.read_csv("x.csv", skip=-1), zdbcc.ArgumentError, "a whole number"),
    (lambda db: zdbcc.read_csv("x.csv", separator="||"), zdbcc.ArgumentError, "is one character"),
]  # fmt: skip


def state(db: zdbcc.Database) -> tuple[Any, ...]:
    return db.labels, [(repr(s), repr(s.to_dict())) for s in db.values()]


@pytest.mark.parametrize("number", range(len(BAD)))
def test_BadInput_RaisesAndChangesNothing(db: zdbcc.Database, number: int) -> None:
    do, cls, message = BAD[number]
    before = state(db)
    with pytest.raises(cls) as caught:
        do(db)
    assert message in str(caught.value)
    assert str(caught.value) == caught.value.args[0]  # not the repr of a KeyError
    assert caught.value.kind != "other"
    assert state(db) == before
    db["price"]["after"] = 1.0  # and the database is still good
    assert db["price"]["after"] == 1.0


def test_Aliases_AreChangedThroughTheirSetOnly(db: zdbcc.Database) -> None:
    alias = db.add_alias("drink", "food")
    before = state(db)
    changes: list[Any] = [
        alias.clear, lambda: alias.update(["new"]), lambda: alias.__setitem__("new", ""),
        lambda: alias.__delitem__("tea"), lambda: alias.update_arrays([[1]]),
    ]  # fmt: skip
    for change in changes:
        with pytest.raises(zdbcc.ArgumentError, match="is an alias; change food"):
            change()
    with pytest.raises(zdbcc.ArgumentError, match="^cannot add records to drink"):
        alias.update(db["food"])
    assert state(db) == before


def test_WhatCannotBeALabel_IsNotThere(db: zdbcc.Database) -> None:
    for label in ("x" * 64, "a\n", "a\0", "\ud800"):
        assert label not in db["price"] and db["price"].get(label, 5) == 5 and label not in db


def test_Classes_AreAlsoPythons() -> None:
    for cls, base in [
        (zdbcc.FileError, OSError),
        (zdbcc.MissingFileError, FileNotFoundError),
        (zdbcc.NotFoundError, KeyError),
        (zdbcc.ArgumentError, ValueError),
        (zdbcc.LabelError, ValueError),
        (zdbcc.DamagedError, ValueError),
        (zdbcc.OutOfMemoryError, MemoryError),
    ]:
        assert issubclass(cls, base) and issubclass(cls, zdbcc.Error)


def test_Rows_AreToldInErrors(db: zdbcc.Database) -> None:
    with pytest.raises(zdbcc.LabelError) as caught:
        db["flow"].update([("a", "b", 1), ("a", "x" * 64, 1)])
    assert (caught.value.kind, caught.value.row, caught.value.position) == ("label", 1, 1)
    with pytest.raises(zdbcc.ExistsError) as exists:
        db["flow"].update([("a", "b", 1), ("tea", "x", 1)], mode="add")
    assert (exists.value.kind, exists.value.row, exists.value.position) == ("exists", 1, None)


def test_WrongStreams_AreRefused(db: zdbcc.Database) -> None:
    before = state(db)
    with pytest.raises((ValueError, TypeError)):
        db["price"].update(Stream())
    capsule = db["price"].__arrow_c_stream__()

    class Twice:
        def __arrow_c_stream__(self, requested_schema: object = None) -> object:
            return capsule

    db["price"].update(Twice())
    with pytest.raises(zdbcc.ArgumentError, match="read already"):
        db["price"].update(Twice())
    assert state(db) == before


def test_LabelsOfARefusedCall_AreNotRemembered(db: zdbcc.Database) -> None:
    # Their numbers go to other labels afterwards, and texts that were looked up must not stay.
    class Failing:
        def __init__(self, source: zdbcc.Symbol) -> None:
            self.source = source

        def __arrow_c_stream__(self, requested_schema: object = None) -> object:
            return self.source.__arrow_c_stream__()

    price, flow = db["price"], db["flow"]
    other = zdbcc.Database()
    wrong = other.add_parameter("wrong", "*", {"stream 1": 1.0, "stream 2": 2.0})
    bad: list[Any] = [
        lambda: price.update([("row", 1.0), ("x" * 64, 1.0)]),
        lambda: price.update({"tea": 1.0, "new": 2.0}, mode="add"),
        lambda: price.__setitem__("cell\n", 1.0),
        lambda: flow.update(Failing(wrong)),
        lambda: db.add_parameter("p", "*", [("added", 1.0), ("added", 2.0)]),
        lambda: db.add_labels(["label", "x" * 64]),
    ]
    for number, do in enumerate(bad):
        assert list(price)  # has the texts looked up
        with pytest.raises(zdbcc.Error):
            do()
        price[f"after {number}"] = float(number)
        assert list(price)[-1] == f"after {number}" == db.labels[-1]
        assert price.to_frame()["food"].tolist()[-1] == f"after {number}"


def test_DomainViolations_AreToldBeforeWriting(db: zdbcc.Database, tmp_path: pathlib.Path) -> None:
    path = tmp_path / "out.zxf"
    db["price"]["cake"] = 1.0
    with pytest.raises(zdbcc.DomainError, match="'cake' of price, position 1, .* not in food"):
        db.write(path)
    assert not path.exists()
    assert db.check_domains() == [("price", "cake", 0, "food")]
    db.write(path, check_domains=False)
    assert zdbcc.open(path)["price"]["cake"] == 1.0
    db["food"]["CAKE"] = ""
    assert db.check_domains() == []


def test_DamagedFiles_AreRefusedWhereTheyAreDamaged(db: zdbcc.Database) -> None:
    db["price"].update({f"k{i}": i / 7 for i in range(500)})
    whole = db.to_bytes(check_domains=False)
    refused = 0
    for place in range(0, len(whole), 7):
        damaged = bytearray(whole)
        damaged[place] ^= 0x55
        try:
            back = zdbcc.Database.from_bytes(damaged)
            for symbol in back.values():
                symbol.to_dict()
        except zdbcc.Error:
            refused += 1
        else:
            assert state(back) == state(db)
    assert refused > len(whole) // 7 * 0.9
    for size in range(0, len(whole), 31):
        with pytest.raises(zdbcc.DamagedError):
            zdbcc.Database.from_bytes(whole[:size])


def test_SymbolThatCannotBeRead_RaisesWhenUsed(
    sample: pathlib.Path, tmp_path: pathlib.Path
) -> None:
    path = tmp_path / "gone.zxf"
    path.write_bytes(sample.read_bytes())
    with zdbcc.open(path) as db:
        path.write_bytes(b"")
        with pytest.raises(zdbcc.Error):
            db["distance"].to_frame()
    assert np.isnan(zdbcc.open(sample)["odd"]["na"])

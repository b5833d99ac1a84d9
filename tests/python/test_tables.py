"""CSV files in, SQLite databases out, and differences: what the tool does, as objects of Python."""

from __future__ import annotations

import contextlib
import gzip
import os
import signal
import sqlite3
import threading
import warnings
from pathlib import Path
from typing import Any

import numpy as np
import pandas as pd
import pytest
import zdbcc


def csv(folder: Path, text: str, name: str = "price.csv") -> Path:
    path = folder / name
    path.write_text(text, encoding="utf-8")
    return path


def test_CsvFiles_BecomeSymbolsWithDomains(tmp_path: Path) -> None:
    months = csv(tmp_path, "shop;jan;feb\nhere;1,5;2\nthere;;NA\n", "a b.csv")
    foods = csv(tmp_path, "food,text\ntea,hot\nmilk,\n", "food.csv")
    packed = tmp_path / "price.csv.gz"
    packed.write_bytes(gzip.compress(b"food,shop,price\nTEA,here,Inf\nmilk,here,Eps\n"))
    with pytest.warns(zdbcc.CsvWarning, match='"TEA" became "tea" 1 time, first at'):
        db = zdbcc.read_csv(foods, f"price={packed}:food(food),shop(shop+)->price")
    assert list(db) == ["food", "shop", "price"]
    assert db["food"].to_dict() == {"tea": "hot", "milk": ""}
    assert db["price"].domain == ("food", "shop")
    assert db["price"].to_dict() == {("tea", "here"): zdbcc.INF, ("milk", "here"): zdbcc.EPS}
    assert [(each.symbol, each.rows, each.records) for each in db.imported] == [
        ("food", 2, 2), ("shop", 0, 1), ("price", 2, 2)
    ]  # fmt: skip
    assert db.imported[2].folded == {"TEA": "tea"}
    assert zdbcc.Database().imported == ()
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        wide = zdbcc.read_csv(f'sales="{months}":shop->jan..feb(month+)', decimal=",")
    assert repr(wide["sales"].to_dict()) == (
        "{('here', 'jan'): 1.5, ('here', 'feb'): 2.0, ('there', 'feb'): nan}"
    )
    assert wide.imported[-1].empty_fields == 1
    wide["sales"]["here", "jan"] = 3.0  # it is a database like others
    assert len(zdbcc.Database.from_bytes(wide.to_bytes())["sales"]) == 3


def test_CsvOptions_AreThoseOfTheTool(tmp_path: Path) -> None:
    path = csv(tmp_path, "# made today\n a |1\n b|2\n b|3\n c|\n")
    for options, expected in [
        ({}, {" a": 1.0, " b": 3.0}),
        ({"trim": True}, {"a": 1.0, "b": 3.0}),
        ({"duplicates": "first"}, {" a": 1.0, " b": 2.0}),
        ({"duplicates": "sum", "missing": "zero"}, {" a": 1.0, " b": 5.0, " c": 0.0}),
    ]:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            db = zdbcc.read_csv(
                f"price={path}:#1->#2", separator="|", heading=False, skip=1, **options
            )
        assert db["price"].to_dict() == expected
    latin = tmp_path / "latin.csv"
    latin.write_bytes("k,v\nKöln,1\n".encode("latin-1"))
    assert zdbcc.read_csv(latin, encoding="latin-1")["latin"].to_dict() == {"Köln": 1.0}
    quoted = csv(tmp_path, 'k,v\n"a,1\n')
    assert zdbcc.read_csv(quoted, quotes="none")["price"].to_dict() == {'"a': 1.0}


def test_WhatNobodyAskedFor_IsAWarning(tmp_path: Path) -> None:
    path = tmp_path / "price.csv"
    path.write_bytes(b"food,price\ntea ,1\nmilk,2\n" + b"K\xf6ln,3\n")
    later = csv(tmp_path, "food\ntea\n", "food.csv")
    with pytest.warns(zdbcc.CsvWarning) as caught:
        db = zdbcc.read_csv(f"price={path}:food(food)->price", later)
    messages = "\n".join(str(each.message) for each in caught)
    assert len(caught) == 3 and {each.filename for each in caught} == {__file__}
    assert "1 label lost blanks at the end" in messages
    assert "1 text not in UTF-8" in messages
    assert "the set food comes later, so this domain is a mere name" in messages
    assert list(db["price"]) == ["tea", "milk", b"K\xf6ln".decode(errors="surrogateescape")]


def test_CsvThatDoesNotFit_IsRefusedWithItsLine(tmp_path: Path) -> None:
    good = csv(tmp_path, "food,price\ntea,1\n")
    for text, spec, message in [
        ("food,price\ntea,1\nmilk,cheap\n", "", "price.csv:3: column 2 (price): \"cheap\" is not"),
        ("food,price\ntea,1,2\n", "", "price.csv:2: 3 fields, but the heading has 2"),
        ("food,price\ntea,1\n", ":drink->price", "there is no column drink"),
        ("food,price\ntea,1\n", ":food->prices", "did you mean price?"),
        ("food,price\ntea,1\n", ":food(drink)->price", "there is no set drink"),
        ("", "", "is empty"),
    ]:  # fmt: skip
        path = csv(tmp_path, text)
        with pytest.raises(zdbcc.TableError) as caught:
            zdbcc.read_csv(f"{path}{spec}")
        assert message in str(caught.value) and caught.value.kind == "table"
    csv(tmp_path, "food,price\ntea,1\nTEA,2\n")
    with pytest.raises(zdbcc.TableError, match="strict"):
        zdbcc.read_csv(good, strict=True)
    domains = csv(tmp_path, "food\ntea\n", "food.csv")
    csv(tmp_path, "food,price\ntea,1\ncake,2\n")
    spec = f"{good}:food(food)->price"
    with pytest.warns(zdbcc.CsvWarning, match="1 row refused"):
        db = zdbcc.read_csv(domains, spec)
    assert list(db["price"]) == ["tea"] and db.imported[1].refused == 1
    assert list(zdbcc.read_csv(domains, spec, check_domains=False)["price"]) == ["tea", "cake"]


def test_Sqlite_HasATableForEachSymbol(db: zdbcc.Database, tmp_path: Path) -> None:
    db["price"].update({"tea": zdbcc.EPS, "milk": zdbcc.NA, "NA": -zdbcc.INF})
    db["flow"]["outside", "x"] = 1.0
    path = tmp_path / "out.db"
    db.to_sqlite(path)
    with pytest.raises(zdbcc.ExistsError, match="overwrite=True"):
        db.to_sqlite(path)
    rows = sqlite3.connect(path).execute("SELECT * FROM price ORDER BY 1").fetchall()
    assert rows == [("milk", None), ("NA", -np.inf), ("tea", 0.0)]
    frame = pd.read_sql("SELECT * FROM flow", sqlite3.connect(path))
    assert frame.sort_values(["from", "to"]).values.tolist() == [
        ["milk", "x", 2.0], ["milk", "y", 3.0], ["outside", "x", 1.0], ["tea", "x", 1.0]
    ]  # fmt: skip
    db.to_sqlite(str(path), "food", overwrite=True)
    tables = sqlite3.connect(path).execute("SELECT name FROM _symbols").fetchall()
    assert tables == [("food",)]
    assert os.listdir(tmp_path) == ["out.db"]


def test_Differences_AreTheRecordsThatDiffer(db: zdbcc.Database, tmp_path: Path) -> None:
    other = zdbcc.Database.from_bytes(db.to_bytes())
    assert not zdbcc.diff(db, other) and len(zdbcc.diff(db, db)) == 0
    other["price"].update({"milk": 1.0 + 1e-9, "NA": zdbcc.EPS})
    del other["price"]["tea"]
    other["ship"]["tea"] = 5.0, zdbcc.NA
    other["food"]["milk"] = "NA"
    other.remove("flow")
    other.add_parameter("extra", (), 1.0)
    path = tmp_path / "other.zxf"
    other.write(path)
    for target in (other, path, str(path)):
        found = zdbcc.diff(db, target)
        assert list(found) == ["food", "price", "flow", "ship", "extra"]
        assert repr(found) == "<Difference: 5 of 5 symbols>"
        assert (found["FLOW"].only_in, found["extra"].only_in) == ("a", "b")
        price = found["price"]
        assert price.records() == [
            (("tea",), 2.5, None), (("milk",), 1.0, 1.0 + 1e-9), (("NA",), None, zdbcc.EPS)
        ]  # fmt: skip
        counts = price.only_in_a, price.only_in_b, price.different, price.same
        assert counts == (1, 1, 1, 0) and price.largest_difference == pytest.approx(1e-9)
        frame = price.to_frame()
        assert list(frame.columns) == ["label", "a", "b"] and frame.dtypes["a"] == np.float64
        assert found["food"].records() == [(("milk",), "", "NA")]
        ship = found["ship"].to_frame()
        assert ship.loc[0, ["level_a", "level_b"]].tolist() == [4.0, 5.0]
        assert np.isnan(ship.loc[0, "marginal_b"]) and ship.loc[0, "upper_b"] == zdbcc.INF
    near = zdbcc.diff(db, other, ["price", "food"], tolerance=(0.0, 1e-6), limit=1)
    assert (near.compared, near["price"].different, near["price"].same) == (2, 0, 1)
    assert len(near["price"].records()) == 1
    with pytest.raises(zdbcc.NotFoundError, match="does not differ"):
        near["ship"]
    text = zdbcc.Database.from_bytes(db.to_bytes())
    text.remove("price")
    text.add_variable("price", "food", text="new")
    changed = zdbcc.diff(db, text, "price")["price"]
    assert changed.properties["type"] == ("parameter", "variable")
    assert (changed.records(), changed.same) == ([], None)
    other.add_labels(["only here"])
    assert zdbcc.diff(db, other, "*")["*"].records() == [(("only here",), None, "only here")]


def test_DamagedRecords_AreNotTakenForTheSame(db: zdbcc.Database, tmp_path: Path) -> None:
    db["price"].update({f"k{i}": i / 7 for i in range(500)})
    path = tmp_path / "damaged.zxf"
    db.write(path, check_domains=False)
    data = bytearray(path.read_bytes())
    data[len(data) // 2] ^= 0x55
    path.write_bytes(data)
    with pytest.raises(zdbcc.DamagedError, match="damaged"):
        zdbcc.diff(db, path)


def test_CtrlC_EndsReadingAFile(tmp_path: Path) -> None:
    endless = tmp_path / "endless.csv"
    os.mkfifo(endless)
    rows = b"".join(b"k%d,1\n" % i for i in range(2000))

    written: list[int] = []

    def write() -> None:
        with contextlib.suppress(BrokenPipeError), endless.open("wb") as pipe:
            pipe.write(b"k,v\n")
            for piece in range(5000):  # some seconds, in case that nothing ends it
                pipe.write(rows)
                written.append(piece)
                if piece == 20:
                    os.kill(os.getpid(), signal.SIGINT)

    writer = threading.Thread(target=write)
    writer.start()
    with pytest.raises(KeyboardInterrupt):
        zdbcc.read_csv(endless)
    writer.join()
    assert 20 < len(written) < 5000
    assert zdbcc.read_csv(csv(tmp_path, "k,v\na,1\n"))["price"]["a"] == 1.0


def test_Threads_ReadAndCompareAtTheSameTime(db: zdbcc.Database, tmp_path: Path) -> None:
    path = csv(tmp_path, "k,v\n" + "".join(f"k{i},{i}\n" for i in range(3000)))
    found: list[Any] = []

    def work() -> None:
        mine = zdbcc.read_csv(path)
        found.append((len(mine["price"]), len(zdbcc.diff(mine, path_of(mine, tmp_path)))))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == [(3000, 0)] * 4


def path_of(db: zdbcc.Database, folder: Path) -> Path:
    path = folder / f"{threading.get_ident()}.zxf"
    db.write(path)
    return path

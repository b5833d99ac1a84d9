"""Objects die in any order, databases are closed under their users, threads share them."""

from __future__ import annotations

import copy
import gc
import itertools
import pickle
import sys
import threading
from typing import Any

import numpy as np
import pytest
import zdbcc

OBJECTS = ["db", "symbol", "slice", "stream", "arrays"]


def objects() -> dict[str, Any]:
    """A database and what belongs to it, each the only reference."""
    db = zdbcc.Database()
    p = db.add_parameter("p", ["i", "j"], [("a", "x", 1.0), ("b", "y", 2.0)])
    return {
        "db": db,
        "symbol": p,
        "slice": p[:, "x"],
        "stream": p.__arrow_c_stream__(),
        "arrays": p.to_arrays(),
    }


@pytest.mark.parametrize("order", list(itertools.permutations(OBJECTS)))
def test_Objects_DieInAnyOrder(order: tuple[str, ...]) -> None:
    alive = objects()
    for name in order:
        del alive[name]
        if "symbol" in alive:
            assert alive["symbol"]["b", "y"] == 2.0
        if "slice" in alive:
            assert alive["slice"].to_dict() == {"a": 1.0}
        if "arrays" in alive:
            assert alive["arrays"][1][0].tolist() == [1.0, 2.0]


@pytest.mark.parametrize("how", ["close", "remove"])
def test_Use_AfterCloseOrRemovalRaises(how: str) -> None:
    alive = objects()
    db, symbol, part = alive["db"], alive["symbol"], alive["slice"]
    if how == "close":
        db.close()
        db.close()
        assert db.closed
        for use in (
            lambda: db["p"], lambda: list(db), lambda: len(db), lambda: "p" in db,
            lambda: db.labels, lambda: db.add_set("s"), lambda: db.to_bytes(),
            lambda: db.add_labels(["a"]), lambda: db.check_domains(), lambda: db.write("never.zxf"),
            lambda: db.__enter__(),
        ):  # fmt: skip
            with pytest.raises(zdbcc.ClosedError, match="closed"):
                use()
    else:
        db.remove("p")
        assert "p" not in db
    uses: list[Any] = [
        lambda: symbol.name, lambda: len(symbol), lambda: symbol["a", "x"], lambda: list(symbol),
        lambda: symbol.to_frame(), lambda: symbol.update({}), lambda: symbol.clear(),
        lambda: symbol.__setitem__(("a", "x"), 1.0), lambda: symbol.__delitem__(("a", "x")),
        lambda: symbol.__arrow_c_stream__(), lambda: ("a", "x") in symbol, lambda: part.to_dict(),
        lambda: len(part), lambda: symbol.update_arrays([[1], [1]], [1.0]),
    ]  # fmt: skip
    for use in uses:
        with pytest.raises(zdbcc.ClosedError, match="closed|removed"):
            use()
    other = zdbcc.Database()
    q = other.add_parameter("q", ["*", "*"])

    class Stream:
        def __arrow_c_stream__(self, requested_schema: object = None) -> object:
            return alive["stream"]

    with pytest.raises(zdbcc.StreamError):
        q.update(Stream())
    assert (len(q), other.labels) == (0, [])
    assert repr(symbol).startswith("<Parameter of a closed") and repr(part).startswith(
        "<Slice of a"
    )
    assert alive["arrays"][1][0].tolist() == [1.0, 2.0]


def test_SymbolsAfterARemovedOne_KeepTheirRecords(db: zdbcc.Database) -> None:
    ship, flow = db["ship"], db["flow"]
    alias = db.add_alias("drink", "food")
    db.remove("price")
    assert (ship["tea"].level, len(flow), list(db)) == (4.0, 3, ["food", "flow", "ship", "drink"])
    assert list(alias) == ["tea", "milk", "NA"]
    assert alias.of.name == "food"
    again = db.add_parameter("price", "food")
    assert len(again) == 0


def test_Copies_AreDatabasesOfTheirOwn(db: zdbcc.Database) -> None:
    for again in (copy.copy(db), copy.deepcopy(db), pickle.loads(pickle.dumps(db))):
        assert list(again) == list(db) and again["price"].to_dict() == db["price"].to_dict()
        again["price"]["tea"] = 9.0
    assert db["price"]["tea"] == 2.5
    flow, part = pickle.loads(pickle.dumps((db["flow"], db["flow"][:, "x"])))
    assert flow.to_dict() == db["flow"].to_dict() and part.to_dict() == {"tea": 1.0, "milk": 2.0}
    assert part.symbol.database is flow.database
    db.close()
    with pytest.raises(zdbcc.ClosedError):
        pickle.dumps(db)


def test_Exception_InAWithBlockClosesTheDatabase() -> None:
    with pytest.raises(ZeroDivisionError), zdbcc.Database() as db:
        1 / 0
    assert db.closed


def test_Objects_AreFreed() -> None:
    db = zdbcc.Database()
    p = db.add_parameter("p", "*", {"a": 1.0})

    def use() -> None:
        p.to_frame(), p.to_dict(), p[:], p.__arrow_c_stream__(), db["p"]
        with pytest.raises(zdbcc.Error):
            p.update([("b", 1.0), (5, 1.0)])

    use()
    gc.collect()
    before = sys.getrefcount(p), sys.getrefcount(db), sys.getrefcount(p._core)
    for _ in range(50):
        use()
    gc.collect()
    assert (sys.getrefcount(p), sys.getrefcount(db), sys.getrefcount(p._core)) == before


def run(*functions: Any) -> list[BaseException]:
    """Runs functions in threads of their own, and returns what they raised."""
    raised: list[BaseException] = []

    def guarded(function: Any) -> None:
        try:
            function()
        except BaseException as error:
            raised.append(error)

    threads = [threading.Thread(target=guarded, args=(f,), daemon=True) for f in functions]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(20)
    assert not any(thread.is_alive() for thread in threads)
    return raised


def test_Threads_ShareADatabase() -> None:
    db = zdbcc.Database()
    p = db.add_parameter("p", ["thread", "number"])

    def fill(name: str) -> None:
        for i in range(40):
            p.update([(name, str(i * 10 + k), float(i)) for k in range(10)])
            assert len(p[name, :]) >= 10 * (i + 1)
            p.to_frame()
            other = zdbcc.Database()  # and several databases at a time
            other.add_parameter("q", ["*", "*"]).update(p)

    assert run(*[lambda name=name: fill(name) for name in "abcd"]) == []
    assert len(p) == 4 * 400
    assert np.unique(p.to_numpy(), return_counts=True)[1].tolist() == [40] * 40


def test_Close_WhileOthersReadRaisesThere() -> None:
    for _ in range(10):
        db = zdbcc.Database()
        p = db.add_parameter("p", "*", {f"k{i}": float(i) for i in range(3000)})

        def read(p: Any = p) -> None:
            while True:
                assert len(p.to_frame()) == 3000

        raised = run(read, read, db.close)
        assert [type(error) for error in raised] == [zdbcc.ClosedError] * 2


def test_Databases_TakeFromEachOtherWithoutWaitingForever() -> None:
    one, other = (
        zdbcc.Database().add_parameter("p", "*", {f"k{i}": float(i) for i in range(2000)})
        for _ in range(2)
    )

    def take(target: zdbcc.Parameter, source: zdbcc.Parameter) -> None:
        for _ in range(200):
            target.update(source)

    assert run(lambda: take(one, other), lambda: take(other, one)) == []
    assert one.to_dict() == other.to_dict()


def test_SymbolsOfAFile_StayThemselvesWhenTheyAreChanged(db: zdbcc.Database) -> None:
    # Few changes move the records of a file to another storage, and the handle with them.
    keys = [f"k{i:04}" for i in range(2000)]
    db["food"].update(keys)
    db["price"].update(dict.fromkeys(keys, 1.0))
    db.add_alias("drink", "food")
    back = zdbcc.Database.from_bytes(db.to_bytes())
    food, price, part = back["food"], back["price"], back["flow"][:, "x"]
    price["k1000"] = 2.0
    del food["k1999"]
    back["flow"]["k0000", "x"] = 5.0
    assert price["k1000"] == back["price"]["k1000"] == 2.0 and len(price) == 2002
    assert part.to_dict() == {"tea": 1.0, "milk": 2.0, "k0000": 5.0}
    assert [v.key for v in back.check_domains()] == ["k1999"]
    assert len(back["drink"]) == len(food) == 2002
    price.update({"k1999": 3.0, "new": 4.0})
    price.update(db["flow"][:, "x"].to_dict(), mode="replace")
    assert list(price) == ["tea", "milk"] and "new" in back.labels
    assert list(back) == ["food", "price", "flow", "ship", "drink"]
    back.remove("price")
    with pytest.raises(zdbcc.ClosedError):
        len(price)

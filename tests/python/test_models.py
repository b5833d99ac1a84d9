"""Models: what is changed by name, what solves give, what is refused and then unchanged."""

from __future__ import annotations

import copy
import gc
import gzip
import itertools
import os
import pathlib
import pickle
import signal
import sys
import threading
import time
from collections.abc import Callable, Iterator
from typing import Any

import numpy as np
import pandas as pd
import pytest
import zdbcc
from conftest import LUNCH, MODELS

NAN, INF = float("nan"), float("inf")
TRANSPORT = MODELS / "transport.mps"


@pytest.fixture
def lunch() -> Iterator[zdbcc.Model]:
    with zdbcc.Model.from_text(LUNCH) as model:
        yield model


@pytest.fixture
def small_heap() -> Iterator[None]:
    """Collections of garbage that look at nothing older than the test."""
    gc.freeze()
    yield
    gc.unfreeze()


def objective(model: zdbcc.Model, **options: Any) -> float:
    return model.solve(**options).objective


# What is changed, and the objective that a model with that in its file has.
CHANGES: list[tuple[str, Any, float]] = [
    ("need[energy].rhs", 14, 16),
    ("need(ENERGY).rhs", 14, 16),
    ("need.rhs", {"energy": 14}, 16),
    ("need.rhs", {"ENERGY": 14, "milk": 2}, 18),
    ("need.rhs", pd.Series({"energy": 14.0}), 16),
    ("need.rhs", pd.DataFrame({"what": ["energy"], "value": [14]}), 16),
    ("need.rhs", [("energy", 14), ("milk", 2)], 18),
    ("need.rhs", zdbcc.Database().add_parameter("p", "*", {"energy": 14.0}), 16),
    ("need.rhs", zdbcc.Database().add_parameter("p", ["*"] * 2, [("energy", "x", 14)])[:, "x"], 16),
    ("need.rhs", 2, 6),
    ("need.rhs", np.array(2), 6),
    ("buy[milk].lo", 2, 16),
    ("buy.up", {"bread": 5}, 16),
    ("buy[milk].fx", 4, 20),
    ("buy.fx", {"milk": 4, "bread": 4}, 20),
    ("buy.cost", {"bread": 1}, 8.5),
    ("buy.lo", -zdbcc.INF, 14),
    ("need[milk].coef[buy,milk]", 0.5, 16),
    ("need[energy].coef[buy[bread]]", 4, 8.5),
    ("cost.rhs", 100, 114),
]  # fmt: skip


@pytest.mark.parametrize(("name", "records", "expected"), CHANGES)
def test_Change_IsSolvedLikeAFileWithTheNumber(
    lunch: zdbcc.Model, name: str, records: Any, expected: float
) -> None:
    before = objective(lunch)
    lunch[name] = records
    assert objective(lunch) == pytest.approx(expected)
    assert objective(pickle.loads(pickle.dumps(lunch))) == pytest.approx(expected)
    del lunch[name]
    assert objective(lunch) == pytest.approx(before) == 14


def test_Numbers_ShowWhatTheModelHas(lunch: zdbcc.Model) -> None:
    need = lunch["need.rhs"]
    assert need.to_dict() == {"energy": 12, "milk": 1}
    need["energy"] = 14
    assert lunch["need[energy].rhs"] == 14
    lunch["buy[milk].fx"] = 2  # reads the model again, and keeps what was changed
    assert (lunch["buy[milk].lo"], lunch["buy[milk].up"], lunch["buy.up"]["bread"]) == (2, 2, 8)
    assert objective(lunch) == pytest.approx(18)
    assert need.to_frame()["value"].tolist() == [1, 14]  # in the order of the labels
    need.update({"milk": 2}, mode="replace")
    assert need.to_dict() == {"energy": 12, "milk": 2}
    need.update_arrays([need.database.find_labels(["milk"])], [3.0])
    assert lunch["need.rhs"].to_dict() == {"energy": 12, "milk": 3}
    del need["milk"]
    del need[:]
    assert need.to_dict() == {"energy": 12, "milk": 1}
    assert repr(need) == "<Numbers need.rhs: 2 of the model>"


def test_Coefficients_OfPartsOfASymbolGoTogether(lunch: zdbcc.Model) -> None:
    whole = lunch["need.coef[buy]"]
    assert whole["energy", "bread"] == 2 and len(whole) == 3
    lunch["need[energy].coef[buy]"] = {"bread": 4}
    assert lunch["need[energy].coef[buy]"].to_dict() == {"milk": 1, "bread": 4}
    assert whole.to_dict()["energy", "bread"] == 4
    assert objective(lunch) == pytest.approx(8.5)
    table = lunch.sweep({"need[energy].coef[buy,bread]": [None, 2]}, progress=False)
    assert table["objective"].tolist() == pytest.approx([8.5, 14])
    del lunch["need.coef[buy]"]
    lunch["buy.up"] = 8  # reads the model again
    assert lunch["need[energy].coef[buy]"].to_dict() == {"milk": 1, "bread": 2}


def test_NamesOfAModel_AllNameSomething() -> None:
    text = "var x >= 0; minimize c: 2*x; s.t. two: 1 <= x <= 4; s.t. one: x >= 1; end;"
    for model in (zdbcc.Model.from_text(text), zdbcc.Model.read(TRANSPORT)):
        with zdbcc.Model.from_text(LUNCH) as other:
            assert list(other) == [
                "buy.lo", "buy.up", "buy.fx", "buy.cost", "cost.rhs", "need.rhs"
            ]  # fmt: skip
        for name in list(model):
            assert name in model
            if not name.endswith(".fx"):
                assert len(model[name]) > 0
    assert "cost.lo" not in model and 5 not in model


def test_ModelWithoutAnObjective_HasNoCosts() -> None:
    model = zdbcc.Model.from_text("var x >= 0; s.t. r: x >= 1; end;")
    assert list(model) == ["x.lo", "x.up", "x.fx", "r.rhs"] and "x.cost" not in model
    assert np.isnan(objective(model)) and model.last["x"][()].level == 1


def test_ManySingleNames_AreOneReadingAfterTheSecond(lunch: zdbcc.Model) -> None:
    lunch["buy[bread].up"] = 7
    lunch["buy[milk].up"] = 6
    opened = lunch._opened
    lunch["buy[bread].up"] = 5
    lunch["buy.up"] = {"milk": 4}
    assert lunch._opened is opened
    assert lunch["buy.up"].to_dict() == {"bread": 5, "milk": 4}
    assert [name.text for name in opened.names] == ["buy.up"]


def test_Numbers_ShowWhatWasChangedByAnotherNameBefore(lunch: zdbcc.Model) -> None:
    lunch["need[milk].rhs"] = 2
    assert lunch["need.rhs"].to_dict() == {"milk": 2, "energy": 12}
    lunch["need.rhs"] = {"milk": 3}
    assert lunch["need[milk].rhs"] == 3 and objective(lunch) == 18


def test_HotSolves_NeedFewIterations() -> None:
    with zdbcc.Model.read(TRANSPORT, changes=["demand.rhs"]) as model:
        first = model.solve("clp")
        again = model.solve("clp")
        model["demand.rhs"] = {"brook": 81.0}
        after = model.solve("clp")
    assert first.iterations > after.iterations >= again.iterations == 0


def test_Params_AreTranslatedAgain() -> None:
    with zdbcc.Model.read(MODELS / "diet.mod") as model:
        base = objective(model)
        assert "price" in list(model)
        model["price"] = {"flour": 72}
        model["price[beans]"] = 11.8
        dear = objective(model)
        assert dear > base
        model["need[C].rhs"] = 80  # params stay
        assert objective(model) >= dear
        assert model["price"].to_dict() == {"flour": 72, "beans": 11.8}
        assert model["price[beans]"] == 11.8
        with pytest.raises(zdbcc.NotFoundError, match="only its translator knows"):
            model["content"]
        with pytest.raises(zdbcc.ModelError, match="cake"):
            model["price"] = {"cake": 1}
        model["price"] = ((food, price) for food, price in [("beans", 11.8), ("flour", 72)])
        del model["need[C].rhs"], model["price[beans]"]
        assert objective(model) < dear
        del model["price"]
        assert objective(model) == pytest.approx(base)


def test_Formats_AreReadFromFilesAndTexts(tmp_path: pathlib.Path) -> None:
    packed = tmp_path / "transport.mps.gz"
    packed.write_bytes(gzip.compress(TRANSPORT.read_bytes()))
    text = "\\ a comment\nminimize\n c: 2 x\nsubject to\n r: x >= 3\nend\n"
    data = "set I; param p{I}; var x >= 0; minimize c: x; s.t. r{i in I}: x >= p[i]; data; end;"
    for model, expected in [
        (zdbcc.Model.read(packed), objective(zdbcc.Model.read(TRANSPORT))),
        (zdbcc.Model.from_text(text.encode()), 6),
        (zdbcc.Model.from_text(text, format="lp", name="x.mod"), 6),
        (zdbcc.Model.from_text(data, "set I := a b; param p := a 1 b 4; end;"), 4),
    ]:
        assert objective(model) == pytest.approx(expected)


def test_Result_HasSymbolsAndOutcome() -> None:
    with zdbcc.Model.read(TRANSPORT) as model:
        result = model.solve("highs" if not zdbcc.solvers()[3].why_not else "clp", time_limit=60)
        frame = result["ship"].to_frame()
        assert (result.status, result.solve_status) == ("Optimal", "Normal completion")
        assert result.is_optimal and result.has_solution and result.require_optimal() is result
        assert result.bound == pytest.approx(result.objective) and result.gap == 0
        assert frame["level"].sum() > 0
        assert isinstance(result["demand"], zdbcc.Equation)
        assert result["demand"].kind in ("greater", "equal")
        assert "demand_rhs_var" not in result and len(result) == len(list(result)) > 2
        html = result._repr_html_()
        assert "<details>" in html and len(html) < 10_000
        assert "&lt;Model" in model._repr_html_()


def test_Result_SurvivesChangesSolvesAndReadings(lunch: zdbcc.Model) -> None:
    first = lunch.solve()
    lunch["need.rhs"] = {"energy": 14}
    second = lunch.solve()
    lunch["need.rhs"] = {"energy": 2}
    lunch.solve()
    assert (first["buy"]["bread"].level, second["buy"]["bread"].level) == (5.5, 6.5)
    assert first["need"]["energy"].lower == 12
    buy = lunch.solve()["buy"]
    last = lunch.last
    lunch.close()
    assert buy["milk"].level == 1
    with pytest.raises(zdbcc.ClosedError, match="not read before"):
        last["need"]
    assert lunch.last is None or lunch.last is last


@pytest.mark.parametrize(
    "again", [copy.copy, copy.deepcopy, lambda r: pickle.loads(pickle.dumps(r))]
)
def test_Results_AreCopiedWithAllThatTheyHave(lunch: zdbcc.Model, again: Any) -> None:
    result = again(lunch.solve())
    lunch["need.rhs"] = {"energy": 14}
    lunch.solve()
    assert result["buy"]["bread"].level == 5.5 and result["need"]["milk"].level == 1
    numbers = again(lunch["need.rhs"])
    assert repr(numbers) == "<Numbers need.rhs: 2 of the model>"
    lunch["need.rhs"] = 2
    assert numbers.to_dict() == {"energy": 14, "milk": 1} or again is copy.copy


def test_Names_AreInAModelIfTheyNameSomething(lunch: zdbcc.Model) -> None:
    for name in ("need.rhs", "NEED[milk].rhs", "buy[bread].fx", "cost.rhs"):
        assert name in lunch
    for name in ("need", "need[cake].rhs", "need[a,b].rhs", "buy.rhs", "need[milk", 5, ""):
        assert name not in lunch


def test_NoSolution_IsAResult(lunch: zdbcc.Model) -> None:
    lunch["buy.up"] = 1
    result = lunch.solve()
    assert "buy" in result and "bye" not in result and 5 not in result
    assert (result.status, result.has_solution) == ("Infeasible", False)
    assert np.isnan(result.objective)
    with pytest.raises(zdbcc.SolveError, match="no solution to show: Infeasible"):
        result["buy"]
    with pytest.raises(zdbcc.StateError, match="not optimal"):
        result.require_optimal()
    assert {each.kind for each in lunch.conflicts()} == {"row", "column"}
    lunch["buy.up"] = 8
    with pytest.raises(zdbcc.SolveError):
        lunch.conflicts()


def test_Options_HoldForOneSolve(lunch: zdbcc.Model) -> None:
    assert objective(lunch, direction="max") == pytest.approx(40)
    assert objective(lunch) == pytest.approx(14)
    lines: list[str] = []
    lunch.solve("clp", log=lines.append)
    assert lines
    whole = zdbcc.Model.from_text("var x integer >= 1.5; minimize c: x; end;")
    assert (objective(whole, relax=True), objective(whole)) == (1.5, 2)
    with pytest.raises(zdbcc.SolveError, match="integer columns"):
        whole.solve("clp")


Do = Callable[[zdbcc.Model], object]

# What is done, the class that it raises, and a part of its message.
BAD: list[tuple[Do, type[zdbcc.Error], str]] = [
    (lambda m: m.__setitem__("ned.rhs", 1), zdbcc.NotFoundError, "ned"),
    (lambda m: m.__setitem__("need[enrgy].rhs", 1), zdbcc.NotFoundError, "energy"),
    (lambda m: m.__setitem__("need[a,b].rhs", 1), zdbcc.NotFoundError, "need[a,b].rhs"),
    (lambda m: m["need.rhs"]["a", "b"], zdbcc.ArgumentError, "need.rhs has 1 position, but"),
    (lambda m: m["need"], zdbcc.NotFoundError, "change its .rhs or .coef"),
    (lambda m: m.__setitem__("need.rhs", {"milk": 2, "cake": 1}), zdbcc.NotFoundError, "cake"),
    (lambda m: m.__setitem__("need.rhs", {"milk": 2, "energy": NAN}), zdbcc.ArgumentError, "nan"),
    (lambda m: m.__setitem__("need.rhs", {"milk": 2, "energy": INF}), zdbcc.ArgumentError, "inf"),
    (lambda m: m.__setitem__("buy.lo", {"milk": 2, "bread": INF}), zdbcc.ArgumentError, "inf"),
    (lambda m: m.__setitem__("need.rhs", {"milk": "2"}), zdbcc.ArgumentError, "convert it"),
    (lambda m: m.__setitem__("need.rhs", {("milk", "a"): 2}), zdbcc.ArgumentError, "not a label"),
    (lambda m: m.__setitem__("need.rhs", [(5, 2.0)]), zdbcc.LabelError, "5 (int), not a str"),
    (lambda m: m.__setitem__("need.rhs", "2"), zdbcc.ArgumentError, "pass a DataFrame"),
    (lambda m: m.__setitem__("need[milk].rhs", {}), zdbcc.ArgumentError, "is one number"),
    (lambda m: m.__setitem__("need.rsh", 1), zdbcc.ArgumentError, "use .rhs, .lo"),
    (lambda m: m.__setitem__("need[milk.rhs", 1), zdbcc.ArgumentError, "write symbol[label"),
    (lambda m: m.__setitem__("need['milk].rhs", 1), zdbcc.ArgumentError, "quote is missing"),
    (lambda m: m.__setitem__(5, 1), zdbcc.ArgumentError, "named by a str"),
    (lambda m: m["buy.fx"], zdbcc.ArgumentError, "read buy.lo and buy.up"),
    (lambda m: m["need.rhs"].update({"milk": 2}, mode="add"), zdbcc.ArgumentError, "be added"),
    (lambda m: m["need.rhs"].__setitem__("cake", 2), zdbcc.NotFoundError, "cake"),
    (lambda m: m["need.rhs"].__delitem__("cake"), zdbcc.NotFoundError, "cake"),
    (lambda m: m["need.rhs"].update_arrays([[1]]), zdbcc.ArgumentError, "one value, not 0"),
    (lambda m: m["need.rhs"].update_arrays([[-1]], [5]), zdbcc.NotFoundError, "are 1 to 2"),
    (lambda m: m["need.rhs"].update_arrays([[99]], [5]), zdbcc.NotFoundError, "are 1 to 2"),
    (lambda m: m["need.rhs"].update_arrays([[1, 2]], [5]), zdbcc.ArgumentError, "different len"),
    (lambda m: zdbcc.Model.from_text(LUNCH, changes=None), zdbcc.ArgumentError, "are a list"),
    (lambda m: m.solve("best"), zdbcc.ArgumentError, "there are clp, cbc"),
    (lambda m: m.solve(time_limit=0), zdbcc.ArgumentError, "time_limit must be above 0"),
    (lambda m: m.solve(gap=-1), zdbcc.ArgumentError, "gap must be a ratio"),
    (lambda m: m.solve(direction="up"), zdbcc.ArgumentError, "'min' or 'max'"),
    (lambda m: m.solve(iteration_limit=2**31), zdbcc.ArgumentError, "below 2**31"),
    (lambda m: m.solve(iteration_limit=1.5), zdbcc.ArgumentError, "must be an int"),
    (lambda m: m.solve(relax="no"), zdbcc.ArgumentError, "True or False"),
    (lambda m: m.solve(log="log.txt"), zdbcc.ArgumentError, "such as print"),
    (lambda m: m.conflicts(time_limit="1"), zdbcc.ArgumentError, "time_limit must be"),
    (lambda m: zdbcc.Model.from_text("", format="gms"), zdbcc.ArgumentError, "one of mps, lp"),
    (lambda m: zdbcc.Model.from_text(5), zdbcc.ArgumentError, "read() takes a path"),
    (lambda m: zdbcc.Model.from_text("var x"), zdbcc.ModelError, "model:1"),
    (lambda m: zdbcc.Model.from_text(LUNCH, changes="x"), zdbcc.ArgumentError, "are a list, such"),
    (lambda m: zdbcc.Model.from_text(LUNCH, changes=["x.lo"]), zdbcc.ModelError, "x"),
    (lambda m: zdbcc.Model.read("no/such.mod"), zdbcc.MissingFileError, "no/such.mod"),
    (lambda m: zdbcc.Model.read("/dev"), zdbcc.FileError, "/dev"),
]  # fmt: skip


@pytest.mark.parametrize("number", range(len(BAD)))
def test_BadInput_RaisesAndChangesNothing(lunch: zdbcc.Model, number: int) -> None:
    do, cls, message = BAD[number]
    lunch["need.rhs"] = {"energy": 14}
    with pytest.raises(cls) as caught:
        do(lunch)
    assert message in str(caught.value)
    assert lunch["need.rhs"].to_dict() == {"energy": 14, "milk": 1}
    assert objective(lunch) == pytest.approx(16)


def test_Use_AfterCloseRaises() -> None:
    model = zdbcc.Model.from_text(LUNCH)
    numbers = model["need.rhs"]
    model.close()
    model.close()
    assert model.closed and "closed" in repr(model) and "closed" in repr(numbers)
    for use in (
        lambda: model.solve(), lambda: model["need.rhs"], lambda: list(model),
        lambda: model.__setitem__("need.rhs", 1), lambda: numbers.update({"milk": 1}),
        lambda: model.symbols, lambda: pickle.dumps(model), lambda: model.sweep({"need.rhs": [1]}),
        lambda: model.conflicts(), lambda: model.__enter__(), lambda: model._opened.core.size(),
    ):  # fmt: skip
        with pytest.raises(zdbcc.ClosedError, match="closed"):
            use()


@pytest.mark.parametrize(
    "order", list(itertools.permutations(["model", "numbers", "result", "buy"]))
)
def test_Objects_DieInAnyOrder(order: tuple[str, ...], small_heap: None) -> None:
    model = zdbcc.Model.from_text(LUNCH)
    alive: dict[str, Any] = {"model": model, "numbers": model["need.rhs"], "result": model.solve()}
    alive["buy"] = alive["result"]["buy"]
    del model
    for name in order:
        del alive[name]
        gc.collect()
        if "result" in alive:
            assert alive["result"]["need"]["milk"].level == 1
        if "numbers" in alive:
            assert alive["numbers"]["energy"] == 12
        if "buy" in alive:
            assert alive["buy"]["bread"].level == 5.5


def test_Log_CannotUseItsModelAndEndsTheSolveByRaising(lunch: zdbcc.Model) -> None:
    with pytest.raises(zdbcc.StateError, match="being solved"):
        lunch.solve("clp", log=lambda line: lunch.solve())

    def fail(line: str) -> None:
        raise ZeroDivisionError(line)

    with pytest.raises(ZeroDivisionError):
        lunch.solve("clp", log=fail)
    assert objective(lunch) == pytest.approx(14)


def test_Threads_SolveModelsOfTheirOwnAndShareOne(lunch: zdbcc.Model) -> None:
    found: list[float] = []

    def solve_own(energy: int) -> None:
        with zdbcc.Model.from_text(LUNCH, changes=["need.rhs"]) as model:
            for i in range(10):
                model["need.rhs"] = {"energy": energy + i % 2}
                found.append(objective(model) - energy - i % 2)
                assert lunch.solve().is_optimal

    threads = [threading.Thread(target=solve_own, args=(12 + n,)) for n in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert found == pytest.approx([2.0] * 40)


#: Markets to be split exactly, which no solver settles within seconds.
HARD = """
set I := 1..6; set J := 1..50;
param r{i in I, j in J} := abs(sin(i * 12.9898 + j * 78.233)) * 43758.5453;
param a{i in I, j in J} := 1 + floor((r[i,j] - floor(r[i,j])) * 99);
var x{J} binary; var s{I} >= 0; var t{I} >= 0;
minimize off: sum{i in I} (s[i] + t[i]);
s.t. split{i in I}: sum{j in J} a[i,j] * x[j] + s[i] - t[i] = floor(sum{j in J} a[i,j] / 2);
end;
"""


def press_after(seconds: float) -> threading.Thread:
    """Ctrl-C some time from now."""

    def press() -> None:
        time.sleep(seconds)
        os.kill(os.getpid(), signal.SIGINT)

    thread = threading.Thread(target=press)
    thread.start()
    return thread


@pytest.mark.parametrize("solver", ["cbc", "glpk", "highs"])
def test_Interrupt_EndsASolveAndKeepsWhatIsThere(solver: str, ctrl_c: None) -> None:
    if next(s for s in zdbcc.solvers() if s.name == solver).why_not:
        pytest.skip(f"{solver} is not here")
    model = zdbcc.Model.from_text(HARD)
    handler = signal.getsignal(signal.SIGINT)
    thread = press_after(0.5)
    start = time.monotonic()
    with pytest.raises(KeyboardInterrupt) as caught:
        model.solve(solver, time_limit=60)
    assert time.monotonic() - start < 30  # and not the limit
    thread.join()
    partial = caught.value.partial  # type: ignore[attr-defined]
    assert partial is model.last
    assert partial.solve_status == "Interrupted"
    if partial.has_solution:
        assert len(partial["x"]) == 50
    assert signal.getsignal(signal.SIGINT) is handler
    with pytest.raises(KeyboardInterrupt):  # the handler of Python is back
        signal.raise_signal(signal.SIGINT)
    assert model.solve(solver, time_limit=0.2).solve_status == "Time limit"


def test_Memory_OfResultsAndReadingsIsFreed() -> None:
    model = zdbcc.Model.from_text(LUNCH, changes=["need.rhs"])

    def use() -> None:
        model["need.rhs"] = {"energy": 13}
        result = model.solve()
        result["buy"], model["need.rhs"], pickle.dumps(model)
        with pytest.raises(zdbcc.Error):
            model["need.rhs"] = {"cake": 1}

    use()
    gc.collect()
    before = sys.getrefcount(model), len(gc.get_objects())
    for _ in range(30):
        use()
    gc.collect()
    assert sys.getrefcount(model) <= before[0] + 1
    assert len(gc.get_objects()) < before[1] + 300

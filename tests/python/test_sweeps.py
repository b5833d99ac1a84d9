"""Sweeps: all forms of scenarios, the same table whoever solves them, what is lost and blamed."""

from __future__ import annotations

import multiprocessing
import os
import pathlib
import signal
import sys
import time
from collections.abc import Callable
from concurrent.futures import Executor, Future, ProcessPoolExecutor, ThreadPoolExecutor
from typing import Any

import numpy as np
import pandas as pd
import pytest
import zdbcc
from conftest import LUNCH, MODELS
from test_models import HARD, press_after
from zdbcc import _worker

NAN = float("nan")


def model_of(name: str) -> zdbcc.Model:
    return zdbcc.Model.read(next(MODELS.glob(name + ".m*")))


def sweep(model: zdbcc.Model, scenarios: Any, **options: Any) -> pd.DataFrame:
    table = model.sweep(scenarios, **{"progress": False, **options})
    assert isinstance(table, pd.DataFrame)
    return table


# The same two scenarios: what is there stays, and 14 of energy with 2 of milk.
SAME: list[Any] = [
    {"need[energy].rhs": [NAN, 14], "need[milk].rhs": [None, 2]},
    {"scenario": ["1", "2"], "need(energy).rhs": [12, 14], "need[milk].rhs": [1, 2]},
    pd.DataFrame({"need[energy].rhs": [NAN, 14], "need[milk].rhs": [1, 2]}),
    pd.DataFrame({"need[energy].rhs": [12, 14], "need[milk].rhs": [1, 2]}, index=["1", "2"]),
    [{}, {"need[energy].rhs": 14, "need[milk].rhs": 2}],
    [{"scenario": "1"}, {"need.rhs": {"energy": 14, "milk": 2}}],
    ({"need.rhs": pd.Series({"energy": e, "milk": m})} for e, m in [(12, 1), (14, 2)]),
    "scenario,need[energy].rhs,need[milk].rhs\n1,,\n2, 14,2\n",
    'name;"need[energy].rhs";need[milk].rhs\r\n1;12;\r\n2;14;2\r\n',
]


@pytest.mark.parametrize("number", range(len(SAME)))
def test_Scenarios_AreTakenInAllForms(number: int, tmp_path: pathlib.Path) -> None:
    scenarios = SAME[number]
    if isinstance(scenarios, str):
        path = tmp_path / "scenarios.csv"
        path.write_text(scenarios, encoding="utf-8-sig", newline="")
        scenarios = path
    show = ["buy", "need[milk].marginal", "buy[*]", "buy[MILK]"]
    table = sweep(zdbcc.Model.from_text(LUNCH), scenarios, show=show)
    assert table.index.tolist() == ["1", "2"] and table.index.name == "scenario"
    shown = ["buy[bread]", "buy[milk]", "need[milk].marginal"]
    assert table.columns.tolist()[:3] == ["status", "objective", "iterations"]
    assert sorted(table.columns[3:]) == shown
    assert table["status"].tolist() == ["Optimal"] * 2
    assert table["objective"].tolist() == pytest.approx([14, 18])
    assert table["buy[bread]"].tolist() == pytest.approx([5.5, 6])
    assert table["need[milk].marginal"].tolist() == pytest.approx([2, 2])


def test_Scenarios_HaveNamesOfAnyTypeAndMaskedValues() -> None:
    values = np.ma.array([14.0, 16.0], mask=[False, True])
    index = pd.MultiIndex.from_tuples([("a", 1), ("b", 2)])
    with zdbcc.Model.from_text(LUNCH) as model:
        assert sweep(model, {"need[energy].rhs": values})["objective"].tolist() == [16, 14]
        frame = pd.DataFrame({"need[energy].rhs": [14.0, 16.0]}, index=index)
        assert sweep(model, frame)["objective"].to_dict() == {("a", 1): 16, ("b", 2): 18}


def test_Sweep_AgreesWithSolvesOneByOne() -> None:
    names = ["need[calories].rhs", "buy[flour].cost", "buy[beans].up", "buy[liver].fx"]
    random = np.random.default_rng(3)
    scenarios = pd.DataFrame(random.uniform(0.001, 0.5, (40, 4)), columns=names)
    scenarios["need[calories].rhs"] += 3
    scenarios[random.random((40, 4)) < 0.3] = NAN
    with model_of("diet") as model:
        model["need[C].rhs"] = 80
        table = sweep(model, scenarios, show=["buy[flour]"], solver="clp")
        assert model["need[C].rhs"] == 80
        for row in range(40):
            for name in names:
                del model[name]
                if scenarios[name][row] == scenarios[name][row]:
                    model[name] = scenarios[name][row]
            result = model.solve("clp")
            assert table["status"].iloc[row] == result.status
            if result.has_solution:
                assert table["objective"].iloc[row] == pytest.approx(result.objective)


def test_Columns_OfAWholeSymbolAndOfOneOfItsEntriesGoTogether() -> None:
    with zdbcc.Model.from_text(LUNCH, changes=["need.rhs"]) as model:
        model["need.rhs"] = {"energy": 16}
        scenarios = {"need.rhs": [NAN, 2, 2], "need[energy].rhs": [NAN, NAN, 14]}
        assert sweep(model, scenarios)["objective"].tolist() == pytest.approx([18, 6, 18])
        # A number has a change of its own and is one of the model's changes as well.
        one = sweep(model, {"need[milk].rhs": [NAN, 2]})
        assert one["objective"].tolist() == pytest.approx([18, 20])


def test_Params_ChangeNumbersOrRows() -> None:
    text = """
    param n default 2; param p{i in 1..3} default i; set I := 1..n;
    var x{I} >= 0; minimize c: sum{i in I} p[i] * x[i]; s.t. r{i in I}: x[i] >= i; end;
    """
    with zdbcc.Model.from_text(text) as model:
        scenarios = {
            "n": [NAN, 3, 2, NAN],
            "p[1]": [NAN, 2, 7, NAN],
            "r[1].rhs": [NAN, NAN, NAN, 2],
        }
        table = sweep(model, scenarios, show=["x"])
        assert table["objective"].tolist() == pytest.approx([5, 15, 11, 6])
        assert table["x[2]"].tolist() == pytest.approx([2, 2, 2, 2])
        bad = sweep(model, {"n": [2, -1, 1]}, keep_going=True)
        assert bad["objective"].tolist()[::2] == pytest.approx([5, 1])
        with zdbcc.Model.from_text(text.replace("default 2", "default 2, >= 1")) as checked:
            failed = sweep(checked, {"n": [2, -1, 1]}, keep_going=True)
            assert failed["status"].tolist() == ["Optimal", "Failed", "Optimal"]
            assert failed["reason"].iloc[1] != ""


def is_not_called(*_: Any) -> None:
    raise AssertionError("a scenario was solved")


@pytest.mark.parametrize("executor", [None, ThreadPoolExecutor(1)])
def test_Params_AreTriedInAllScenariosBeforeTheFirstSolve(executor: Any, monkeypatch: Any) -> None:
    text = """
    param n default 2, >= 1; set I := 1..n; var x{I} >= 0; minimize c: sum{i in I} x[i];
    s.t. r{i in I}: x[i] >= i; end;
    """
    bad: list[tuple[dict[str, Any], str]] = [
        ({"n": [2] * 300 + [-1, 3]}, "scenario 301: .*n"),
        ({"n": [2, 1], "r[2].rhs": [5, 5]}, "scenario 2: .*r"),  # a row that it lacks
    ]
    with zdbcc.Model.from_text(text) as model:
        monkeypatch.setattr(_worker.Chunk, "run", is_not_called)
        for scenarios, message in bad:
            with pytest.raises(zdbcc.ModelError, match=message):
                sweep(model, scenarios, executor=executor)


def test_Params_AreTranslatedOnceForCheckAndSolves(monkeypatch: Any) -> None:
    made: list[int] = []
    real = _worker.Ready.__init__

    def init(self: Any, job: Any, variants: Any) -> None:
        made.append(len(variants))
        real(self, job, variants)

    monkeypatch.setattr(_worker.Ready, "__init__", init)
    text = "param c default 2; var x >= 1; minimize z: c * x; s.t. r: x >= 1; end;"
    with zdbcc.Model.from_text(text) as model:
        table = sweep(model, {"c": [1, 3, 3, 1, 2]})
    assert table["objective"].tolist() == [1, 3, 3, 1, 2]
    assert made == [2] or made == [3]  # the model's own value is no variant where it is known


def test_Params_ThatDifferInCaseOnlyAreTwo() -> None:
    text = (
        "param t default 1; param T default 10; var x >= 0; minimize c: x; s.t. r: x >= t + T; end;"
    )
    with zdbcc.Model.from_text(text) as model:
        table = sweep(model, {"t": [2, 2], "T": [10, 20]})
        assert table["objective"].tolist() == [12, 22]
        model["t"], model["T"] = 3, 4
        del model["t"]
        assert model.solve().objective == 5


def test_Labels_ThatDifferInTheCaseOfOtherLettersAreTwo() -> None:
    text = """
    set I := {'Ä', 'ä'}; var x{I} >= 0; minimize c: sum{i in I} x[i];
    s.t. r{i in I}: x[i] >= (if i = 'Ä' then 1 else 2); end;
    """
    with zdbcc.Model.from_text(text) as model:
        table = sweep(model, {"r[Ä].rhs": [5], "r[ä].rhs": [7]}, show=["x[Ä]", "x[ä]"])
        assert table.iloc[0, 3:].to_dict() == {"x[Ä]": 5, "x[ä]": 7}
        model["r[ä].rhs"] = 9
        assert model["r.rhs"].to_dict() == {"Ä": 1, "ä": 9}
        with pytest.raises(zdbcc.NotFoundError, match="in r.rhs$"):
            model["r.rhs"]["a"]


BAD: list[tuple[Any, dict[str, Any], type[zdbcc.Error], str]] = [
    ({"ned.rhs": [1]}, {}, zdbcc.NotFoundError, "ned"),
    ({"need[cake].rhs": [1]}, {}, zdbcc.NotFoundError, "cake"),
    ({"need[milk].rhs": ["1"]}, {}, zdbcc.ArgumentError, "not a number"),
    ({"need[milk].rhs": [1, np.inf]}, {}, zdbcc.ArgumentError, "cannot be inf"),
    ({"need[milk].rhs": [1], "NEED(milk).rhs": [1]}, {}, zdbcc.ArgumentError, "are the same"),
    ({"need[milk].rhs": [1], "need.rhs": [1, 2]}, {}, zdbcc.ArgumentError, "different lengths"),
    ({"need[milk].rhs": [1, 2], "scenario": ["a", "a"]}, {}, zdbcc.ArgumentError, "'a' already"),
    ({5: [1]}, {}, zdbcc.ArgumentError, "names are str"),
    ([5], {}, zdbcc.ArgumentError, "each is a dict"),
    (5, {}, zdbcc.ArgumentError, "pass a DataFrame"),
    ({"need[milk].rhs": 5}, {}, zdbcc.ArgumentError, "values of need[milk].rhs are a list"),
    ([{"scenario": [1]}], {}, zdbcc.ArgumentError, "its name is [1]"),
    ("no/such.csv", {}, zdbcc.MissingFileError, "no/such.csv"),
    ({"need.rhs": [1]}, {"show": "buy"}, zdbcc.ArgumentError, "list of names"),
    ({"need.rhs": [1]}, {"show": None}, zdbcc.ArgumentError, "list of names"),
    ({"need.rhs": [1]}, {"iteration_limit": 1.5}, zdbcc.ArgumentError, "must be an int"),
    ({"need.rhs": [1]}, {"relax": "no"}, zdbcc.ArgumentError, "True or False"),
    ({"need.rhs": [1]}, {"show": ["bye"]}, zdbcc.NotFoundError, "buy"),
    ({"need.rhs": [1]}, {"show": ["buy[cake]"]}, zdbcc.LabelError, "buy[cake]"),
    ({"need.rhs": [1]}, {"show": ["buy[a,b]"]}, zdbcc.ArgumentError, "2 labels"),
    ({"need.rhs": [1]}, {"start": "first"}, zdbcc.ArgumentError, "'base' or 'last'"),
    ({"need.rhs": [1]}, {"solver": "best"}, zdbcc.ArgumentError, "there are clp"),
    ({"need.rhs": [1]}, {"chunk": 0}, zdbcc.ArgumentError, "at least one"),
    ({"need.rhs": [1]}, {"executor": "fast"}, zdbcc.ArgumentError, "not an executor"),
    ({"need.rhs": [1]}, {"executor": 0}, zdbcc.ArgumentError, "at least one process"),
]  # fmt: skip


@pytest.mark.parametrize("number", range(len(BAD)))
def test_BadScenarios_AreRefusedBeforeTheFirstSolve(number: int) -> None:
    scenarios, options, cls, message = BAD[number]
    with zdbcc.Model.from_text(LUNCH) as model:
        with pytest.raises(cls) as caught:
            sweep(model, scenarios, **options)
        assert message in str(caught.value)


@pytest.mark.parametrize(
    ("text", "message"),
    [
        ("scenario,need.rhs\n", "no scenarios"),
        ("scenario,need.rhs\na,1,2\n", "row 2: 3 fields"),
        ("scenario,need.rhs\na,1\nb,x\n", "row 3: need.rhs: 'x' is not a number"),
    ],
)
def test_BadFiles_AreRefusedWithTheRow(text: str, message: str, tmp_path: pathlib.Path) -> None:
    path = tmp_path / "bad.csv"
    path.write_text(text)
    with zdbcc.Model.from_text(LUNCH) as model, pytest.raises(zdbcc.ArgumentError, match=message):
        sweep(model, path)


class Backwards(Executor):
    """Runs what was submitted when it is waited for, the last first, and loses some of it."""

    num_workers = 3

    def __init__(self, is_lost: Callable[[np.ndarray], bool] = lambda values: False) -> None:
        self._pool = ThreadPoolExecutor(2)
        self._is_lost = is_lost
        self.sizes: list[int] = []

    def submit(self, function: Any, /, *arguments: Any, **_: Any) -> Future[Any]:
        self.sizes.append(len(arguments[2]))
        if self._is_lost(arguments[2]):
            future: Future[Any] = Future()
            future.set_exception(ConnectionError("the machine is gone"))
            return future
        return self._pool.submit(function, *arguments)


EXECUTORS: dict[str, Callable[[], Any]] = {
    "two processes": lambda: 2,
    "a pool": lambda: ProcessPoolExecutor(2),
    "threads": lambda: ThreadPoolExecutor(3),
    "losing": lambda: Backwards(lambda values: len(values) > 2),
}


@pytest.mark.parametrize("which", EXECUTORS)
@pytest.mark.parametrize("chunk", [None, 7])
def test_Executors_GiveTheTableOfNone(which: str, chunk: int | None) -> None:
    with model_of("diet") as model:
        model["need[C].rhs"] = 80
        scenarios = {
            "need[calories].rhs": np.linspace(2, 5, 40),
            "buy[flour].cost": np.linspace(0.2, 0.9, 40)[::-1],
            "price[beans]": [NAN] * 20 + [6, 7] * 10,
        }
        alone = sweep(model, scenarios, show=["buy", "need.marginal"])
        seen: list[tuple[int, int]] = []
        with_it = sweep(
            model,
            scenarios,
            show=["buy", "need.marginal"],
            executor=EXECUTORS[which](),
            chunk=chunk,
            progress=lambda done, count: seen.append((done, count)),
        )
        pd.testing.assert_frame_equal(alone, with_it, check_exact=True)
        assert seen[-1] == (40, 40)


def test_LostScenario_IsBlamedAloneAfterHalving() -> None:
    executor = Backwards(lambda values: bool((values == 13).any()))
    scenarios = {"need[energy].rhs": np.arange(2.0, 26.0)}
    with zdbcc.Model.from_text(LUNCH) as model:
        table = sweep(model, scenarios, executor=executor, chunk=8, keep_going=True)
        assert [row for row, s in enumerate(table["status"]) if s == "Failed"] == [11]
        assert "ConnectionError: the machine is gone" in table["reason"].iloc[11]
        assert executor.sizes[:3] == [8, 8, 8] and sorted(executor.sizes[3:]) == [1, 1, 2, 2, 4, 4]
        with pytest.raises(zdbcc.SolveError, match="scenario 12: its worker") as caught:
            sweep(model, scenarios, executor=executor, chunk=8)
        assert len(caught.value.partial) == 11


def test_LostChunk_IsNotBlamedBeforeItWasAlone() -> None:
    seen: set[float] = set()

    def is_first_time(values: np.ndarray) -> bool:
        is_new = values[0, 0] not in seen
        seen.add(values[0, 0])
        return is_new

    with zdbcc.Model.from_text(LUNCH) as model:
        scenarios = {"need[energy].rhs": [12, 14, 16]}
        table = sweep(model, scenarios, executor=Backwards(is_first_time), chunk=1)
    assert table["objective"].tolist() == pytest.approx([14, 16, 18])


def test_Base_IsTheModelWithItsChanges() -> None:
    with model_of("diet") as model:
        model["buy[beans].cost"] = 9
        table = sweep(model, {"need[calories].rhs": [NAN, 4]}, solver="clp")
        assert table["objective"].iloc[0] == pytest.approx(model.solve("clp").objective)
    assert table["iterations"].iloc[0] == 0  # it begins where it ends


@pytest.mark.skipif(
    multiprocessing.get_start_method() != "fork", reason="it plants its fault by fork"
)
def test_KilledProcesses_AreReplacedAndTheirScenarioBlamed(monkeypatch: Any) -> None:
    real = _worker.Chunk.run

    def run(self: Any, seconds: float) -> None:
        if (self._values == 13).any():
            os.kill(os.getpid(), signal.SIGKILL)
        real(self, seconds)

    monkeypatch.setattr(_worker.Chunk, "run", run)  # in the processes, which are forked
    scenarios = {"need[energy].rhs": np.arange(2.0, 18.0)}
    with zdbcc.Model.from_text(LUNCH) as model:
        for executor in (2, ProcessPoolExecutor(1)):
            table = sweep(model, scenarios, executor=executor, chunk=4, keep_going=True)
            assert [row for row, s in enumerate(table["status"]) if s == "Failed"] == [11]
            assert "BrokenProcessPool" in table["reason"].iloc[11]


def test_StartLast_FindsTheSameObjectives() -> None:
    scenarios = {"need[calories].rhs": np.linspace(2, 5, 30)}
    with model_of("diet") as model:
        base, last = (sweep(model, scenarios, start=start) for start in ("base", "last"))
    assert last["objective"].tolist() == pytest.approx(base["objective"].tolist())
    assert last["iterations"].sum() <= base["iterations"].sum()


def test_SlowChunks_GiveWhatTheyHaveInTurns(monkeypatch: Any) -> None:
    # No more than a turn is lost with a worker, or with one that cannot be told to stop.
    monkeypatch.setattr(_worker, "_TURN", 0.0)
    executor = Backwards()
    scenarios = {"need[energy].rhs": np.arange(2.0, 12.0)}
    with zdbcc.Model.from_text(LUNCH) as model:
        alone = sweep(model, scenarios)
        turns = sweep(model, scenarios, executor=executor, chunk=10)
    pd.testing.assert_frame_equal(alone, turns, check_exact=True)
    assert executor.sizes == list(range(10, 0, -1))


# Ctrl-C comes to this process alone: those of a pool are told by it.
@pytest.mark.parametrize(
    ("executor", "chunk"),
    [(None, None), (ThreadPoolExecutor(1), 50), (1, 1), (1, None), (ProcessPoolExecutor(1), 201)],
)
@pytest.mark.parametrize("param", [{}, {"extra": [2] * 201}])  # whose chunks take no turns
def test_Interrupt_KeepsTheRowsThatAreSolved(
    executor: Any, chunk: int | None, param: dict[str, Any], ctrl_c: None
) -> None:
    if param and chunk != 201:
        pytest.skip("it is told to stop in the same way")
    scenarios = {"split[1].rhs": [NAN] + [700.0 + i for i in range(200)], **param}
    model = zdbcc.Model.from_text("param extra default 1;" + HARD)
    thread = press_after(1.5)
    start = time.monotonic()
    with pytest.raises(KeyboardInterrupt) as caught:
        sweep(model, scenarios, executor=executor, chunk=chunk, time_limit=0.2, solver="glpk")
    thread.join()
    assert time.monotonic() - start < 10
    partial = caught.value.partial  # type: ignore[attr-defined]
    assert model.last is partial
    assert 0 < len(partial) < 201
    assert partial.index[0] == "1"
    assert set(partial["status"]) <= {
        "Feasible, stopped before optimal",
        "Optimal",
        "Stopped without a feasible solution",
        "Integer solution",
    }


def test_Interrupt_FreesTheWorkersOfAPool(ctrl_c: None) -> None:
    model = zdbcc.Model.from_text(HARD)
    with ProcessPoolExecutor(1) as executor:
        press_after(1.5)
        with pytest.raises(KeyboardInterrupt):
            sweep(model, {"split[1].rhs": [700]}, executor=executor, time_limit=60, solver="glpk")
        assert executor.submit(os.getpid).result(timeout=10) > 0


def test_WithoutPandas_TheTableIsADict(monkeypatch: Any) -> None:
    monkeypatch.setitem(sys.modules, "pandas", None)
    with zdbcc.Model.from_text(LUNCH) as model:
        table = model.sweep({"need[energy].rhs": [12, 14]}, ["buy[milk]"], progress=False)
    assert list(table) == ["scenario", "status", "objective", "iterations", "buy[milk]"]
    assert table["scenario"] == ["1", "2"]
    assert table["objective"].tolist() == pytest.approx([14, 16])


def test_Models_AreReadOnceForAllChunks(monkeypatch: Any) -> None:
    made: list[int] = []
    real = _worker.Ready.__init__

    def init(self: Any, *arguments: Any) -> None:
        made.append(1)
        real(self, *arguments)

    monkeypatch.setattr(_worker.Ready, "__init__", init)
    with zdbcc.Model.from_text(LUNCH) as model:
        scenarios = {"need[milk].rhs": np.linspace(1, 2, 50)}
        with ThreadPoolExecutor(1) as executor:
            sweep(model, scenarios, executor=executor, chunk=5)
        sweep(model, scenarios)
    assert len(made) == 1

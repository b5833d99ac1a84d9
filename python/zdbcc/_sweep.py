"""Sweeps: scenarios in, a table out, and who solves which chunk."""

from __future__ import annotations

import csv
import hashlib
import os
import pickle
import sys
from collections.abc import Callable, Hashable, Iterable, Iterator, Mapping, Sequence
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple, NoReturn

import numpy as np

from zdbcc import _kit
from zdbcc._case import lower
from zdbcc._errors import (
    ArgumentError,
    LabelError,
    MissingFileError,
    ModelError,
    NotFoundError,
    SolveError,
    list_of,
    path_of,
)
from zdbcc._names import Name, entry, parse, parse_entry
from zdbcc._numbers import Rows, check_values, records_of
from zdbcc._opened import Opened, Options, solver_of
from zdbcc._values import doubles, is_number, masked
from zdbcc._worker import Chunk, Job, Outcomes

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from zdbcc._models import Model
    from zdbcc._opened import Params

_FAILED = "Failed"
#: Scenarios whose params are translated at a time.
_TRANSLATED = 256
#: Seconds between two looks at the progress.
_SLICE = 0.1


class Scenarios(NamedTuple):
    """Scenarios as a table; nan where a value stays as it is."""

    labels: list[Any]  #: names of the scenarios
    columns: list[str]  #: names of what changes
    values: NDArray[np.float64]  #: scenarios x columns


def _column(column: Sequence[Any], name: str) -> NDArray[np.float64]:
    """A column of numbers, of which None and nan are missing."""
    mask = masked(column)
    if mask is not None:
        return np.where(mask, np.nan, doubles(column, name))
    try:
        array = np.asarray(column)
    except ValueError:
        array = np.empty(0, dtype=object)
    if array.ndim == 1 and array.dtype.kind in "iufb":
        return array.astype(np.float64)
    values = np.full(len(column), np.nan)
    for row, value in enumerate(column):
        if value is None or value is getattr(sys.modules.get("pandas"), "NA", None):
            continue
        if not is_number(value):
            raise ArgumentError(f"scenario {row}: {name} is {value!r}, which is not a number")
        values[row] = value
    return values


def _matrix(columns: Mapping[str, Any], count: int) -> NDArray[np.float64]:
    values = np.empty((count, len(columns)))
    for place, (name, column) in enumerate(columns.items()):
        values[:, place] = _column(column, name)
    return values


def _from_columns(columns: Mapping[str, Any], labels: Sequence[Any] | None) -> Scenarios:
    given = {
        name: column
        if isinstance(column, np.ndarray) and column.ndim
        else list_of(column, f"values of {name}")
        for name, column in columns.items()
    }
    for name in given:
        if not isinstance(name, str):
            raise ArgumentError(f"a column of the scenarios is {name!r}; names are str")
    counts = {len(column) for column in given.values()}
    if len(counts) > 1:
        raise ArgumentError(f"the columns of the scenarios have different lengths: {counts}")
    count = counts.pop() if counts else len(labels or ())
    own = given.pop("scenario", labels)
    named = list(own) if own is not None else [str(i + 1) for i in range(count)]
    return Scenarios(named, list(given), _matrix(given, count))


def _from_frame(frame: Any) -> Scenarios:
    is_numbered = type(frame.index).__name__ == "RangeIndex"
    labels = [str(i + 1) for i in range(len(frame))] if is_numbered else list(frame.index)
    columns: dict[str, Any] = {}
    for place, name in enumerate(frame.columns):
        if name in columns:
            raise ArgumentError(f"the column {name!r} of the scenarios occurs twice")
        columns[name] = frame.iloc[:, place].to_numpy()
    return _from_columns(columns, labels)


def _columns_of_table(table: Any) -> dict[str, Any]:
    """Columns of a frame of polars or a table of pyarrow."""
    if hasattr(table, "to_pydict"):
        return dict(table.to_pydict())
    return dict(table.to_dict(as_series=False))


def _from_rows(rows: Iterable[Any]) -> Scenarios:
    """Dicts; records of a name become columns of its entries."""
    flat: list[dict[str, Any]] = []
    labels = []
    for number, row in enumerate(rows):
        if not isinstance(row, Mapping):
            raise ArgumentError(f"scenario {number} is {row!r}; each is a dict of names and values")
        values: dict[str, Any] = {}
        labels.append(row.get("scenario", str(number + 1)))
        for name, given in row.items():
            value = given
            if name == "scenario" or value is None:
                continue
            if is_number(value) or isinstance(value, str):
                values[name] = value
                continue
            from zdbcc._given import kept, positions

            key, value = parse(name), kept(value)
            keys, numbers = records_of(value, name, positions(value))
            for labels_of_entry, entry_value in zip(keys, numbers.tolist(), strict=True):
                values[key.with_(tuple(labels_of_entry)).text] = entry_value
        flat.append(values)
    names = list(dict.fromkeys(name for values in flat for name in values))
    columns = {name: [values.get(name) for values in flat] for name in names}
    return Scenarios(labels, names, _matrix(columns, len(flat)))


def _from_csv(path: str) -> Scenarios:
    """A heading and rows, separated by the first of tab, semicolon and comma in the heading."""
    try:
        text = Path(path).read_text(encoding="utf-8-sig")
    except FileNotFoundError:
        raise MissingFileError(f"there is no file {path}") from None
    heading = text.partition("\n")[0]
    separator = next((c for c in "\t;," if c in _outside_quotes(heading)), ",")
    rows = [row for row in csv.reader(text.splitlines(), delimiter=separator) if row]
    if len(rows) < 2 or len(rows[0]) < 2:
        raise ArgumentError(f"{path} has no scenarios; write a heading and at least one row")
    names = [name.strip() for name in rows[0][1:]]
    values = np.full((len(rows) - 1, len(names)), np.nan)
    for number, row in enumerate(rows[1:], 2):
        if len(row) != len(rows[0]):
            raise ArgumentError(
                f"{path}: row {number}: {len(row)} fields, but the heading has {len(rows[0])}"
            )
        for place, field in enumerate(row[1:]):
            if not field.strip():
                continue
            try:
                values[number - 2, place] = float(field)
            except ValueError:
                raise ArgumentError(
                    f"{path}: row {number}: {names[place]}: {field!r} is not a number"
                ) from None
    return Scenarios([row[0].strip() for row in rows[1:]], names, values)


def _outside_quotes(line: str) -> str:
    return "".join(line.split('"')[::2])


def scenarios_of(given: Any) -> Scenarios:
    """Scenarios in any of the forms that ``Model.sweep`` takes. Raises what is wrong with them."""
    if isinstance(given, str | os.PathLike):
        found = _from_csv(path_of(given))
    elif hasattr(given, "iloc") and hasattr(given, "columns"):
        found = _from_frame(given)
    elif isinstance(given, Mapping):
        found = _from_columns(given, None)
    elif hasattr(given, "__arrow_c_stream__") and hasattr(given, "columns"):
        found = _from_columns(_columns_of_table(given), None)
    elif isinstance(given, Iterable):
        found = _from_rows(given)
    else:
        raise ArgumentError(
            f"scenarios cannot be made of a {type(given).__name__}; pass a DataFrame, a dict of "
            "columns, dicts, or the path of a CSV file"
        )
    seen: dict[Any, int] = {}
    for row, label in enumerate(found.labels):
        if not isinstance(label, Hashable):
            raise ArgumentError(f"scenario {row}: its name is {label!r}, which is not a text")
        if seen.setdefault(label, row) != row:
            raise ArgumentError(f"scenario {row}: there is a scenario {label!r} already")
    return found


def _require_different(columns: Iterable[str], names: list[Name], is_param: list[bool]) -> None:
    """Raises for two columns that are the same. In MathProg, t and T are two params."""
    keys: dict[Any, str] = {}
    for column, name, exact in zip(columns, names, is_param, strict=True):
        first = keys.setdefault((name.symbol, name.labels) if exact else name.key, column)
        if first is not column:
            raise ArgumentError(
                f"the columns {first!r} and {column!r} of the scenarios are the same"
            )


class _Column(NamedTuple):
    """A number that scenarios change."""

    change: int
    labels: tuple[str, ...]
    name: Name


class Sweep:
    """A sweep of a model, from its scenarios to its table. It is checked when it is made."""

    def __init__(
        self,
        model: Model,
        scenarios: Any,
        show: Iterable[str],
        options: Options,
        start: str,
        keep_going: bool,
    ) -> None:
        if start not in ("base", "last"):
            raise ArgumentError(f"start is 'base' or 'last', not {start!r}")
        self.scenarios = scenarios_of(scenarios)
        self._keep_going = keep_going
        names = [parse(name) for name in self.scenarios.columns]
        is_param = [model._is_param(name) for name in names]
        _require_different(self.scenarios.columns, names, is_param)
        self._params = self._param_values(model, names, is_param)
        changing = [
            (place, name.with_(name.labels, part))
            for place, name in enumerate(names)
            if not is_param[place]
            for part in (("lo", "up") if name.attribute == "fx" else (name.attribute,))
        ]
        opened = self._open(model, [name for _, name in changing])
        try:
            options.apply(opened.core, opened.direction)
            constants = self._constants(model, opened)
            columns = self._columns(opened, [name for _, name in changing])
            self._values = self._fill(opened, columns, [p for p, _ in changing], constants)
            flat = [column for group in columns for column in group]
            flat = list({(c.change, c.labels): c for c in flat}.values())
            shown, self._shown_names = self._find_shown(opened, show)
            self.job = Job(
                model._source,
                opened.names,
                dict(model._params),
                constants,
                ([c.change for c in flat], [list(c.labels) for c in flat]),
                shown,
                options._replace(solver=None),
                solver_of(opened.core, options.solver, options.relax),
                start == "base",
                keep_going,
            )
        finally:
            opened.core.close()
        self.packed = pickle.dumps(self.job, pickle.HIGHEST_PROTOCOL)
        self.digest = hashlib.sha256(self.packed).hexdigest()
        self.outcomes = Outcomes(len(self.scenarios.labels), self.job.width)

    # ---- What changes ----

    def _param_values(
        self, model: Model, names: list[Name], is_param: list[bool]
    ) -> list[Params] | None:
        """The params of each scenario; None if no column is one."""
        places = [place for place, param in enumerate(is_param) if param]
        if not places:
            return None
        values = self.scenarios.values
        for place in places:
            column = values[:, place]
            if np.isinf(column).any():
                raise ArgumentError(f"{names[place].text} cannot be infinite")
        return [
            {
                **model._params,
                **{names[p].text: float(row[p]) for p in places if row[p] == row[p]},
            }
            for row in values
        ]

    def _open(self, model: Model, names: list[Name]) -> Opened:
        """The model with the names of its changes and of those of the scenarios."""
        known = {name.key for name in model._opened.names}
        new = {name.key: name for name in names if name.key not in known}
        try:
            return Opened(model._source, [*model._opened.names, *new.values()], model._params)
        except ModelError as error:
            raise NotFoundError(f"{error}") from None

    def _constants(self, model: Model, opened: Opened) -> tuple[list[int], Rows, Any]:
        """What has been changed in the model before."""
        places = {name.key: number for number, name in enumerate(opened.names)}
        numbers: list[int] = []
        rows: Rows = []
        values: list[Any] = [np.empty(0)]
        for changed in model._numbers.values():
            labels, part = changed._changed()
            numbers += [places[changed._name.key]] * len(labels)
            rows += labels
            values.append(part)
        return numbers, rows, np.concatenate(values)

    def _columns(self, opened: Opened, names: list[Name]) -> list[list[_Column]]:
        """What each name stands for."""
        places = {name.key: number for number, name in enumerate(opened.names)}
        columns = []
        for name in names:
            change = places[name.key]
            if opened.changes[change][3] == 0:
                columns.append([_Column(change, (), name)])
                continue
            rows, _ = opened.numbers(change)
            columns.append([_Column(change, tuple(row), name) for row in rows])
        return columns

    def _fill(
        self,
        opened: Opened,
        columns: list[list[_Column]],
        places: list[int],
        constants: tuple[list[int], Rows, Any],
    ) -> NDArray[np.float64]:
        """Values of all numbers in all scenarios, those that are missing from the model."""
        base: dict[tuple[int, tuple[str, ...]], float] = {}
        for number in {column.change for group in columns for column in group}:
            rows, values = opened.numbers(number)
            base.update(
                ((number, tuple(row)), value)
                for row, value in zip(rows, values.tolist(), strict=True)
            )
        numbers, rows, changed = constants
        opened.core.set(_targets(numbers, rows), np.ascontiguousarray(changed))
        self._take_changed(opened, base, constants)
        filled: dict[tuple[int, tuple[str, ...]], NDArray[np.float64]] = {}
        count = len(self.scenarios.labels)
        for group, place in zip(columns, places, strict=True):
            given = self.scenarios.values[:, place]
            is_given = ~np.isnan(given)
            for column in group:
                key = column.change, column.labels
                check_values(given[is_given], column.name)
                before = filled.get(key)
                if before is None:
                    before = np.full(count, base[key])
                filled[key] = np.where(is_given, given, before)
        if not filled:
            return np.empty((count, 0))
        return np.ascontiguousarray(np.stack(list(filled.values()), axis=1))

    def _take_changed(
        self,
        opened: Opened,
        base: dict[tuple[int, tuple[str, ...]], float],
        constants: tuple[list[int], Rows, Any],
    ) -> None:
        """What the model has been given, also by other names: ``need.rhs`` and ``need[a].rhs``."""
        changed = {
            opened.entry(number, row): value
            for number, row, value in zip(*constants[:2], constants[2].tolist(), strict=True)
        }
        for number, labels in base if changed else ():
            entry_ = opened.entry(number, labels)
            if entry_ in changed:
                base[number, labels] = changed[entry_]

    # ---- What is shown ----

    def _find_shown(
        self, opened: Opened, show: Iterable[str]
    ) -> tuple[tuple[tuple[str, Rows, bool], ...], list[str]]:
        if isinstance(show, str) or not isinstance(show, Iterable):
            raise ArgumentError(f"show is a list of names, such as ['ship'], and not {show!r}")
        shown = []
        names: list[str] = []
        for text in show:
            is_marginal = isinstance(text, str) and text.endswith(".marginal")
            ending = ".marginal" if is_marginal else ""
            symbol, labels = parse_entry(str(text).removesuffix(ending) if ending else str(text))
            part = opened.parts.get(lower(symbol))
            if part is None:
                there = ", ".join(p.name for p in opened.parts.values() if not p.is_added)
                raise NotFoundError(f"there is no symbol {symbol!r} in the model; it has {there}")
            keys, _ = opened.core.read(part.name)
            columns = opened.texts(keys)
            rows = [list(row) for row in zip(*columns, strict=True)] if columns else [[]]
            chosen = _chosen(rows, labels, part.dim, str(text))
            shown.append((part.name, chosen, is_marginal))
            names += [entry(part.name, tuple(row)) + ending for row in chosen]
        return tuple(shown), names

    # ---- Solving ----

    def run(
        self, executor: Any, chunk: int | None, progress: bool | Callable[[int, int], object]
    ) -> Any:
        """Solves all scenarios; the table of them."""
        if chunk is not None and (not isinstance(chunk, int | np.integer) or chunk < 1):
            raise ArgumentError(f"a chunk has at least one scenario, not {chunk!r}")
        with _Progress(progress, len(self.scenarios.labels)) as shown:
            if executor is None:
                self._run_here(shown.show)
            else:
                from zdbcc._executors import run_on

                run_on(self, executor, chunk, shown.show)
        self.require_no_failure()
        return self.table()

    def _chunks(self) -> Iterator[tuple[int, Chunk]]:
        """The scenarios, in pieces whose params are translated at a time."""
        count = len(self.scenarios.labels)
        step = max(count, 1) if self._params is None else _TRANSLATED
        for first in range(0, count, step):
            part = slice(first, first + step)
            yield first, Chunk(self.digest, self.job, self._values[part], self.params(part))

    @property
    def checks_params(self) -> bool:
        """Whether values of params must be tried before the first solve.

        A sweep that keeps going makes failed scenarios of those that the model refuses.
        """
        return self._params is not None and not self._keep_going

    def refuse(self, row: int, why: str) -> NoReturn:
        """Raises for values of params that the model refuses."""
        raise ModelError(f"scenario {self.scenarios.labels[row]}: {why}")

    def _run_here(self, show: Callable[[int], None]) -> None:
        """Solves them in this thread, some at a time."""
        for first, chunk in self._chunks() if self.checks_params else ():
            with chunk:
                refused = chunk.find_refused()
            if refused is not None:
                self.refuse(first + refused[0], refused[1])
        for first, chunk in self._chunks():
            try:
                with chunk:
                    while not chunk.is_done:
                        chunk.run(_SLICE)
                        show(first + chunk.next)
            finally:
                self.outcomes.take(first, chunk.outcomes)
            if chunk.is_stopped:
                raise KeyboardInterrupt
            if chunk.outcomes.failures and not self._keep_going:
                return

    def values(self, part: slice) -> NDArray[np.float64]:
        """The numbers of some scenarios."""
        return self._values[part]

    def params(self, part: slice) -> list[Params] | None:
        """The params of some scenarios."""
        return None if self._params is None else list(self._params[part])

    def require_no_failure(self) -> None:
        """Raises for the first scenario that could not be solved at all."""
        if self._keep_going or not self.outcomes.failures:
            return
        row = min(self.outcomes.failures)
        raise SolveError(f"scenario {self.scenarios.labels[row]}: {self.outcomes.failures[row]}")

    # ---- The table ----

    def table(self, partial: bool = False) -> Any:
        """The outcomes; of a part of the scenarios only those that are known.

        After a failure that ends the sweep, these are the scenarios before it.
        """
        outcomes = self.outcomes
        is_known = outcomes.statuses >= 0
        if self._keep_going:
            is_known[list(outcomes.failures)] = True
        elif outcomes.failures:
            is_known[min(outcomes.failures) :] = False
        rows = np.flatnonzero(is_known) if partial else np.arange(len(is_known))
        columns: dict[str, Any] = {
            "status": [self._status(row) for row in rows.tolist()],
            "objective": outcomes.numbers[rows, 0],
            "iterations": outcomes.iterations[rows, 0],
        }
        if self._keep_going:
            columns["reason"] = [outcomes.failures.get(row, "") for row in rows.tolist()]
        shown = np.asfortranarray(outcomes.shown[rows])
        columns.update((name, shown[:, place]) for place, name in enumerate(self._shown_names))
        labels = [self.scenarios.labels[row] for row in rows.tolist()]
        try:
            import pandas as pd
        except ImportError:
            return {"scenario": labels, **columns}
        index = pd.Index(labels, name="scenario", tupleize_cols=False)
        return pd.DataFrame(columns, index=index)

    def _status(self, row: int) -> str:
        if row in self.outcomes.failures:
            return _FAILED
        return _status_text(int(self.outcomes.statuses[row]))


_texts: dict[int, str] = {}


def _status_text(status: int) -> str:
    if status not in _texts:
        _texts[status] = _kit.status_text(status)
    return _texts[status]


def _targets(numbers: list[int], rows: Rows) -> _kit.Targets:
    from zdbcc._opened import targets

    return targets(numbers, rows)


def _chosen(rows: Rows, labels: tuple[str, ...] | None, dim: int, text: str) -> Rows:
    """The rows that have the labels of a name, in which "*" is any."""
    if labels is None:
        return rows
    if len(labels) != dim:
        raise ArgumentError(f"{text} has {len(labels)} labels, but the symbol has {dim}")
    wanted = [None if label == "*" else lower(label) for label in labels]
    chosen = [
        row
        for row in rows
        if all(w is None or w == lower(label) for w, label in zip(wanted, row, strict=True))
    ]
    if not chosen:
        raise LabelError(f"the model has no entry {text}")
    return chosen


class _Progress:
    """Shows how far a sweep is, by tqdm or a function."""

    def __init__(self, wanted: bool | Callable[[int, int], object], count: int) -> None:
        self._count = count
        self._function = wanted if callable(wanted) else None
        self._bar: Any = None
        if wanted is True:
            try:
                from tqdm.auto import tqdm

                self._bar = tqdm(total=count, unit="scenario")
            except ImportError:
                pass

    def show(self, done: int) -> None:
        """Shows that so many scenarios are solved."""
        if self._bar is not None:
            self._bar.update(done - self._bar.n)
        if self._function is not None:
            self._function(done, self._count)

    def __enter__(self) -> _Progress:
        return self

    def __exit__(self, *_: object) -> None:
        if self._bar is not None:
            self._bar.close()

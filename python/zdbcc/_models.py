"""Models: read from files, changed by name, solved one time or many times."""

from __future__ import annotations

import html
import os
import re
import threading
import weakref
from collections.abc import Callable, Iterable, Iterator, Mapping
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from zdbcc._case import lower
from zdbcc._database import Database
from zdbcc._errors import (
    ArgumentError,
    ClosedError,
    Error,
    ModelError,
    NotFoundError,
    SolveError,
)
from zdbcc._given import bracketed, canonical, checked, kept, positions, require_finite
from zdbcc._names import Name, entry, parse
from zdbcc._numbers import Numbers, Rows, records_of
from zdbcc._opened import Opened, Options, Params, SourceText, read_bytes, solver_of
from zdbcc._results import Result
from zdbcc._values import is_number

if TYPE_CHECKING:
    from concurrent.futures import Executor
    from types import TracebackType

    from numpy.typing import NDArray

    from zdbcc._symbols import Parameter

#: The status of a solve that was stopped.
_INTERRUPTED = 8


class ModelSymbol(NamedTuple):
    """A variable or equation of a model."""

    name: str
    kind: str  #: "variable" or "equation"
    dim: int  #: number of labels of an entry
    text: str  #: explanatory text, "" if there is none


class Conflict(NamedTuple):
    """A row or a bound of a column that, with others, makes a model infeasible."""

    name: str  #: such as "need[iron]"
    kind: str  #: "row" or "column"
    side: str  #: "lower", "upper" or "both": what it must be at least, at most


class Model:
    """A model that was read from a file: its numbers are changed by name, and it is solved.

    ``model["demand.rhs"] = frame`` changes numbers, ``model["demand.rhs"]`` shows them, and ``del
    model["demand.rhs"]`` brings back those of the file. These names are possible; those that stand
    for all rows or columns of a symbol come when one iterates over the model:

    - ``need.rhs``: right-hand sides of rows; of the objective, its constant
    - ``buy.lo``, ``buy.up``, ``buy.fx``: lower bounds, upper bounds, both, of columns or of rows
      with two
    - ``buy.cost``: coefficients in the objective
    - ``food.coef[buy,bread]``: coefficients in rows
    - ``price``: an updatable parameter (the model has a variable ``price_var``) or a ``param`` of a
      MathProg model
    - ``need[ABE].rhs`` and the like: one number

    The first use of a name reads the model again, from memory, as it must be prepared for the
    change: that takes as long as the first reading (some milliseconds, or what a large file
    takes), and the next solve begins without a basis. Names given to ``read`` cost nothing later.
    All other changes take microseconds, and the solve after them goes on from the last basis. Each
    change of a ``param`` translates the model again, as anything may depend on it; in a sweep, this
    is done for many values at a time.

    A model is a context manager; ``close`` frees it at once. Threads may share it; their calls
    wait for each other, and run without the interpreter's lock. It can be pickled: its file goes
    along, with what was changed.

    Examples
    --------
    >>> model = zdbcc.Model.from_text(LUNCH)
    >>> model
    <Model model: 3 rows, 3 columns, 6 entries>
    >>> list(model.symbols)
    ['buy', 'cost', 'cost_eqn', 'need']
    >>> model["need.rhs"] = {"energy": 14}
    >>> model.solve().objective
    16.0
    """

    def __init__(self, source: SourceText, names: Iterable[Name], params: Params) -> None:
        """Use ``read`` or ``from_text``."""
        self._lock = threading.RLock()
        self._source = source
        self._params: dict[str, float] = dict(params)
        self._numbers: dict[Any, Numbers] = {}
        self._last: weakref.ref[Result] | None = None
        self._kept: Any = None
        self._solved: str | None = None
        self._database = Database()
        self._opened = Opened(source, list(names), params)
        for number in range(len(self._opened.names)):
            self._take_numbers(self._opened, number, *self._opened.numbers(number))

    @classmethod
    def read(
        cls,
        path: str | os.PathLike[str],
        data: str | os.PathLike[str] | None = None,
        *,
        format: str | None = None,  # noqa: A002
        changes: Iterable[str] = (),
        allow_files: bool = False,
    ) -> Model:
        """Reads a model file: MPS, CPLEX LP or GNU MathProg, told by its name or first words.

        Parameters
        ----------
        path
            The file; it may be packed with gzip.
        data
            Data file of a MathProg model.
        format : "mps", "lp" or "mathprog"
            Whatever the file is called.
        changes : names
            What will be changed, such as ``["demand.rhs", "ship.cost"]``: it is prepared now, and
            not by another reading when it is first used.
        allow_files : bool
            Whether statements of the model may use files. Only for models that you trust.

        Raises
        ------
        MissingFileError, FileError
            A file that is not there, or cannot be read.
        ModelError
            What is wrong with the model, with file and line, or with a name.

        Examples
        --------
        >>> import pathlib, tempfile
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     path = pathlib.Path(folder) / "lunch.mod"
        ...     n = path.write_text(LUNCH)
        ...     with zdbcc.Model.read(path, changes=["need.rhs"]) as model:
        ...         model.solve().objective
        14.0
        """
        name, text = read_bytes(path)
        data_name, data_text = (None, b"") if data is None else read_bytes(data)
        source = SourceText.of(name, text, data_name, data_text, format, allow_files)
        return cls(source, canonical(changes), {})

    @classmethod
    def from_text(
        cls,
        text: str | bytes,
        data: str | bytes | None = None,
        *,
        format: str | None = None,  # noqa: A002
        changes: Iterable[str] = (),
        allow_files: bool = False,
        name: str = "model",
    ) -> Model:
        """The same with the text of a model, and of its data.

        Without a format, it is told by the first words. ``name`` is used in messages.

        Examples
        --------
        >>> zdbcc.Model.from_text("var x >= 2; minimize cost: 3 * x; end;").solve().objective
        6.0
        """
        given, more = (part.encode() if isinstance(part, str) else part for part in (text, data))
        if not isinstance(given, bytes) or not isinstance(more, bytes | None):
            raise ArgumentError("the text of a model is a str or bytes; read() takes a path")
        data_name = None if more is None else f"data of {name}"
        source = SourceText.of(name, given, data_name, more or b"", format, allow_files)
        return cls(source, canonical(changes), {})

    # ---- What it is ----

    @property
    def symbols(self) -> Mapping[str, ModelSymbol]:
        """Variables and equations, in the order of the file.

        Examples
        --------
        >>> zdbcc.Model.from_text(LUNCH).symbols["buy"]
        ModelSymbol(name='buy', kind='variable', dim=1, text='')
        """
        self._require_open()
        return {
            part.name: ModelSymbol(
                part.name, "variable" if part.is_variable else "equation", part.dim, part.text
            )
            for part in self._opened.parts.values()
            if not part.is_added
        }

    @property
    def name(self) -> str:
        """The name of its file."""
        return self._source.name

    @property
    def closed(self) -> bool:
        """Whether the model has been closed."""
        return self._opened.core.closed

    def _require_open(self) -> None:
        if self.closed:
            raise ClosedError("the model is closed; read it again")

    def __repr__(self) -> str:
        if self.closed:
            return f"<Model {self.name} (closed)>"
        rows, columns, entries, integers = self._opened.core.size()
        more = f", {integers} integer" if integers else ""
        return f"<Model {self.name}: {rows} rows, {columns} columns{more}, {entries} entries>"

    def _repr_html_(self) -> str:
        summary = html.escape(repr(self))
        if self.closed:
            return f"<code>{summary}</code>"
        symbols = list(self.symbols.values())
        body = "".join(
            f"<tr><td>{html.escape(s.name)}</td><td>{s.kind}</td><td>{s.dim}</td>"
            f"<td>{html.escape(s.text[:80])}</td></tr>"
            for s in symbols[:20]
        )
        note = f"<p>and {len(symbols) - 20} more</p>" if len(symbols) > 20 else ""
        head = "".join(f"<th>{name}</th>" for name in ("symbol", "kind", "labels", "text"))
        return (
            f"<details><summary><code>{summary}</code></summary>"
            f"<table><thead><tr>{head}</tr></thead><tbody>{body}</tbody></table>{note}</details>"
        )

    def close(self) -> None:
        """Frees the model; results keep what was read of them. May be called again.

        Examples
        --------
        >>> model = zdbcc.Model.from_text(LUNCH)
        >>> model.close()
        >>> model
        <Model model (closed)>
        """
        with self._lock:
            result = self._living_result()
            if result is not None:
                result._lose()
            self._opened.core.close()

    def __enter__(self) -> Model:
        self._require_open()
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()

    def __reduce__(self) -> Any:
        with self._lock:
            self._require_open()
            changed = [(numbers._number, *numbers._changed()) for numbers in self._numbers.values()]
            return _restored, (self._source, self._opened.names, self._params, changed)

    # ---- What can be changed ----

    def __iter__(self) -> Iterator[str]:
        """Names of what can be changed, each for all entries of its symbol."""
        self._require_open()
        yield from self._param_names()
        parts = self._opened.parts
        for part in parts.values():
            name, of_row = part.name, lower(part.name).removesuffix("_range")
            if part.is_added or name == self._opened.objective:
                continue
            if part.is_variable and lower(name).endswith("_var"):
                yield name[: -len("_var")]
            elif part.is_variable and (of_row == lower(name) or of_row not in parts):
                has_cost = ("cost",) if self._opened.objective else ()
                yield from (f"{name}.{each}" for each in ("lo", "up", "fx", *has_cost))
            elif not part.is_variable:
                has_two = f"{lower(name)}_range" in parts
                row = self._opened.row_names[name]
                yield from (
                    f"{row}.{each}" for each in (("lo", "up", "fx") if has_two else ("rhs",))
                )

    def keys(self) -> list[str]:
        """Names of what can be changed, as a list.

        Examples
        --------
        >>> zdbcc.Model.from_text(LUNCH).keys()[:4]
        ['buy.lo', 'buy.up', 'buy.fx', 'buy.cost']
        """
        return list(self)

    def __contains__(self, name: object) -> bool:
        """Whether it is one of those names, of all entries, of one, or of what is changed."""
        if not isinstance(name, str):
            return False
        try:
            key = parse(name)
        except ArgumentError:
            return False
        with self._lock:
            if key.key in self._numbers:
                return True
            if key.with_(None).key not in {parse(each).key for each in self}:
                return False
            return key.labels is None or self._has_entry(key)

    def _has_entry(self, key: Name) -> bool:
        """Whether the symbol of a name that can be changed has an entry with its labels."""
        names = {lower(row): name for name, row in self._opened.row_names.items()}
        symbol = lower(key.symbol)
        part = self._opened.parts.get(lower(names.get(symbol, symbol)))
        part = part or self._opened.parts.get(f"{symbol}_var")
        if part is None:  # a param, of which only its translator knows the entries
            return key.text in self._params
        columns = self._opened.texts(self._opened.core.read(part.name)[0])
        wanted = tuple(map(lower, key.labels or ()))
        return any(tuple(map(lower, row)) == wanted for row in zip(*columns, strict=True))

    def _param_names(self) -> list[str]:
        if self._known_params is None:
            self._known_params = self._source.source().params()
        return self._known_params

    _known_params: list[str] | None = None

    def _is_param(self, name: Name) -> bool:
        return not name.attribute and name.symbol in self._param_names()

    def __getitem__(self, name: str) -> Any:
        """The numbers of a name, as ``Numbers``; a float if it has all labels.

        Of a ``param`` of a MathProg model, only values that were set here are known.
        """
        key = parse(name)
        with self._lock:
            self._require_open()
            if self._is_param(key):
                return self._param_values(key)
            if key.attribute == "fx":
                raise ArgumentError(
                    f"{name} sets two bounds; read {key.with_(key.labels, 'lo').text} and "
                    f"{key.with_(key.labels, 'up').text}"
                )
            numbers, labels = self._find(key)
        return numbers if labels is None else numbers[labels if len(labels) != 1 else labels[0]]

    def __setitem__(self, name: str, records: Any) -> None:
        """Changes numbers: to a number, or by a dict, a series, a frame or rows with labels.

        Numbers without a record keep their values. Raises ``NotFoundError`` for a name or labels
        that the model does not have, ``ArgumentError`` for a value that is not finite (but for
        bounds) or records of another shape; nothing has changed then. See ``Symbol.update``.
        """
        key = parse(name)
        with self._lock:
            self._require_open()
            if self._is_param(key):
                self._set_param(key, records)
                return
            parts = ("lo", "up") if key.attribute == "fx" else (key.attribute,)
            found = [self._find(key.with_(key.labels, part)) for part in parts]
            for numbers, labels in found:
                if labels is None:
                    numbers.update(records)
                elif not is_number(records):
                    raise ArgumentError(f"{name} is one number, and cannot be {records!r}")
                else:
                    numbers._model._set(numbers, [list(labels)], checked(records, numbers._name))

    def __delitem__(self, name: str) -> None:
        """Brings back the numbers of the file."""
        key = parse(name)
        with self._lock:
            self._require_open()
            if self._is_param(key):
                self._param_values(key)
                keep = {
                    text: value
                    for text, value in self._params.items()
                    if parse(text).symbol != key.symbol
                    or key.labels not in (None, parse(text).labels)
                }
                self._reopen(self._opened.names, keep)
                return
            parts = ("lo", "up") if key.attribute == "fx" else (key.attribute,)
            for part in parts:
                numbers, labels = self._find(key.with_(key.labels, part))
                if labels is None:
                    numbers.clear()
                else:
                    del numbers[labels if len(labels) != 1 else labels[0]]

    def _set(self, numbers: Numbers, rows: Rows, values: NDArray[np.float64]) -> None:
        """Changes numbers in the instance, and then what shows them."""
        with self._lock:
            self._require_open()
            self._before_change()
            self._opened.set(numbers._number, rows, values)
            numbers._take(rows, values)
            self._take_elsewhere(numbers, rows, values)

    def _take_elsewhere(self, numbers: Numbers, rows: Rows, values: NDArray[np.float64]) -> None:
        """Shows new values under other names of the same numbers, such as a part of a symbol."""
        opened = self._opened
        symbol = opened.changes[numbers._number][0]
        others = [
            other
            for other in self._numbers.values()
            if other is not numbers and opened.changes[other._number][0] == symbol
        ]
        if not others:
            return
        new = {
            opened.entry(numbers._number, row): value
            for row, value in zip(rows, values, strict=True)
        }
        for other in others:
            found = [
                (list(row), new[opened.entry(other._number, row)])
                for row in other._rows()
                if opened.entry(other._number, row) in new
            ]
            if found:
                other._take([row for row, _ in found], np.array([value for _, value in found]))

    # ---- Names ----

    def _find(self, key: Name) -> tuple[Numbers, tuple[str, ...] | None]:
        """The numbers that have a name, and the labels with which; reads the model if needed."""
        known = self._numbers.get(key.key)
        if known is not None:
            return known, None if key.labels is None or known.dim > 0 else ()
        whole = key.with_(None)
        if key.labels is not None:
            found = self._numbers.get(whole.key)
            if found is not None and found.dim == len(key.labels) and key.labels in found:
                return found, key.labels
            alike = [n for n in self._numbers.values() if n._name.with_(None).key == whole.key]
            if found is None and alike and key.attribute != "coef":
                # The second entry of a symbol: others will follow.
                self._add(whole, [numbers._name for numbers in alike])
                found = self._numbers[whole.key]
                if found.dim == len(key.labels) and key.labels in found:
                    return found, key.labels
        self._add(key, [])
        made = self._numbers[key.key]
        return made, None if key.labels is None or made.dim > 0 else ()

    def _add(self, name: Name, instead_of: list[Name]) -> None:
        names = [each for each in self._opened.names if each not in instead_of]
        try:
            self._reopen([*names, name], self._params)
        except ModelError as error:
            raise NotFoundError(f"{error}") from None

    def _take_numbers(
        self, opened: Opened, number: int, rows: Rows, values: NDArray[np.float64]
    ) -> Numbers:
        """The numbers of a change of a model that has just been read, as they are in its file."""
        name = opened.names[number]
        numbers = self._numbers.get(name.key)
        if numbers is None:
            plain = "n_" + re.sub(r"\W+", "_", name.text, flags=re.ASCII).strip("_")[:48]
            place = len(self._database) // 2
            dim = opened.changes[number][3]
            made = [
                self._database.add_parameter(f"{plain}_{what}{place}", ["*"] * dim)
                for what in ("now", "file")
            ]
            numbers = Numbers(self._database, made[0]._core)
            numbers._model, numbers._name, numbers._base = self, name, made[1]
            self._numbers[name.key] = numbers
        numbers._number = number
        numbers._rebase(rows, values)
        return numbers

    def _reopen(self, names: Iterable[Name], params: Params) -> None:
        """Reads the model with other names or params, and changes what had been changed."""
        opened = Opened(self._source, list(names), params)
        changed: dict[int, tuple[Rows, NDArray[np.float64]]] = {}
        places = {name.key: number for number, name in enumerate(opened.names)}
        for numbers in self._numbers.values():
            rows, values = numbers._changed()
            name = numbers._name
            if name.key in places:
                changed[places[name.key]] = rows, values
            elif rows:  # a single number that is now one of many
                number = places[name.with_(None).key]
                before = changed.get(number, ([], np.empty(0)))
                changed[number] = (
                    before[0] + [list(name.labels or ())],
                    np.concatenate([before[1], values]),
                )
        base = {number: opened.numbers(number) for number in range(len(opened.names))}
        try:
            for number, (rows, values) in changed.items():
                if rows:
                    opened.set(number, rows, values)
        except BaseException:
            opened.core.close()
            raise
        self._before_change()
        old, self._opened = self._opened, opened
        self._params = dict(params)
        self._numbers = {key: n for key, n in self._numbers.items() if key in places}
        old.core.close()
        taken = [self._take_numbers(opened, n, *base[n]) for n in range(len(opened.names))]
        for number, (rows, values) in changed.items():
            if rows:
                taken[number]._take(rows, values)
                self._take_elsewhere(taken[number], rows, values)

    # ---- Params of MathProg models ----

    def _set_param(self, key: Name, records: Any) -> None:
        if key.labels is not None:
            if not is_number(records):
                raise ArgumentError(f"{key.text} is one number, and cannot be {records!r}")
            rows, values = [list(key.labels)], np.array([float(records)])
        else:
            records = kept(records)
            rows, values = records_of(records, key.symbol, positions(records))
        require_finite(values, key)
        texts = (entry(key.symbol, tuple(row)) for row in rows)
        params = {**self._params, **dict(zip(texts, values.tolist(), strict=True))}
        try:
            self._reopen(self._opened.names, params)
        except ModelError as error:
            raise ModelError(f"{key.text}: {error}") from None

    def _param_values(self, key: Name) -> Parameter | float:
        names = {parse(text): value for text, value in self._params.items()}
        found = {
            name.labels or (): value
            for name, value in names.items()
            if name.symbol == key.symbol and key.labels in (None, name.labels)
        }
        if not found:
            raise NotFoundError(
                f"{key.text} has the values of the model's file, which only its translator knows; "
                "what is set here can be read"
            )
        if key.labels is not None:
            return found[key.labels]
        dim = len(next(iter(found)))
        records = {labels[0] if dim == 1 else labels: value for labels, value in found.items()}
        return Database().add_parameter(key.symbol, ["*"] * dim, records)

    # ---- Solving ----

    def solve(
        self,
        solver: str | None = None,
        *,
        time_limit: float | None = None,
        gap: float | None = None,
        absolute_gap: float | None = None,
        iteration_limit: int | None = None,
        relax: bool = False,
        direction: str | None = None,
        log: Callable[[str], object] | None = None,
    ) -> Result:
        """Solves the model as it is now, and returns what was found.

        Without a solution there is a result, too: its ``status`` says why. The solve goes on from
        where the last one with the same solver has ended, if that works in place.

        Parameters
        ----------
        solver : "clp", "cbc", "glpk" or "highs"
            By default the one that is usually the fastest for such a model; see
            ``zdbcc.solvers()``.
        time_limit : float
            Seconds after which it stops with what it has.
        gap, absolute_gap : float
            How close to the bound a search for integer levels must come, relative to the
            objective (0.01 is one percent) or in its units.
        iteration_limit : int
            Of the simplex method.
        relax : bool
            Whether integer columns count as continuous.
        direction : "min" or "max"
            Whatever the model says.
        log : function
            Gets each line that the solver writes, such as ``print``. What it raises ends the solve.
            It cannot use the model.

        Raises
        ------
        SolveError
            The solver cannot be used, or has failed.
        KeyboardInterrupt
            After Ctrl-C, if the call is made on the main thread: the solve is stopped, and what it
            had found is the result in the attribute ``partial`` of the exception, and in ``last``.

        Examples
        --------
        >>> model = zdbcc.Model.from_text(LUNCH)
        >>> model.solve("glpk", time_limit=60).status
        'Optimal'
        """
        options = Options(solver, time_limit, iteration_limit, gap, absolute_gap, relax, direction)
        options.check()
        if log is not None and not callable(log):
            raise ArgumentError(f"log must be a function of a line, such as print, and not {log!r}")
        with self._lock:
            self._require_open()
            core = self._opened.core
            options.apply(core, self._opened.direction)
            name = solver_of(core, solver, relax)
            self._before_change()
            try:
                core.solve(name, log)
            except Error:
                raise
            except BaseException as error:
                self._kept = self._new_result(name)
                error.partial = self._kept  # type: ignore[attr-defined]
                raise
            return self._new_result(name)

    def _new_result(self, solver: str) -> Result:
        result = Result(self, self._opened.parts, self._opened.core.state(), solver)
        self._last = weakref.ref(result)
        self._solved = solver
        return result

    @property
    def last(self) -> Any:
        """The last result, also of a solve that Ctrl-C has ended, or the table of such a sweep.

        None if the model has not been solved, or was changed since and nobody has the result.
        """
        with self._lock:
            if self._kept is not None:
                return self._kept
            result = self._living_result()
            if result is None and self._solved is not None and not self.closed:
                result = self._new_result(self._solved)
            return result

    def _living_result(self) -> Result | None:
        return self._last() if self._last is not None else None

    def _before_change(self) -> None:
        """The last result is about to lose its levels."""
        result = self._living_result()
        if result is not None:
            result._keep()
        self._kept = self._last = self._solved = None

    def _read_result(self, result: Result, name: str) -> Any:
        with self._lock:
            return self._opened.core.read(name)

    def _labels(self) -> list[str]:
        self._require_open()
        return self._opened.labels

    def conflicts(self, time_limit: float = 10.0) -> list[Conflict]:
        """Rows and bounds that exclude each other, none of which can be spared; see the page.

        Raises ``SolveError`` if the model is feasible. Takes about two solves. When the time is
        over, the list may be longer than needed.

        Examples
        --------
        >>> model = zdbcc.Model.from_text(LUNCH, changes=["buy.up"])
        >>> model["buy.up"] = 1
        >>> [(each.name, each.side) for each in model.conflicts()]
        [('need[energy]', 'lower'), ('buy[milk]', 'upper'), ('buy[bread]', 'upper')]
        """
        Options(None, time_limit, None, None, None, False, None).check()
        sides = {1: "lower", 2: "upper", 3: "both"}
        with self._lock:
            self._require_open()
            _, found = self._opened.core.infeasible_set(time_limit)
        return [
            Conflict(bracketed(name), "row" if is_row else "column", sides.get(side, "both"))
            for name, is_row, side in found
        ]

    def plot(self, ax: Any = None) -> Any:
        """Draws where the matrix of the model has coefficients: rows from above, then columns.

        The last row is the objective. Reads the model once or, where pairs of symbols have no
        coefficients, a few times more. Needs matplotlib.

        Returns
        -------
        The axes.

        Examples
        --------
        >>> zdbcc.Model.from_text(LUNCH).plot()  # doctest: +SKIP
        """
        from zdbcc._plots import plot_matrix

        with self._lock:
            self._require_open()
            return plot_matrix(self._opened, self._params, self._source, ax)

    def sweep(
        self,
        scenarios: Any,
        show: Iterable[str] = (),
        *,
        executor: Executor | int | None = None,
        chunk: int | None = None,
        progress: bool | Callable[[int, int], object] = True,
        keep_going: bool = False,
        start: str = "base",
        solver: str | None = None,
        time_limit: float | None = None,
        gap: float | None = None,
        absolute_gap: float | None = None,
        iteration_limit: int | None = None,
        relax: bool = False,
        direction: str | None = None,
    ) -> Any:
        """Solves the model once for each scenario, and returns a table of the outcomes.

        Everything is checked before the first solve: names, labels, values, the solver. The model
        itself is not touched: a copy is read and solved hot, and kept for the next sweep.

        Parameters
        ----------
        scenarios
            What changes in each of them, besides what has been changed in the model:

            - a pandas frame: a row each, names of what changes as columns; names of scenarios in
              the column "scenario", or else in the index
            - a dict of such columns, a frame of polars or a table of pyarrow
            - an iterable of dicts: names with a number, or with records as ``model[name] =`` takes
            - the path of a CSV file: a name of a scenario, then values, as ``zdbcc sweep`` reads it

            A value that is missing (nan, None, an empty field) stays what it is in the model.
        show : names
            What of each solution is a column: an entry, ``ship[a,b]``, a symbol, ``ship`` (a column
            for each of its entries), some of them, ``ship[*,b]``; levels, or with
            ``.marginal`` at the end marginals.
        executor : concurrent.futures.Executor or int, optional
            Who solves chunks of scenarios: processes, ``mpi4py.futures``, the executor of a dask
            client, threads. A number makes that many processes. Each worker reads the model once.
            A chunk whose worker ends is halved and solved again; a scenario whose worker ends when
            it is alone has failed.
        chunk : int
            Scenarios that are sent at a time; by default some for each worker, at most 1000.
        progress : bool or function
            Whether ``tqdm`` shows how far it is, if it is there; or a function of two numbers,
            done and all.
        keep_going : bool
            Whether a scenario that cannot be solved at all gets the status "Failed", with the
            reason in the column "reason", or raises ``SolveError``. (One without a solution is
            just that in either case.)
        start : "base" or "last"
            Whether each solve starts from the basis of the model, so that results depend on nothing
            but the scenario, or where the one before ended, which may be faster.

        Returns
        -------
        pandas.DataFrame, or a dict of columns without pandas
            A row for each scenario, in their order; the index, or the column "scenario", has their
            names. Columns are status, objective, iterations, with ``keep_going`` the reason,
            and what is shown; nan where there is no solution.

        Raises
        ------
        NotFoundError, ArgumentError, LabelError
            Something in the scenarios or in ``show`` that the model does not have.
        ModelError
            Values of params that the model refuses; with ``keep_going``, the scenario has failed.
        SolveError
            A scenario has failed; ``partial`` has the table of those before it.
        KeyboardInterrupt
            After Ctrl-C; ``partial``, and ``last`` of the model, have the table of what is solved.

        Examples
        --------
        >>> model = zdbcc.Model.from_text(LUNCH)
        >>> table = model.sweep({"need[energy].rhs": [12, 14]}, show=["buy[bread]"], progress=False)
        >>> table["objective"].tolist(), table["buy[bread]"].tolist()
        ([14.0, 16.0], [5.5, 6.5])
        """
        from zdbcc._sweep import Sweep

        options = Options(solver, time_limit, iteration_limit, gap, absolute_gap, relax, direction)
        options.check()
        with self._lock:
            self._require_open()
            sweep = Sweep(self, scenarios, show, options, start, keep_going)
        try:
            return sweep.run(executor, chunk, progress)
        except BaseException as error:
            if isinstance(error, SolveError) or not isinstance(error, Error):
                self._kept = sweep.table(partial=True)
                error.partial = self._kept  # type: ignore[attr-defined]
            raise


def _restored(
    source: SourceText, names: Iterable[Name], params: Params, changed: Iterable[Any]
) -> Model:
    """A model that was pickled."""
    model = Model(source, names, params)
    by_number = {numbers._number: numbers for numbers in model._numbers.values()}
    for number, rows, values in changed:
        if rows:
            model._set(by_number[number], rows, values)
    return model

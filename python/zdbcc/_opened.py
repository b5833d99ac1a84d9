"""Model files in memory, and models that were read from them."""

from __future__ import annotations

import functools
import gzip
import os
import zlib
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from zdbcc import _kit
from zdbcc._case import lower
from zdbcc._errors import ArgumentError, FileError, MissingFileError, path_of
from zdbcc._highs import tell_kit
from zdbcc._names import ATTRIBUTES, Name
from zdbcc._numbers import Rows

tell_kit()

#: Flags of zkitdclib.h.
_ALLOW_FILES = 1
_FORMATS = {"mps": 2, "lp": 4, "mathprog": 8}
#: Attributes whose numbers become parameters that a model does not have itself.
_ADDING = frozenset(("rhs", "cost", "coef"))


class SourceText(NamedTuple):
    """A model file with its data, in memory, as it goes to other processes."""

    name: str
    text: bytes  #: compressed
    data_name: str | None
    data: bytes  #: compressed
    flags: int

    @classmethod
    def of(
        cls,
        name: str,
        text: bytes,
        data_name: str | None,
        data: bytes,
        format_: str | None,
        allow_files: bool,
    ) -> SourceText:
        """What `text` and `data` are; the format is that of the name if it is None."""
        if format_ is not None and format_ not in _FORMATS:
            raise ArgumentError(
                f"there is no format {format_!r}; it is one of {', '.join(_FORMATS)}"
            )
        flags = _FORMATS.get(format_ or "", 0) | (_ALLOW_FILES if allow_files else 0)
        return cls(name, zlib.compress(text, 1), data_name, zlib.compress(data, 1), flags)

    def source(self) -> _kit.Source:
        """The same for the compiled module; the last ones are kept."""
        return _source(self)


@functools.lru_cache(maxsize=4)
def _source(text: SourceText) -> _kit.Source:
    return _kit.Source(
        text.name,
        zlib.decompress(text.text),
        text.data_name,
        zlib.decompress(text.data),
        text.flags,
    )


def read_bytes(path: str | os.PathLike[str]) -> tuple[str, bytes]:
    """The name of a file and its bytes; what gzip has packed is unpacked, and ``.gz`` dropped."""
    name = path_of(path)
    try:
        data = Path(name).read_bytes()
        packed = data[:2] == b"\x1f\x8b"
        return (name.removesuffix(".gz"), gzip.decompress(data)) if packed else (name, data)
    except FileNotFoundError:
        raise MissingFileError(f"there is no file {name}") from None
    except (OSError, EOFError, zlib.error) as error:
        raise FileError(f"{name} cannot be read: {error}") from error


class Part(NamedTuple):
    """A symbol of a model."""

    name: str
    is_variable: bool
    dim: int
    text: str
    kind: int
    is_added: bool  #: for what changes, and not in the file


Parts = Mapping[str, Part]
#: Values of params by their names, such as ``price[bread]``.
Params = Mapping[str, float]


def given(params: Params) -> tuple[list[str], list[float]]:
    """Params as the compiled module takes them."""
    return list(params), [float(value) for value in params.values()]


class Opened:
    """A model that was read from its source, with names of what can be changed in it."""

    def __init__(self, source: SourceText, names: Sequence[Name], params: Params) -> None:
        self.source = source
        self.names = tuple(names)
        self.core = _kit.Model(source.source(), [name.text for name in names], given(params), [])
        self.changes = self.core.changes()
        self.direction = self.core.state()["direction"]
        pairs = zip(names, self.changes, strict=True)
        added = {lower(change[0]) for name, change in pairs if name.attribute in _ADDING}
        self.parts: Parts = {
            lower(symbol[0]): Part(*symbol, lower(symbol[0]) in added)
            for symbol in self.core.symbols()
        }

    @functools.cached_property
    def objective(self) -> str:
        """The name of the variable that is the objective, "" if there is none."""
        return self.core.objective()

    @functools.cached_property
    def row_names(self) -> dict[str, str]:
        """The name that each equation has in changes: that of the objective is its own."""
        own = self.objective.removesuffix("_obj")
        names = {}
        for part in self.parts.values():
            before, ending, number = part.name.rpartition("_eqn")
            is_objective = ending and before == own and (not number or number.isdigit())
            if not part.is_variable:
                names[part.name] = own if own and is_objective else part.name
        return names

    @functools.cached_property
    def labels(self) -> list[str]:
        """Label number n is at place n - 1."""
        return self.core.labels()

    @functools.cached_property
    def _label_array(self) -> NDArray[np.object_]:
        array = np.empty(len(self.labels) + 1, dtype=object)
        array[0] = ""
        array[1:] = self.labels
        return array

    @functools.cached_property
    def _label_numbers(self) -> dict[str, int]:
        return {lower(label): number for number, label in enumerate(self.labels, 1)}

    def texts(self, keys: Sequence[NDArray[np.int32]]) -> list[list[str]]:
        """Columns of label numbers as columns of texts."""
        return [self._label_array[column].tolist() for column in keys]

    def numbers(self, change: int) -> tuple[Rows, NDArray[np.float64]]:
        """What a change stands for, as in the file: labels that its name leaves open, values.

        To be called before anything has been changed.
        """
        name = self.names[change]
        symbol, _, dim, open_, _ = self.changes[change]
        keys, fields = self.core.read(symbol)
        values = fields[ATTRIBUTES.get(name.attribute, 0)]
        if open_ == dim:
            return _rows(self.texts(keys), len(values)), values
        fixed = self._fixed(name, dim, open_)
        chosen = np.ones(len(values), dtype=bool)
        for position, label in fixed.items():
            chosen &= keys[position] == self._label_numbers.get(lower(label), -1)
        left = [keys[i][chosen] for i in range(len(keys)) if i not in fixed]
        return _rows(self.texts(left), int(chosen.sum())), values[chosen]

    def _fixed(self, name: Name, dim: int, open_: int) -> dict[int, str]:
        """Labels that the name of a change has, by position: of the row, then of the column."""
        labels = list(name.labels or ())
        fixed = dict(enumerate(labels))
        if len(fixed) < dim - open_:
            rest = list(name.column_labels)
            fixed.update({dim - len(rest) + i: label for i, label in enumerate(rest)})
        return fixed

    def entry(self, change: int, labels: Sequence[str]) -> tuple[str, int, tuple[str, ...]]:
        """The number that a change has for labels, the same for all names that it has."""
        symbol, _, dim, open_, _ = self.changes[change]
        name = self.names[change]
        fixed = self._fixed(name, dim, open_) if open_ < dim else {}
        rest = iter(labels)
        full = tuple(lower(fixed[i] if i in fixed else next(rest)) for i in range(dim))
        return lower(symbol), ATTRIBUTES.get(name.attribute, 0), full

    def set(self, number: int, rows: Rows, values: NDArray[np.float64]) -> None:
        """Sets numbers of a change; all or none. ``NotFoundError`` for what is not there."""
        self.core.set(targets([number] * len(rows), rows), np.ascontiguousarray(values))


def _rows(columns: list[list[str]], count: int) -> Rows:
    return [list(row) for row in zip(*columns, strict=True)] if columns else [[]] * count


def targets(numbers: Sequence[int], rows: Sequence[Sequence[str]]) -> _kit.Targets:
    """Numbers of a model by their changes and labels."""
    return _kit.Targets(np.array(numbers, np.int32), rows)


class Solver(NamedTuple):
    """A solver that models can be solved with."""

    name: str
    version: str  #: "" if it cannot be used
    solves: tuple[str, ...]  #: of "LP", "MIP", "RMIP" (integer columns taken for continuous)
    works_in_place: bool  #: whether it goes on from its last solve
    why_not: str  #: why it cannot be used here, "" if it can


def solvers() -> list[Solver]:
    """The solvers that are known, whether or not they can be used here.

    Examples
    --------
    >>> [solver.name for solver in zdbcc.solvers()]
    ['clp', 'cbc', 'glpk', 'highs']
    """
    kinds = {1: "LP", 2: "MIP", 4: "RMIP"}
    return [
        Solver(name, version, tuple(k for bit, k in kinds.items() if types & bit), in_place, why)
        for name, version, types, in_place, why in _kit.solvers()
    ]


def solver_of(core: _kit.Model, asked: str | None, relaxed: bool) -> str:
    """The name of the solver for a model: that asked for, or its default. Raises why not."""
    from zdbcc._errors import SolveError

    if asked is None:
        return core.default_solver()
    all_ = solvers()
    found = next((s for s in all_ if isinstance(asked, str) and s.name == asked.lower()), None)
    if found is None:
        raise ArgumentError(
            f"there is no solver {asked!r}; there are {', '.join(s.name for s in all_)}"
        )
    if found.why_not:
        raise SolveError(f"the solver {found.name} cannot be used: {found.why_not}")
    if core.size()[3] > 0 and not relaxed and "MIP" not in found.solves:
        raise SolveError(
            f"the solver {found.name} does not solve models with integer columns; use another "
            "one, or relax=True"
        )
    return found.name


class Options(NamedTuple):
    """How a model is solved."""

    solver: str | None
    time_limit: float | None
    iteration_limit: int | None
    gap: float | None
    absolute_gap: float | None
    relax: bool
    direction: str | None

    def check(self) -> None:
        """Raises for what is out of range."""
        limits = (("time_limit", self.time_limit), ("iteration_limit", self.iteration_limit))
        for what, limit in limits:
            if limit is not None and not (_finite(limit, what) > 0):
                raise ArgumentError(f"{what} must be above 0, and not {limit!r}")
        if self.iteration_limit is not None and not (
            isinstance(self.iteration_limit, int | np.integer) and self.iteration_limit < 2**31
        ):
            raise ArgumentError(
                f"iteration_limit must be an int below 2**31, and not {self.iteration_limit!r}"
            )
        for what, gap in (("gap", self.gap), ("absolute_gap", self.absolute_gap)):
            if gap is not None and not (_finite(gap, what) >= 0):
                raise ArgumentError(f"{what} must be a ratio from 0 on, and not {gap!r}")
        if not isinstance(self.relax, bool | np.bool_):
            raise ArgumentError(f"relax must be True or False, and not {self.relax!r}")
        if self.direction not in (None, "min", "max"):
            raise ArgumentError(f"direction must be 'min' or 'max', and not {self.direction!r}")

    def apply(self, core: _kit.Model, own_direction: int, starts_at_first: bool = False) -> None:
        """Sets them for the next solves of a model."""
        directions = {"min": 1, "max": -1}
        direction = directions[self.direction] if self.direction is not None else own_direction
        core.configure(
            self.time_limit or 0.0,
            self.iteration_limit or 0,
            self.gap or 0.0,
            self.absolute_gap or 0.0,
            direction,
            self.relax,
            starts_at_first,
        )


def _finite(value: Any, what: str) -> float:
    if not isinstance(value, int | float | np.number) or not np.isfinite(value):
        raise ArgumentError(f"{what} must be a finite number, and not {value!r}")
    return float(value)

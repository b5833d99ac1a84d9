"""Numbers of a model that can be changed, as a parameter."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Any

import numpy as np

from zdbcc._case import lower
from zdbcc._columns import Column, Shape, columns_of
from zdbcc._errors import ArgumentError, LabelError, NotFoundError, list_of
from zdbcc._symbols import Parameter, Slice
from zdbcc._values import doubles, is_number

if TYPE_CHECKING:
    from collections.abc import Sequence

    from numpy.typing import ArrayLike, NDArray

    from zdbcc import _core
    from zdbcc._database import Database
    from zdbcc._models import Model
    from zdbcc._names import Name
    from zdbcc._symbols import Mode

#: What a model takes for infinite, and so for no number.
INFINITE = 1e300
#: Rows of labels.
Rows = list[list[str]]


def labels_of(column: Column) -> list[str]:
    """A column of labels as texts, all of which are str."""
    labels: list[Any]
    if isinstance(column, tuple):
        codes, texts = column
        labels = [texts[code] for code in codes.tolist()]
    else:
        labels = list(column)
    for row, label in enumerate(labels):
        if not isinstance(label, str):
            error = LabelError(
                f"label {row} is {label!r} ({type(label).__name__}), not a str; convert it"
            )
            error.row = row
            raise error
    return labels


def _elements_of_none(position: int) -> list[str]:
    raise ArgumentError(
        "an array without labels cannot be numbers of a model; pass a dict, a Series, a DataFrame "
        f"or an xarray.DataArray with the labels of position {position + 1}"
    )


def records_of(records: Any, name: str, dim: int) -> tuple[Rows, NDArray[np.float64]]:
    """Records in any of the forms that ``Symbol.update`` takes, as rows of labels and values."""
    if isinstance(records, Slice):  # its stream has the fixed positions, too
        records = records.to_dict()
    is_frame = type(records).__module__.partition(".")[0] == "pandas"
    if hasattr(records, "__arrow_c_stream__") and not is_frame:
        from zdbcc._database import Database

        taken = Database().add_parameter("taken", ["*"] * dim)
        taken.update(records)
        keys, (values,) = taken.to_arrays()
        columns = [taken.database._labels_at(key).tolist() for key in keys]
    else:
        given = columns_of(records, Shape(name, dim, 1, _elements_of_none, []))
        columns = [labels_of(column) for column in given.columns[:dim]]
        values = np.asarray(given.columns[dim], np.float64)
    rows = [list(row) for row in zip(*columns, strict=True)] if dim else [[]] * len(values)
    return rows, values


def check_values(values: NDArray[np.float64], name: Name) -> None:
    """Raises for the first value that a number of the model cannot have."""
    allowed = np.abs(values) < INFINITE
    if name.attribute == "lo":
        allowed |= values <= -INFINITE
    if name.attribute == "up":
        allowed |= values >= INFINITE
    if allowed.all():
        return
    row = int(np.argmin(allowed))
    error = ArgumentError(f"{name.text} cannot be {values[row]}; it must be a finite number")
    error.row = row
    raise error


class Numbers(Parameter):
    """Numbers of a model that have one name, such as ``demand.rhs``: a parameter.

    It has a record for each number, and shows the present values, in all forms that symbols
    have. What is put into it changes the model; numbers without a record keep their values.
    ``del numbers[key]`` and ``clear()`` bring back those of the model's file.

    Examples
    --------
    >>> model = zdbcc.Model.from_text(LUNCH)
    >>> need = model["need.rhs"]
    >>> need
    <Numbers need.rhs: 2 of the model>
    >>> need["energy"] = 14
    >>> need.to_dict()
    {'milk': 1.0, 'energy': 14.0}
    >>> need.clear()
    >>> need["energy"]
    12.0
    """

    _model: Model
    _name: Name
    _base: Parameter
    #: Its place among the changes of the model.
    _number: int

    def __init__(self, db: Database, core: _core.Symbol) -> None:
        super().__init__(db, core)

    def __reduce__(self) -> Any:
        """Copies and pickles bring their model along."""
        return operator.getitem, (self._model, self.name)

    @property
    def name(self) -> str:
        """The name in the model, such as "demand.rhs"."""
        return self._name.text

    @property
    def _called(self) -> str:
        return self.name

    @property
    def _title(self) -> str:
        return self.name

    def __repr__(self) -> str:
        closed = "closed " if self._model.closed else ""
        return f"<Numbers {self.name}: {len(self)} of the {closed}model>"

    # ---- In ----

    def _put(self, rows: int, columns: list[Any], mode: str) -> tuple[int, int]:
        raise ArgumentError("numbers of a model are changed by update()")

    def update(self, records: Any, *, mode: Mode = "merge") -> None:
        """Changes numbers of the model, all of the records or none; see ``Symbol.update``.

        A number alone, such as 5, is given to all of them. With "replace", those without a record
        get the value of the model's file. Takes time in the records.

        Raises
        ------
        NotFoundError
            The model has no such number; the message has the nearest label.
        ArgumentError
            A value that is not finite, but for bounds; records of another shape; the mode "add".

        Examples
        --------
        >>> need = zdbcc.Model.from_text(LUNCH)["need.rhs"]
        >>> need.update({"milk": 2})
        >>> need.to_dict()
        {'milk': 2.0, 'energy': 12.0}
        >>> need.update({"energy": 14}, mode="replace")
        >>> need.to_dict()
        {'milk': 1.0, 'energy': 14.0}
        """
        if mode not in ("merge", "replace"):
            raise ArgumentError(f"numbers of a model cannot be added, as mode={mode!r} would")
        if isinstance(records, np.ndarray) and records.ndim == 0:
            records = records[()]
        if is_number(records) and self.dim > 0:
            rows = [list(row) for row in self._rows()]
            values = np.full(len(rows), float(records))
        else:
            rows, values = records_of(records, self.name, self.dim)
        values = doubles(values, f"the values of {self.name}")
        check_values(values, self._name)
        if mode == "replace":
            base = dict(zip(self._rows(), self._base.to_numpy().tolist(), strict=True))
            base.update({self._found(row): value for row, value in zip(rows, values, strict=True)})
            rows, values = [list(row) for row in base], np.array(list(base.values()), np.float64)
        self._model._set(self, rows, values)

    def _rows(self) -> list[tuple[str, ...]]:
        keys = list(self)
        return [(key,) for key in keys] if self.dim == 1 else keys

    def _found(self, row: list[str]) -> tuple[str, ...]:
        """The labels of a row in the spelling of the model; those not there as they are."""
        known = {tuple(map(lower, each)): each for each in self._rows()}
        return known.get(tuple(map(lower, row)), tuple(row))

    def update_arrays(
        self, keys: Sequence[ArrayLike], *values: ArrayLike, mode: Mode = "merge"
    ) -> None:
        """Changes numbers by label numbers of this parameter's database; see ``update``.

        Examples
        --------
        >>> need = zdbcc.Model.from_text(LUNCH)["need.rhs"]
        >>> need.update_arrays([need.database.find_labels(["milk"])], [2.0])
        >>> need["milk"]
        2.0
        """
        if len(values) != 1:
            raise ArgumentError(f"{self.name} has one value, not {len(values)}")
        columns = [np.asarray(key) for key in list_of(keys, "keys")]
        most = self._db._label_count()
        for place, column in enumerate(columns):
            if column.size and (
                column.dtype.kind not in "iu" or column.min() < 1 or column.max() > most
            ):
                raise NotFoundError(
                    f"keys of position {place + 1} of {self.name} are not all label numbers, which "
                    f"are 1 to {most}"
                )
        labels = [self._db._labels_at(column.astype(np.int32)).tolist() for column in columns]
        if len({len(column) for column in [*labels, np.ravel(values[0])]}) > 1:
            raise ArgumentError("the columns of keys and values have different lengths")
        rows = list(zip(*labels, strict=True)) if labels else [()]
        self.update(
            [(*row, value) for row, value in zip(rows, np.ravel(values[0]).tolist(), strict=True)],
            mode=mode,
        )

    def __getitem__(self, key: Any) -> Any:
        """The number of a key, or those of a slice; see ``Symbol``."""
        try:
            return super().__getitem__(key)
        except NotFoundError as error:  # the library knows the parameter by another name
            error.args = (str(error).replace(f"Symbol {self._core.name}", self.name),)
            raise

    def __setitem__(self, key: Any, value: Any) -> None:
        """Changes one number of the model."""
        parts = self._parts(key)
        if any(isinstance(part, slice) for part in parts):
            raise ArgumentError("a slice cannot be set; use update() with the records")
        if not is_number(value):
            raise ArgumentError(f"{self.name} is set to a number, not to {value!r}")
        self.update([(*parts, value)] if parts else value)

    def __delitem__(self, key: Any) -> None:
        """Brings back the value of the model's file, of one number or of a slice."""
        parts = self._parts(key)
        if any(isinstance(part, slice) for part in parts):
            part = self._base[key]
            records = part.to_dict()
            if not records:
                raise NotFoundError(f"{self.name} has nothing in the slice {key!r}")
            fixed = iter(records)
            rows = []
            for found in fixed:
                opened = iter(found if isinstance(found, tuple) else (found,))
                rows.append([next(opened) if isinstance(p, slice) else p for p in parts])
            values = np.array(list(records.values()), np.float64)
        else:
            rows, values = [list(parts)], np.array([self._base[key]], np.float64)
        self._model._set(self, rows, values)

    def clear(self) -> None:
        """Brings back the values of the model's file.

        Examples
        --------
        >>> model = zdbcc.Model.from_text(LUNCH)
        >>> model["need.rhs"] = 5
        >>> model["need.rhs"].clear()
        >>> model["need.rhs"].to_dict()
        {'milk': 1.0, 'energy': 12.0}
        """
        self._model._set(self, [list(row) for row in self._rows()], self._base.to_numpy())

    def _take(self, rows: Rows, values: NDArray[np.float64]) -> None:
        """Shows values that the model has got."""
        columns: list[Any] = [list(column) for column in zip(*rows, strict=True)] if rows else []
        if self.dim and not rows:
            return
        self._core.put_labelled(len(values), [*columns, values], 0)

    def _changed(self) -> tuple[Rows, NDArray[np.float64]]:
        """The records that are not those of the file."""
        now, base = self.to_numpy(), self._base.to_numpy()
        places = np.flatnonzero(now != base)
        rows = self._rows()
        return [list(rows[place]) for place in places.tolist()], now[places]

    def _rebase(self, rows: Rows, values: NDArray[np.float64]) -> None:
        """Takes the numbers of another model, as they are in its file."""
        columns: list[Any] = [list(column) for column in zip(*rows, strict=True)]
        if self.dim and not rows:
            columns = [[] for _ in range(self.dim)]
        for core in (self._base._core, self._core):
            core.put_labelled(len(values), [*columns, values], 1)

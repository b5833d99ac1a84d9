"""Symbols: sets, parameters, variables, equations, aliases, and slices of them."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Any, Literal, TypeAlias

import numpy as np

from zdbcc import _core
from zdbcc._columns import Shape, columns_of
from zdbcc._errors import ArgumentError, ClosedError, Error, LabelError, NotFoundError, list_of
from zdbcc._records import Records, counted, quoted
from zdbcc._values import Values, doubles

if TYPE_CHECKING:
    from collections.abc import Sequence

    from numpy.typing import ArrayLike

    from zdbcc._database import Database

#: How records meet those that are there: a key that exists gets the new values; the symbol has
#: only the new records afterwards; a key that exists, or comes twice, is refused.
Mode: TypeAlias = Literal["merge", "replace", "add"]

_MOST_LABELS = 2**31 - 1
_MODES: dict[str, int] = {"merge": 0, "replace": 1, "add": 2}

#: Kinds of variables and equations, in the order of their numbers.
VARIABLE_KINDS = (
    "unknown", "binary", "integer", "positive", "negative", "free", "sos1", "sos2",
    "semicontinuous", "semiinteger",
)  # fmt: skip
EQUATION_KINDS = ("equal", "greater", "less", "free", "external", "cone", "logic")


def mode_number(mode: str) -> int:
    """The number of a mode in zdbx.h."""
    if not isinstance(mode, str) or mode not in _MODES:
        raise ArgumentError(f"there is no mode {mode!r}; it is one of merge, replace and add")
    return _MODES[mode]


class Symbol(Records):
    """A symbol of a database: a container of records, each a key with values.

    It is a handle: it keeps its database, and raises ``ClosedError`` once the database is closed
    or the symbol removed. Two threads may use it at the same time; their calls wait for each
    other.

    Examples
    --------
    >>> db = zdbcc.Database()
    >>> p = db.add_parameter("price", "food", {"tea": 2.5}, text="a cup")
    >>> p
    <Parameter price(food): 1 record, "a cup">
    >>> p["milk"] = 1.0
    >>> len(p), list(p), p["milk"]
    (2, ['tea', 'milk'], 1.0)
    >>> del p["tea"]
    >>> "tea" in p
    False
    """

    def __init__(self, db: Database, core: _core.Symbol) -> None:
        self._db = db
        self._core = core

    def __reduce__(self) -> Any:
        """Copies and pickles bring their database along."""
        return operator.getitem, (self._db, self.name)

    # ---- What it is ----

    @property
    def name(self) -> str:
        """The name, in its first spelling."""
        return self._core.name

    @property
    def text(self) -> str:
        """The explanatory text, "" if there is none."""
        return self._core.text

    @property
    def database(self) -> Database:
        """The database that has the symbol."""
        return self._db

    @property
    def domain(self) -> tuple[str, ...]:
        """The names of the domains, "*" for any label."""
        return tuple(name for name, _ in self._core.domains)

    def _shape(self) -> Shape:
        dim = self._core.dim
        return Shape(self._title, dim, len(self._fields), self._elements, self.columns[:dim])

    def _elements(self, position: int) -> list[str]:
        domain, is_symbol = self._core.domains[position]
        core = self._db._core.find(domain) if is_symbol and domain != "*" else None
        if core is None:
            raise ArgumentError(
                f"the domain {domain} of {self._title} is not a set, which an array "
                "without labels needs; pass an xarray.DataArray, or arrays with update_arrays()"
            )
        numbers = core.read(None, True, False, False)[0][0]
        elements: list[str] = self._db._labels_at(numbers).tolist()
        return elements

    def __repr__(self) -> str:
        try:
            domain = self.domain
            count = len(self)
            text = self._core.text
            name = self._core.name
        except ClosedError:
            return f"<{type(self).__name__} of a closed database, or removed>"
        return (
            f"<{type(self).__name__} {name}"
            + (f"({', '.join(domain)})" if domain else "")
            + f": {counted(count, 'record')}"
            + (f", {quoted(text)}" if text else "")
            + ">"
        )

    # ---- Single records and slices ----

    def _parts(self, key: Any) -> tuple[Any, ...]:
        """A key by position: labels, and slices for the open ones."""
        parts = key if isinstance(key, tuple) else (key,)
        dim = self._core.dim
        if len(parts) != dim:
            raise ArgumentError(
                f"{self._title} has {counted(dim, 'position')}, but the key {key!r} has "
                f"{len(parts)}"
            )
        for part in parts:
            if isinstance(part, slice):
                if part != slice(None):
                    raise ArgumentError(f"the slice {part} has limits; only : is possible")
            elif not isinstance(part, str):
                raise ArgumentError(
                    f"{part!r} in the key is a {type(part).__name__}, not a str; labels are str"
                )
        return parts

    def _numbers(self, parts: tuple[Any, ...]) -> list[int]:
        """Numbers of the labels of a slice, 0 where it is open."""
        labels = [part for part in parts if isinstance(part, str)]
        found = iter(self._core.database.find_labels(labels).tolist())
        numbers = []
        for position, part in enumerate(parts):
            number = next(found) if isinstance(part, str) else 0
            if isinstance(part, str) and number <= 0:
                error = NotFoundError(
                    f"there is no label {part!r} (position {position + 1}) in the database"
                )
                error.position = position
                raise error
            numbers.append(number)
        return numbers

    def __getitem__(self, key: Any) -> Any:
        """The value of a key, or the records of a slice.

        ``sym["a", "b"]`` is a float for parameters, ``Values`` for variables and equations, and
        the element's text for sets; ``sym[()]`` is that of a symbol without positions.
        ``sym[:, "b"]`` is a ``Slice``. A label or record that is not there raises
        ``NotFoundError``, which is a ``KeyError``.
        """
        parts = self._parts(key)
        if any(isinstance(part, slice) for part in parts):
            return Slice(self, self._numbers(parts))
        found = self._core.lookup(parts)
        if isinstance(found, str):
            return found
        return found[0] if len(found) == 1 else Values(*found)

    def get(self, key: Any, default: Any = None) -> Any:
        """The value of a key, or ``default`` if there is no such record.

        Examples
        --------
        >>> p = zdbcc.Database().add_parameter("p", "*", {"a": 1.5})
        >>> p.get("a"), p.get("b", 0.0)
        (1.5, 0.0)
        """
        try:
            return self[key]
        except (NotFoundError, LabelError):
            return default

    def __contains__(self, key: object) -> bool:
        parts = self._parts(key)
        if any(isinstance(part, slice) for part in parts):
            raise ArgumentError("a slice is not a key; use len(sym[...]) to see if it has records")
        try:
            self._core.lookup(parts)
        except (NotFoundError, LabelError):  # such as a text that is too long for a label
            return False
        return True

    def __setitem__(self, key: Any, value: Any) -> None:
        """Sets the value of a record, which is added with its labels if it is new.

        A number set to a variable or equation is its level; the other values stay.
        """
        parts = self._parts(key)
        if any(isinstance(part, slice) for part in parts):
            raise ArgumentError("a slice cannot be set; use update() with the records")
        labels: list[Any] = [[part] for part in parts]
        fields = len(self._fields)
        if fields == 0:
            if not isinstance(value, str):
                raise ArgumentError(f"an element's text is a str, not a {type(value).__name__}")
            values: list[Any] = [[value]]
        else:
            given = doubles(value, f"the value of {self._title}").ravel()
            if not 1 <= len(given) <= fields:
                raise ArgumentError(
                    f"a record of {self._title} has {counted(fields, 'value')}, not {len(given)}"
                )
            old = self.get(key) if len(given) < fields else None
            if old is not None:
                given = np.concatenate([given, np.array(old[len(given) :])])
            values = [given[i : i + 1].copy() for i in range(len(given))]
        self._put(1, labels + values, "merge")

    def __delitem__(self, key: Any) -> None:
        """Deletes a record, or all records of a slice; at least one must be there."""
        self._require_own_records()
        parts = self._parts(key)
        if not any(isinstance(part, slice) for part in parts):
            self._core.lookup(parts)  # says what is not there
        if self._core.remove_slice(self._numbers(parts)) == 0:
            raise NotFoundError(f"{self._title} has no records in the slice {key!r}")

    # ---- Many records ----

    def _require_own_records(self) -> None:
        """Raises if the records are those of another symbol."""

    def _put(self, rows: int, columns: list[Any], mode: str) -> tuple[int, int]:
        number = mode_number(mode)
        self._require_own_records()
        try:
            return self._core.put_labelled(rows, columns, number)
        except Exception as error:
            self._db._forget_labels()  # those that the call had added are gone
            if isinstance(error, NotFoundError):  # the number of what has blanks only
                label = LabelError(f"a label has blanks only; leave the row out ({error})")
                label.row, label.position = error.row, error.position
                raise label from None
            if isinstance(error, Error):  # the stream is ours, and the user knows records
                error.args = (str(error).replace(" of the stream", " of the records"),)
            raise

    def update(self, records: Any, *, mode: Mode = "merge") -> None:
        """Puts records into the symbol, all or none of them.

        Parameters
        ----------
        records
            One of these, columns being taken by place and not by name:

            - a pandas frame: labels in the first columns, or in the index if that has all of them
              and not numbers; then a value, up to five of a variable or equation, or a set's text
            - a pandas series with the labels as its index
            - a dict of keys with values; a key is a str, or a tuple for several positions
            - a sequence of rows such as ``("a", "b", 2.0)``, or of labels for a set
            - an xarray array with labels as coordinates, whose dimensions may come in any order if
              they have the names of the positions; nan is no record. For a set, of bool
            - a numpy array of numbers, or for two positions a sparse one of scipy, with an entry
              for each element of each domain, in their order; nan is no record, but in a sparse one
              it is NA
            - anything with ``__arrow_c_stream__``: a table of pyarrow, polars or duckdb
            - another symbol, or the open positions of a slice
            - a number, for a symbol without positions
        mode : "merge", "replace" or "add"
            With "merge", a key that exists gets the new values; with "replace", the symbol has
            only these records afterwards; with "add", a key that exists is refused. If a key comes
            twice, the last one counts, or with "add" is refused.

        Raises
        ------
        LabelError
            A label is missing, not a str or not valid: at most 63 bytes, no control characters.
        ArgumentError
            The records have another shape than the symbol, or values that are not numbers.
        ExistsError
            A key that exists with "add".

        Nothing has changed then. Values may be nan (NA), inf, EPS and UNDEF.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", ["i", "j"])
        >>> p.update([("a", "x", 1.0), ("b", "x", 2.0)])
        >>> p.update({("b", "x"): 3.0})
        >>> p.to_dict()
        {('a', 'x'): 1.0, ('b', 'x'): 3.0}
        """
        number = mode_number(mode)
        if isinstance(records, Slice):
            if records.dim != self.dim:
                raise ArgumentError(
                    f"{self._title} has {counted(self.dim, 'position')}, but {records!r} has "
                    f"{records.dim}"
                )
            self._put(*records._labelled(), mode)
            return
        # As streams, those of pandas and xarray would lose what their indexes are.
        is_known = type(records).__module__.partition(".")[0] in ("pandas", "xarray")
        if hasattr(records, "__arrow_c_stream__") and not is_known:
            try:
                self._core.import_stream(records.__arrow_c_stream__(), number)
            except Exception:
                self._db._forget_labels()
                raise
            return
        columns = columns_of(records, self._shape())
        self._put(columns.rows, columns.columns, mode)

    def update_arrays(
        self, keys: Sequence[ArrayLike], *values: ArrayLike, mode: Mode = "merge"
    ) -> None:
        """Puts records of label numbers, the fastest form; see ``update`` for modes.

        Parameters
        ----------
        keys : sequence of int32 arrays of shape (records,)
            One for each position: numbers from ``Database.add_labels`` or ``to_arrays``.
        *values : float64 arrays of shape (records,)
            At most as many as the symbol has; none of a set. They may have gaps (strides). Those
            left out have their default.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", "*")
        >>> p.update_arrays([db.add_labels(["a", "b"])], [1.0, 2.0])
        >>> p.to_dict()
        {'a': 1.0, 'b': 2.0}
        """
        number = mode_number(mode)
        self._require_own_records()
        columns = [np.asarray(key) for key in list_of(keys, "keys")]
        for place, column in enumerate(columns):
            if not column.size:
                continue
            if column.dtype.kind in "iu" and column.dtype != np.int32:
                extreme = column.max() if column.min() >= 0 else column.min()
                if not 0 < extreme <= _MOST_LABELS:
                    raise NotFoundError(
                        f"keys of position {place + 1} have {extreme}, which no label has"
                    )
            if column.dtype.kind not in "iu":
                raise ArgumentError(
                    f"keys of position {place + 1} have the type {column.dtype}; label numbers "
                    "are int32, from add_labels()"
                )
        numbers = [column.astype(np.int32, copy=False) for column in columns]
        data = [doubles(column, f"the values of {self._title}") for column in values]
        rows = len(numbers[0]) if numbers else len(data[0]) if data else 1
        self._core.put(rows, numbers, data, None, number)

    def clear(self) -> None:
        """Removes all records; labels stay in the database.

        Examples
        --------
        >>> p = zdbcc.Database().add_parameter("p", "*", {"a": 1.5})
        >>> p.clear()
        >>> len(p), p.database.labels
        (0, ['a'])
        """
        self._require_own_records()
        self._core.clear()


class Set(Symbol):
    """A set: its records are its elements, each with a text, "" for none.

    Examples
    --------
    >>> zdbcc.Database().add_set("food", {"tea": "hot", "milk": ""}).to_dict()
    {'tea': 'hot', 'milk': ''}
    """


class Parameter(Symbol):
    """A parameter: its records have one value.

    Examples
    --------
    >>> zdbcc.Database().add_parameter("price", "food", {"tea": 2.5})["tea"]
    2.5
    """


class Variable(Symbol):
    """A variable: its records have a level, a marginal, two bounds and a scale.

    Examples
    --------
    >>> x = zdbcc.Database().add_variable("x", "*", {"a": 2.0}, kind="integer")
    >>> x.kind, x["a"].level
    ('integer', 2.0)
    """

    @property
    def kind(self) -> str:
        """The kind of variable, such as "free", which gives new records their bounds."""
        number = self._core.user_info
        return VARIABLE_KINDS[number] if 0 <= number < len(VARIABLE_KINDS) else "unknown"


class Equation(Symbol):
    """An equation: its records have the same five values as those of a variable.

    Examples
    --------
    >>> zdbcc.Database().add_equation("balance", "*", {"a": (0.0, 1.5)})["a"].marginal
    1.5
    """

    @property
    def kind(self) -> str:
        """The kind of equation, such as "less", which gives new records their bounds."""
        number = self._core.user_info
        return EQUATION_KINDS[number] if 0 <= number < len(EQUATION_KINDS) else "equal"


class Alias(Symbol):
    """Another name of a set, whose records it shows; they are changed through the set only.

    Examples
    --------
    >>> db = zdbcc.Database()
    >>> i = db.add_set("i", ["a"])
    >>> db.add_alias("j", i).of
    <Set i(*): 1 record>
    """

    def _require_own_records(self) -> None:
        raise ArgumentError(
            f"{self._title} is an alias; change {self.of.name}, which it stands for"
        )

    @property
    def of(self) -> Symbol:
        """The set that it stands for, or the universe."""
        return self._db._wrap(self._core.database.find(self._core.name, resolve=True))


class Slice(Records):
    """The records of a symbol that have certain labels at some positions, for reading only.

    Its keys have the other positions. It is a view: records that are added later are in it.

    Examples
    --------
    >>> db = zdbcc.Database()
    >>> p = db.add_parameter("p", ["i", "j"], {("a", "x"): 1.0, ("b", "x"): 2.0, ("b", "y"): 3.0})
    >>> p[:, "x"]
    <Slice p(:, "x"): 2 records>
    >>> p[:, "x"].to_dict()
    {'a': 1.0, 'b': 2.0}
    """

    def __init__(self, symbol: Symbol, numbers: list[int]) -> None:
        self._symbol = symbol
        self._db = symbol._db
        self._core = symbol._core
        self._slice = numbers

    def __reduce__(self) -> Any:
        labels = self._db._labels_at(np.array(self._slice, np.int32)).tolist()
        return operator.getitem, (self._symbol, tuple(label or slice(None) for label in labels))

    @property
    def _called(self) -> str:
        return self._symbol._called

    @property
    def symbol(self) -> Symbol:
        """The symbol whose records these are."""
        return self._symbol

    def _labelled(self) -> tuple[int, list[Any]]:
        """How many records, and their columns."""
        columns, values, texts = self._read()
        coded = [self._coded(numbers) for numbers in columns]
        labels = [(codes.astype(np.int32), texts_.tolist()) for codes, texts_ in coded]
        rows = len(columns[0]) if columns else len(self)
        return rows, [*labels, *values, *([] if texts is None else [texts])]

    def __repr__(self) -> str:
        try:
            count = len(self)
            name = self._called
            labels = self._db._labels_at(np.array(self._slice, np.int32))
        except ClosedError:
            return "<Slice of a closed database, or of a removed symbol>"
        parts = (
            quoted(label) if number else ":"
            for number, label in zip(self._slice or [], labels, strict=True)
        )
        return f"<Slice {name}({', '.join(parts)}): {counted(count, 'record')}>"

    def __getitem__(self, key: Any) -> Any:
        """The value of a key, or a smaller slice."""
        parts = iter(key if isinstance(key, tuple) else (key,))
        whole: list[Any] = []
        for number in self._slice or []:
            if number == 0:
                whole.append(next(parts, None))
            else:
                whole.append(self._db._labels_at(np.array([number], np.int32))[0])
        if None in whole or next(parts, None) is not None:
            raise ArgumentError(f"the slice has {self.dim} open positions, unlike the key {key!r}")
        return self._symbol[tuple(whole)]


#: The classes by type number.
CLASSES: dict[int, type[Symbol]] = {0: Set, 1: Parameter, 2: Variable, 3: Equation, 4: Alias}

"""Records of a symbol or a slice of it, as the forms of other packages."""

from __future__ import annotations

from collections.abc import Iterator
from typing import TYPE_CHECKING, Any

import numpy as np

from zdbcc import _core
from zdbcc._case import lower
from zdbcc._errors import ArgumentError, needed
from zdbcc._values import FIELDS, Values, is_number

if TYPE_CHECKING:
    import pandas as pd
    import xarray as xr
    from numpy.typing import NDArray

    from zdbcc._database import Database

#: The most entries of a dense array, 16 GiB of doubles.
_MOST_DENSE = 2**31
#: Records that a notebook shows.
_SHOWN = 10


class Records:
    """What symbols and slices have in common: a container of keys that gives its columns.

    A key is the label of the open positions: a ``str`` if there is one of them, else a tuple.
    Records come in the order of their keys, that is, of the labels of the database, which are
    in the order in which they were added.
    """

    _db: Database
    _core: _core.Symbol
    #: Label numbers at the fixed positions, 0 at the open ones; None: the whole symbol.
    _slice: list[int] | None = None

    # ---- Shape ----

    @property
    def dim(self) -> int:
        """Number of open index positions, 0 to 20."""
        return len(self._open)

    @property
    def _open(self) -> list[int]:
        if self._slice is None:
            return list(range(self._core.dim))
        return [i for i, number in enumerate(self._slice) if number == 0]

    @property
    def _fields(self) -> tuple[str, ...]:
        """Names of the columns of values; none of a set."""
        kind = self._core.type
        if self._core.number < 0 or kind in (0, 4):
            return ()
        return ("value",) if kind == 1 else FIELDS

    @property
    def columns(self) -> list[str]:
        """Names of the columns of a frame: a position has that of its domain, "label" for "*".

        They differ, also for readers that take "city" and "City" for the same: a second "city", or
        one beside a column of values of that name, is "city_2".
        """
        rest = list(self._fields) or (["text"] if self._core.number >= 0 else [])
        used = set(rest)
        names: list[str] = []
        for name, _ in self._core.domains:
            base = "label" if name == "*" else name
            candidate, number = base, 1
            while lower(candidate) in used:
                number += 1
                candidate = f"{base}_{number}"
            used.add(lower(candidate))
            names.append(candidate)
        return [names[i] for i in self._open] + rest

    @property
    def _called(self) -> str:
        """The name of what these are records of."""
        return self._core.name

    @property
    def _title(self) -> str:
        """The same in messages."""
        return f"symbol {self._called}"

    def __len__(self) -> int:
        return self._core.count(self._slice)

    # ---- Keys ----

    def _read(
        self, keys: bool = True, values: bool = True, texts: bool = True, most: int | None = None
    ) -> tuple[list[NDArray[np.int32]], list[NDArray[np.float64]], list[str] | None]:
        columns, numbers, words = self._core.read(self._slice, keys, values, texts, most)
        return [columns[i] for i in self._open] if keys else [], numbers, words

    def _coded(
        self, numbers: NDArray[np.int32]
    ) -> tuple[NDArray[np.signedinteger[Any]], NDArray[np.object_]]:
        """Label numbers as places in the labels that occur, in their order."""
        codes, used = _core.compact(numbers, self._db._label_count())
        return codes, self._db._labels_at(used)

    def _keys(self) -> list[Any]:
        columns, _, _ = self._read(values=False, texts=False)
        labels = [self._db._labels_at(column).tolist() for column in columns]
        if len(labels) == 1:
            return labels[0]  # type: ignore[no-any-return]
        return list(zip(*labels, strict=True)) if labels else [()] * len(self)

    def __iter__(self) -> Iterator[Any]:
        return iter(self._keys())

    # ---- Forms ----

    def to_arrays(self) -> tuple[list[NDArray[np.int32]], list[NDArray[np.float64]]]:
        """The records as arrays, the fastest form.

        Returns
        -------
        keys : list of int32 arrays of shape (records,)
            Label numbers, one array for each position; ``Database.labels`` has their texts.
        values : list of float64 arrays of shape (records,)
            One array for a parameter, five for a variable or equation, none for a set.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", "*", {"a": 1.0, "b": 2.5})
        >>> p.to_arrays()
        ([array([1, 2], dtype=int32)], [array([1. , 2.5])])
        """
        keys, values, _ = self._read(texts=False)
        return keys, values

    def to_numpy(self) -> NDArray[Any]:
        """The values in the order of the keys; of a set, its labels.

        Returns
        -------
        array of shape (records,)
            float64 of a parameter; of a variable or equation (records, 5), in the order level,
            marginal, lower, upper, scale; of a set ``str`` objects, (records, dim) if it has
            several positions.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_parameter("p", "*", {"a": 1.0, "b": 2.5}).to_numpy()
        array([1. , 2.5])
        """
        fields = self._fields
        keys, values, _ = self._read(keys=not fields, texts=False)
        if len(fields) == 1:
            return values[0]
        if fields:
            return np.stack(values, axis=1)
        labels = [self._db._labels_at(column) for column in keys]
        return labels[0] if len(labels) == 1 else np.stack(labels, axis=1)

    def to_dict(self) -> dict[Any, Any]:
        """A dict of the keys with their values: a float, ``Values`` or the text of an element.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_parameter("p", "*", {"a": 1.0, "b": 2.5}).to_dict()
        {'a': 1.0, 'b': 2.5}
        """
        columns, values, texts = self._read()
        labels = [self._db._labels_at(column).tolist() for column in columns]
        rows: list[Any]
        if texts is not None:
            rows = texts
        elif not values:
            rows = [""] * len(labels[0])
        elif len(values) == 1:
            rows = values[0].tolist()
        else:
            rows = [Values(*row) for row in np.stack(values, axis=1).tolist()]
        if len(labels) == 1:
            return dict(zip(labels[0], rows, strict=True))
        keys = list(zip(*labels, strict=True)) if labels else [()] * len(rows)
        return dict(zip(keys, rows, strict=True))

    def to_frame(self) -> pd.DataFrame:
        """A pandas frame: a categorical column for each position, then the values or the text.

        The categories are the labels that occur, in the order of the database. NA is nan; a
        label ``"NA"`` stays one. Needs pandas.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_parameter("p", ["from", "to"], {("a", "b"): 2.5}).to_frame()
          from to  value
        0    a  b    2.5
        """
        needed("pandas")
        import pandas as pd

        columns, values, texts = self._read()
        names = self.columns
        data: dict[str, Any] = {}
        for name, numbers in zip(names, columns, strict=False):
            codes, labels = self._coded(numbers)
            data[name] = _categorical(codes, pd.Index(labels, dtype=object))
        rest = names[len(columns) :]
        data.update(zip(rest, values if texts is None else [texts], strict=False))
        rows = len(self) if not data else None
        return pd.DataFrame(data, index=None if rows is None else range(rows), copy=False)

    def to_series(self, field: str = "level") -> pd.Series:
        """A pandas series of the values, or of the texts of a set, with the labels as its index.

        ``field`` says which value of a variable or equation it is. Needs pandas.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_parameter("p", "food", {"tea": 2.5}).to_series().to_dict()
        {'tea': 2.5}
        """
        needed("pandas")
        import pandas as pd

        columns, values, texts = self._read()
        names = self.columns[: len(columns)]
        data: Any = values[self._field(field)] if values else texts
        if data is None:
            data = [""] * len(columns[0])
        if not columns:
            index: Any = None
        elif len(columns) == 1:
            index = pd.Index(self._db._labels_at(columns[0]), name=names[0], dtype=object)
        else:
            coded = [self._coded(numbers) for numbers in columns]
            levels: Any = [pd.Index(labels, dtype=object) for _, labels in coded]
            codes: Any = [codes for codes, _ in coded]
            index = pd.MultiIndex(
                levels=levels,
                codes=codes,
                names=names,
                verify_integrity=False,
            )
        dtype = None if values else object
        return pd.Series(data, index=index, name=self._called, dtype=dtype, copy=False)

    def _field(self, field: str) -> int:
        if field not in FIELDS:
            raise ArgumentError(f"there is no value {field!r}; it is one of {', '.join(FIELDS)}")
        return FIELDS.index(field) if len(self._fields) > 1 else 0

    def to_xarray(self, field: str = "level", fill: float = float("nan")) -> xr.DataArray:
        """A dense xarray array with a dimension for each position, in the order of the labels.

        Only labels that occur have a place. What has no record is ``fill``; a set is true where
        it has an element. Needs xarray, and memory for the product of the numbers of labels.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", ["i", "j"], {("a", "x"): 1.0, ("b", "y"): 2.0})
        >>> p.to_xarray(fill=0).values
        array([[1., 0.],
               [0., 2.]])
        """
        needed("xarray")
        import xarray as xr

        if not is_number(fill):
            raise ArgumentError(f"fill is a number, not {fill!r}")
        columns, values, _ = self._read(texts=False)
        coded = [self._coded(numbers) for numbers in columns]
        shape = [len(labels) for _, labels in coded]
        if np.prod(shape, dtype=float) > _MOST_DENSE:
            raise ArgumentError(
                f"an array of {' * '.join(map(str, shape))} entries is too large; take a slice, "
                "to_frame() or to_scipy()"
            )
        dense: NDArray[Any] = np.full(shape, float(fill) if values else False)
        chosen: Any = values[self._field(field)] if values else True
        if coded:
            dense[tuple(codes for codes, _ in coded)] = chosen
        elif len(self):
            dense[()] = chosen[0] if values else True
        names = self.columns[: len(columns)]
        coords = {name: labels for name, (_, labels) in zip(names, coded, strict=True)}
        return xr.DataArray(dense, dims=names, coords=coords, name=self._called)

    def to_scipy(self, field: str = "level") -> tuple[Any, list[str], list[str]]:
        """A sparse matrix of two positions, with the labels of its rows and of its columns.

        Returns
        -------
        matrix : scipy.sparse.coo_array of float64
            An explicit zero (EPS) stays an entry, so that nothing is lost.
        rows, columns : lists of str
            The labels that occur, in the order of the database.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", ["i", "j"], {("a", "x"): 1.0, ("b", "y"): 2.0})
        >>> matrix, rows, columns = p.to_scipy()
        >>> matrix.shape, rows, columns
        ((2, 2), ['a', 'b'], ['x', 'y'])
        """
        coo_array = needed("scipy.sparse").coo_array
        if self.dim != 2:
            raise ArgumentError(
                f"a matrix has two positions, and there are {self.dim} here; fix others in a slice"
            )
        columns, values, _ = self._read(texts=False)
        (i, rows), (j, others) = (self._coded(numbers) for numbers in columns)
        data = values[self._field(field)] if values else np.ones(len(i))
        matrix = coo_array((data, (i, j)), shape=(len(rows), len(others)))
        return matrix, rows.tolist(), others.tolist()

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        """The records as a stream of Arrow's C data interface; a requested schema is not used.

        It has a column for each position of the symbol, that of a slice for the fixed ones, too.
        The stream reads the symbol while it is consumed, and fails if that has been cleared or
        removed meanwhile, or the database closed.
        """
        return self._core.export_stream(self._slice, 0)

    def to_arrow(self) -> Any:
        """A ``pyarrow.Table`` with dictionaries of labels. Needs pyarrow.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", "food", {"tea": 2.5})
        >>> p.to_arrow().column_names  # doctest: +SKIP
        ['food', 'value']
        """
        pa = needed("pyarrow")
        table = pa.RecordBatchReader.from_stream(self).read_all()
        return table.select([*self._open, *range(self._core.dim, table.num_columns)])

    # ---- Notebooks ----

    def plot(self, kind: str | None = None, *, field: str = "level", ax: Any = None) -> Any:
        """Draws the values: "duration", "histogram", "heatmap" or "sparsity"; see ``zdbcc.plot``.

        Needs matplotlib.

        Examples
        --------
        >>> p = zdbcc.Database().add_parameter("p", "*", {"a": 1.0, "b": 3.0})
        >>> p.plot().get_ylabel()  # doctest: +SKIP
        'p'
        """
        from zdbcc._plots import plot

        return plot(self, kind, field=field, ax=ax)

    def _repr_html_(self) -> str:
        import html  # only notebooks need it

        summary = html.escape(repr(self))
        rows = list(self._first(_SHOWN))
        if not rows:
            return f"<code>{summary}</code>"
        head = "".join(f"<th>{html.escape(name)}</th>" for name in self.columns)
        body = "".join(
            "<tr>" + "".join(f"<td>{html.escape(str(cell))}</td>" for cell in row) + "</tr>"
            for row in rows
        )
        more = len(self) - len(rows)
        note = f"<p>and {more} more</p>" if more > 0 else ""
        return (
            f"<details><summary><code>{summary}</code></summary>"
            f"<table><thead><tr>{head}</tr></thead><tbody>{body}</tbody></table>{note}</details>"
        )

    def _first(self, count: int) -> Iterator[tuple[Any, ...]]:
        """The first records as rows of labels and values."""
        columns, values, texts = self._read(most=count)
        cells: list[list[Any]] = [self._db._labels_at(column).tolist() for column in columns]
        cells += [column.tolist() for column in values]
        if texts is not None:
            cells.append(texts)
        return zip(*cells, strict=True)


def _categorical(codes: NDArray[np.signedinteger[Any]], labels: Any) -> Any:
    import pandas as pd

    try:
        return pd.Categorical.from_codes(codes, labels, validate=False)  # they are in range
    except TypeError:  # before pandas 2.1
        return pd.Categorical.from_codes(codes, labels)


def counted(count: int, what: str) -> str:
    """Such as "1 record" or "2 records"."""
    return f"{count} {what}" + ("" if count == 1 else "s")


def quoted(text: str, most: int = 60) -> str:
    """An explanatory text on one line, cut to at most ``most`` characters."""
    line = " ".join(text.split())
    return '"' + (line if len(line) <= most else line[: most - 3] + "...") + '"'

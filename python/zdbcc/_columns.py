"""Turns what users pass as records into columns: labels first, then values or a text."""

from __future__ import annotations

import sys
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple, TypeAlias

import numpy as np

from zdbcc._errors import ArgumentError, LabelError
from zdbcc._values import doubles

if TYPE_CHECKING:
    from numpy.typing import NDArray

#: Places in a list of labels, the labels themselves, or values.
Column: TypeAlias = "tuple[NDArray[np.int32], list[str]] | list[str] | NDArray[np.float64]"


class Shape(NamedTuple):
    """How the records of a symbol look: index positions, values (0, 1 or 5), element texts."""

    name: str
    dim: int
    values: int
    #: The elements of the set that is the domain of a position; raises if none is.
    elements: Callable[[int], list[str]]
    #: Names of the positions, as in frames; empty if nobody has given them names.
    positions: list[str]

    @property
    def has_texts(self) -> bool:
        """Whether a record has a text in place of values."""
        return self.values == 0

    def describe(self) -> str:
        """What a row has, for messages."""
        rest = {0: "and possibly a text", 1: "and a value", 5: "and up to 5 values"}[self.values]
        return f"{self.dim} label{'' if self.dim == 1 else 's'} {rest}"


class Columns(NamedTuple):
    """Records by the column."""

    rows: int
    columns: list[Column]


def _is(data: Any, module: str, *names: str) -> bool:
    """Whether an object is of a class of a package, which need not be imported for that."""
    package = sys.modules.get(module)
    return package is not None and isinstance(data, tuple(getattr(package, name) for name in names))


def columns_of(data: Any, shape: Shape) -> Columns:
    """Records in any of the forms that ``Symbol.update`` describes, as columns."""
    if _is(data, "pandas", "DataFrame"):
        return _from_frame(data, shape)
    if _is(data, "pandas", "Series"):
        return _from_series(data, shape)
    if _is(data, "xarray", "DataArray"):
        return _from_array(data, shape)
    if hasattr(data, "tocoo"):  # of scipy
        return _from_sparse(data, shape)
    if _is_dense(data, shape):
        return _from_dense(data, [shape.elements(i) for i in range(shape.dim)], shape)
    if isinstance(data, Mapping):
        keys = list(data)
        rows = list(data.values())
        return _join(_keys(keys, shape), _values(rows, shape), len(keys), shape)
    if shape.dim == 0 and not _are_rows(data):
        return _join([], _values([data], shape), 1, shape)
    is_single = isinstance(data, np.ndarray) and data.ndim == 0
    if is_single or isinstance(data, str | bytes) or not isinstance(data, Iterable):
        raise ArgumentError(
            f"records of {shape.name} cannot be made of a {type(data).__name__}; pass a "
            "DataFrame, a Series, a dict, rows or an Arrow stream"
        )
    return _from_rows(data.tolist() if isinstance(data, np.ndarray) else list(data), shape)


def _are_rows(data: Any) -> bool:
    """Whether records without labels are rows, and not the values of one record."""
    return isinstance(data, list) and all(isinstance(row, tuple) for row in data)


def _is_dense(data: Any, shape: Shape) -> bool:
    """Whether it is an array of values over the domains: rows would have labels."""
    return (
        isinstance(data, np.ndarray)
        and data.dtype.kind in "biuf"
        and data.ndim == shape.dim > 0
        and data.size > 0
    )


def _from_array(array: Any, shape: Shape) -> Columns:
    """An array of xarray, whose dimensions have names: those of the positions in any order."""
    if array.ndim != shape.dim:
        raise ArgumentError(
            f"the array has {array.ndim} dimensions, but {shape.name} has {shape.dim} positions"
        )
    for dim in array.dims:
        if dim not in array.coords:
            raise ArgumentError(
                f"the array has no labels along {dim!r}; give it coordinates that are labels"
            )
    if sorted(map(str, array.dims)) == sorted(shape.positions):
        array = array.transpose(*shape.positions)
    labels = [array.coords[dim].values.tolist() for dim in array.dims]
    return _from_dense(array.values, labels, shape)


def _require_entries(values: Any, labels: list[list[str]], shape: Shape) -> None:
    """Raises unless an array has an entry for each element, and of a set bool."""
    sizes = tuple(len(each) for each in labels)
    if values.shape != sizes:
        raise ArgumentError(
            f"the array has the shape {values.shape}, but the domains of {shape.name} have "
            f"{' x '.join(map(str, sizes))} elements"
        )
    if shape.has_texts and values.dtype.kind != "b":
        raise ArgumentError(
            f"the array has the type {values.dtype}; one for {shape.name}, a set, has bool: "
            "true for each element"
        )


def _from_sparse(matrix: Any, shape: Shape) -> Columns:
    """A record for each entry that is stored, over the elements of two domains."""
    if shape.dim != 2:
        raise ArgumentError(f"a sparse matrix has 2 positions, but {shape.name} has {shape.dim}")
    labels = [shape.elements(i) for i in range(2)]
    _require_entries(matrix, labels, shape)
    entries = matrix.tocoo(copy=True)
    entries.sum_duplicates()
    if shape.has_texts:
        entries.eliminate_zeros()
    places: list[Column] = [
        (place.astype(np.int32), each)
        for place, each in zip((entries.row, entries.col), labels, strict=True)
    ]
    numbers: list[Column] = [] if shape.has_texts else [doubles(entries.data, "the sparse matrix")]
    return _join(places, numbers, len(entries.data), shape)


def _from_dense(values: NDArray[Any], labels: list[list[str]], shape: Shape) -> Columns:
    """A record for each entry but nan; of a set, an element for each that is true."""
    _require_entries(values, labels, shape)
    if shape.has_texts:
        chosen = np.nonzero(values)
        numbers: list[Column] = []
    else:
        dense = doubles(values, f"the array for {shape.name}")
        chosen = np.nonzero(~np.isnan(dense)) if shape.dim else ()
        numbers = [dense[chosen] if shape.dim else dense.reshape(1)]
    places: list[Column] = [
        (place.astype(np.int32), each) for place, each in zip(chosen, labels, strict=True)
    ]
    return _join(places, numbers, len(chosen[0]) if shape.dim else 1, shape)


def _join(labels: list[Column], values: list[Column], rows: int, shape: Shape) -> Columns:
    checked = [_coded(*c, shape) if isinstance(c, tuple) and rows else c for c in labels]
    return Columns(rows, checked + values)


def _coded(codes: NDArray[np.int32], texts: list[Any], shape: Shape) -> Column:
    """Places in a list of labels; what is in the list and in no row may be anything."""
    if int(codes.min()) < 0:
        row = int(np.argmax(codes < 0))
        raise _at_row(
            row,
            f"row {row} of the records of {shape.name} has no label (a missing value); "
            "fill it or leave the row out",
        )
    others = [place for place, text in enumerate(texts) if not isinstance(text, str)]
    if not others:
        return codes, texts
    used = np.isin(codes, others)
    if used.any():
        row = int(np.argmax(used))
        label = texts[codes[row]]
        raise _at_row(
            row,
            f"row {row} is {label!r} ({type(label).__name__}), not a str; convert it or leave the "
            "row out",
        )
    return codes, [text if isinstance(text, str) else "" for text in texts]


def _at_row(row: int, message: str) -> LabelError:
    error = LabelError(message)
    error.row = row
    return error


def _from_rows(rows: list[Any], shape: Shape) -> Columns:
    """Rows such as ("a", "b", 2.0); of a set with one position also labels alone."""
    if shape.has_texts and shape.dim == 1 and all(isinstance(row, str) for row in rows):
        return _join([rows], [], len(rows), shape)
    lengths = {
        len(row) if isinstance(row, Sequence) and not isinstance(row, str) else 0 for row in rows
    }
    most = shape.dim + (1 if shape.has_texts else shape.values)
    least = shape.dim + (0 if shape.has_texts else 1)
    if lengths and not (len(lengths) == 1 and least <= min(lengths) <= most):
        bad = next(
            i
            for i, row in enumerate(rows)
            if isinstance(row, str)
            or not isinstance(row, Sequence)
            or not least <= len(row) <= most
            or len(row) != len(rows[0])
        )
        raise ArgumentError(
            f"row {bad} of the records of {shape.name} is {rows[bad]!r}; each row has "
            f"{shape.describe()}, all rows the same number"
        )
    parts = list(zip(*rows, strict=True)) if rows else [()] * least
    labels: list[Column] = [list(part) for part in parts[: shape.dim]]
    values: list[Column] = (
        [_texts(part) for part in parts[shape.dim :]]
        if shape.has_texts
        else [
            doubles(list(part), f"a column of values of {shape.name}")
            for part in parts[shape.dim :]
        ]
    )
    return _join(labels, values, len(rows), shape)


def _keys(keys: list[Any], shape: Shape) -> list[Column]:
    """Keys, each a label or a tuple of them, by position."""
    if shape.dim == 1 and all(isinstance(key, str) for key in keys):
        return [keys]
    for row, key in enumerate(keys):
        if not isinstance(key, tuple) or len(key) != shape.dim:
            raise ArgumentError(
                f"key {row} of the records of {shape.name} is {key!r}, which is not "
                + ("a label" if shape.dim == 1 else f"a tuple of {shape.dim} labels")
            )
    return [list(part) for part in zip(*keys, strict=True)] if keys else [[]] * shape.dim


def _values(rows: Sequence[Any], shape: Shape) -> list[Column]:
    """Values of records, each a number, five of them or a text."""
    if shape.has_texts:
        return [_texts(rows)]
    what = f"the values of {shape.name}"
    try:
        array = doubles(list(rows), what) if rows else np.zeros(0)
    except ValueError as error:
        if isinstance(error, ArgumentError):
            raise
        raise ArgumentError(f"{what} do not all have the same number of entries") from None
    return _split(array, shape)


def _split(array: NDArray[np.float64], shape: Shape) -> list[Column]:
    """An array of values as columns: one dimension, or rows of at most as many as there are."""
    if array.ndim == 1:
        return [array]
    if array.ndim != 2 or not 1 <= array.shape[1] <= shape.values:
        raise ArgumentError(
            f"the values of {shape.name} have the shape {array.shape}; they must be one number a "
            f"record, or at most {shape.values}"
        )
    return [np.ascontiguousarray(array[:, i]) for i in range(array.shape[1])]


def _texts(column: Any) -> list[str]:
    """Element texts, of which missing ones are empty."""
    if hasattr(column, "isna"):
        column = np.where(column.isna(), "", np.asarray(column, dtype=object))
    return ["" if text is None else text for text in column]


def _labels_of(column: Any) -> Column:
    """A pandas column or index as labels."""
    values = column.array
    if _is(values, "pandas", "Categorical"):
        return np.ascontiguousarray(values.codes, np.int32), list(values.categories)
    return list(np.asarray(column, dtype=object))


def _numbers_of(column: Any, what: str) -> NDArray[np.float64]:
    dtype = column.dtype
    has_na = not isinstance(dtype, np.dtype) and not str(dtype).startswith("Sparse")
    if has_na and dtype.kind in "biuf":  # of pandas or of pyarrow; pd.NA would make them objects
        column = column.to_numpy(np.float64, na_value=np.nan)
    return doubles(column, what)


def _index_labels(index: Any) -> list[Column]:
    if index.nlevels == 1:
        return [_labels_of(index)]
    return [
        (np.ascontiguousarray(codes, np.int32), list(level))
        for codes, level in zip(index.codes, index.levels, strict=True)
    ]


def _from_frame(frame: Any, shape: Shape) -> Columns:
    """Labels in the first columns, or in an index that has as many levels."""
    most = 1 if shape.has_texts else shape.values
    least = 0 if shape.has_texts else 1
    index = frame.index
    uses_index = (
        index.nlevels == shape.dim > 0
        and least <= frame.shape[1] <= most
        and (index.nlevels > 1 or index.dtype.kind not in "iu")
    )
    rest = 0 if uses_index else shape.dim
    if not least <= frame.shape[1] - rest <= most:
        raise ArgumentError(
            f"the frame has {frame.shape[1]} columns and an index of {index.nlevels} levels, but "
            f"{shape.name} needs {shape.describe()}, in columns by place, or with all labels in "
            "the index"
        )
    labels = (
        _index_labels(index) if uses_index else [_labels_of(frame.iloc[:, i]) for i in range(rest)]
    )
    values: list[Column] = []
    for i in range(rest, frame.shape[1]):
        column = frame.iloc[:, i]
        values.append(
            _texts(column)
            if shape.has_texts
            else _numbers_of(column, f"column {frame.columns[i]!r} of the frame")
        )
    return _join(labels, values, len(frame), shape)


def _from_series(series: Any, shape: Shape) -> Columns:
    labels = _index_labels(series.index) if shape.dim else []
    if len(labels) != shape.dim or (shape.dim == 0 and len(series) != 1):
        raise ArgumentError(
            f"the series has {series.index.nlevels} index levels and {len(series)} rows, but "
            f"{shape.name} needs {shape.describe()}"
        )
    values: list[Column] = [
        _texts(series) if shape.has_texts else _numbers_of(series, "the series")
    ]
    return _join(labels, values, len(series), shape)

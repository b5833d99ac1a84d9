"""What users pass to models, checked and in one form."""

from __future__ import annotations

from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any

import numpy as np

from zdbcc._errors import ArgumentError, list_of
from zdbcc._names import Name, parse
from zdbcc._numbers import check_values
from zdbcc._values import is_number

if TYPE_CHECKING:
    from numpy.typing import NDArray


def canonical(names: Iterable[str]) -> list[Name]:
    """Names of changes, each once; .fx is both bounds."""
    found: dict[Any, Name] = {}
    for text in list_of(names, "names in changes"):
        name = parse(text)
        for part in ("lo", "up") if name.attribute == "fx" else (name.attribute,):
            each = name.with_(name.labels, part)
            found.setdefault(each.key, each)
    return list(found.values())


def bracketed(name: str) -> str:
    """The name that the kit gives a row or column, as changes have it."""
    symbol, opening, inside = name.partition("(")
    return f"{symbol}[{inside.removesuffix(')')}]" if opening else name


def checked(value: Any, name: Name) -> NDArray[np.float64]:
    values = np.array([float(value)])
    check_values(values, name)
    return values


def require_finite(values: NDArray[np.float64], name: Name) -> None:
    if not np.isfinite(values).all():
        raise ArgumentError(f"{name.text} cannot be {values[~np.isfinite(values)][0]}")


def positions(records: Any) -> int:
    """How many labels the records of a param have, which only they tell."""
    if is_number(records):
        return 0
    if isinstance(records, Mapping):
        first = next(iter(records), "")
        return len(first) if isinstance(first, tuple) else 1
    if hasattr(records, "dim"):  # a symbol
        return int(records.dim)
    if hasattr(records, "dims"):  # of xarray
        return len(records.dims)
    index = getattr(records, "index", None)
    if index is not None and hasattr(records, "shape") and hasattr(index, "nlevels"):
        if len(records.shape) == 1:
            return int(index.nlevels)
        return int(records.shape[1]) - 1 or int(index.nlevels)
    if hasattr(records, "__arrow_c_stream__"):
        names = getattr(records, "column_names", None) or getattr(records, "columns", None)
        return len(names if names is not None else records.schema) - 1
    rows = list(records) if isinstance(records, Sequence) else []
    return len(rows[0]) - 1 if rows and not isinstance(rows[0], str) else 0


def kept(records: Any) -> Any:
    """Records that can be read twice: those of an iterator as a list."""
    return list(records) if isinstance(records, Iterator) else records

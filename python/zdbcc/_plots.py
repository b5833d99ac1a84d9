"""Pictures of symbols, results and sweeps, with matplotlib."""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from typing import TYPE_CHECKING, Any

import numpy as np

from zdbcc._case import lower
from zdbcc._errors import ArgumentError, ModelError, needed
from zdbcc._names import Name, parse
from zdbcc._records import Records

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from zdbcc._numbers import Rows
    from zdbcc._opened import Opened, Params, SourceText

_KINDS = ("duration", "histogram", "heatmap", "sparsity")
#: Labels that an axis shows at most.
_MOST_TICKS = 40


def _axes(ax: Any) -> Any:
    return ax if ax is not None else needed("matplotlib.pyplot").subplots()[1]


def plot(
    data: Any,
    kind: str | None = None,
    *,
    column: str = "objective",
    field: str = "level",
    ax: Any = None,
) -> Any:
    """Draws a symbol, a slice, or a column of the table of a sweep.

    Parameters
    ----------
    data : Symbol, Slice, table of a sweep, or numbers
        What is drawn.
    kind : "duration", "histogram", "heatmap" or "sparsity"
        A duration curve (values from the largest to the least), a histogram, values by colour or
        records by dots of two positions. By default a heat map of two positions, else a duration
        curve.
    column : str
        Of a table: "objective", or what is shown.
    field : str
        Of a variable or equation: "level", "marginal", "lower", "upper".
    ax : matplotlib axes, optional
        Where to draw; by default in a new figure.

    Returns
    -------
    The axes.

    Raises
    ------
    ArgumentError
        A kind that does not exist, or does not fit the number of positions.
    MissingPackageError
        matplotlib is not there.

    Examples
    --------
    >>> db = zdbcc.Database()
    >>> p = db.add_parameter("p", "i", {"a": 1.0, "b": 3.0})
    >>> zdbcc.plot(p, "histogram").get_ylabel()  # doctest: +SKIP
    'number of records'
    """
    if kind is not None and kind not in _KINDS:
        raise ArgumentError(f"there is no kind {kind!r}; it is one of {', '.join(_KINDS)}")
    is_symbol = isinstance(data, Records)
    chosen = kind or ("heatmap" if is_symbol and data.dim == 2 else "duration")
    if chosen in ("heatmap", "sparsity"):
        if not is_symbol or data.dim != 2:
            raise ArgumentError(f"a {chosen} needs two open positions; fix others in a slice")
        return _matrix(data, chosen == "sparsity", field, ax)
    values, what, name = _values(data, column, field)
    values = values[~np.isnan(values)]
    axes = _axes(ax)
    axes.set_title(name)
    if chosen == "histogram":
        finite = values[np.isfinite(values)]
        axes.hist(finite, bins=min(50, max(5, int(np.sqrt(len(finite))))))
        axes.set_xlabel(name)
        axes.set_ylabel(f"number of {what}")
        return axes
    ordered = np.sort(values)[::-1]
    axes.step(np.arange(1, len(ordered) + 1), ordered, where="mid")
    axes.set_xlabel(f"{what}, from the largest to the least")
    axes.set_ylabel(name)
    return axes


def _values(data: Any, column: str, field: str) -> tuple[NDArray[np.float64], str, str]:
    """Values, what they are of, and what they are."""
    if isinstance(data, Records):
        if not data._fields:
            raise ArgumentError("a set has no values to draw")
        name = f"{data._called} ({field})" if len(data._fields) > 1 else data._called
        _, values, _ = data._read(keys=False, texts=False)
        return values[data._field(field)], "records", name
    if isinstance(data, Mapping) or hasattr(data, "columns"):
        if column not in data:
            raise ArgumentError(f"the table has no column {column!r}")
        return np.asarray(data[column], np.float64), "scenarios", column
    return np.asarray(data, np.float64).ravel(), "values", "value"


def plot_matrix(opened: Opened, params: Params, source: SourceText, ax: Any) -> Any:
    """Draws where the matrix of a model has coefficients; see ``Model.plot``."""
    axes = _axes(ax)
    sides: tuple[dict[Any, int], dict[Any, int]] = ({}, {})  # places of rows and of columns
    dims: dict[str, int] = {}
    for part in opened.parts.values():
        if part.is_added or part.name == opened.objective:
            continue
        side = sides[part.is_variable]
        name = lower(opened.row_names.get(part.name, part.name))
        if not part.is_variable:
            dims[name] = part.dim
        keys, values = opened.core.read(part.name)
        columns = opened.texts(keys)
        keyed = zip(*columns, strict=True) if columns else [()] * len(values[0])
        for key in keyed:
            side[name, *map(lower, key)] = len(side)
    variables = dict.fromkeys(key[0] for key in sides[1])
    names = [parse(f"{row}.coef[{column}]") for row in dims for column in variables]
    points = []
    for each, found in _coefficients(source, params, names):
        row, column = each.symbol, each.column[1:-1]
        for entry in found:
            labels = [lower(label) for label in entry]
            dim = dims[row]
            points.append((sides[1][column, *labels[dim:]], sides[0][row, *labels[:dim]]))
    size = opened.core.size()
    xs, ys = zip(*points, strict=True) if points else ((), ())
    axes.plot(xs, ys, linestyle="none", marker="s", markersize=max(1.0, 200 / max(size[:2])))
    axes.set_xlabel("columns")
    axes.set_ylabel("rows")
    axes.invert_yaxis()
    axes.set_title(source.name)
    return axes


def _coefficients(
    source: SourceText, params: Params, names: list[Name]
) -> Iterator[tuple[Name, Rows]]:
    """The entries of names that have some; those that have none cannot be named."""
    from zdbcc._opened import Opened

    try:
        opened = Opened(source, names, params)
    except ModelError:
        for name in names if len(names) > 1 else []:
            yield from _coefficients(source, params, [name])
        return
    for number, name in enumerate(names):
        yield name, opened.numbers(number)[0]
    opened.core.close()


def _matrix(data: Records, is_sparsity: bool, field: str, ax: Any) -> Any:
    columns, values, _ = data._read(texts=False)
    (i, rows), (j, others) = (data._coded(numbers) for numbers in columns)
    if not len(i):
        raise ArgumentError(f"{data._title} has no records to draw")
    axes = _axes(ax)
    if is_sparsity:
        axes.plot(j, i, linestyle="none", marker="s", markersize=max(1.0, 100 / len(others)))
        axes.set_xlim(-0.5, len(others) - 0.5)
        axes.set_ylim(len(rows) - 0.5, -0.5)
    else:
        dense = np.full((len(rows), len(others)), np.nan)
        dense[i, j] = values[data._field(field)] if values else 1.0
        dense[~np.isfinite(dense)] = np.nan
        picture = axes.imshow(dense, aspect="auto", interpolation="nearest")
        axes.figure.colorbar(picture, ax=axes)
    for labels, axis in ((others, axes.xaxis), (rows, axes.yaxis)):
        if len(labels) <= _MOST_TICKS:
            axis.set_ticks(range(len(labels)), labels)
    axes.xaxis.set_tick_params(rotation=90 if len(others) > 8 else 0)
    names = data.columns
    axes.set_ylabel(names[0])
    axes.set_xlabel(names[1])
    axes.set_title(data._called)
    return axes

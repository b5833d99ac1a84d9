"""Values: those that are not ordinary numbers, and the five of a variable or equation."""

from __future__ import annotations

import sys
from typing import TYPE_CHECKING, Any, Final, NamedTuple

import numpy as np

from zdbcc._errors import ArgumentError

if TYPE_CHECKING:
    from numpy.typing import NDArray

#: Not available; it is the same as ``float("nan")``, which numpy and pandas take for missing.
NA: Final = float("nan")
#: Undefined, the result of a computation that failed.
UNDEF: Final = 1e300
#: Infinity; ``-INF`` is minus infinity.
INF: Final = float("inf")
#: An explicit zero: the smallest number above zero, 5e-324, which computations take for zero.
EPS: Final = 5e-324

#: Names of the values of variables and equations, in their order.
FIELDS: Final = ("level", "marginal", "lower", "upper", "scale")


class Values(NamedTuple):
    """The values of a record of a variable or equation.

    Examples
    --------
    >>> Values(level=2.0).upper
    inf
    """

    level: float = 0.0
    marginal: float = 0.0
    lower: float = -INF
    upper: float = INF
    scale: float = 1.0


def is_number(value: Any) -> bool:
    """Whether a value is one number and no collection."""
    return isinstance(value, int | float | np.number | np.bool_) and not isinstance(
        value, np.complexfloating
    )


def masked(data: Any) -> NDArray[np.bool_] | None:
    """What an array of numpy masks; None if it is not such an array."""
    masks = sys.modules.get("numpy.ma")  # which need not be imported for that
    if masks is None or not isinstance(data, masks.MaskedArray):
        return None
    found: NDArray[np.bool_] = masks.getmaskarray(data)
    return found


def doubles(data: Any, what: str) -> NDArray[np.float64]:
    """Numbers as a new or borrowed array of doubles; each nan is NA, as is what is masked."""
    mask = masked(data)
    array = np.asarray(data)
    if array.dtype.kind == "O":
        for place, item in enumerate(array.ravel()):
            if not is_number(item):
                raise ArgumentError(
                    f"{what}: entry {place} is {item!r} ({type(item).__name__}), not a number; "
                    "convert the column to float64"
                )
    elif array.dtype.kind not in "biuf":
        raise ArgumentError(
            f"{what} has the type {array.dtype}, not numbers; convert it to float64"
        )
    try:
        result: NDArray[np.float64] = np.ascontiguousarray(array, np.float64).reshape(array.shape)
    except OverflowError:
        raise ArgumentError(f"{what} has an int that is too large for a float64") from None
    missing = np.isnan(result) if mask is None else np.isnan(result) | mask
    # The library compares bits, and inf - inf is another nan.
    if missing.any():
        result = np.where(missing, np.nan, result)
    return result

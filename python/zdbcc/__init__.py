"""Databases of algebraic models: labels, and sets, parameters, variables and equations over them.

>>> import zdbcc
>>> db = zdbcc.Database()
>>> i = db.add_set("i", ["a", "b"])
>>> p = db.add_parameter("p", ["i", "i"], {("a", "b"): 1.5}, text="cost of a step")
>>> p
<Parameter p(i, i): 1 record, "cost of a step">

Models and sweeps come with ``Model``. What a name needs, such as numpy, is loaded when the name is
first used.
"""

from typing import TYPE_CHECKING as _TYPE_CHECKING

if _TYPE_CHECKING:
    from zdbcc._core import __version__
    from zdbcc._database import Database, Violation, open
    from zdbcc._errors import (
        ArgumentError,
        ClosedError,
        DamagedError,
        DomainError,
        Error,
        ExistsError,
        FileError,
        LabelError,
        MissingFileError,
        MissingPackageError,
        ModelError,
        NotFoundError,
        OutOfMemoryError,
        SolveError,
        StateError,
        StreamError,
        TableError,
    )
    from zdbcc._models import Conflict, Model, ModelSymbol
    from zdbcc._numbers import Numbers
    from zdbcc._opened import Solver, solvers
    from zdbcc._plots import plot
    from zdbcc._results import Result
    from zdbcc._symbols import Alias, Equation, Parameter, Set, Slice, Symbol, Variable
    from zdbcc._tables import CsvWarning, Difference, Imported, SymbolDifference, diff, read_csv
    from zdbcc._values import EPS, INF, NA, UNDEF, Values

__all__ = [
    "EPS",
    "INF",
    "NA",
    "UNDEF",
    "Alias",
    "ArgumentError",
    "ClosedError",
    "Conflict",
    "CsvWarning",
    "DamagedError",
    "Database",
    "Difference",
    "DomainError",
    "Equation",
    "Error",
    "ExistsError",
    "FileError",
    "Imported",
    "LabelError",
    "MissingFileError",
    "MissingPackageError",
    "Model",
    "ModelError",
    "ModelSymbol",
    "NotFoundError",
    "Numbers",
    "OutOfMemoryError",
    "Parameter",
    "Result",
    "Set",
    "Slice",
    "SolveError",
    "Solver",
    "StateError",
    "StreamError",
    "Symbol",
    "SymbolDifference",
    "TableError",
    "Values",
    "Variable",
    "Violation",
    "__version__",
    "diff",
    "open",
    "plot",
    "read_csv",
    "solvers",
]

# A name loads what it needs when it is first used: numpy, or with models the solvers.
_WHERE = {
    "_core": ("__version__",),
    "_database": ("Database", "Violation", "open"),
    "_errors": tuple(name for name in __all__ if name.endswith("Error")),
    "_models": ("Conflict", "Model", "ModelSymbol"),
    "_numbers": ("Numbers",),
    "_opened": ("Solver", "solvers"),
    "_plots": ("plot",),
    "_results": ("Result",),
    "_symbols": ("Alias", "Equation", "Parameter", "Set", "Slice", "Symbol", "Variable"),
    "_tables": ("CsvWarning", "Difference", "Imported", "SymbolDifference", "diff", "read_csv"),
    "_values": ("EPS", "INF", "NA", "UNDEF", "Values"),
}
_LATE = {name: module for module, names in _WHERE.items() for name in names}


def __getattr__(name: str) -> object:
    if name not in _LATE:
        raise AttributeError(f"module 'zdbcc' has no attribute {name!r}")
    import importlib

    value: object = getattr(importlib.import_module("zdbcc." + _LATE[name]), name)
    globals()[name] = value
    return value


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})

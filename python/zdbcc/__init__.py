"""Databases of algebraic models: labels, and sets, parameters, variables and equations over them.

>>> import zdbcc
>>> db = zdbcc.Database()
>>> i = db.add_set("i", ["a", "b"])
>>> p = db.add_parameter("p", ["i", "i"], {("a", "b"): 1.5}, text="cost of a step")
>>> p
<Parameter p(i, i): 1 record, "cost of a step">
"""

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
    NotFoundError,
    OutOfMemoryError,
    StateError,
    StreamError,
    TableError,
)
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
    "NotFoundError",
    "OutOfMemoryError",
    "Parameter",
    "Set",
    "Slice",
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
    "read_csv",
]

"""What the package shares with the command-line tool: CSV files in, SQLite out, differences."""

from __future__ import annotations

import contextlib
import os
import warnings
from collections.abc import Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple

from zdbcc import _database
from zdbcc._case import lower
from zdbcc._database import Database
from zdbcc._errors import ArgumentError, DamagedError, NotFoundError, list_of, needed, path_of
from zdbcc._records import counted
from zdbcc._values import EPS, FIELDS, INF, NA, UNDEF, is_number

if TYPE_CHECKING:
    import pandas as pd

# Kinds of failure, as in zdbx.h and _errors.
_OTHER = 0
_TABLE = 15

#: How the tool writes values that are not ordinary numbers.
_SPECIAL = {"NA": NA, "Undef": UNDEF, "+Inf": INF, "-Inf": -INF, "Eps": EPS}


def _run(
    verb: str, options: Mapping[str, bool | str | Sequence[str]], failed: int
) -> tuple[int, Any, list[tuple[bool, str]]]:
    """The exit code of a verb, what it wrote as JSON, and its lines with whether each is bad."""
    import json

    from zdbcc import _tool  # it brings SQLite and the model kit, which few programs need

    code, text, lines = _tool.run(verb, options, failed)
    return code, json.loads(text) if text else None, lines


# ---- CSV ----


#: In the tool's lines about what nobody asked for. Others are counts that ``imported`` has.
_NOT_ASKED_FOR = ("folded into", "lost blanks", "not in UTF-8", "is a mere name")


class CsvWarning(UserWarning):
    """A CSV file of which something was left out or changed."""


class Imported(NamedTuple):
    """What became of the rows of a CSV file; see ``read_csv``."""

    symbol: str  #: its name; "*" for labels alone
    file: str  #: "" for a set that was made of the labels of a domain
    rows: int
    records: int
    empty_fields: int
    duplicates: int  #: rows whose labels had come before
    refused: int  #: rows that were left out, such as for a label that is not in its domain
    folded: dict[str, str]  #: labels and texts that got the spelling of an earlier one


def _source(source: str | os.PathLike[str]) -> str:
    if isinstance(source, str):
        return source
    path = path_of(source)
    return '"' + path.replace('"', '""') + '"'


def read_csv(
    *sources: str | os.PathLike[str],
    separator: str = "",
    decimal: str = ".",
    quotes: str = "double",
    encoding: str = "utf8",
    heading: bool = True,
    skip: int = 0,
    trim: bool = False,
    missing: str = "skip",
    duplicates: str = "last",
    check_domains: bool = True,
    strict: bool = False,
) -> Database:
    r"""A database made of CSV files, as the verb ``import`` of the command-line tool makes it.

    Parameters
    ----------
    *sources : str or path
        Each says which columns of a file become a symbol: ``"NAME=FILE:LABELS->VALUES"``, such as
        ``"flights=flights.csv:origin(airport+),destination(airport+)->count"``. With a file alone,
        its last column has the values, or texts of a set, and the others the labels. Several
        columns of values, as in ``->jan..dec(month+)``, are a wide table, whose headings become
        labels. The page about the tool has all forms. A file may be packed by gzip.
    separator : str
        One character, or "tab"; without it, comma, semicolon or tab, whichever the first line has
        most of.
    decimal : "." or ","
        The decimal mark.
    quotes : "double" or "none"
        Whether fields may stand in quotes.
    encoding : "utf8" or "latin1"
    heading : bool
        Whether the first line has the names of the columns. Without, write ``#1`` for the first.
    skip : int
        Lines before the heading that are passed over.
    trim : bool
        Whether blanks around fields without quotes are left out.
    missing : "skip", "zero", "na" or "error"
        What an empty field is where a number should be; "skip" makes no record of it.
    duplicates : "last", "first", "sum" or "error"
        Which of several rows with the same labels counts.
    check_domains : bool
        Whether rows outside their domains are refused.
    strict : bool
        Whether a row that is refused, or a label that is changed, raises.

    Returns
    -------
    Database
        Its attribute ``imported`` tells for each file what became of the rows. Rows that are
        refused, and labels that get the spelling of an earlier one that differs in case only, are
        told by a ``CsvWarning`` too.

    Raises
    ------
    TableError
        A column that is not there, a field that is not a number, a row with too few or too many
        fields, with the line; and whatever would be a warning if ``strict`` is true.
    ArgumentError
        An option or a source that is not understood.
    MissingFileError, FileError
        A file that cannot be read.

    Examples
    --------
    >>> import pathlib, tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = pathlib.Path(folder) / "price.csv"
    ...     n = path.write_text("food;shop;price\ntea;here;2,5\nmilk;there;1\n")
    ...     db = zdbcc.read_csv(f"{path}:food,shop->price", decimal=",")
    >>> db["price"].to_dict()
    {('tea', 'here'): 2.5, ('milk', 'there'): 1.0}
    >>> db.imported[0].rows
    2
    """
    if not sources:
        raise ArgumentError("there is nothing to read; pass a file or NAME=FILE:LABELS->VALUES")
    options: dict[str, bool | str | Sequence[str]] = {
        "SPEC": [_source(source) for source in sources],
        "separator": separator,
        "decimal": {".": "point", ",": "comma"}.get(decimal, decimal),
        "quotes": quotes,
        "encoding": str(encoding).lower().replace("-", "").replace("_", ""),
        "heading": heading,
        "skip": str(skip),
        "trim": trim,
        "missing": missing,
        "duplicates": duplicates,
        "domain-check": check_domains,
        "strict": strict,
        "json": True,
    }
    with _temporary_file() as target:
        _, report, lines = _run("import", {**options, "OUT": target}, _TABLE)
        with open(target, "rb") as file:
            db = Database.from_bytes(file.read())
    db.imported = tuple(_imported(symbol) for symbol in report["symbols"])
    for is_bad, line in lines:
        if is_bad or any(words in line for words in _NOT_ASKED_FOR):
            warnings.warn(line, CsvWarning, stacklevel=2)
    return db


def _imported(symbol: Mapping[str, Any]) -> Imported:
    return Imported(
        symbol=symbol["name"],
        file=symbol["file"],
        rows=symbol["rows"],
        records=symbol["records"],
        empty_fields=symbol["emptyFields"],
        duplicates=symbol["duplicates"]["count"],
        refused=symbol["refused"]["count"],
        folded={
            fold["given"]: fold["kept"]
            for fold in [*symbol["foldedLabels"], *symbol["foldedTexts"]]
        },
    )


# ---- SQLite ----


def write_sqlite(db: Database, target: str, symbols: Sequence[str], overwrite: bool) -> None:
    """See ``Database.to_sqlite``."""
    with _as_file(db) as source:
        options: dict[str, bool | str | Sequence[str]] = {
            "FILE": source, "SYMBOL": symbols, "to": target, "format": "sqlite", "force": overwrite
        }  # fmt: skip
        _run("export", options, _OTHER)


@contextlib.contextmanager
def _as_file(source: Database | str | os.PathLike[str]) -> Iterator[str]:
    """The name of a data file; of a database, one that is there meanwhile."""
    if not isinstance(source, Database):
        _database.open(source).close()  # says what is wrong with it
        yield path_of(source)
        return
    with _temporary_file() as path:
        source.write(path, check_domains=False)
        yield path


@contextlib.contextmanager
def _temporary_file() -> Iterator[str]:
    import tempfile

    with tempfile.TemporaryDirectory(prefix="zdbcc-") as folder:
        yield os.path.join(folder, "database.zxf")


# ---- Differences ----


class SymbolDifference:
    """How a symbol differs between two databases.

    Attributes
    ----------
    name, type : str
        Of the symbol.
    only_in : "a", "b" or None
        The only one that has it.
    properties : dict
        What differs but for the records, such as ``{"text": ('"old"', '"new"')}``.
    only_in_a, only_in_b, different, same : int or None
        How many records; None if they were not compared, such as for another dimension.
    largest_difference : float or None
        Between two numbers; None if no two were different.
    """

    def __init__(self, found: Mapping[str, Any]) -> None:
        self.name: str = found["name"]
        self.type: str = found["type"]
        self.only_in: str | None = found.get("onlyIn")
        self.properties: dict[str, tuple[str, str]] = {
            name: (sides["a"], sides["b"]) for name, sides in found.get("properties", {}).items()
        }
        self.only_in_a: int | None = found.get("onlyInA")
        self.only_in_b: int | None = found.get("onlyInB")
        self.different: int | None = found.get("different")
        self.same: int | None = found.get("same")
        self.largest_difference: float | None = found.get("largestDifference")
        self._records: list[Mapping[str, Any]] = found.get("records", [])

    def __repr__(self) -> str:
        if self.only_in:
            return f"<{self.type} {self.name}: only in {self.only_in}>"
        parts = list(self.properties)
        for name in ("only_in_a", "only_in_b", "different", "same"):
            if getattr(self, name):
                parts.append(f"{getattr(self, name)} {name.replace('_', ' ')}")
        return f"<{self.type} {self.name}: {', '.join(parts)}>"

    def records(self) -> list[tuple[tuple[str, ...], Any, Any]]:
        """The records that differ: labels, what ``a`` has and what ``b`` has, None for nothing.

        Examples
        --------
        >>> a, b = zdbcc.Database(), zdbcc.Database()
        >>> p = a.add_parameter("p", "*", {"x": 1.0})
        >>> q = b.add_parameter("p", "*", {"y": 2.0})
        >>> zdbcc.diff(a, b)["p"].records()
        [(('x',), 1.0, None), (('y',), None, 2.0)]
        """
        side = _text if self.type == "set" else _numbers
        return [
            (tuple(record["key"]), side(record.get("a")), side(record.get("b")))
            for record in self._records
        ]

    def to_frame(self) -> pd.DataFrame:
        """The records that differ as a pandas frame: labels, then ``a`` and ``b``.

        Of a variable or equation, ``level_a``, ``level_b`` and so on. What one of them lacks is
        nan; of a set, None. Needs pandas.

        Examples
        --------
        >>> a, b = zdbcc.Database(), zdbcc.Database()
        >>> p = a.add_parameter("p", "*", {"x": 1.0})
        >>> q = b.add_parameter("p", "*", {"x": 2.0})
        >>> zdbcc.diff(a, b)["p"].to_frame()
          label    a    b
        0     x  1.0  2.0
        """
        needed("pandas")
        import pandas as pd

        rows = self.records()
        dim = len(rows[0][0]) if rows else 0
        data: dict[str, list[Any]] = {
            f"label_{i + 1}" if i else "label": [key[i] for key, _, _ in rows] for i in range(dim)
        }
        fields = FIELDS if self.type in ("variable", "equation") else ("",)
        for number, field in enumerate(fields):
            for side, values in (("a", [a for _, a, _ in rows]), ("b", [b for _, _, b in rows])):
                data[f"{field}_{side}" if field else side] = [
                    value[number] if field and value is not None else value for value in values
                ]
        frame = pd.DataFrame(data)
        numbers = [] if self.type == "set" else list(data)[dim:]
        return frame.astype(dict.fromkeys(numbers, "float64"))


def _text(found: Any) -> Any:
    return found


def _numbers(found: Any) -> Any:
    """A number, or five, as the tool writes them; None stays."""
    if isinstance(found, list):
        return tuple(_numbers(each) for each in found)
    if isinstance(found, str):
        return _SPECIAL[found]
    return found if found is None else float(found)


class Difference(Mapping[str, SymbolDifference]):
    """What differs between two databases: a mapping of names to symbols that do; see ``diff``."""

    def __init__(self, found: Mapping[str, Any]) -> None:
        self.compared: int = found["symbolsCompared"]
        self._symbols = {each["name"]: SymbolDifference(each) for each in found["symbols"]}

    def __getitem__(self, name: str) -> SymbolDifference:
        for each in self._symbols.values():
            if lower(each.name) == lower(name):
                return each
        raise NotFoundError(f"symbol {name!r} does not differ, or is in neither database")

    def __iter__(self) -> Iterator[str]:
        return iter(self._symbols)

    def __len__(self) -> int:
        return len(self._symbols)

    def __repr__(self) -> str:
        return f"<Difference: {len(self)} of {counted(self.compared, 'symbol')}>"


def diff(
    a: Database | str | os.PathLike[str],
    b: Database | str | os.PathLike[str],
    symbols: Sequence[str] = (),
    *,
    tolerance: float | tuple[float, float] = 0.0,
    limit: int | None = None,
    spelling: bool = False,
) -> Difference:
    """What differs between two databases or data files; empty, and so false, if nothing does.

    Symbols belong together by their names, records by their labels: the order of symbols and
    labels does not matter. Compared are type, dimension, kind, domains and text of symbols, all
    values of records and the texts of elements.

    Parameters
    ----------
    symbols : sequence of str
        What to compare; without them, all. ``"*"`` compares the labels.
    tolerance : float or (float, float)
        How far apart two numbers may be and still count as the same: by at most the first, or by
        at most the second times the larger of the two without their signs. Special values are the
        same as themselves only.
    limit : int or None
        The most records of a symbol that are kept; all are counted.
    spelling : bool
        Whether names and labels that differ in the case of letters differ.

    Raises
    ------
    NotFoundError
        Neither has one of the symbols.
    DamagedError, MissingFileError, FileError
        A file that cannot be read.

    Memory: records that differ are kept, others are not. A database is written to a temporary
    file first.

    Examples
    --------
    >>> a, b = zdbcc.Database(), zdbcc.Database()
    >>> p, q = a.add_parameter("p", "i", {"x": 1.0}), b.add_parameter("p", "i", {"x": 1.5})
    >>> zdbcc.diff(a, b)["p"]
    <parameter p: 1 different>
    >>> zdbcc.diff(a, b)["p"].records()
    [(('x',), 1.0, 1.5)]
    >>> bool(zdbcc.diff(a, b, tolerance=0.5))
    False
    """
    limits = tolerance if isinstance(tolerance, tuple) else (tolerance,)
    if not 1 <= len(limits) <= 2 or not all(is_number(each) and each >= 0 for each in limits):
        raise ArgumentError(
            f"tolerance needs numbers from 0 on, one or (absolute, relative), not {tolerance!r}"
        )
    names = [symbols] if isinstance(symbols, str) else list_of(symbols, "symbols")
    options: dict[str, bool | str | Sequence[str]] = {
        "SYMBOL": names,
        "tolerance": ",".join(repr(float(each)) for each in limits),
        "spelling": spelling,
        "json": True,
    }
    if limit is not None:
        options["limit"] = str(limit)
    with _as_file(a) as file_a, _as_file(b) as file_b:
        _, found, lines = _run("diff", {**options, "A": file_a, "B": file_b}, 1)
    for is_bad, line in lines:
        if is_bad:
            raise DamagedError(line)
    return Difference(found)

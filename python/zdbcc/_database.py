"""Databases: mappings of symbols that are read from files and written to them."""

from __future__ import annotations

import os
from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple, TypeAlias

import numpy as np

from zdbcc import _core
from zdbcc._errors import (
    ArgumentError,
    ClosedError,
    DomainError,
    ExistsError,
    NotFoundError,
    list_of,
    path_of,
)
from zdbcc._records import counted
from zdbcc._symbols import (
    CLASSES,
    EQUATION_KINDS,
    VARIABLE_KINDS,
    Alias,
    Equation,
    Parameter,
    Set,
    Symbol,
    Variable,
)

if TYPE_CHECKING:
    from types import TracebackType

    from numpy.typing import NDArray

    from zdbcc._tables import Imported

#: Symbols that a notebook shows.
_SHOWN = 20

#: Domains of a symbol: sets or their names, "*" for any label; a name that no set has is only
#: a name.
Domain: TypeAlias = "str | Symbol | Sequence[str | Symbol]"


class Violation(NamedTuple):
    """A record outside a domain."""

    symbol: str  #: its name
    key: Any  #: as the symbol has it: a str, or a tuple for several positions
    position: int  #: of the label that is not in the domain, from 0
    domain: str  #: the name of the domain


class Database(Mapping[str, Symbol]):
    """A database: a mapping of names to symbols, in the order in which they were added.

    Names are found in any case. A symbol of a file is read when its records are first used. The
    database is a context manager; ``close`` frees it at once, and otherwise it is freed with the
    last object that belongs to it. Threads may share it; their calls wait for each other, and
    run without the interpreter's lock.

    Examples
    --------
    >>> with zdbcc.Database() as db:
    ...     i = db.add_set("i", ["a", "b"], text="steps")
    ...     p = db.add_parameter("p", ["i", "i"], {("a", "b"): 1.5}, text="cost of a step")
    ...     list(db), db["P"]["a", "b"]
    (['i', 'p'], 1.5)
    """

    def __init__(self) -> None:
        self._core = _core.Database()
        self._labels: NDArray[np.object_] = np.array([""], dtype=object)
        #: What became of the rows of CSV files; empty if it is not of ``read_csv``.
        self.imported: tuple[Imported, ...] = ()

    # ---- Files ----

    @classmethod
    def from_bytes(cls, data: bytes | bytearray | memoryview) -> Database:
        """A database of the bytes of a data file; see ``to_bytes``.

        Raises ``DamagedError`` if they are not those of an intact file.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> zdbcc.Database.from_bytes(db.to_bytes())
        <Database: 0 symbols, 0 labels>
        """
        db = cls()
        try:
            db._core.read_memory(data)
        except TypeError:
            raise ArgumentError(
                f"the bytes of a file are bytes or a buffer, not {data!r}; open() takes a path"
            ) from None
        return db

    def to_bytes(self, *, check_domains: bool = True) -> bytes:
        """The bytes of a data file; see ``write`` for what it raises.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", "*", {"a": 1.5})
        >>> zdbcc.Database.from_bytes(db.to_bytes())["p"].to_dict()
        {'a': 1.5}
        """
        if check_domains:
            self._require_domains()
        return self._core.write_memory(False)

    def write(self, path: str | os.PathLike[str], *, check_domains: bool = True) -> None:
        """Writes a data file, in the place of one that is there.

        Raises ``DomainError``, before anything is written, if a record is outside a domain and
        ``check_domains`` is true; ``FileError`` if the system refuses; and what reading a symbol
        raises, which leaves an existing file as it was.

        Examples
        --------
        >>> import pathlib, tempfile
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     path = pathlib.Path(folder) / "out.zxf"
        ...     zdbcc.Database().write(path)
        ...     len(zdbcc.open(path))
        0
        """
        name = path_of(path)
        if check_domains:
            self._require_domains()
        self._core.write_file(name, False)

    def to_sqlite(
        self,
        path: str | os.PathLike[str],
        symbols: Sequence[str] = (),
        *,
        overwrite: bool = False,
    ) -> None:
        """Writes an SQLite database: a table for each symbol, a view for each alias.

        The key of a table is all its labels. ``_symbols`` describes the symbols, and ``_labels``
        has all labels in their order. Infinities are infinities, EPS is 0, and UNDEF and NA are
        ``NULL``. The file appears when it is complete.

        Parameters
        ----------
        path
            Where to write it.
        symbols : sequence of str
            What to write; without them, all.
        overwrite : bool
            Whether a file that is there may be replaced; else ``ExistsError``.

        Raises ``FileError`` if the system refuses, ``NotFoundError`` for a symbol that is not
        there.

        Examples
        --------
        >>> import pathlib, sqlite3, tempfile
        >>> db = zdbcc.Database()
        >>> p = db.add_parameter("p", "i", {"a": 1.5})
        >>> with tempfile.TemporaryDirectory() as folder:
        ...     path = pathlib.Path(folder) / "out.db"
        ...     db.to_sqlite(path)
        ...     sqlite3.connect(path).execute("SELECT * FROM p").fetchall()
        [('a', 1.5)]
        """
        from zdbcc._tables import write_sqlite

        target = path_of(path)
        chosen = [symbols] if isinstance(symbols, str) else list_of(symbols, "symbols")
        names = [self[name].name for name in chosen]
        if not overwrite and os.path.exists(target):
            raise ExistsError(f"{target} exists; pass overwrite=True to replace it")
        write_sqlite(self, target, names, overwrite)

    def close(self) -> None:
        """Frees the database; its symbols can no longer be used. May be called again.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.close()
        >>> db
        <Database (closed)>
        """
        self._core.close()

    @property
    def closed(self) -> bool:
        """Whether the database has been closed."""
        return self._core.closed

    def __enter__(self) -> Database:
        if self.closed:
            self._core.label_count()  # raises
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()

    # ---- The mapping ----

    def _wrap(self, core: _core.Symbol | None) -> Symbol:
        if core is None:
            raise ClosedError("the symbol is no longer there")
        return CLASSES.get(core.type, Symbol)(self, core)

    def __getitem__(self, name: str) -> Symbol:
        core = self._core.find(name) if isinstance(name, str) else None
        if core is None:
            raise NotFoundError(f"there is no symbol {name!r} in the database")
        return self._wrap(core)

    def __iter__(self) -> Iterator[str]:
        return iter([symbol.name for symbol in self._core.symbols()])

    def __len__(self) -> int:
        return len(self._core.symbols())

    def __contains__(self, name: object) -> bool:
        try:
            return isinstance(name, str) and self._core.find(name) is not None
        except ArgumentError:  # no name, such as one with a NUL
            return False

    __hash__ = object.__hash__

    def __eq__(self, other: object) -> bool:
        return self is other

    def __reduce__(self) -> Any:
        """Copies and pickles are those of its file."""
        return _unpickled, (self.to_bytes(check_domains=False), self.imported)

    def _repr_html_(self) -> str:
        import html  # only notebooks need it

        summary = html.escape(repr(self))
        if self.closed or not len(self):
            return f"<code>{summary}</code>"
        symbols = list(self.values())
        lines = "".join(f"<li><code>{html.escape(repr(s))}</code></li>" for s in symbols[:_SHOWN])
        more = len(symbols) - _SHOWN
        note = f"<p>and {more} more</p>" if more > 0 else ""
        return f"<details><summary><code>{summary}</code></summary><ul>{lines}</ul>{note}</details>"

    def __repr__(self) -> str:
        if self.closed:
            return "<Database (closed)>"
        symbols, labels = len(self), self._label_count()
        return f"<Database: {counted(symbols, 'symbol')}, {counted(labels, 'label')}>"

    # ---- Labels ----

    def _label_count(self) -> int:
        return self._core.label_count()

    def _labels_at(self, numbers: NDArray[np.int32]) -> NDArray[np.object_]:
        """The texts of label numbers; "" for 0."""
        most = int(numbers.max(initial=0))
        labels = self._labels
        if most >= len(labels):
            first = len(labels)
            new = np.empty(self._label_count() + 1 - first, dtype=object)
            new[:] = self._core.labels(first, len(new))
            self._labels = labels = np.concatenate([labels, new])
        result: NDArray[np.object_] = labels[numbers]
        return result

    def _forget_labels(self) -> None:
        """After a call that has taken labels away that it had added."""
        self._labels = self._labels[:1]

    @property
    def labels(self) -> list[str]:
        """All labels; that of number n, from 1, is at place n - 1. A new list each time."""
        return self._core.labels(1, self._label_count()) if self._label_count() else []

    def add_labels(self, labels: Iterable[str]) -> NDArray[np.int32]:
        """Adds labels, or finds those that are there, and returns their numbers.

        A text of blanks only is no label, and has the number 0.
        Raises ``LabelError`` with the row of a label that is not valid; none has been added then.

        Examples
        --------
        >>> zdbcc.Database().add_labels(["a", "b", "A"])
        array([1, 2, 1], dtype=int32)
        """
        return self._core.add_labels(list_of(labels, "labels"))

    def find_labels(self, labels: Iterable[str]) -> NDArray[np.int32]:
        """The numbers of labels, -1 for those that are not there.

        Returns
        -------
        int32 array of shape (labels,)

        Raises ``LabelError`` for what is not a str.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> numbers = db.add_labels(["a", "b"])
        >>> db.find_labels(["B", "c"])
        array([ 2, -1], dtype=int32)
        """
        return self._core.find_labels(list_of(labels, "labels"))

    # ---- Symbols ----

    def _add(
        self, name: str, kind: int, domain: Domain, records: Any, user_info: int, text: str
    ) -> Symbol:
        for what, value in (("name", name), ("text", text)):
            if not isinstance(value, str):
                raise ArgumentError(f"the {what} of a symbol is a str, not {value!r}")
        parts = [domain] if isinstance(domain, str | Symbol) else list_of(domain, "domains")
        names = [part.name if isinstance(part, Symbol) else part for part in parts]
        for part in names:
            if not isinstance(part, str):
                raise ArgumentError(f"a domain is a set or the name of one, not {part!r}")
        symbol = self._wrap(self._core.add(name, kind, names, user_info, text))
        if records is not None:
            try:
                symbol.update(records, mode="add")
            except BaseException:
                self._core.remove(symbol._core)
                raise
        return symbol

    def add_set(
        self, name: str, records: Any = None, *, domain: Domain = "*", text: str = ""
    ) -> Set:
        """Adds a set, with elements in any form that ``Symbol.update`` takes.

        A key that comes twice is refused (``ExistsError``), as is a name that is taken. Then
        there is no new symbol and no new label.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_set("i", ["a", "b"])
        <Set i(*): 2 records>
        >>> db.add_set("food", {"tea": "hot", "milk": ""})["tea"]
        'hot'
        """
        symbol = self._add(name, 0, domain, records, 0, text)
        assert isinstance(symbol, Set)
        return symbol

    def add_parameter(
        self, name: str, domain: Domain = (), records: Any = None, *, text: str = ""
    ) -> Parameter:
        """Adds a parameter; see ``add_set``.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> db.add_parameter("pi", records=3.14)[()]
        3.14
        """
        symbol = self._add(name, 1, domain, records, 0, text)
        assert isinstance(symbol, Parameter)
        return symbol

    def add_variable(
        self,
        name: str,
        domain: Domain = (),
        records: Any = None,
        *,
        kind: str = "free",
        text: str = "",
    ) -> Variable:
        """Adds a variable of a kind, which gives new records their bounds; see ``add_set``.

        Kinds are unknown, binary, integer, positive, negative, free, sos1, sos2, semicontinuous
        and semiinteger.

        Examples
        --------
        >>> x = zdbcc.Database().add_variable("x", "i", {"a": 2.0}, kind="positive")
        >>> x["a"]
        Values(level=2.0, marginal=0.0, lower=0.0, upper=inf, scale=1.0)
        """
        symbol = self._add(name, 2, domain, records, _kind(kind, VARIABLE_KINDS), text)
        assert isinstance(symbol, Variable)
        return symbol

    def add_equation(
        self,
        name: str,
        domain: Domain = (),
        records: Any = None,
        *,
        kind: str = "equal",
        text: str = "",
    ) -> Equation:
        """Adds an equation of a kind: equal, greater, less, free, external, cone or logic.

        Examples
        --------
        >>> zdbcc.Database().add_equation("balance", "i", kind="less").kind
        'less'
        """
        symbol = self._add(name, 3, domain, records, _kind(kind, EQUATION_KINDS), text)
        assert isinstance(symbol, Equation)
        return symbol

    def add_alias(self, name: str, of: str | Symbol, *, text: str = "") -> Alias:
        """Adds another name of a set.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> i, k = db.add_set("i", ["a"]), db.add_set("k", ["b"])
        >>> list(db.add_alias("j", i))
        ['a']
        """
        target = self[of] if isinstance(of, str) else of
        if isinstance(target, Alias):
            target = target.of
        if not isinstance(target, Set) or target.database is not self:
            raise ArgumentError(f"an alias stands for a set of its database, not for {of!r}")
        core = target._core
        names = [domain for domain, _ in core.domains]
        symbol = self._wrap(self._core.add(name, 4, names, core.number, text))
        assert isinstance(symbol, Alias)
        return symbol

    def remove(self, name: str) -> None:
        """Removes a symbol with its records; its labels stay.

        Raises ``StateError`` for a set that is a domain of another symbol or has an alias,
        ``NotFoundError`` for a name that is not there.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> i = db.add_set("i", ["a"])
        >>> db.remove("i")
        >>> list(db), db.labels
        ([], ['a'])
        """
        self._core.remove(self[name]._core)

    def rename(self, name: str, new: str) -> None:
        """Gives a symbol another name.

        Raises ``ExistsError`` if that is taken, ``LabelError`` if it cannot be a name,
        ``NotFoundError`` if there is no such symbol.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> i = db.add_set("i", ["a"])
        >>> db.rename("i", "step")
        >>> i
        <Set step(*): 1 record>
        """
        symbol = self[name]
        if not isinstance(new, str):
            raise ArgumentError(f"the name of a symbol is a str, not {new!r}")
        symbol._core.rename(new)

    # ---- Domains ----

    def check_domains(self) -> list[Violation]:
        """The records that are outside a domain of their symbol; empty if there are none.

        Domains that are only names, and "*", have every label.

        Examples
        --------
        >>> db = zdbcc.Database()
        >>> i = db.add_set("i", ["a"])
        >>> p = db.add_parameter("p", "i", {"a": 1.0, "b": 2.0})
        >>> db.check_domains()
        [Violation(symbol='p', key='b', position=0, domain='i')]
        """
        if not self._core.has_violation():
            return []
        return [violation for symbol in self.values() for violation in self._violations(symbol)]

    def _violations(self, symbol: Symbol) -> Iterator[Violation]:
        if isinstance(symbol, Alias):
            return
        domains = symbol._core.domains
        keys, _, _ = symbol._read(values=False, texts=False)
        names = None
        for position, (domain, is_symbol) in enumerate(domains):
            core = self._core.find(domain) if is_symbol and domain != "*" else None
            if core is None:
                continue
            allowed = core.read(None, True, False, False)[0][0]
            outside = np.flatnonzero(~np.isin(keys[position], allowed))
            if len(outside) and names is None:
                names = symbol._keys()
            for row in outside.tolist():
                assert names is not None
                yield Violation(symbol.name, names[row], position, domain)

    def _require_domains(self) -> None:
        found = self.check_domains()
        if not found:
            return
        first = found[0]
        error = DomainError(
            f"{counted(len(found), 'record')} outside a domain, first "
            f"{first.key!r} of {first.symbol}, position {first.position + 1}, which is not in "
            f"{first.domain}; extend the set, or pass check_domains=False"
        )
        error.position = first.position
        raise error


def _unpickled(data: bytes, imported: tuple[Imported, ...]) -> Database:
    db = Database.from_bytes(data)
    db.imported = imported
    return db


def _kind(kind: str, kinds: tuple[str, ...]) -> int:
    if kind not in kinds:
        raise ArgumentError(f"there is no kind {kind!r}; it is one of {', '.join(kinds)}")
    return kinds.index(kind)


def open(path: str | os.PathLike[str]) -> Database:  # noqa: A001
    """Opens a data file; symbols are read when their records are first used.

    The file stays open until the database is closed.

    Raises ``MissingFileError``, ``FileError`` or ``DamagedError``.

    Examples
    --------
    >>> import pathlib, tempfile
    >>> db = zdbcc.Database()
    >>> price = db.add_parameter("price", "*", {"Cabbage": 25.0})
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = pathlib.Path(folder) / "diet.zxf"
    ...     db.write(path)
    ...     with zdbcc.open(path) as diet:
    ...         diet["price"]["cabbage"]
    25.0
    """
    db = Database()
    try:
        db._core.read_file(path_of(path))
    except BaseException:
        db.close()
        raise
    return db

"""The exceptions of the package, and which of them a failure of the library is."""

from __future__ import annotations

import errno
import os
import re
from collections.abc import Iterable
from typing import Any


class Error(Exception):
    """A call of the library that failed; its text is the library's message.

    Attributes
    ----------
    kind : str
        What kind of failure it is, such as ``"not found"``; kinds do not change between versions.
    reason : str
        What is behind the message: the words of the system, or the place of the damage in a
        file; empty if nothing more is known.
    row : int or None
        The row of the arguments at fault, from 0.
    position : int or None
        The column at fault, from 0.

    Examples
    --------
    >>> import zdbcc
    >>> try:
    ...     zdbcc.open("no such file.zxf")
    ... except zdbcc.Error as error:
    ...     print(error.kind)
    system
    """

    kind: str = "other"
    reason: str = ""
    row: int | None = None
    position: int | None = None

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""


class FileError(Error, OSError):
    """A file that cannot be read or written: not there, not permitted, disk full."""

    kind = "system"


class MissingFileError(FileError, FileNotFoundError):
    """A file that is not there."""


class DamagedError(Error, ValueError):
    """A file whose content is damaged, not of the format, or of a newer version."""

    kind = "damaged"


class ArgumentError(Error, ValueError):
    """An argument that is out of range, of another type or shape, or does not fit the symbol."""

    kind = "argument"


class LabelError(ArgumentError):
    """A text that is not a valid label, name or element text."""

    kind = "label"


class ExistsError(ArgumentError):
    """A symbol or record that is there already."""

    kind = "exists"


class DomainError(ArgumentError):
    """A record outside a domain, or a domain that does not fit."""

    kind = "domain"


class TableError(ArgumentError):
    """A CSV file that is not as it was said to be: its columns, numbers or rows."""

    kind = "table"


class NotFoundError(Error, KeyError):
    """A symbol, label or record that is not there."""

    kind = "not found"


class ClosedError(Error, ValueError):
    """A database that has been closed, or a symbol that has been removed."""

    kind = "handle"


class StateError(Error, RuntimeError):
    """A call that does not fit the state of the database."""

    kind = "state"


class OutOfMemoryError(Error, MemoryError):
    """Memory is exhausted; the call has changed nothing."""

    kind = "no memory"


class StreamError(Error, RuntimeError):
    """A stream of another program that failed; the message has that program's words."""

    kind = "callback"


class ModelError(Error, ValueError):
    """A model file that cannot be used: the message has the file, the line and what is wrong."""

    kind = "model file"


class SolveError(Error, RuntimeError):
    """A solver that cannot be used or has failed, or a solution that is not there.

    Of a sweep, ``partial`` is the table of the scenarios before the one that failed.
    """

    kind = "model"
    partial: Any = None


class MissingPackageError(Error, ImportError):
    """A package that is needed for this and not there; the message names it."""

    kind = "missing package"


def path_of(path: Any) -> str:
    """The name of a file, in any of the forms that Python has for it."""
    try:
        return os.fsdecode(path)
    except TypeError:
        raise ArgumentError(f"a file is named by a str or a path, not by {path!r}") from None


def list_of(items: Any, what: str) -> list[Any]:
    """The items of an argument that is several of something, and not one text."""
    if isinstance(items, str | bytes) or not isinstance(items, Iterable):
        raise ArgumentError(f"{what} are a list, such as ['a', 'b'], and not {items!r}")
    return list(items)


def needed(module: str) -> Any:
    """A module of a package that a call needs; MissingPackageError if it is not there."""
    import importlib

    try:
        return importlib.import_module(module)
    except ImportError as error:
        package = module.partition(".")[0]
        raise MissingPackageError(
            f"this needs the package {package}: pip install {package} ({error})"
        ) from error


# The kinds of zdbx.h by number, and those of the module for models.
_KINDS: dict[int, tuple[str, type[Error]]] = {
    1: ("not found", NotFoundError),
    2: ("end", NotFoundError),
    3: ("argument", ArgumentError),
    4: ("exists", ExistsError),
    5: ("label", LabelError),
    6: ("handle", ClosedError),
    7: ("state", StateError),
    8: ("no memory", OutOfMemoryError),
    9: ("system", FileError),
    10: ("damaged", DamagedError),
    11: ("domain", DomainError),
    12: ("companion", Error),
    13: ("model", SolveError),
    14: ("callback", StreamError),
    15: ("table", TableError),  # not of the library
    16: ("model file", ModelError),
}


def make(kind: int, message: str, reason: str, row: int, position: int) -> Error:
    """The exception of a failure: ``kind`` as in zdbx.h, ``row`` and ``position`` -1 for none."""
    name, cls = _KINDS.get(kind, ("other", Error))
    if cls is FileError and os.strerror(errno.ENOENT) in f"{message} {reason}":
        cls = MissingFileError
    message = re.sub(r"^zdbx_\w+: ", "", message)  # the call that Python's makes
    text = message if not reason or reason in message else f"{message}: {reason}"
    error = cls(text)
    error.kind = name
    error.reason = reason
    error.row = row if row >= 0 else None
    error.position = position if position >= 0 else None
    return error

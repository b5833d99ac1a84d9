"""As much of the library as the tests of its Arrow streams need."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Sequence
from typing import Any

SET, PARAMETER, VARIABLE, EQUATION, ALIAS = range(5)
MERGE, REPLACE, ADD = range(3)
UNDO, KEEP, SKIP = range(3)
NOT_FOUND, ARGUMENT, EXISTS, LABEL, CALLBACK = 1, 3, 4, 5, 14

Handle = ctypes.c_void_p


class Schema(ctypes.Structure):
    pass


class Array(ctypes.Structure):
    pass


class Stream(ctypes.Structure):
    pass


def released(struct: type[ctypes.Structure]) -> Any:
    return ctypes.CFUNCTYPE(None, ctypes.POINTER(struct))


Schema._fields_ = [
    ("format", ctypes.c_char_p),
    ("name", ctypes.c_char_p),
    ("metadata", ctypes.c_void_p),
    ("flags", ctypes.c_int64),
    ("n_children", ctypes.c_int64),
    ("children", ctypes.POINTER(ctypes.POINTER(Schema))),
    ("dictionary", ctypes.POINTER(Schema)),
    ("release", released(Schema)),
    ("private_data", ctypes.c_void_p),
]
Array._fields_ = [
    ("length", ctypes.c_int64),
    ("null_count", ctypes.c_int64),
    ("offset", ctypes.c_int64),
    ("n_buffers", ctypes.c_int64),
    ("n_children", ctypes.c_int64),
    ("buffers", ctypes.POINTER(ctypes.c_void_p)),
    ("children", ctypes.POINTER(ctypes.POINTER(Array))),
    ("dictionary", ctypes.POINTER(Array)),
    ("release", released(Array)),
    ("private_data", ctypes.c_void_p),
]
GetSchema = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.POINTER(Stream), ctypes.POINTER(Schema))
GetNext = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.POINTER(Stream), ctypes.POINTER(Array))
GetError = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.POINTER(Stream))
Stream._fields_ = [
    ("get_schema", GetSchema),
    ("get_next", GetNext),
    ("get_last_error", GetError),
    ("release", released(Stream)),
    ("private_data", ctypes.c_void_p),
]


class Result(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("done", ctypes.c_int64),
        ("added", ctypes.c_int64),
        ("skipped", ctypes.c_int64),
        ("row", ctypes.c_int64),
        ("position", ctypes.c_int32),
        ("kind", ctypes.c_int32),
        ("text", ctypes.c_char * 256),
    ]

    @property
    def message(self) -> str:
        return self.text.decode()


class Database:
    """A database; labels, symbols and records as Python has them."""

    def __init__(self, library: str) -> None:
        self.library = ctypes.CDLL(os.path.abspath(library))
        self.handle = Handle()
        if not self.library.zdbcreate(ctypes.byref(self.handle), None, 0):
            raise RuntimeError("no database")

    def free(self) -> None:
        self.library.zdbfree(ctypes.byref(self.handle))

    def require(self, done: int) -> None:
        if not done:
            text = ctypes.create_string_buffer(256)
            self.library.c__zdbgetlasterror(self.handle, text)
            raise RuntimeError(text.value.decode(errors="replace"))

    def symbol(self, name: str, kind: int, domains: Sequence[str], text: str = "") -> Handle:
        """Adds a symbol with domains that are known by name only, "*" for none."""
        symbol = Handle()
        names = (ctypes.c_char_p * (len(domains) + 1))(*(os.fsencode(domain) for domain in domains))
        add = self.library.c__zdbaddsymbolx
        self.require(
            add(
                self.handle,
                name.encode(),
                len(domains),
                kind,
                0,
                text.encode(),
                None,
                names,
                ctypes.byref(symbol),
            )
        )
        return symbol

    def export(
        self, symbol: Handle, batch_rows: int = 0, labels: Sequence[int] | None = None
    ) -> Stream:
        stream = Stream()
        part = None if labels is None else (ctypes.c_int32 * len(labels))(*labels)
        export = self.library.zdbx_export_stream
        self.require(
            export(self.handle, symbol, part, ctypes.c_int64(batch_rows), ctypes.byref(stream))
        )
        return stream

    def put(
        self, symbol: Handle, stream: Stream, mode: int = MERGE, on_failure: int = UNDO
    ) -> tuple[bool, Result]:
        result = Result(size=ctypes.sizeof(Result))
        take = self.library.zdbx_import_stream
        done = take(
            self.handle, symbol, ctypes.byref(stream), mode, on_failure, ctypes.byref(result)
        )
        return bool(done), result

    def count(self, symbol: Handle) -> int:
        count = ctypes.c_int64()
        self.require(
            self.library.zdbx_count_records(self.handle, symbol, None, ctypes.byref(count))
        )
        return count.value

    def label_count(self) -> int:
        count = ctypes.c_int()
        self.require(self.library.c__zdbinfo(self.handle, 1, ctypes.byref(count), None, None))
        return count.value

    def label(self, text: str) -> int:
        number = ctypes.c_int()
        self.require(self.library.c__zdbfinduel(self.handle, text.encode(), ctypes.byref(number)))
        return number.value

    def find(self, name: str) -> Handle:
        symbol = Handle()
        self.require(
            self.library.c__zdbfindsymbolwithalias(self.handle, name.encode(), ctypes.byref(symbol))
        )
        return symbol

    def alias(self, name: str, number: int) -> Handle:
        """Adds an alias of the set with a number."""
        alias = Handle()
        add = self.library.c__zdbaddsymbol
        self.require(add(self.handle, name.encode(), 1, ALIAS, number, b"", ctypes.byref(alias)))
        return alias

    def clear(self, symbol: Handle) -> None:
        self.require(self.library.c__zdbclearsymbol(self.handle, symbol))

    def switch(self, symbol: Handle, storage: int) -> None:
        self.require(
            self.library.c__zdbselectrecordstorage(self.handle, ctypes.byref(symbol), storage)
        )

    def specials(self, values: Sequence[float]) -> None:
        self.require(
            self.library.c__zdbsetspecialvalues(self.handle, (ctypes.c_double * 5)(*values))
        )

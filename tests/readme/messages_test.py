"""Compares the page of messages with those in the code: messages_test.py SOURCE

A message is a text with a blank in the layers of the library that speak to hosts, or a text of the
table of the exchange file's errors. Each must have a heading on the page, on which `…` stands for
what is inserted, and each heading must be a message.
"""

from __future__ import annotations

import re
import sys
from collections.abc import Iterator
from pathlib import Path

LAYERS = ("api", "arrow", "core", "io", "loaders", "symbols")
TEXT = r'"(?:[^"\\\n]|\\.)*"'
# Not what a host is told as a message: traces, log lines, names of kinds, and checks of constants.
SILENT = re.compile(r"(traceStep|static_assert|zrtLog)\([^;]*|names\[\] = \{[^;]*|kNames\[\][^;]*")
# Parts of messages that are put together elsewhere, and what is thrown within the library only.
PARTS = re.compile(
    r"^( |symbol $|an alias$|the universe$|column |text: |a number: |dictionary of |unknown type$"
    r"|the record$|has no format$|%s: %s$|label $|no symbol named |too many records$"
    r"|\), not $|, but the stream has $)"
)
PLACE = re.compile(r"%[-.*0-9]*(?:ll|l|z)?[a-z]")


def texts_of(code: str) -> Iterator[str]:
    """Texts of a file, those that follow each other or are added with `+` to something as one."""
    code = SILENT.sub("", re.sub(r"//[^\n]*|#include[^\n]*", "", code))
    for found in re.finditer(rf"(?:{TEXT}\s*)+", code):
        text = "".join(part[1:-1] for part in re.findall(TEXT, found[0]))
        if " " in text.strip() and not PARTS.match(text):
            yield text.replace(r"\"", '"')


def messages(source: Path) -> set[str]:
    """All messages, with `…` for what is inserted."""
    found = set()
    for layer in LAYERS:
        for file in sorted((source / "src" / layer).iterdir()):
            if file.suffix in (".cpp", ".h"):
                found |= set(texts_of(file.read_text(encoding="utf-8")))
    table = (source / "companions/zxf/errors.def").read_text(encoding="utf-8")
    for number, text in re.findall(rf"^ZXF_ERROR\((\d+), \w+, ({TEXT})\)", table, re.M):
        found.add(f"{number}: {text[1:-1]}")
    # What ends in a blank goes on with something that is inserted.
    return {PLACE.sub("…", re.sub(" $", " …", text)) for text in found}


def main() -> int:
    source = Path(sys.argv[1])
    page = (source / "doc/reference/messages.md").read_text(encoding="utf-8")
    headings = set(re.findall(r"^### `(.*)`$", page, re.M))
    told = messages(source)
    wrong = [f"the page lacks: {text}" for text in sorted(told - headings)]
    for heading in sorted(headings - told):
        # One that the code puts together of parts: each piece between places must be there.
        pieces = [piece.strip() for piece in heading.split("…") if len(piece.strip()) > 3]
        code = "".join(
            file.read_text(encoding="utf-8")
            for layer in LAYERS
            for file in (source / "src" / layer).iterdir()
        )
        if not pieces or not all(piece in code for piece in pieces):
            wrong.append(f"no code has: {heading}")
    print("\n".join(wrong) or f"{len(told)} messages, {len(headings)} headings")
    return 1 if wrong or len(told) < 150 else 0


if __name__ == "__main__":
    sys.exit(main())

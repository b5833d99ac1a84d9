"""The texts that C++ sources put together for users, with `…` for what is inserted at run time."""

from __future__ import annotations

import re
from collections.abc import Iterator

Token = tuple[str, str]  # its kind, and as it stands in the source

TOKEN = re.compile(
    r'(?P<raw>R"\(.*?\)")'
    r'|(?P<text>"(?:[^"\\\n]|\\.)*")'
    r"|(?P<char>'(?:[^'\\\n]|\\.)+')"
    r"|(?P<skipped>//[^\n]*|/\*.*?\*/|^ *#[^\n]*|\s+)"
    r"|(?P<word>\w+)"
    r"|(?P<sign>::|->|<<|>>|&&|\|\||\+\+|--|[-+=!<>]=|.)",
    re.S | re.M,
)
PLACE = re.compile(r"%[-.*0-9]*(?:ll|l|z)?[a-z]")
# Between these, an expression begins anew.
BORDERS = {",", ";", "?", ":", "=", "+=", "<<", "==", "!=", "&&", "||", "return", "throw"}


def tokens(code: str) -> Iterator[Token]:
    for found in TOKEN.finditer(code):
        if found.lastgroup and found.lastgroup != "skipped":
            yield found.lastgroup, found[0]


def grouped(source: Iterator[Token], close: str = "") -> list[Token | list]:  # type: ignore[type-arg]
    """Tokens, with a list for what stands in a pair of brackets."""
    result: list[Token | list] = []  # type: ignore[type-arg]
    for kind, token in source:
        if kind == "sign" and token in "([{":
            result.append(grouped(source, {"(": ")", "[": "]", "{": "}"}[token]))
        elif kind == "sign" and token == close:
            return result
        else:
            result.append((kind, token))
    return result


def split(group: list, borders: set[str]) -> Iterator[list]:  # type: ignore[type-arg]
    part: list = []  # type: ignore[type-arg]
    for each in group:
        if isinstance(each, tuple) and each[0] in ("sign", "word") and each[1] in borders:
            yield part
            part = []
        else:
            part.append(each)
    yield part


def literal(item: list) -> str | None:  # type: ignore[type-arg]
    """The text of an item of a sum; None if it is inserted at run time."""
    if len(item) == 4 and item[:3] == [("word", "std"), ("sign", "::"), ("word", "string")]:
        item = item[3]  # std::string("text")
    if not item or any(isinstance(each, list) or each[0] not in ("text", "char") for each in item):
        return None
    text = "".join(each[1][1:-1] for each in item)
    return re.sub(r"\\(.)", lambda m: {"n": "\n", "t": "\t"}.get(m[1], m[1]), text)


def choices(item: list) -> list[str]:  # type: ignore[type-arg]
    """Of an item such as (b ? "" : ": it has no labels"), the texts, if one has some words."""
    if len(item) != 1 or not isinstance(item[0], list):
        return []
    texts = ["…" if text is None else text for text in map(literal, split(item[0], {"?", ":"}))][1:]
    return texts if any(text.strip().count(" ") > 2 for text in texts) else []


def texts_of(group: list) -> Iterator[str]:  # type: ignore[type-arg]
    """Each sum of texts in a group of tokens."""
    for expression in split(group, BORDERS):
        sums = [""]
        items = list(split(expression, {"+"}))
        for item in items:
            text = literal(item)
            pieces = choices(item) or ["…" if text is None else text]
            sums = [one + piece for one in sums for piece in pieces]
            for i, each in enumerate(item):
                # What a pair of brackets alone holds, as in a + (b ? " is" : " are"), is a part.
                if isinstance(each, list) and text is None and (i > 0 or len(items) == 1):
                    yield from texts_of(each)
        yield from sums


def messages_of(code: str) -> set[str]:
    """Texts of several words, of which printf's places are inserted as well."""
    found = set()
    for text in texts_of(grouped(tokens(code))):
        text = re.sub("…+", "…", PLACE.sub("…", text)).strip("\n")
        # What begins or ends in a blank goes on with something that is inserted.
        text = re.sub("^ ", "… ", re.sub(" $", " …", text))
        if re.search(r"[^\W\d] +[…\w]|…:? \w", text):
            found.add(text)
    return found

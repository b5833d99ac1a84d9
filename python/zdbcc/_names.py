"""Names of what can be changed in a model or shown of it: ``need[ABE].rhs``, ``buy``, ``p[a]``."""

from __future__ import annotations

from typing import NamedTuple

from zdbcc._case import lower
from zdbcc._errors import ArgumentError

#: Attributes, and which value of a variable has them: of bounds their own, else the level.
ATTRIBUTES = {"rhs": 0, "lo": 2, "up": 3, "fx": 2, "cost": 0, "coef": 0}


class Name(NamedTuple):
    """A name, taken apart.

    ``labels`` is None if there are none: then it stands for all entries. ``column`` is the index
    of a coefficient, such as "[buy,bread]", else "".
    """

    symbol: str
    labels: tuple[str, ...] | None
    attribute: str
    column: str

    @property
    def key(self) -> tuple[str, tuple[str, ...] | None, str, str]:
        """The same for all ways to write the name."""
        labels = None if self.labels is None else tuple(map(lower, self.labels))
        return lower(self.symbol), labels, self.attribute, lower(self.column)

    @property
    def text(self) -> str:
        """The name as the model kit takes it."""
        target = entry(self.symbol, self.labels or ())
        return target + (f".{self.attribute}" if self.attribute else "") + self.column

    @property
    def column_labels(self) -> tuple[str, ...]:
        """Labels of the column of a coefficient: [buy,bread] or [buy[bread]]; () if open."""
        inside = self.column[1:-1].strip()
        if inside[:1] not in ("'", '"') and inside[-1:] in ("]", ")"):
            return parse_entry(inside)[1] or ()
        return (parse_entry(f"x[{inside}]")[1] or ("",))[1:]

    def with_(self, labels: tuple[str, ...] | None, attribute: str | None = None) -> Name:
        """The same name with other labels, and possibly another attribute."""
        kept = self.attribute if attribute is None else attribute
        return Name(self.symbol, labels, kept, self.column)


def entry(symbol: str, labels: tuple[str, ...]) -> str:
    """An entry as it is written: ``ship[a,b]``, labels with commas or brackets in quotes."""
    if not labels:
        return symbol
    return f"{symbol}[{','.join(_quoted(label) for label in labels)}]"


def _quoted(label: str) -> str:
    if label and label == label.strip() and not set(label) & set(",[]()'\""):
        return label
    quote = "'" if "'" not in label else '"'
    return quote + label.replace(quote, quote * 2) + quote


def parse_entry(text: str) -> tuple[str, tuple[str, ...] | None]:
    """``ship[a,b]`` or ``ship('New York',b)`` as its symbol and labels; None without an index."""
    opening = min((at for at in (text.find("["), text.find("(")) if at >= 0), default=-1)
    if opening < 0:
        return text.strip(), None
    closing = "]" if text[opening] == "[" else ")"
    symbol = text[:opening].strip()
    if not symbol or not text.endswith(closing):
        raise ArgumentError(f"{text!r} is not a name; write symbol[label,label]")
    return symbol, tuple(_labels(text[opening + 1 : -1], text))


def _labels(inside: str, text: str) -> list[str]:
    """The labels between the brackets of a text, separated by commas outside quotes."""
    labels: list[str] = []
    rest = inside
    while True:
        rest = rest.lstrip()
        if rest[:1] in ("'", '"'):
            label, rest = _take_quoted(rest, text)
        else:
            at = rest.find(",")
            label, rest = (rest, "") if at < 0 else (rest[:at], rest[at:])
            label = label.strip()
        if not label:
            raise ArgumentError(f"{text!r} has an empty label")
        labels.append(label)
        rest = rest.lstrip()
        if not rest:
            return labels
        if rest[0] != ",":
            raise ArgumentError(f"{text!r}: a comma is missing before {rest!r}")
        rest = rest[1:]


def _take_quoted(rest: str, text: str) -> tuple[str, str]:
    quote, at, label = rest[0], 1, ""
    while True:
        end = rest.find(quote, at)
        if end < 0:
            raise ArgumentError(f"{text!r}: a quote is missing")
        label += rest[at:end]
        if rest[end + 1 : end + 2] != quote:
            return label, rest[end + 1 :]
        label += quote
        at = end + 2


def parse(text: str) -> Name:
    """A name with or without an attribute. What it names, only the model knows."""
    if not isinstance(text, str):
        raise ArgumentError(f"what changes is named by a str, not by {text!r}")
    text = text.strip()
    plain = lower(text)
    at = max(plain.rfind(".coef["), plain.rfind(".coef("))
    if at > 0 and text[-1] in "])":
        symbol, labels = parse_entry(text[:at])
        inside = text[at + len(".coef[") : -1]
        return Name(symbol, labels, "coef", f"[{inside}]")
    dot = text.rfind(".")
    has_attribute = dot > 0 and dot > max(text.rfind("]"), text.rfind(")"))
    target, attribute = (text[:dot], plain[dot + 1 :]) if has_attribute else (text, "")
    if has_attribute and (attribute not in ATTRIBUTES or attribute == "coef"):
        raise ArgumentError(
            f"{text!r}: there is no attribute .{attribute}; use .rhs, .lo, .up, .fx, .cost or "
            ".coef[COLUMN]"
        )
    symbol, labels = parse_entry(target)
    return Name(symbol, labels, attribute, "")

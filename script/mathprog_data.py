"""Finds the numbers of params in the text of a MathProg model, to change them there.

This is a small reader of its own: what it changes in a text is what somebody would change with an
editor, and knows nothing of how zdbcc changes params. What it is not sure of, it leaves out.
"""

from __future__ import annotations

import re
from collections.abc import Iterator
from dataclasses import dataclass

NUMBER = re.compile(r"[-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?")
TOKEN = re.compile(r"""'(?:[^']|'')*'|"(?:[^"]|"")*"|:=|[:;,()\[\]*]|[^\s:;,()\[\]*'"]+""")
COMMENT = re.compile(r"""'[^'\n]*'|"[^"\n]*"|#[^\n]*|/\*.*?\*/""", re.DOTALL)
DECLARATION = re.compile(
    r"""^\s*param\s+([A-Za-z_]\w*)\s*(?:'[^']*'|"[^"]*")?\s*(?:\{(.*?)\})?([^;{}]*)""", re.DOTALL
)


@dataclass(frozen=True)
class Number:
    """One number of a param, and where it stands."""

    param: str
    labels: tuple[str, ...]
    start: int
    end: int
    value: float
    is_integer: bool  # the param is declared so

    def heading(self) -> str:
        """As zdbcc names it."""
        quoted = [each if re.fullmatch(r"[\w.+-]+", each) else f"'{each}'" for each in self.labels]
        return f"{self.param}[{','.join(quoted)}]" if quoted else self.param


@dataclass(frozen=True)
class Declaration:
    dimension: int | None  # None: not known
    is_integer: bool
    is_symbolic: bool


@dataclass(frozen=True)
class Token:
    text: str
    start: int
    end: int

    def label(self) -> str:
        quote = self.text[0]
        return self.text[1:-1].replace(quote * 2, quote) if quote in "'\"" else self.text

    def is_label(self) -> bool:
        return self.text not in {":=", ":", ";", ",", "(", ")", "[", "]", "*"}


def without_comments(text: str) -> str:
    """Blanks in their place."""
    return COMMENT.sub(
        lambda found: found[0] if found[0][0] in "'\"" else re.sub(r"[^\n]", " ", found[0]), text
    )


def sections(text: str) -> tuple[str, str]:
    """The statements of a model and its data, each as long as the text."""
    start = re.search(r"(?m)^\s*data\s*;", text)
    if start is None:
        return text, " " * len(text)
    return text[: start.start()].ljust(len(text)), text[start.end() :].rjust(len(text))


def pieces(text: str) -> Iterator[str]:
    """The parts of a domain between its commas."""
    depth = begin = 0
    for place, char in enumerate(text):
        depth += (char in "({[") - (char in ")}]")
        if char == "," and depth == 0:
            yield text[begin:place].strip()
            begin = place + 1
    yield text[begin:].strip()


def dimension_of(domain: str | None, model: str) -> int | None:
    if domain is None:
        return 0
    count = 0
    for piece in pieces(domain.split(":")[0]):
        named = re.match(r"(\([^)]*\)|\w+)\s+in\b", piece)
        if named is not None:
            count += named[1].count(",") + 1
        elif re.fullmatch(r"\w+", piece):
            declared = re.search(rf"(?m)^\s*set\s+{piece}\b([^;]*)", model)
            if declared is None or re.search(r"dimen|within|setof|cross|\{|:=", declared[1]):
                return None
            count += 1
        elif re.fullmatch(r"\w+(?:\s*[-+]\s*\w+)?\s*\.\.\s*\w+(?:\s*[-+]\s*\w+)?", piece):
            count += 1
        else:
            return None
    return count


def declarations(model: str) -> dict[str, Declaration]:
    found = {}
    for statement in model.split(";"):
        match = DECLARATION.match(statement)
        if match is None:
            continue
        name, domain, rest = match.groups()
        words = set(re.findall(r"[A-Za-z]+", rest.split(":=")[0]))
        found[name] = Declaration(
            dimension_of(domain, model),
            bool(words & {"integer", "binary", "logical"}) or "in" in words,
            "symbolic" in words,
        )
    return found


class Statement:
    """A param statement of a data section, read token by token."""

    def __init__(self, tokens: list[Token], known: dict[str, Declaration]) -> None:
        self.tokens = tokens
        self.known = known
        self.at = 1  # after "param"
        self.found: list[Number] = []

    def next(self) -> Token:
        self.at += 1
        return self.tokens[self.at - 1]

    def sees(self, *texts: str) -> bool:
        return self.at < len(self.tokens) and self.tokens[self.at].text in texts

    def skip(self, *texts: str) -> bool:
        if not self.sees(*texts):
            return False
        self.at += 1
        return True

    def add(self, name: str, labels: list[str], token: Token) -> None:
        declared = self.known.get(name)
        if declared is None or declared.is_symbolic or not NUMBER.fullmatch(token.text):
            return
        if declared.dimension in {None, len(labels)}:
            value = float(token.text)
            number = Number(name, tuple(labels), token.start, token.end, value, declared.is_integer)
            self.found.append(number)

    def numbers(self) -> list[Number]:
        if self.skip("default"):
            self.next()
        if self.skip(":"):
            self.several()
        else:
            self.single(self.next().text)
        return self.found

    def several(self) -> None:
        """Columns of several params: `param : S : p q := a 1 2 ...`."""
        names: list[str] = []
        while not self.skip(":="):
            token = self.next()
            if token.text == ":":
                names.clear()  # that was the name of a set
            else:
                names.append(token.text)
        dimensions = {self.known[each].dimension for each in names if each in self.known}
        if len(dimensions) != 1:
            return
        dimension = dimensions.pop()
        if dimension is None:
            return
        while self.at < len(self.tokens):
            labels = self.record_labels(dimension)
            for name in names:
                self.add(name, labels, self.next())
            self.skip(",")

    def record_labels(self, count: int) -> list[str]:
        labels: list[str] = []
        while len(labels) < count:
            token = self.next()
            if token.is_label():
                labels.append(token.label())
        return labels

    def single(self, name: str) -> None:
        if name not in self.known:
            return
        dimension = self.known[name].dimension
        pattern = ["*"] * (2 if dimension is None else dimension)
        is_sure = dimension is not None
        if self.skip("default"):
            self.next()
        while self.at < len(self.tokens):
            if self.skip(":=", ","):
                continue
            if self.skip("["):
                pattern = self.slice()
                is_sure = True
                if "*" not in pattern:  # [1] 65
                    self.add(name, pattern, self.next())
                    pattern = ["*"] * len(pattern)
            elif self.sees("(", ":"):
                self.table(name, pattern)
            elif not is_sure:
                return
            else:
                labels = self.filled(pattern, self.record_labels(pattern.count("*")))
                self.add(name, labels, self.next())

    def slice(self) -> list[str]:
        pattern = []
        while not self.skip("]"):
            token = self.next()
            if token.is_label() or token.text == "*":
                pattern.append(token.text if token.text == "*" else token.label())
        return pattern

    @staticmethod
    def filled(pattern: list[str], labels: list[str]) -> list[str]:
        rest = iter(labels)
        return [next(rest) if each == "*" else each for each in pattern]

    def table(self, name: str, pattern: list[str]) -> None:
        """`: columns := row value value ...`, as far as it goes, perhaps transposed."""
        is_transposed = self.skip("(")
        if is_transposed:
            self.at += 2
        self.skip(":")
        columns = []
        while not self.skip(":="):
            columns.append(self.next().label())
        while self.at < len(self.tokens) and not self.sees("[", ":", "("):
            row = self.next().label()
            for column in columns:
                pair = [column, row] if is_transposed else [row, column]
                self.add(name, self.filled(pattern, pair), self.next())
            self.skip(",")


def numbers(model: str, data: str | None = None) -> tuple[list[Number], list[Number]]:
    """Those that stand in the text of a model, and those of its data file."""
    plain = without_comments(model)
    statements, own_data = sections(plain)
    known = declarations(statements)
    found: list[list[Number]] = []
    for text in (own_data if data is None else "", without_comments(data or "")):
        found.append([])
        tokens = [Token(each[0], each.start(), each.end()) for each in TOKEN.finditer(text)]
        statement: list[Token] = []
        for token in tokens:
            if token.text != ";":
                statement.append(token)
                continue
            if statement and statement[0].text == "param":
                try:
                    found[-1] += Statement(statement, known).numbers()
                except (IndexError, StopIteration):
                    pass  # written in a way that is not known here
            statement = []
    in_data = {each.param for each in found[0] + found[1]}
    return constants(statements, known, in_data) + found[0], found[1]


def constants(model: str, known: dict[str, Declaration], in_data: set[str]) -> list[Number]:
    """Params without labels that the model itself gives a number: `param n := 8;`."""
    found = []
    for match in re.finditer(r"(?m)^\s*param\s+(\w+)([^;{}]*?)(?::=|default)\s*([^;,\s]+)", model):
        name, _, text = match.groups()
        if name in in_data or name not in known or not NUMBER.fullmatch(text):
            continue
        if known[name].dimension == 0 and not known[name].is_symbolic:
            rest = model[match.end(3) :].lstrip()
            if rest.startswith(";"):
                place = match.start(3), match.end(3)
                found.append(Number(name, (), *place, float(text), known[name].is_integer))
    return found


def changed(text: str, number: Number, value: float) -> str:
    written = str(int(value)) if value == int(value) else repr(value)
    return text[: number.start] + written + text[number.end :]

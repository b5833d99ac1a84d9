"""Draws faults at random from the sources of the product, equally many of each kind."""

from __future__ import annotations

import random
import re
from collections.abc import Iterator
from pathlib import Path
from typing import NamedTuple

from mutants_switch import code_of, is_statement

FOLDERS = ("src", "companions")
SKIPPED = re.compile(r"//|/?\*|#|template\b|using\b|static_assert|namespace\b|friend\b|typedef\b")
# kind, pattern, replacement
REPLACEMENTS = [
    ("comparison", re.compile(r" < (?!<)"), " <= "),
    ("comparison", re.compile(r" > (?!>)"), " >= "),
    ("comparison", re.compile(r" (<|>)= "), r" \1 "),
    ("negation", re.compile(r" == "), " != "),
    ("negation", re.compile(r" != "), " == "),
    ("negation", re.compile(r"\breturn true;"), "return false;"),
    ("negation", re.compile(r"\breturn false;"), "return true;"),
    ("negation", re.compile(r"\bif \((?!!)(\w[\w.>-]*)\)"), r"if (!\1)"),
    ("and or", re.compile(r" && "), " || "),
    ("and or", re.compile(r" \|\| "), " && "),
    ("off by one", re.compile(r"(?<=[\w)\]]) [+-] 1\b"), ""),
    ("off by one", re.compile(r"(?<![\w.'])([1-9]\d*)(?![\w.'])"), r"\1 + 1"),
    ("extreme", re.compile(r"std::min\("), "std::max("),
    ("extreme", re.compile(r"std::max\("), "std::min("),
    ("jump dropped", re.compile(r"\b(break|continue);"), ";"),
]
SPECIFIERS = r"(?:(?:static|inline|virtual|constexpr|const) )*"
FUNCTION = re.compile(SPECIFIERS + r"([\w:<>]+\*?) [\w:~]+\([^;]*\{")
ERROR = r"(?:throw\b|fail|return (?:false|nullptr|fail|refuse|0|-1|[\w.]*[eE]rror)\b)"
ERROR_BRANCH = re.compile(rf"if \(.*\) {ERROR}.*;")
CALL = re.compile(r"(?!if|for|while|return|switch|throw|delete|case)[\w:.>\[\]-]+\([^{}]*\);")
AT_ONCE = {"void": "return;", "bool": "return false;", "int": "return 1;"}


class Candidate(NamedTuple):
    kind: str
    file: str
    line: int  # from 0
    old: str
    new: str


def whole_line_faults(old: str, following: str) -> Iterator[tuple[str, str]]:
    if CALL.fullmatch(old) and is_statement(old):
        yield "call dropped", ";"
    if ERROR_BRANCH.fullmatch(old):
        yield "error branch removed", ";"
    if old.startswith("if (") and old.endswith(") {") and re.match(ERROR, following):
        yield "error branch removed", "if (false) {"
    if (function := FUNCTION.fullmatch(old)) and function[1] not in ("else", "return", "class"):
        result = "return nullptr;" if function[1][-1] == "*" else "return {};"
        yield "function returns at once", f"{old} {AT_ONCE.get(function[1], result)}"


def line_faults(old: str, following: str) -> Iterator[tuple[str, str]]:
    yield from whole_line_faults(old, following)
    for kind, pattern, replacement in REPLACEMENTS:
        for found in pattern.finditer(old):
            if old[: found.start()].count('"') % 2 == 0:
                yield kind, old[: found.start()] + found.expand(replacement) + old[found.end() :]


def candidates(root: Path) -> Iterator[Candidate]:
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h"):
                continue
            lines = [code_of(line) for line in path.read_text().splitlines()]
            for at, line in enumerate(lines[:-1]):
                if line and not SKIPPED.match(line):
                    for kind, new in line_faults(line, lines[at + 1]):
                        yield Candidate(kind, str(path.relative_to(root)), at, line, new)


def draw(root: Path, count: int, seed: int) -> list[Candidate]:
    """Draws `count` faults, the kinds in turn, at most two per file and one per line."""
    generator = random.Random(seed)
    by_kind: dict[str, list[Candidate]] = {}
    for candidate in candidates(root):
        by_kind.setdefault(candidate.kind, []).append(candidate)
    for group in by_kind.values():
        generator.shuffle(group)
    drawn: list[Candidate] = []
    kinds = sorted(by_kind)
    while len(drawn) < count and any(by_kind.values()):
        group = by_kind[kinds[0]]
        kinds = kinds[1:] + kinds[:1]
        while group:
            candidate = group.pop()
            same_file = [other for other in drawn if other.file == candidate.file]
            if len(same_file) < 2 and all(other.line != candidate.line for other in same_file):
                drawn.append(candidate)
                break
    return drawn

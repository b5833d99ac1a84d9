"""Gives a fault a run-time switch, if the line keeps its meaning with one."""

from __future__ import annotations

import re

CONTROL = re.compile(r"(?:\} else )?(if|while|for) \(")
PREFIX = re.compile(r"\} else (?!if)|else (?!if)|case [\w:]+: |default: ")
DECLARATION = re.compile(r"((?:[\w:<>,&*]+ )+[&*]*\w+ = )(.+)")
# Two words at the beginning make a declaration, which must not be put into braces.
TWO_WORDS = re.compile(r"(?!return |delete |throw |goto )(?:[\w:<>,&*]+[ &*]+)+\w+ *[;({\[=]")


def code_of(line: str) -> str:
    """The line without a trailing comment."""
    return re.sub(r"\s//.*$", "", line).strip()


def split_at(text: str, separator: str) -> list[str]:
    """Splits where no bracket or quotation is open; an unmatched bracket ends the last part."""
    parts, depth, quote = [""], 0, ""
    for at, letter in enumerate(text):
        if quote:
            quote = "" if letter == quote and text[at - 1] != "\\" else quote
        elif letter in "\"'" and not (letter == "'" and text[at - 1 : at].isalnum()):
            quote = letter
        else:
            depth += (letter in "([{") - (letter in ")]}")
        if depth < 0:
            return parts + [text[at:]]
        if letter == separator and depth == 0 and not quote:
            parts.append("")
        else:
            parts[-1] += letter
    return parts


def is_statement(text: str) -> bool:
    """Whether the text consists of whole statements that declare nothing for others."""
    parts = split_at(text, ";")
    return len(parts) > 1 and parts[-1].strip() == "" and not TWO_WORDS.match(text)


def switched_value(old: str, new: str, on: str) -> str | None:
    """A switch in the initial value of a variable; the value keeps its type."""
    value = DECLARATION.fullmatch(old)
    if not value or not new.startswith(value[1]):
        return None
    kind = f"std::remove_cvref_t<decltype({value[2]})>"
    return f"{value[1]}{on} ? static_cast<{kind}>({new[len(value[1]) :]}) : ({value[2]})"


def switched_control(old: str, new: str, start: int, on: str) -> str | None:
    """A switch in the condition of if, while or for, or in the first or last part of a for."""
    *olds, old_rest = split_at(old[start:], ";")
    *news, new_rest = split_at(new[start:], ";")
    changed = [at for at, pair in enumerate(zip(olds, news, strict=False)) if pair[0] != pair[1]]
    if len(olds) != len(news) or old_rest != new_rest or len(changed) != 1:
        return None
    at, is_for = changed[0], old[:start].endswith("for (")
    condition = 1 if is_for else len(olds) - 1
    if at == condition and is_for == (len(olds) == 3):
        part: str | None = f" {on} ? static_cast<bool>({news[at]}) : static_cast<bool>({olds[at]})"
    elif at == 2:
        part = f" {on} ? static_cast<void>({news[at]}) : static_cast<void>({olds[at]})"
    else:
        part = switched_value(olds[at], news[at], on)
    if part is None:
        return None
    return old[:start] + ";".join([*olds[:at], part, *olds[at + 1 :]]).strip() + old_rest


def switched(old: str, new: str, number: int) -> str | None:
    """The line with a switch between old and new, or None; it may still not compile."""
    old, new = code_of(old), code_of(new)
    on = f"zdb_fault({number})"
    if old.endswith("{") and new.startswith(old):  # something at the top of a body
        return f"{old} if ({on}) {{ {new[len(old) :]} }}"
    start = 0  # of the statement that a prefix or a condition which both have in common leads to
    if control := CONTROL.match(old):
        if line := switched_control(old, new, control.end(), on):
            return line
        start = len(old) - len(split_at(old[control.end() :], ";")[-1]) + 1
    elif prefix := PREFIX.match(old):
        start = prefix.end()
    if 0 < start < len(old) and new.startswith(old[:start]):
        rest = switched(old[start:], new[start:], number)
        return rest and f"{old[:start]} {rest}"
    if value := switched_value(old.removesuffix(";"), new.removesuffix(";"), on):
        return value + ";" if old.endswith(";") else None
    if is_statement(old) and is_statement(new):
        return f"{{ if ({on}) {{ {new} }} else {{ {old} }} }}"
    return None


def planted_line(lines: list[str], at: int, new: str, number: int) -> str | None:
    """The line with the switch, unless it is the end of a statement that begins above."""
    above = next((code for line in reversed(lines[:at]) if (code := code_of(line))), "")
    line = switched(lines[at], new, number)
    continues = above.endswith(("return", *"=,(&|+-*/<?"))
    return None if continues and line and line.startswith("{") else line

"""Compares the pages of messages with those in the code: messages_test.py SOURCE

Each text of several words that the sources of a page put together must have a heading there, on
which `…` stands for what is inserted, or be listed in no_message.tsv with the reason why users
never read it as a message; and each heading and each entry of that list must be in the sources.
Below a heading, or the last of several, a text must say what to do.
"""

from __future__ import annotations

import re
import sys
from pathlib import Path

from sourcetexts import messages_of

LAYERS = ("api", "arrow", "core", "io", "loaders", "symbols")
SOURCES = {
    "messages.md": [f"src/{layer}" for layer in LAYERS],
    "messages-tool.md": ["tools"],
    "messages-kit.md": ["companions/kit", "companions/shared"],
}
# What verbs and options say about themselves: these are in the reference of the tool.
HELP = re.compile(r'^Verb \w+\(\) \{.*?^\}|\.(?:text|summary) =\s*(?:"[^"\n]*"\s*)+', re.S | re.M)
LEAST = {"messages.md": 250, "messages-tool.md": 200, "messages-kit.md": 150}


def told_by(source: Path, page: str) -> set[str]:
    """All texts of several words, and those of the table of the exchange file's errors."""
    found: set[str] = set()
    for folder in SOURCES[page]:
        for file in sorted((source / folder).rglob("*")):
            if file.suffix in (".cpp", ".h"):
                found |= messages_of(HELP.sub("", file.read_text(encoding="utf-8")))
    if page == "messages.md":
        table = (source / "companions/zxf/errors.def").read_text(encoding="utf-8")
        errors = re.findall(r'^ZXF_ERROR\((\d+), \w+, "((?:[^"\\]|\\.)*)"\)', table, re.M)
        found |= {f"{number}: {text}" for number, text in errors}
    return found


def compare(source: Path, page: str, silent: list[str]) -> list[str]:
    """What is wrong with a page."""
    text = (source / "doc/reference" / page).read_text(encoding="utf-8")
    headings = re.findall(r"^### `(.*)`$", text, re.M)
    told = told_by(source, page)
    wrong = [f"no source has what no_message.tsv lists: {each}" for each in silent
             if not any(re.fullmatch(each, message) for message in told)]  # fmt: skip
    told = {each for each in told if not any(re.fullmatch(one, each) for one in silent)}
    wrong += [f"the page lacks: {each}" for each in sorted(told - set(headings))]
    wrong += [f"no source has: {each}" for each in sorted(set(headings) - told)]
    wrong += [f"twice: {each}" for each in sorted(set(headings)) if headings.count(each) > 1]
    # Errors of programs that use the companion itself are explained together.
    parts = re.split(r"^## ", text.partition("## Errors of the exchange file")[0], flags=re.M)
    for part in parts[1:]:
        if re.search(r"^###[^\n]*\n*\Z", part, re.M):
            wrong.append("nothing says what to do: " + part.rstrip().split("\n")[-1])
    if len(told) < LEAST[page]:
        wrong.append(f"only {len(told)} messages were found")
    print(f"{page}: {len(told)} messages, {len(headings)} headings")
    return wrong


def main() -> int:
    source = Path(sys.argv[1])
    table = (Path(__file__).parent / "no_message.tsv").read_text(encoding="utf-8").split("\n")
    rows = [line.split("\t") for line in table if line and line[0] != "#"]
    wrong = []
    for page in SOURCES:
        silent = [row[1] for row in rows if row[0] == page and row[2]]
        wrong += [f"{page}: {each}" for each in compare(source, page, silent)]
    print("\n".join(wrong))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

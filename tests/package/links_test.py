"""Every relative link of documents leads to something: links_test.py FOLDER

Documents are Markdown files and pages of a site, whose links to places in pages are looked up, too.
"""

from __future__ import annotations

import re
import sys
from functools import cache
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    """Links of a page, and what links may lead to in it."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.links: list[str] = []
        self.places: set[str] = set()
        self.feed(text)

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        for name, value in attrs:
            if value and name in ("href", "src"):
                self.links.append(value)
            elif value and name in ("id", "name"):
                self.places.add(value)


@cache
def page(file: Path) -> Page:
    return Page(file.read_text(encoding="utf-8"))


def links_of(file: Path) -> list[str]:
    if file.suffix == ".html":
        return page(file).links
    return re.findall(r"\]\(([^)\s]+)", file.read_text(encoding="utf-8"))


def leads_somewhere(document: Path, link: str) -> bool:
    parts = urlsplit(link)
    if parts.scheme or parts.netloc:
        return True
    target = document.parent / unquote(parts.path) if parts.path else document
    if parts.fragment and target.suffix == ".html" and target.exists():
        return unquote(parts.fragment) in page(target.resolve()).places
    return target.exists()


def main() -> int:
    folder = Path(sys.argv[1])
    documents = sorted([*folder.rglob("*.md"), *folder.rglob("*.html")])
    broken = [
        f"{document.relative_to(folder)}: {link}"
        for document in documents
        for link in links_of(document)
        if not leads_somewhere(document, link)
    ]
    print("\n".join(broken) or f"{len(documents)} documents")
    return 1 if broken or len(documents) < 10 else 0


if __name__ == "__main__":
    sys.exit(main())

"""The case of letters, as the library sees it: only A to Z have two."""

from __future__ import annotations

_LOWER = {upper: upper + 32 for upper in range(ord("A"), ord("Z") + 1)}


def lower(text: str) -> str:
    """The same for all spellings of a name or label; "Ä" and "ä" are two labels."""
    return text.lower() if text.isascii() else text.translate(_LOWER)

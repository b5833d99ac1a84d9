"""Where the library of the solver HiGHS is, if the package highsbox has brought it."""

from __future__ import annotations

import importlib.util
import os
from pathlib import Path

#: Names the library to the model kit.
_VARIABLE = "ZKIT_HIGHS"


def tell_kit() -> None:
    """Names highsbox's library to the kit, before it looks for one; the user's choice stays."""
    own = Path(__file__).with_name("zkit-highs") / "libhighs.so"
    if _VARIABLE in os.environ or own.exists():
        return
    spec = importlib.util.find_spec("highsbox")
    if spec is None or spec.origin is None:
        return
    library = Path(spec.origin).with_name("highs_dist") / "lib" / "libhighs.so"
    if library.exists():
        os.environ[_VARIABLE] = str(library)

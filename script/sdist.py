#!/usr/bin/env python3
"""Lays out what the sdist of the Python package contains: sdist.py FOLDER

The package lies in a folder of the project and is built of several others, but an sdist is one
folder with all of them. Its pyproject.toml is that of the package with paths from the new place.
"""

from __future__ import annotations

import shutil
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]

# All that is in it.
PARTS = [
    "CMakeLists.txt",
    "LICENSE",
    "THIRD_PARTY_NOTICES.md",
    "cmake",
    "companions",
    "include",
    "python",
    "src",
    "tools",
]

CHANGES = [
    ('cmake.source-dir = ".."', 'cmake.source-dir = "."'),
    ('wheel.packages = ["zdbcc"]', 'wheel.packages = ["python/zdbcc"]'),
    (
        'readme = "README.md"',
        'readme = "python/README.md"\nlicense-files = ["LICENSE", "THIRD_PARTY_NOTICES.md"]',
    ),
    ('input = "../include/zdbcclib.h"', 'input = "include/zdbcclib.h"'),
]


def main() -> None:
    target = Path(sys.argv[1])
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir(parents=True)
    ignored = shutil.ignore_patterns("__pycache__", "*.pyc", ".*_cache")
    for part in PARTS:
        if (ROOT / part).is_dir():
            shutil.copytree(ROOT / part, target / part, ignore=ignored)
        else:
            shutil.copy2(ROOT / part, target / part)
    (target / "python" / "pyproject.toml").unlink()
    text = (ROOT / "python" / "pyproject.toml").read_text(encoding="utf-8")
    for old, new in CHANGES:
        if text.count(old) != 1:
            sys.exit(f"sdist.py: pyproject.toml does not have once: {old}")
        text = text.replace(old, new)
    includes = ", ".join(f'"{part}"' for part in PARTS)
    text += f"\n[tool.scikit-build.sdist]\ninclude = [{includes}]\n"
    (target / "pyproject.toml").write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()

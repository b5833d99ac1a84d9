#!/usr/bin/env python3
"""Puts into a repaired wheel the licences of the libraries that it has been given: FILE.whl

They are those of the Debian packages that the libraries are of, in the folder of the licences,
with LIBRARIES.txt, which has a line for each library. It fails for a library without one, or one
that THIRD_PARTY_NOTICES.md does not name.
"""

from __future__ import annotations

import re
import shutil
import subprocess
import sys
from pathlib import Path

from auditwheel.wheeltools import InWheelCtx  # type: ignore[import-not-found]

ROOT = Path(__file__).resolve().parents[1]
COMMON = re.compile(r"/usr/share/common-licenses/([A-Za-z0-9.+-]*[A-Za-z0-9])")


def package_of(library: str) -> tuple[str, str]:
    """The Debian package of a library of the system, and its version."""
    found = subprocess.run(
        ["dpkg", "-S", f"*/{library}"], capture_output=True, text=True, check=False
    ).stdout
    if not found:
        sys.exit(f"wheel_licenses.py: no package has {library}, whose licence must be in the wheel")
    package = found.partition(": ")[0].partition(",")[0]
    version = subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package],
        capture_output=True, text=True, check=True,
    ).stdout  # fmt: skip
    return package.partition(":")[0], version


def main() -> None:
    wheel = Path(sys.argv[1])
    notices = (ROOT / "THIRD_PARTY_NOTICES.md").read_text(encoding="utf-8")
    with InWheelCtx(wheel, wheel) as context:
        root = Path(context.path)
        (info,) = root.glob("*.dist-info")
        licenses = info / "licenses"
        licenses.mkdir(exist_ok=True)
        lines = []
        for file in sorted(root.glob("*.libs/*")):
            library = re.sub(r"-[0-9a-f]{8,}(?=\.so)", "", file.name)
            if f"`{library.partition('.so')[0]}`" not in notices:
                sys.exit(f"wheel_licenses.py: THIRD_PARTY_NOTICES.md does not name {library}")
            package, version = package_of(library)
            text = Path("/usr/share/doc", package, "copyright").read_text(encoding="utf-8")
            (licenses / f"{package}.txt").write_text(text, encoding="utf-8")
            for common in COMMON.findall(text):
                shutil.copyfile(f"/usr/share/common-licenses/{common}", licenses / f"{common}.txt")
            lines.append(f"{file.name}: {package}.txt, of Debian's {package} {version}\n")
        (licenses / "LIBRARIES.txt").write_text("".join(lines), encoding="utf-8")


if __name__ == "__main__":
    main()

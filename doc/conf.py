"""How Sphinx builds the site: `make docs`, which has Doxygen read the headers first."""

from __future__ import annotations

import os
import re
import shutil
import sys
from pathlib import Path

SOURCE = Path(__file__).parents[1]
HEADER = (SOURCE / "include/zdbcclib.h").read_text(encoding="utf-8")
VERSION = re.search(r'#define ZDBCCLIB_VERSION "(.*)"', HEADER)
assert VERSION

project = "zdbcclib"
author = "the authors of zdbcclib"
copyright = author  # noqa: A001
version = release = VERSION[1]
extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "sphinx.ext.napoleon"]

highlight_language = "console"
pygments_style = "default"
pygments_dark_style = "native"
myst_heading_anchors = 3
myst_enable_extensions = ["colon_fence"]

breathe_projects = {"zdbcclib": os.environ.get("XML_FOLDER", "../build/docs-work") + "/xml"}
breathe_default_project = "zdbcclib"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
c_id_attributes = ["ZDBCCLIB_API", "ZKIT_API"]

# The docstrings are read without the compiled modules.
sys.path.insert(0, str(SOURCE / "python"))
sys.dont_write_bytecode = True
autodoc_mock_imports = ["zdbcc._core", "zdbcc._kit"]
autodoc_member_order = "bysource"
autodoc_typehints = "signature"
napoleon_google_docstring = False
napoleon_use_rtype = False

html_theme = "furo"
html_title = f"zdbcclib {version}"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False


def fenced(text: str, language: str = "c") -> str:
    """Markdown whose indented blocks say what they are: a program if they have statements."""

    def fence(found: re.Match[str]) -> str:
        code = re.sub(r"^    ", "", found[1], flags=re.M)
        return f"```{language if ';' in code else 'text'}\n{code}```\n"

    block = re.compile(r"(?<=\n\n)((?:    .*\n|\n(?=    ))+)")
    return block.sub(fence, text)


def manual(header: str) -> str:
    """The comment at the top of a header as Markdown."""
    text = (SOURCE / "include" / header).read_text(encoding="utf-8")
    if text.startswith("//"):
        lines = text[: text.index("#ifndef")].split("\n")
        return fenced("\n".join(re.sub(r"^// ?", "", line) for line in lines), "cpp")
    comment = text[text.index("/*") + 2 : text.index("*/")]
    lines = [re.sub(r"^ \* ?", "", line) for line in comment.split("\n")]
    # The names of parts, which stand in capitals.
    text = re.sub(
        r"^([A-Z]{4}[A-Z ]+)\b", lambda m: m[1].capitalize(), "\n".join(lines), flags=re.M
    )
    return fenced(text)


def about(group: str) -> str:
    """The text of a group of functions, which breathe leaves out with the group's name."""
    for header in ("zdbcclib.h", "zdbx.h", "zkitdclib.h"):
        text = (SOURCE / "include" / header).read_text(encoding="utf-8")
        found = re.search(rf"@defgroup {group} [^\n]*\n(.*?) \* @\{{\n", text, re.S)
        if found:
            return fenced(re.sub(r"^ \* ?", "", found[1], flags=re.M))
    raise ValueError(f"no header has the group {group}")


def adapt(app: object, name: str, source: list[str]) -> None:
    """Pages are read in the source tree as well, where they link to files that the site lacks."""
    text = re.sub(r"<!-- manual of (\S+) -->", lambda m: manual(m[1]), source[0])
    text = re.sub(
        r"^```\{doxygengroup\} (\w+)$", lambda m: f"{about(m[1])}\n{m[0]}", text, flags=re.M
    )
    outside = "../" * (name.count("/") + 1)
    if name.startswith("reference/c/"):
        text = re.sub(r"\n", "\n\n```{highlight} c\n```\n", text, count=1)  # below the title
    source[0] = re.sub(rf"\[([^\]]*)\]\({re.escape(outside)}[^)]*\)", r"\1", text)


def repair_theme(app: object, failure: Exception | None) -> None:
    """Makes whole what Debian's furo 2022.12.07 lacks, as it is built without a bundler: the dark
    colours of readers whose system is dark, a style that it looks for on the server, and a script
    that needs another one."""
    static = Path(app.outdir, "_static")  # type: ignore[attr-defined]
    style = static / "styles/furo.css"
    if failure or not style.exists():
        return
    text = style.read_text(encoding="utf-8")
    dark = re.search(
        r'^@media not print \{\n( *body\[data-theme="dark"\].*?\} \}\n)', text, re.S | re.M
    )
    if dark and "prefers-color-scheme" not in text:
        rules = dark[1].replace('body[data-theme="dark"]', 'body:not([data-theme="light"])')
        text += f"\n@media screen and (prefers-color-scheme: dark) {{\n{rules}"
    normal = "/javascript/normalize.css/normalize.css"
    if f"url({normal})" in text:
        shutil.copy(f"/usr/share{normal}", style.parent)
        text = text.replace(f"url({normal})", "url(normalize.css)")
    style.write_text(text, encoding="utf-8")
    script = static / "scripts/furo.js"
    line = 'import Gumshoe from "./gumshoe-patched.js";'
    code = script.read_text(encoding="utf-8")
    if line in code:
        whole = (script.parent / "gumshoe-patched.js").read_text(encoding="utf-8")
        script.write_text(whole + code.replace(line, ""), encoding="utf-8")


def setup(app: object) -> None:
    app.connect("source-read", adapt)  # type: ignore[attr-defined]
    app.connect("build-finished", repair_theme)  # type: ignore[attr-defined]

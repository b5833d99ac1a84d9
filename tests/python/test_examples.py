"""The examples of the docstrings and of the page about the package, its stubs and its imports."""

from __future__ import annotations

import ast
import contextlib
import doctest
import importlib
import io
import re
import subprocess
import sys
from pathlib import Path

import pytest
import zdbcc
from conftest import LUNCH

PAGE = Path(__file__).parents[2] / "doc" / "howto" / "python.md"


@pytest.mark.parametrize(
    "module",
    [
        "", "._database", "._errors", "._models", "._numbers", "._opened", "._plots", "._records",
        "._results", "._symbols", "._tables", "._values",
    ],
)  # fmt: skip
def test_Docstrings_PrintWhatTheySay(module: str) -> None:
    result = doctest.testmod(
        importlib.import_module("zdbcc" + module), extraglobs={"zdbcc": zdbcc, "LUNCH": LUNCH}
    )
    assert result.attempted > 0
    assert result.failed == 0


def test_Docstrings_HaveAnExampleForEachFunction() -> None:
    missing = []
    for name in zdbcc.__all__:
        value = getattr(zdbcc, name)
        if not callable(value) or (isinstance(value, type) and issubclass(value, Exception)):
            continue
        members = vars(value).items() if isinstance(value, type) else []
        own = [(f"{name}.{each}", f) for each, f in members if each[0] != "_" and callable(f)]
        own += [] if isinstance(value, type) else [(name, value)]
        missing += [each for each, function in own if ">>>" not in (function.__doc__ or "")]
    assert missing == []


def test_Reference_HasAllNames() -> None:
    text = (PAGE.parents[1] / "reference" / "python.md").read_text(encoding="utf-8")
    found = set(re.findall(r"auto\w+:: zdbcc\.(\w+)$", text, re.M))
    assert found == set(zdbcc.__all__) - {"__version__"}


def names(module: object) -> set[str]:
    """Names of a module and of the members of its classes, without those that all have."""
    found = set()
    for name, value in vars(module).items():
        if isinstance(value, type):
            found |= {f"{name}.{member}" for member in vars(value) if member[:1] != "_"}
        elif name[:2] != "__":
            found.add(name)
    return found


@pytest.mark.parametrize("module", ["_core", "_kit"])
def test_Stubs_HaveTheNamesOfTheModule(module: str) -> None:
    compiled = importlib.import_module("zdbcc." + module)
    stub = Path(zdbcc.__file__).with_name(module + ".pyi").read_text(encoding="utf-8")
    found = set()
    for node in ast.parse(stub).body:
        if isinstance(node, ast.ClassDef) and hasattr(compiled, node.name):
            found |= {f"{node.name}.{part.name}" for part in node.body if part.name[:1] != "_"}
        elif isinstance(node, ast.FunctionDef):
            found.add(node.name)
        elif isinstance(node, ast.AnnAssign) and isinstance(node.target, ast.Name):
            found.add(node.target.id)
    assert found - {"__version__"} == names(compiled)


def test_Page_PrintsWhatItSays(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    text = PAGE.read_text(encoding="utf-8")
    blocks = re.findall(r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```$)?", text, re.M | re.S)
    assert len(blocks) == text.count("```python") > 0
    assert sum(bool(output) for _, output in blocks) == text.count("```text")
    monkeypatch.chdir(tmp_path)
    session: dict[str, object] = {}
    for code, expected in blocks:
        with contextlib.redirect_stdout(io.StringIO()) as out:
            exec(compile(code, str(PAGE), "exec"), session)
        assert out.getvalue() == expected


def test_Names_LoadWhatTheyNeedWhenTheyAreUsed() -> None:
    code = """
import sys, zdbcc
def loaded():
    return sorted({"numpy", "pandas", "xarray", "scipy", "zdbcc._kit"} & set(sys.modules))
print(loaded())
zdbcc.Database, zdbcc.read_csv, zdbcc.__version__
print(loaded())
zdbcc.Model
print(loaded())
print(set(zdbcc.__all__) - set(zdbcc._LATE), set(zdbcc._LATE) - set(zdbcc.__all__))
"""
    result = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, check=True
    )
    assert result.stdout == "[]\n['numpy']\n['numpy', 'zdbcc._kit']\nset() set()\n"

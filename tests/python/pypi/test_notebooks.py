"""The notebooks of examples/notebooks run, and print what they have in them.

With the variable ZDBCC_WRITE_NOTEBOOKS set, what they print is written into them; pictures are not.
"""

from __future__ import annotations

import os
import shutil
from pathlib import Path
from typing import Any

import nbformat
import pytest
from nbclient import NotebookClient

FOLDER = Path(__file__).parents[3] / "examples" / "notebooks"
#: The packages that tests need, beside the build folder's interpreter.
PEERS = Path(os.environ.get("PEERS", ""))


def texts(cell: Any) -> list[str]:
    """What a cell prints or shows as text; a picture or an object shows its address."""
    found = []
    for output in cell.get("outputs", []):
        if output.output_type == "stream":
            found.append(output.text)
        elif "image/png" not in output.get("data", {}):
            found.append(output.get("data", {}).get("text/plain", ""))
    return found


@pytest.mark.parametrize("path", sorted(FOLDER.glob("*.ipynb")), ids=lambda path: path.stem)
def test_Notebook_PrintsWhatItShows(
    path: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    vega = PEERS / "vega"
    if path.stem == "flights" and not (vega / "airports.csv").exists():
        pytest.skip("vega-datasets could not be fetched")
    monkeypatch.setenv("VEGA_DATASETS", str(vega))
    for data in (FOLDER.parent / "models").iterdir():
        if data.is_file():
            shutil.copy(data, tmp_path)
    notebook = nbformat.read(path, as_version=4)
    expected = [texts(cell) for cell in notebook.cells]
    NotebookClient(
        notebook, timeout=120, kernel_name="python3", resources={"metadata": {"path": tmp_path}}
    ).execute()
    assert not any(
        output.output_type == "stream" and output.name == "stderr"
        for cell in notebook.cells
        for output in cell.get("outputs", [])
    )
    found = [texts(cell) for cell in notebook.cells]
    if "ZDBCC_WRITE_NOTEBOOKS" in os.environ:
        write(notebook, path)
        return
    assert sum(map(len, expected)) > 0
    assert found == expected


def write(notebook: Any, path: Path) -> None:
    for cell in notebook.cells:
        cell.metadata.clear()
        if cell.cell_type == "code":
            cell.outputs = [
                output for output in cell.outputs if "image/png" not in output.get("data", {})
            ]
            for output in cell.outputs:
                output.get("data", {}).pop("text/html", None)
    notebook.metadata = {
        "kernelspec": {"display_name": "Python 3", "language": "python", "name": "python3"},
        "language_info": {"name": "python"},
    }
    nbformat.write(notebook, path)

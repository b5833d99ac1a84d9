"""Pictures, with matplotlib if it is there; and what is said where it is not."""

from __future__ import annotations

import sys
from typing import Any

import numpy as np
import pytest
import zdbcc
from conftest import LUNCH


def test_WithoutMatplotlib_TheErrorNamesIt(db: zdbcc.Database, monkeypatch: Any) -> None:
    monkeypatch.setitem(sys.modules, "matplotlib", None)
    with pytest.raises(zdbcc.MissingPackageError, match="pip install matplotlib") as caught:
        db["price"].plot()
    assert isinstance(caught.value, ImportError)


@pytest.mark.parametrize(
    ("draw", "message"),
    [
        (lambda db: db["price"].plot("pie"), "one of duration, histogram"),
        (lambda db: db["price"].plot("heatmap"), "two open positions"),
        (lambda db: db["flow"][:, "x"].plot("sparsity"), "fix others in a slice"),
        (lambda db: db["food"].plot("duration"), "no values to draw"),
        (lambda db: db.add_parameter("p", ["i", "j"]).plot(), "no records to draw"),
        (lambda db: db["ship"].plot(field="size"), "one of level, marginal"),
        (lambda db: zdbcc.plot({"objective": [1.0]}, column="cost"), "no column 'cost'"),
    ],
)
def test_WhatCannotBeDrawn_IsRefused(db: zdbcc.Database, draw: Any, message: str) -> None:
    with pytest.raises(zdbcc.ArgumentError, match=message):
        draw(db)


def test_Pictures_ShowTheValues(db: zdbcc.Database) -> None:
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("agg")
    (line,) = db["price"].plot().lines
    assert line.get_ydata().tolist() == [2.5, 1.0]
    heat = db["flow"].plot()
    (image,) = heat.images
    assert np.nan_to_num(np.asarray(image.get_array().filled(0))).tolist() == [[1, 0], [2, 3]]
    assert [text.get_text() for text in heat.get_yticklabels()] == ["tea", "milk"]
    (dots,) = db["flow"].plot("sparsity").lines
    assert sorted(zip(dots.get_xdata(), dots.get_ydata(), strict=True)) == [(0, 0), (0, 1), (1, 1)]
    bars = db["ship"].plot("histogram", ax=heat.figure.add_subplot())
    assert sum(bar.get_height() for bar in bars.patches) == 1
    with zdbcc.Model.from_text(LUNCH) as model:
        table = model.sweep({"need[energy].rhs": [12, 16, 14, 99]}, progress=False)
        (curve,) = zdbcc.plot(table).lines
        assert curve.get_ydata().tolist() == pytest.approx([18, 16, 14])
        (matrix,) = model.plot().lines
        points = sorted(zip(matrix.get_xdata(), matrix.get_ydata(), strict=True))
        assert [len(points), points[0][0], points[-1][0]] == [5, 0, 1]
        assert model.solve().plot("buy").get_ylabel() == "buy (level)"
    pytest.importorskip("matplotlib.pyplot").close("all")

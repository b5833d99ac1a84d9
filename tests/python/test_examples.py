"""Runs the examples of the docstrings, and the sessions of the page about the package."""

from __future__ import annotations

import doctest
import importlib

import pytest
import zdbcc


@pytest.mark.parametrize("module", ["", "._database", "._errors", "._records", "._symbols", "._values"])
def test_Docstrings_PrintWhatTheySay(module: str) -> None:
    result = doctest.testmod(
        importlib.import_module("zdbcc" + module), extraglobs={"zdbcc": zdbcc}
    )
    assert result.attempted > 0
    assert result.failed == 0

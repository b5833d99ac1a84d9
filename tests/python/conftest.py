"""What the tests of the package share."""

from __future__ import annotations

import os
from pathlib import Path

import pytest
import zdbcc


@pytest.fixture
def db() -> zdbcc.Database:
    """A set, a parameter over it, one of two positions, and a variable."""
    db = zdbcc.Database()
    db.add_set("food", {"tea": "hot", "milk": "", "NA": "a label"})
    db.add_parameter("price", "food", {"tea": 2.5, "milk": 1.0}, text="a <cup>")
    db.add_parameter(
        "flow", ["from", "to"], [("tea", "x", 1.0), ("milk", "x", 2.0), ("milk", "y", 3.0)]
    )
    db.add_variable("ship", "food", {"tea": 4.0}, kind="positive")
    return db


@pytest.fixture
def sample() -> Path:
    """A data file with a symbol of each type."""
    return Path(os.environ["SAMPLE"])

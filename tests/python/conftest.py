"""What the tests of the package share."""

from __future__ import annotations

import os
import signal
from collections.abc import Iterator
from pathlib import Path

import pytest
import zdbcc

#: Energy and a glass of milk at the lowest price: 5.5 of bread and 1 of milk for 14.
LUNCH = """
set FOOD := {'bread', 'milk'};
set NEED := {'energy', 'milk'};
var buy{FOOD} >= 0, <= 8;
minimize cost: 2 * buy['bread'] + 3 * buy['milk'];
s.t. need{n in NEED}: (if n = 'energy' then 2 * buy['bread'] + buy['milk'] else buy['milk'])
  >= (if n = 'energy' then 12 else 1);
end;
"""
MODELS = Path(__file__).parents[2] / "examples" / "models"


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


@pytest.fixture
def ctrl_c() -> Iterator[None]:
    """Ctrl-C raises KeyboardInterrupt, also where the tests are run with it ignored."""
    outer = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, outer)

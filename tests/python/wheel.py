"""What the wheel must do in an environment that has nothing but it and numpy: wheel.py

Run by script/wheel.sh in a folder of its own. It fails if a library of the build folder, or one of
the system but for those that every system has, is loaded.
"""

from __future__ import annotations

import importlib.util
import pathlib
import sqlite3
import sys

import zdbcc

# What wheels may take from the system, by the rules of the tag of their platform.
SYSTEM = ("ld-linux", "libc.", "libm.", "libdl.", "libpthread.", "librt.", "libutil.", "libstdc++.")
SYSTEM += ("libgcc_s.", "libz.", "libexpat.", "libpython", "libcrypto.", "libssl.", "libffi.")
SYSTEM += ("libsqlite3.", "libbz2.", "liblzma.", "libuuid.", "libnss")  # of the interpreter itself


def databases() -> None:
    """The example of a database: symbols in and out, a file, differences, CSV and SQLite."""
    db = zdbcc.Database()
    db.add_set("i", ["a", "b"])
    db.add_parameter("p", ["i", "i"], {("a", "b"): 1.5, ("b", "a"): 2.0}, text="cost of a step")
    db["p"].update([("a", "a", 3.0)])
    del db["p"]["a", "b"]
    assert db.check_domains() == []
    db.write("out.zxf")
    with zdbcc.open("out.zxf") as again:
        assert repr(again["p"]) == '<Parameter p(i, i): 2 records, "cost of a step">'
        assert again["p"][:, "a"].to_dict() == {"a": 3.0, "b": 2.0}
        assert again["p"].to_numpy().tolist() == [3.0, 2.0]
        assert not zdbcc.diff(again, db)
    pathlib.Path("price.csv").write_text("food,price\ntea,2.5\nTea,3\n")
    csv = zdbcc.read_csv("price.csv:food(food+)->price", duplicates="first")
    assert csv["price"].to_dict() == {"tea": 2.5}
    db.to_sqlite("out.db")
    assert len(sqlite3.connect("out.db").execute("SELECT * FROM p").fetchall()) == 2


def libraries() -> None:
    """Where the libraries of this process come from."""
    home = str(pathlib.Path(sys.prefix).resolve())
    base = str(pathlib.Path(sys.base_prefix).resolve())
    with open("/proc/self/maps") as maps:
        paths = {line.split(None, 5)[-1].strip() for line in maps if "/" in line}
    loaded = [path for path in sorted(paths) if ".so" in path]
    assert any("libzxfcclib64" in path for path in loaded), "the companion was not loaded"
    assert any("libzstd" in path for path in loaded)
    for path in loaded:
        name = path.rpartition("/")[2]
        inside = path.startswith(home) or (base != "/usr" and path.startswith(base))
        of_python = "/python3" in path or "/lib-dynload/" in path
        assert inside or of_python or name.startswith(SYSTEM), f"{path} is not of the wheel"


def main() -> None:
    assert importlib.util.find_spec("pandas") is None
    databases()
    if hasattr(zdbcc, "Model"):
        models()
    libraries()
    print(f"the wheel works with Python {sys.version.split()[0]}, zdbcc {zdbcc.__version__}")


def models() -> None:
    """The example of a model, with the solvers that the wheel carries."""
    pathlib.Path("diet.mod").write_text(MODEL)
    model = zdbcc.Model.read("diet.mod")
    result = model.solve("clp")
    assert abs(result.objective - 3.0) < 1e-9, result


MODEL = """
set F; param price{F}; param iron{F}; param need;
var buy{F} >= 0;
minimize cost: sum{f in F} price[f] * buy[f];
subject to enough: sum{f in F} iron[f] * buy[f] >= need;
data;
set F := tea milk;
param price := tea 1 milk 2;
param iron := tea 1 milk 1;
param need := 3;
end;
"""

main()

"""What the wheel must do in an environment that has little but it and numpy: wheel.py [SOLVER]

Run by script/wheel.sh in a folder of its own, with transport.mps and diet.mod. It fails if a
library of the build folder, or one of the system but for those that every system has, is loaded.
The solver is one that another package brings.
"""

from __future__ import annotations

import importlib.metadata
import importlib.util
import pathlib
import sqlite3
import sys
import warnings

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
    with warnings.catch_warnings(record=True) as told:
        csv = zdbcc.read_csv("price.csv:food(food+)->price", duplicates="first")
    assert [warning.category for warning in told] == [zdbcc.CsvWarning], told
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


def licences() -> None:
    """Each library that the wheel carries has its licence in it."""
    files = importlib.metadata.files("zdbcclib") or []
    names = {file.name: file for file in files if ".dist-info/licenses/" in str(file)}
    assert {"LICENSE", "THIRD_PARTY_NOTICES.md", "LIBRARIES.txt"} <= set(names), names
    lines = names["LIBRARIES.txt"].read_text().splitlines()
    listed = dict(line.split(": ", 1) for line in lines)
    carried = {file.name for file in files if ".libs/" in str(file)}
    assert listed.keys() == carried and any("libgmp" in name for name in carried), (listed, carried)
    for name in {line.partition(",")[0] for line in listed.values()}:
        assert len(names[name].read_text()) > 100, name
    assert "GNU GENERAL PUBLIC LICENSE" in names["GPL-3.txt"].read_text()


def main() -> None:
    assert importlib.util.find_spec("pandas") is None
    databases()
    models()
    libraries()
    licences()
    parts = [f"Python {sys.version.split()[0]}", *sys.argv[1:]]
    print(f"the wheel of zdbcc {zdbcc.__version__} works with {' and '.join(parts)}")


def models() -> None:
    """The example of a model of the folder: another number by name, one solve, and a sweep."""
    usable = {solver.name for solver in zdbcc.solvers() if not solver.why_not}
    assert usable == {"clp", "cbc", "glpk", *sys.argv[1:]}, zdbcc.solvers()
    model = zdbcc.Model.read("transport.mps")
    model["demand.rhs"] = {"brook": 95}
    for solver in usable:
        result = model.solve(solver, relax=True, time_limit=60)
        assert result.status == "Optimal", (solver, result)
        assert abs(result.objective - 1535) < 1e-6, (solver, result)
        shipped = result["ship"].to_numpy()[:, 0].sum()
        assert abs(shipped - 345) < 1e-6, (solver, shipped)
    costs = {"ship[alm,cairn].cost": [4, 12]}
    table = model.sweep(costs, show=["ship"], executor=2, progress=False)
    assert [round(cost, 6) for cost in table["objective"]] == [1535, 1715], table
    assert sum(name.startswith("ship[") for name in table) == 12, table
    mathprog = zdbcc.Model.read("diet.mod")  # by the reader that the wheel carries
    assert abs(mathprog.solve("glpk").objective - 0.1086622782) < 1e-9


if __name__ == "__main__":  # processes of a sweep import this file
    main()

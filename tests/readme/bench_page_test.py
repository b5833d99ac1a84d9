"""Fills a copy of the page of benchmarks with made-up figures: bench_page_test.py SOURCE"""

from __future__ import annotations

import re
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(sys.argv[1])
# What bench.sh keeps: program, family, name, nanoseconds, counters.
FIGURES = """\
b/bench_api.txt\tMergeSorted\tMergeSorted_Interface\t38100000\t
b/bench_api.txt\tMergeSorted\tMergeSorted_SqliteNumbers\t1619000000\t
b/bench_zxf.txt\twrite\twrite/zxf_random\t34100000\t bytes_per_record=7.81
b/bench_containers.txt\tload_sorted\tload_sorted/DMap\t9110000\t bytes=31.7
b/bench_kit.txt\tdiet_clp\tdiet_clp/hot\t35200\t
b/bench_tool.txt\tToolInfo\tToolInfo/zdbcc\t7000000\t peak_MB=14 file_MB=98.7
"""
MACHINE = "date\t2026-11-26\ncores\t2\nprocessor\tP\nMHz\t2100\nsystem\tS\ncompiler\tC\nload\t0.1\n"
EXPECTED = {
    "machine": [
        "Measured on 2026-11-26: 2 cores of P at 2.1 GHz, S, C; load before the start 0.1."
    ],
    "library": [
        "| merge records in key order, by numbers | 38 ms | SQLite in memory 1,619 ms |",
        "| write an exchange file, random doubles | 34 ms, 7.8 bytes a record |  |",
    ],
    "containers": ["| **map**, the default | 9.1 |  |  |  |  | 32 |"],
    "models": ["| a day of the diet, 77 foods, clp | 35 µs |  |"],
    "tool": [
        "| file of 30 million records with two decimals | 99 MB |  |",
        "| `zdbcc info` of it | 7.0 ms, 14 MB |  |",
    ],
}


def main() -> int:
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "figures.tsv").write_text(FIGURES, encoding="utf-8")
        (folder / "machine.tsv").write_text(MACHINE, encoding="utf-8")
        page = folder / "page.md"
        before = (SOURCE / "doc/why/benchmarks.md").read_text(encoding="utf-8")
        page.write_text(before, encoding="utf-8")
        script = SOURCE / "script/bench_page.py"
        subprocess.run([sys.executable, script, folder, page], check=True, stderr=subprocess.PIPE)
        after = page.read_text(encoding="utf-8")
        wrong = []
        for table, rows in EXPECTED.items():
            place = re.compile(f"<!-- figures: {table} -->\n(.*)<!-- end of {table} -->", re.S)
            lines = place.search(after)[1].strip().split("\n")  # type: ignore[index]
            if [row for row in rows if row not in lines]:
                wrong.append("\n".join([table, *lines]))
            elif table in ("library", "tool") and len(lines) != len(rows) + 2:
                wrong.append("rows without a figure: " + "\n".join(lines))
        python = "<!-- figures: python"
        if before.partition(python)[2] != after.partition(python)[2]:
            wrong.append("what was not measured has changed")
        page.write_text(after.replace("<!-- figures: tool -->", ""), encoding="utf-8")
        broken = subprocess.run([sys.executable, script, folder, page], stderr=subprocess.PIPE)
        if broken.returncode == 0:
            wrong.append("a page without a place for a table was taken")
    print("\n".join(wrong))
    return 1 if wrong else 0


sys.exit(main())

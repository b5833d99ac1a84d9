"""Random queries over an exchange file and over the database it is exported to find the same.

sql_test.py ZDBCC SQLITE3
"""

from __future__ import annotations

import random
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SQLITE3 = sys.argv.pop()
TOOL = sys.argv.pop()
LABELS = {"o": 60, "d": 30, "t": 12}
QUERIES = 100


def run(*words: str, text: str = "") -> str:
    return subprocess.run(words, input=text, capture_output=True, text=True, check=True).stdout


class Queries:
    """Makes queries whose result is one row: a number, a count and the rows they are about."""

    def __init__(self, source: random.Random) -> None:
        self.random = source

    def label(self, column: str) -> str:
        number = self.random.randrange(LABELS[column] + 1)  # the last one is not there
        label = (column if self.random.random() < 0.7 else column.upper()) + str(number)
        return f"'{label}'"

    def condition(self, table: str) -> str:
        column = self.random.choice("oodt")
        label, other = self.label(column), self.label(column)
        name = f"{table}.{column}"
        return self.random.choice(
            [
                f"{name} = {label}",
                f"{label} = {name}",
                f"{name} IN ({label}, {other}, NULL)",
                f"({name} = {label} OR {name} = {other})",
                f"{name} = {label} COLLATE {self.random.choice(['BINARY', 'NOCASE', 'RTRIM'])}",
                f"{name} BETWEEN {label} AND {other}",
                f"{name} <> {label}",
                f"{name} IS {label}",
                f"{table}.value % 7 = {self.random.randrange(7)}",
            ]
        )

    def where(self, table: str) -> str:
        return " AND ".join(self.condition(table) for _ in range(self.random.randint(1, 3)))

    def rows(self) -> str:
        columns = self.random.sample("odt", self.random.randint(1, 3))
        names = ", ".join(f"a.{column}" for column in columns)
        texts = " || ".join(f"a.{column}" for column in columns)
        ordered = ", ".join(f"a.{c} {self.random.choice(['', '', 'DESC'])}" for c in columns)
        totals = "count(*) || ':' || CAST(sum(a.value) AS INTEGER)"
        one = f"(SELECT * FROM cube b WHERE b.o = a.o AND {self.where('b')} LIMIT 9)"
        return self.random.choice(
            [
                f"SELECT {texts} || ':' || {totals} r FROM cube a WHERE {self.where('a')}"
                f" GROUP BY {names} ORDER BY {ordered}",
                f"SELECT {texts} || ':' || {totals} r FROM cube a GROUP BY {names} ORDER BY r",
                f"SELECT DISTINCT {texts} r FROM cube a WHERE {self.where('a')} ORDER BY r DESC",
                f"SELECT a.o || a.d || a.t || CAST(a.value AS INTEGER) r FROM cube a"
                f" WHERE {self.where('a')} ORDER BY {ordered}, a.o, a.d, a.t LIMIT 50",
                f"SELECT {totals} r FROM o JOIN cube a ON a.o = o.label"
                f" JOIN d ON d.label = a.d WHERE {self.where('a')}",
                f"SELECT {totals} r FROM cube a JOIN cube b ON b.o = a.o AND b.d = a.d"
                f" AND b.t = {self.label('t')} WHERE {self.where('a')}",
                f"SELECT {totals} r FROM cube a WHERE {self.where('a')} AND EXISTS {one}",
            ]
        )

    def query(self, number: int) -> str:
        return f"SELECT {number} n, count(*), group_concat(r, ';') FROM ({self.rows()});\n"


class FileAndDatabase(unittest.TestCase):
    def answers(self, output: str) -> list[str]:
        lines = output.replace("\r", "").replace('"', "").splitlines()
        return [line for line in lines if line[:1].isdigit()]

    def compare(self, folder: Path, specs: list[str], seed: int) -> None:
        name, database = str(folder / f"{seed}.zxf"), str(folder / f"{seed}.db")
        run(TOOL, "import", name, *specs)
        run(TOOL, "export", name, "--to", database)
        queries = Queries(random.Random(seed))
        texts = [queries.query(i) for i in range(QUERIES)]
        found = self.answers(run(TOOL, "sql", name, "-", text="".join(texts)))
        expected = self.answers(run(SQLITE3, "-csv", database, text="".join(texts)))
        self.assertEqual(len(found), QUERIES)
        self.assertGreater(sum(",0," not in line for line in found), QUERIES // 2)
        for text, one, other in zip(texts, found, expected, strict=True):
            self.assertEqual(one, other, text)

    def test_queries_find_what_they_find_in_a_database(self) -> None:
        source = random.Random(1)
        orders = {c: source.sample(range(count), count) for c, count in LABELS.items()}
        keys = [
            f"o{o},d{d},t{t},{source.randrange(1000)}\n"
            for o in orders["o"]
            for d in orders["d"]
            for t in orders["t"]
            if source.random() < 0.8  # two blocks
        ]
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "cube.csv").write_text("o,d,t,n\n" + "".join(keys))
            labels = [f"{c}{i}\n" for c, count in LABELS.items() for i in range(count)]
            Path(folder, "sorted.csv").write_text("label\n" + "".join(sorted(labels)))
            cube = f"cube={folder}/cube.csv:o(o+),d(d+),t(t+)->n"
            self.compare(Path(folder), [cube], seed=2)
            self.compare(Path(folder), [f"*={folder}/sorted.csv:label", cube], seed=3)


unittest.main()

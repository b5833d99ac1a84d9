"""Kills sweeps at random moments and goes on with them; gives scenarios in other orders."""

import random
import re
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

TOOL = str(Path(sys.argv.pop(1)).absolute())

# Costs are alike, so that many plans are the best ones.
TRANSPORT = """set I := 1..5; set J := 1..6;
var ship{I,J} >= 0, <= 9;
minimize cost: sum{i in I, j in J} (1 + (i + j) mod 2) * ship[i,j];
s.t. cap{i in I}: sum{j in J} ship[i,j] <= 12;
s.t. dem{j in J}: sum{i in I} ship[i,j] >= 5;
end;
"""
ASSIGNMENT = """set I := 1..6; var ship{I} integer, >= 0, <= 3;
maximize worth: sum{i in I} (2 + i mod 2) * ship[i];
s.t. cap: sum{i in I} ship[i] <= 7; s.t. dem: ship[1] + ship[2] >= 1; end;
"""
CHANGES = {
    TRANSPORT: ["dem[1].rhs", "dem[2].rhs", "cap[3].rhs", "ship[1,1].cost", "ship[2,2].up"]
    + ["cap[1].coef[ship,1,2]"],
    ASSIGNMENT: ["cap.rhs", "ship[2].up", "ship[3].cost"],
}


def box_of(group: ElementTree.Element) -> tuple[float, float, float, float, str]:
    """Left, top, right and bottom of a text as wide as letters usually are, and the text."""
    words = (group[0].text or "").strip()
    size = float(group.get("font-size", ""))
    width = 0.55 * size * len(words)
    x, bottom = map(float, re.findall(r"[\d.]+", group.get("transform", ""))[:2])
    left = x - {"start": 0, "middle": 0.5, "end": 1}[group.get("text-anchor", "")] * width
    return left, bottom - 0.75 * size, left + width, bottom, words


def row_of(name: str, values: list[str]) -> str:
    return ",".join([name, *values]) + "\n"


def size_of(file: Path) -> int:
    """Of a file that may vanish at any time."""
    try:
        return file.stat().st_size
    except FileNotFoundError:
        return 0


class Sweep(unittest.TestCase):
    def setUp(self) -> None:
        self.random = random.Random(1)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def scenarios(self, model: str, count: int) -> list[str]:
        """The heading, and rows of which some have no solution."""
        (self.folder / "m.mod").write_text(model)
        values = ["", "", "0", "1", "4", "7", "90"]
        rows = [
            [f's{i}, "{i}"', *self.random.choices(values, k=len(CHANGES[model]))]
            for i in range(count)
        ]
        for row, column in zip(rows, range(1, len(rows[0]))):
            row[column] = "3"
        quoted = [[row[0].replace('"', '""'), *row[1:]] for row in rows]
        lines = [row_of(f'"{row[0]}"', row[1:]) for row in quoted]
        return [row_of("name", [f'"{name}"' for name in CHANGES[model]]), *lines]

    def command(self, lines: list[str], *options: str) -> list[str]:
        (self.folder / "s.csv").write_text("".join(lines))
        words = ["sweep", "m.mod", "--scenarios", "s.csv", "--show", "ship", *options]
        return [TOOL, *words]

    def run_tool(self, command: list[str]) -> subprocess.CompletedProcess[str]:
        return subprocess.run(command, cwd=self.folder, capture_output=True, text=True)

    def results(self, *names: str) -> list[str]:
        return [(self.folder / name).read_text() for name in names]

    def test_base_start_gives_the_same_rows_in_any_order(self) -> None:
        for model, solver in (
            (TRANSPORT, "clp"),
            (TRANSPORT, "glpk"),
            (TRANSPORT, "cbc"),
            (ASSIGNMENT, "glpk"),
            (ASSIGNMENT, "cbc"),
        ):
            heading, *rows = self.scenarios(model, 60)
            seen = set()
            for _ in range(4):
                done = self.run_tool(
                    self.command(
                        [heading, *rows],
                        "--solver",
                        solver,
                        "--force",
                        "-o",
                        "r.csv",
                        "--long",
                        "l.csv",
                    )
                )
                self.assertEqual(done.returncode, 0, done.stderr)
                texts = self.results("r.csv", "l.csv")
                seen.add(tuple("".join(sorted(text.splitlines())) for text in texts))
                self.random.shuffle(rows)
            self.assertEqual(len(seen), 1, (model, solver))
            self.assertIn("Optimal" if model == TRANSPORT else "Integer solution", texts[0])
            self.assertIn("nfeasible", texts[0])

    def test_results_cut_anywhere_are_completed(self) -> None:
        lines = self.scenarios(TRANSPORT, 20)
        self.run_tool(self.command(lines, "-o", "r.csv", "--long", "l.csv"))
        rows, records = self.results("r.csv", "l.csv")
        for _ in range(25):
            cut = self.random.randrange(len(rows))
            (self.folder / "r.csv").write_text(rows[:cut])
            # A scenario's records are written before its row, perhaps not all of them.
            done = rows[:cut].count("\n") - 1
            ends = [i + 1 for i, c in enumerate(records) if c == "\n"]
            whole = [end for end in ends if self.scenario_before(records, end) < done]
            least = max(whole, default=0)
            (self.folder / "l.csv").write_text(records[: self.random.randint(least, len(records))])
            again = self.run_tool(self.command(lines, "--resume", "r.csv", "--long", "l.csv"))
            self.assertEqual(again.returncode, 0, again.stderr)
            self.assertEqual(self.results("r.csv", "l.csv"), [rows, records], cut)

    @staticmethod
    def scenario_before(records: str, end: int) -> int:
        line = records[:end].splitlines()[-1]
        return int(line[2 : line.index(",")]) if line.startswith('"s') else -1

    def test_words_of_a_picture_meet_nowhere(self) -> None:
        (self.folder / "one.mod").write_text("var x; minimize z: x; s.t. d: x >= 10; end;")
        for objectives in (
            ["10"],
            ["10", "10", "10"],
            ["10", "9.99", "5"],
            ["1e9", "3e9", "2.5e9"],
            ["-1000000", "-1000001", "-1000002.5"],
            ["10", "11", "50", "12"],
            ["0", "1e-7", "123456.789"],
            [str(self.random.gauss(1e5, 10)) for _ in range(300)],
        ):
            names = [f"<{i}> & `touch x` 'no' \\n {{/*2 w}}" for i in range(len(objectives))]
            rows = [f"{name},{v}\n" for name, v in zip(names, objectives)]
            least = min(zip(map(float, objectives), names), key=lambda each: each[0])[1]
            (self.folder / "s.csv").write_text("s,d.rhs\n" + "".join(rows))
            words = ["sweep", "one.mod", "--scenarios", "s.csv", "--plot", "p.svg", "--force"]
            self.assertEqual(self.run_tool([TOOL, *words]).returncode, 0)
            picture = ElementTree.parse(self.folder / "p.svg").getroot()
            boxes = [
                box_of(group)
                for group in picture.iter("{http://www.w3.org/2000/svg}g")
                if "text-anchor" in group.attrib and "rotate" not in group.get("transform", "")
            ]
            named = [words for *_, words in boxes if words.startswith("least")]
            self.assertEqual([words.split(": ")[1][:22] for words in named], [least[:22]])
            self.assertIn(named[0], picture.findtext("{http://www.w3.org/2000/svg}desc", ""))
            for i, (x, y, right, bottom, text) in enumerate(boxes):
                self.assertTrue(0 <= x and right <= 900 and 0 <= y and bottom <= 720, text)
                for other in boxes[:i]:
                    is_apart = (
                        x >= other[2] or right <= other[0] or y >= other[3] or bottom <= other[1]
                    )
                    self.assertTrue(is_apart, (objectives[:5], text, other[4]))

        self.assertFalse((self.folder / "x").exists())

    def test_killed_sweeps_go_on(self) -> None:
        lines = self.scenarios(TRANSPORT, 2000)
        self.run_tool(self.command(lines, "-o", "r.zxf"))
        self.run_tool(self.command(lines, "-o", "r.csv", "--long", "l.csv"))
        whole = self.results("r.csv", "l.csv")
        kills = 0
        for target, extra in (("k.csv", ["--long", "kl.csv"]), ("k.zxf", [])):
            rows = self.folder / (target if extra else target + ".rows.csv")
            for how in (signal.SIGKILL, signal.SIGINT, signal.SIGKILL, signal.SIGTERM, None):
                if (self.folder / target).exists() and not rows.exists():
                    break  # faster than the signals
                until = size_of(rows) + self.random.randrange(1, len(whole[0]) // 6)
                process = subprocess.Popen(
                    self.command(lines, "--resume", target, *extra),
                    cwd=self.folder,
                    stderr=subprocess.DEVNULL,
                )
                while how and process.poll() is None:
                    if size_of(rows) >= until:
                        process.send_signal(how)
                        break
                code = process.wait()
                expected = {None: 0, signal.SIGINT: 130}.get(how, -(how or 0))
                kills += code != 0
                self.assertIn(code, (0, expected), target)
        self.assertGreater(kills, 0)
        self.assertEqual(self.results("k.csv", "kl.csv"), whole)
        self.assertEqual((self.folder / "k.zxf").read_bytes(), (self.folder / "r.zxf").read_bytes())
        self.assertEqual(list(self.folder.glob("k.zxf.*")), [])


unittest.main()

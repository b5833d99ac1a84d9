"""Compares what the tool says of itself with its table of verbs, and tries it on a terminal."""

import base64
import contextlib
import hashlib
import json
import os
import pty
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from typing import Any

TOOL, SAMPLE = sys.argv.pop(1), sys.argv.pop(1)
# Sanitizers take more memory than there is.
IS_SANITIZED = (
    b"__asan_init" in Path(TOOL).read_bytes() or b"__tsan_init" in Path(TOOL).read_bytes()
)
MEMORY_LIMIT = [] if IS_SANITIZED else ["--memory-limit", "1000"]
CITIES = ["*", "Bonn", "Köln", '"Ulm, Donau"']


def run(*words: str, code: int = 0) -> str:
    done = subprocess.run(
        [TOOL, *words], stdout=subprocess.PIPE, text=True, errors="surrogateescape"
    )
    assert done.returncode == code, words
    return done.stdout


def on_terminal(
    words: list[str], until: str = "", shows_output: bool = False, **environment: str
) -> tuple[int, str, str]:
    """Exit code, output and errors, of which the latter go to a terminal; Ctrl-C after a text.

    The terminal may also show the output, with the errors.
    """
    ours, theirs = pty.openpty()
    environment = {"TERM": "xterm", "COLUMNS": "60"} | environment
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen(
            [TOOL, *words],
            stdout=theirs if shows_output else output,
            stderr=theirs,
            env=environment,
        )
        os.close(theirs)
        errors = ""
        try:
            while piece := os.read(ours, 4096).decode():
                errors += piece
                if until and until in errors:
                    process.send_signal(signal.SIGINT)
                    until = ""
        except OSError:  # the end of a terminal
            pass
        os.close(ours)
        code = process.wait()
        output.seek(0)
        return code, output.read().decode(), errors


class Table(unittest.TestCase):
    def test_help_man_and_completion_say_what_the_table_says(self) -> None:
        table = json.loads(run("--describe"))
        self.assertIn("dump", [verb["name"] for verb in table["verbs"]])
        for verb in table["verbs"]:
            name = verb["name"]
            pages = [run(name, "--help", "--color=never"), run("man", name).replace("\\-", "-")]
            spellings = ["--" + "no-" * each["negated"] + each["name"] for each in verb["options"]]
            offered = [line.split("\t")[0] for line in run("--complete", name, "-").splitlines()]
            common = ["--" + each["name"] for each in table["options"]]
            self.assertEqual(offered, spellings + common)
            self.assertEqual(len(set(offered)), len(offered))
            words = spellings + [each["name"] for each in verb["operands"]]
            for page in pages:
                self.assertEqual([word for word in words if word not in page], [])
            for option in verb["options"]:
                self.assertEqual(option.get("kind") == "choice", "choices" in option)
            self.assertTrue(verb["examples"])
            for example in verb["examples"]:
                if example["command"].startswith("zdbcc "):
                    command = example["command"].split(" | ")[0].split(" > ")[0]
                    run(*shlex.split(command)[1:], "--help")

    def test_completion_knows_choices_files_symbols_and_labels(self) -> None:
        for words, expected in {
            "in": ["info"],
            "--color|a": ["auto", "always"],
            "dump|x|--specials=e": ["--specials=empty"],
            "dump|": [":files"],
            "man|--to|": [":folders"],
            f"dump|{SAMPLE}|DIST": ["distance"],
            f"dump|{SAMPLE}|'road(": ["road(*,", "road(Bonn,", "road(Köln,", 'road("Ulm, Donau",'],
            f"dump|{SAMPLE}|'distance(K": [f"distance(Köln,{label})" for label in CITIES],
            f"dump|{SAMPLE}|road[Bonn,k": ["road[Bonn,Köln]"],
            f"dump|{SAMPLE}|distance('Ulm, Donau',u": ["distance('Ulm, Donau',\"Ulm, Donau\")"],
            "dump|/none|x": [],
            "solve|x|--solver|g": ["glpk"],
            "sweep|x|--solver=cb": ["--solver=cbc"],
        }.items():
            answer = run("--complete", *words.split("|"))
            self.assertEqual([line.split("\t")[0] for line in answer.splitlines()], expected)

    def test_json_is_valid_whatever_the_bytes(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            name = os.fsencode(folder) + b"/\xff\xc3\x28\xed\xa0\x80\x01"
            os.symlink(os.path.abspath(SAMPLE), name)
            answer = run("info", "--json", os.fsdecode(name))
        self.assertTrue(json.loads(answer)["file"].endswith("\ufffd\ufffd(\ufffd\ufffd\ufffd\x01"))


def view(*words: str) -> tuple[str, dict[str, Any]]:
    """A page and the data in it."""
    page = run("view", *words, "-o", "-")
    found = re.search(r'<script type="application/json" id="data">(.*?)</script>', page, re.S)
    assert found
    return page, json.loads(found[1])


class View(unittest.TestCase):
    def test_page_has_the_records_that_dump_writes(self) -> None:
        symbols = view(SAMPLE)[1]
        dumped = json.loads(run("dump", SAMPLE, "--json"))
        self.assertEqual([symbol["id"] for symbol in symbols["symbols"]], list(dumped))
        labels = symbols["dictionary"]
        for symbol in symbols["symbols"]:
            records = dumped[symbol["id"]]
            if "aliasOf" in symbol:
                self.assertEqual(records, {"aliasOf": symbol["aliasOf"]})
                continue
            columns = [[labels[place] for place in column] for column in symbol["keys"]]
            rows = [list(row) for row in zip(*columns, *symbol["values"])]
            self.assertEqual(rows, [list(record.values()) for record in records])
            self.assertEqual([symbol["shown"], symbol["isCut"]], [len(records), False])
            self.assertTrue(all(symbol["columns"] == list(record) for record in records))

    def test_page_allows_its_own_script_and_style_and_texts_end_neither(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            file, table = f"{folder}/<b>&.zxf", f"{folder}/t.csv"
            evil = ["</script><b>", "<!--<script>", "]]>", "\\u003c"]
            Path(table).write_text("a,v\n" + "".join(f"{each},1\n" for each in evil))
            run("import", file, f"t={table}:a->v")
            page, data = view(file)
        self.assertEqual(data["dictionary"], evil)
        self.assertEqual(page.count("<b>"), 0)
        for part in ("script", "style"):
            blocks = re.findall(rf"<{part}>(.*?)</{part}>", page, re.S)
            self.assertEqual(len(blocks), 1)
            digest = base64.b64encode(hashlib.sha256(blocks[0].encode()).digest()).decode()
            self.assertIn(f"{part}-src 'sha256-{digest}'", page)

    def test_page_of_many_records_stays_small(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            labels = "a,b,c,d,e,f,g,h,i"
            rows = "".join(f"x{i}{',y' * 8},{i % 7}\n" for i in range(110_000))
            Path(folder, "t.csv").write_text(f"{labels},v\n{rows}")
            file = f"{folder}/t.zxf"
            run("import", file, *(f"{name}={folder}/t.csv:{labels}->v" for name in "tu"))
            part = "u(x3" + ",*" * 8 + ")"
            for words, shown in (  # two million fields are 200,000 records
                ([], [5000, 5000]),
                (["--rows", "3"], [3, 3]),
                (["--rows", "900000"], [100_000, 100_000]),
                (["t", "--rows", "900000"], [110_000]),
                ([part, "t", "--rows", "900000"], [1, 100_000]),
            ):
                page, data = view(file, *words)
                self.assertEqual([symbol["shown"] for symbol in data["symbols"]], shown)
                cut = [symbol["records"] > symbol["shown"] for symbol in data["symbols"]]
                cut[0] = cut[0] and part not in words
                self.assertEqual([symbol["isCut"] for symbol in data["symbols"]], cut)
                self.assertLess(len(page), 20_000_000)


class Terminal(unittest.TestCase):
    def test_colours_follow_terminal_option_and_environment(self) -> None:
        for words, environment, has_colours in (
            ([], {}, True),
            ([], {"NO_COLOR": "1"}, False),
            ([], {"TERM": "dumb"}, False),
            (["--color=never"], {}, False),
            (["--color=always"], {"NO_COLOR": "1"}, True),
        ):
            code, _, errors = on_terminal(["info", "/none", *words], **environment)
            self.assertEqual((code, "\033[" in errors), (1, has_colours), (words, environment))

    def test_tables_are_as_narrow_as_the_terminal_while_texts_can_be_cut(self) -> None:
        whole = run("info", SAMPLE, "--color=never").splitlines()
        for columns, widest in (("200", 98), ("98", 98), ("75", 75), ("40", 73)):
            info = ["info", SAMPLE, "--color=never"]
            _, _, shown = on_terminal(info, shows_output=True, COLUMNS=columns)
            lines = shown.replace("\r", "").splitlines()
            self.assertEqual(len(lines), len(whole))
            table = lines[2:15]
            self.assertEqual(max(map(len, table)), widest, columns)
            for line, full in zip(table, whole[2:15]):
                numbers = [word for word in full.split()[:-2] if word.replace(".", "").isdigit()]
                self.assertEqual([word for word in numbers if word not in line], [])
        self.assertIn("'Level'…", table[-2])
        self.assertTrue(table[-2].endswith("tab?her…"))

    def test_ctrl_c_after_a_second_shows_a_bar_and_keeps_whole_rows(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "m.mod").write_text("var p_var, = 1; minimize z: p_var;")
            rows = "".join(f"{i},1\n" for i in range(1_000_000))
            Path(folder, "s.csv").write_text("name,p\n" + rows)
            sweep = ["sweep", f"{folder}/m.mod", "--scenarios", f"{folder}/s.csv"]
            code, output, errors = on_terminal(sweep, until=" left")
        self.assertRegex(errors, r"\[#* *\] +\d+ %, [\d.]+[kM]? scenarios/s, .* left\x1b\[K")
        self.assertEqual((code, errors.count("interrupted")), (130, 1))
        self.assertRegex(output, r"\n\d+,Optimal,1,0\n$")


# It has solutions at once and keeps every solver busy for longer than anybody waits.
HARD = """var x{1..50}, binary; var over{1..6}, >= 0; var under{1..6}, >= 0;
minimize off: sum{i in 1..6} (over[i] + under[i]);
s.t. row{i in 1..6}: over[i] - under[i] + 12345 + i =
  sum{j in 1..50} ((i * 7919 + j * 104729 + i * j * j * 31) mod 1000) * x[j];
end;"""


class Interruption(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.model, self.table = Path(folder.name, "hard.mod"), Path(folder.name, "out.csv")
        self.model.write_text(HARD)

    def start(self, *options: str, solver: str = "glpk", **streams: Any) -> subprocess.Popen[str]:
        words = ["solve", str(self.model), "--solver", solver, "--log", *options]
        return subprocess.Popen([TOOL, *words], text=True, **streams)

    def interrupt_when(self, found: str, words: list[str], solver: str) -> dict[str, Any]:
        """What a solve says after Ctrl-C, which comes once its log has `found`."""
        process = self.start(*words, solver=solver, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        assert process.stderr is not None
        while found not in process.stderr.readline():
            self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        output, errors = process.communicate()
        report: dict[str, Any] = json.loads(output)
        self.assertEqual((process.returncode, report["solve"]), (130, "Interrupted"))
        self.assertTrue(errors.endswith("zdbcc: interrupted\n"), errors)
        return report

    def test_first_ctrl_c_keeps_the_best_solution(self) -> None:
        for solver, found, options in (  # and what it says when it has a solution
            ("glpk", ">>>>>", []),
            ("glpk", ">>>>>", MEMORY_LIMIT),
            ("cbc", "Solution found of", []),
        ):
            words = ["-o", str(self.table), "--json", *options]
            # cbc speaks of a solution before it keeps it: rarely, the stop comes in between.
            for _ in range(5):
                report = self.interrupt_when(found, words, solver)
                if "objective" in report:
                    break
            self.assertGreater(report["objective"], report["bound"])
            rows = [line.split(",") for line in self.table.read_text().splitlines()]
            self.assertEqual([float(r[2]) for r in rows if r[0] == "off"], [report["objective"]])
            self.table.unlink()

    def test_second_ctrl_c_ends_at_once_and_writes_nothing(self) -> None:
        ours, theirs = os.pipe()
        os.set_blocking(theirs, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(theirs, b"-" * 512)
        os.set_blocking(theirs, True)  # and full: the first line of the log waits for ever
        process = self.start("-o", str(self.table), stderr=theirs)
        for handles in (True, False):
            while self.handles_ctrl_c(process.pid) != handles:
                time.sleep(0.01)
            process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(), -signal.SIGINT)
        self.assertFalse(self.table.exists())
        os.close(ours)
        os.close(theirs)

    @unittest.skipIf(IS_SANITIZED, "there is no memory limit")
    def test_process_with_memory_limit_leaves_none_behind(self) -> None:
        for how in (signal.SIGTERM, signal.SIGKILL):
            process = self.start(*MEMORY_LIMIT, "-o", str(self.table), stderr=subprocess.PIPE)
            assert process.stderr is not None
            process.stderr.readline()  # from the one that solves
            children = Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
            self.assertEqual(len(children), 1)
            process.send_signal(how)
            self.assertEqual(process.wait(), -how)
            process.stderr.read()  # up to the end, which the other process would put off
            process.stderr.close()
            self.assertFalse(self.table.exists())

    def test_limits_end_a_search_with_what_it_has(self) -> None:
        for options, code, end in (
            (["--gap", "1"], 0, "Normal completion"),
            (["--time-limit", "0.5"], 1, "Time limit"),
        ):
            process = self.start("--json", *options, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            output, errors = process.communicate()
            report = json.loads(output)
            self.assertEqual((process.returncode, report["solve"]), (code, end), errors)
            self.assertEqual("(Time limit)" in errors, code == 1)
            self.assertLessEqual(report["gap"], 1)

    @staticmethod
    def handles_ctrl_c(process: int) -> bool:
        status = Path(f"/proc/{process}/status").read_text()
        mask = next(line for line in status.splitlines() if line.startswith("SigCgt"))
        return bool(int(mask.split()[1], 16) >> (signal.SIGINT - 1) & 1)


unittest.main()

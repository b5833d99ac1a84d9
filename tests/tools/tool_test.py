"""Compares what the tool says of itself with its table of verbs, and tries it on a terminal."""

import json
import os
import pty
import shlex
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL, SAMPLE = sys.argv.pop(1), sys.argv.pop(1)
CITIES = ["*", "Bonn", "Köln", '"Ulm, Donau"']


def run(*words: str, code: int = 0) -> str:
    done = subprocess.run([TOOL, *words], stdout=subprocess.PIPE, text=True, errors="surrogateescape")
    assert done.returncode == code, words
    return done.stdout


def on_terminal(words: list[str], until: str = "", **environment: str) -> tuple[int, str, str]:
    """Exit code, output and errors, of which the latter go to a terminal; Ctrl-C after a text."""
    ours, theirs = pty.openpty()
    environment = {"TERM": "xterm", "COLUMNS": "60"} | environment
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen([TOOL, *words], stdout=output, stderr=theirs, env=environment)
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


unittest.main()

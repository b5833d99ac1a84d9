"""Runs the command lines that a document shows: documents_test.py BUILD SOURCE DOCUMENT

They run in a folder of their own, with the programs of the build in the path, and with the files of
examples/models and examples/tables and what `make demo` writes at hand; a script named as the
document, such as doc_tool.sh, makes others. A block of code that is indented or fenced has

- lines that begin with `$ `, whose output must be what stands below them, a line `...` standing for
  any lines; below sqlite3, lines that begin with `sqlite> ` are what it is told;
- or lines that begin with the name of a program of ours, which must succeed;
- or Python, if it is fenced and says so, which must succeed;
- or anything else: data, other languages.

A line that cannot be run everywhere ends with `# not run: ` and a reason. Lines under the heading
"Usage" say how commands are written. What needs a program that is not installed is left out.
"""

from __future__ import annotations

import importlib.util
import os
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

OURS = ("zdbcc ", "build/bin/")
NOT_RUN = re.compile(r"\s+# not run: \S")
ANSWERS = re.compile(r"^\S*zdbcc (diff|check) ")  # 1 is an answer


@dataclass
class Step:
    line: int
    command: str
    told: list[str] = field(default_factory=list)
    expected: list[str] | None = None  # None: only success counts


@dataclass
class Block:
    line: int  # of its first line, from 1
    language: str
    lines: list[str]


def blocks_of(text: str) -> Iterator[Block]:
    """The blocks of code, but for those that say how commands are written."""
    block: Block | None = None
    fence = False
    heading = ""
    count = text.count("\n") + 1
    for number, line in enumerate(text.split("\n"), start=1):
        if line.startswith("```"):
            if block is not None:
                yield block
            fence = not fence
            block = Block(number + 1, line[3:].strip(), []) if fence else None
        elif fence and block is not None:
            block.lines.append(line)
        elif line.startswith("    ") and heading != "Usage":
            block = block or Block(number, "", [])
            block.lines.append(line[4:])
        elif not line and block is not None and number < count:  # may go on after an empty line
            block.lines.append("")
        else:
            if block is not None:
                yield block
            block = None
            heading = line.lstrip("# ") if line.startswith("#") else heading


def steps_of(block: Block) -> Iterator[Step]:
    if block.language == "python":
        yield Step(block.line, f"{sys.executable} -", block.lines)
        return
    while block.lines and not block.lines[-1]:
        block.lines.pop()
    step: Step | None = None
    for number, line in enumerate(block.lines, start=block.line):
        if line.startswith("$ "):
            if step is not None:
                yield step
            step = Step(number, line[2:], expected=[])
        elif step is not None and step.expected is not None:
            is_told = line.startswith("sqlite> ")
            (step.told if is_told else step.expected).append(line.removeprefix("sqlite> "))
        elif line.startswith(OURS):
            yield Step(number, line)
    if step is not None:
        yield step


def missing(step: Step) -> str:
    """A program or library of others that is needed and not there; nothing if all are."""
    for part in re.split(r"[|;&]+ ?", re.sub(r"'[^']*'|\"[^\"]*\"", "''", step.command)):
        word = part.strip().split(" ")[0]
        if word and not word.startswith("build/") and shutil.which(word) is None:
            return word
    needs_library = "./libduckdb.so" in step.command and not Path("libduckdb.so").exists()
    if needs_library:
        return "libduckdb.so"
    is_python = step.command.startswith(sys.executable)
    if is_python and "import zdbcc" in step.told and importlib.util.find_spec("zdbcc") is None:
        return "the package zdbcc"
    can_load = hasattr(sqlite3.Connection, "enable_load_extension")
    is_loading = is_python and "load_extension" in "".join(step.told)
    return "a Python that loads extensions of SQLite" if is_loading and not can_load else ""


def run(step: Step) -> str:
    """What is wrong with a step; nothing if it does what the document says."""
    done = subprocess.run(
        ["bash", "-o", "pipefail", "-c", step.command],
        input="\n".join(step.told),
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        timeout=120,
    )
    if step.expected is None:
        good = done.returncode == 0 or (done.returncode == 1 and ANSWERS.match(step.command))
        return "" if good else f"exit code {done.returncode}\n{done.stdout}"
    return "" if is_like(done.stdout, step.expected) else f"prints:\n{done.stdout}"


def is_like(printed: str, expected: list[str]) -> bool:
    """Whether a text is what a document shows, but for blanks at the ends of lines."""
    pattern = "".join(
        r"(?:.*\n)*" if line == "..." else re.escape(line.rstrip()) + r"[ ]*\n" for line in expected
    )
    return re.fullmatch(pattern, printed.rstrip("\n") + "\n" if printed else "") is not None


def prepare(build: Path, source: Path) -> None:
    """Fills the current folder."""
    for folder in ("models", "tables"):
        for file in (source / "examples" / folder).iterdir():
            shutil.copy(file, ".")
    shutil.copytree(source / "examples", "examples")
    Path("build/demo").mkdir(parents=True)
    for folder in ("bin", "lib"):
        Path("build", folder).symlink_to(build / folder)
    demo = ["build/bin/diet_demo", "examples/diet/data", "build/demo"]
    subprocess.run(demo, check=True, stdout=subprocess.DEVNULL)
    duckdb = build / "peers/duckdb/libduckdb.so"
    if duckdb.exists():
        Path("libduckdb.so").symlink_to(duckdb)


def main() -> int:
    build, source, document = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        os.environ["PATH"] = f"{folder}/build/bin:{os.environ['PATH']}"
        os.environ.update(HOME=folder, MANPAGER="cat", COLUMNS="100")
        prepare(build, source)
        own = source / "tests/readme" / (document.replace("/", "_").removesuffix(".md") + ".sh")
        setup = ["bash", "-eu", str(own)] if own.exists() else ["true"]
        subprocess.run(setup, check=True)
        steps = [s for b in blocks_of((source / document).read_text()) for s in steps_of(b)]
        failed = 0
        for step in steps:
            reason = "as it says" if NOT_RUN.search(step.command) else missing(step)
            if reason:
                print(f"{document}:{step.line}: not run ({reason}): {step.command}")
                continue
            subprocess.run([*setup, step.command], check=True)
            wrong = run(step)
            if wrong:
                failed += 1
                print(f"{document}:{step.line}: {step.command}\n{wrong}\n")
        print(f"{document}: {len(steps)} command lines, {failed} fail")
        os.chdir("/")
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

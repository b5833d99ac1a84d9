"""Runs what a document shows: documents_test.py BUILD SOURCE DOCUMENT

The blocks run in a folder of their own, with the programs of the build in the path, and with the
files of examples/models and examples/tables and what `make demo` writes at hand; a script named as
the document, such as doc_reference_tool.sh, makes others. A block of code that is indented or
fenced has

- lines that begin with `$ `, whose output must be what stands below them, a line `...` standing for
  any lines; below sqlite3, lines that begin with `sqlite> ` are what it is told;
- or lines that begin with the name of a program of ours, which must succeed;
- or Python, if it is fenced and says so: the blocks of a page are one session;
- or a program in C or C++, likewise, which is compiled with warnings as errors and run;
- or a file of examples/, which a directive includes: the build has made a program of it, which the
  page or another test runs.

A fenced block of `text` below Python or C is what that must print. Any other block must be listed
in not_run.tsv, with the reason why it is not run; an entry of that list without a block fails, too.

A line that cannot be run everywhere ends with `# not run: ` and a reason. Lines under the heading
"Usage" say how commands are written. What needs a program that is not installed is left out.
"""

from __future__ import annotations

import contextlib
import importlib.util
import io
import os
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import traceback
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

OURS = ("zdbcc ", "build/bin/")
NOT_RUN = re.compile(r"\s+# not run: \S")
ANSWERS = re.compile(r"^\S*zdbcc (diff|check) ")  # 1 is an answer
PROSE = re.compile(r"^\{(toctree|doxygen\w+|eval-rst|figure|image|include|note|warning)\}")
COMPILERS = {"c": "cc -std=c99", "cpp": "c++ -std=c++20"}
PACKAGES = ("zdbcc", "pandas", "xarray", "pyarrow", "scipy", "matplotlib")


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
    printed: list[str] | None = None  # what a program must print

    @property
    def name(self) -> str:
        """How not_run.tsv names it."""
        first = next((line for line in self.lines if line.strip()), "")
        return f"{self.language}: {first}" if self.language else first


def blocks_of(text: str) -> Iterator[Block]:
    """The blocks of code, but for those that say how commands are written."""
    block: Block | None = None
    fence = ""
    heading = ""
    count = text.count("\n") + 1
    for number, line in enumerate(text.split("\n"), start=1):
        is_fence = re.match(r"(`{3,}|:{3,})(.*)", line)
        if is_fence and (not fence or is_fence[1] == fence):
            if block is not None:
                yield block
            block = None if fence else Block(number + 1, is_fence[2].strip(), [])
            fence = "" if fence else is_fence[1]
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


def paired(blocks: Iterator[Block]) -> list[Block]:
    """Blocks of text below a program become what that prints."""
    result: list[Block] = []
    for block in blocks:
        if PROSE.match(block.language) or not any(line.strip() for line in block.lines):
            if not block.language.startswith("{literalinclude}"):
                continue
        program = result[-1] if result else None
        if block.language == "text" and program is not None and program.printed is None:
            if program.language in ("python", "c", "cpp") or program.language.startswith(
                "{literal"
            ):
                program.printed = block.lines
                continue
        result.append(block)
    return result


def steps_of(block: Block) -> Iterator[Step]:
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
    plain = re.sub(r"'[^']*'|\"[^\"]*\"", "''", re.sub(r"\d?>&\d", "", step.command))
    for part in re.split(r"[|;&]+ ?", plain):
        word = part.strip().split(" ")[0]
        if word and not word.startswith("build/") and shutil.which(word) is None:
            return word
    needs_library = "./libduckdb.so" in step.command and not Path("libduckdb.so").exists()
    return "libduckdb.so" if needs_library else ""


def missing_package(block: Block) -> str:
    """A package of Python, or an ability, that a block needs and this interpreter lacks."""
    code = "\n".join(block.lines)
    can_load = hasattr(sqlite3.Connection, "enable_load_extension")
    if "load_extension" in code and not can_load:
        return "a Python that loads extensions of SQLite"
    for package in PACKAGES:
        if re.search(rf"^(import|from) {package}\b", code, re.M):
            if importlib.util.find_spec(package) is None:
                return package
    return ""


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


class Document:
    """A document whose blocks are run, one after the other."""

    def __init__(self, source: Path, document: str) -> None:
        self.source = source
        self.document = document
        self.session: dict[str, object] = {"__name__": "__main__"}
        self.lacks = ""  # what the session of Python needs and does not find
        self.failed = 0
        self.count = 0
        own = source / "tests/readme" / (document.replace("/", "_").removesuffix(".md") + ".sh")
        self.setup = ["bash", "-eu", str(own)] if own.exists() else ["true"]
        subprocess.run(self.setup, check=True)
        table = (source / "tests/readme/not_run.tsv").read_text(encoding="utf-8").split("\n")
        rows = [line.split("\t") for line in table if line and line[0] != "#"]
        self.listed = [row[1] for row in rows if row[0] == document and row[2]]

    def fail(self, line: int, what: str, why: str) -> None:
        self.failed += 1
        print(f"{self.document}:{line}: {what}\n{why}\n")

    def leave(self, line: int, reason: str, what: str) -> None:
        print(f"{self.document}:{line}: not run ({reason}): {what}")

    def run_block(self, block: Block) -> None:
        if block.name in self.listed:
            self.listed.remove(block.name)
        elif block.language == "python":
            self.run_python(block)
        elif block.language in COMPILERS:
            self.run_c(block)
        elif block.language.startswith("{literalinclude}"):
            self.run_file(block)
        else:
            self.run_commands(block)

    def run_commands(self, block: Block) -> None:
        steps = list(steps_of(block))
        if not steps:
            self.fail(block.line, block.name, "is neither run nor listed in not_run.tsv")
        for step in steps:
            self.count += 1
            reason = "as it says" if NOT_RUN.search(step.command) else missing(step) or self.lacks
            if reason:
                self.leave(step.line, reason, step.command)
                continue
            subprocess.run([*self.setup, step.command], check=True)
            wrong = run(step)
            if wrong:
                self.fail(step.line, step.command, wrong)

    def run_python(self, block: Block) -> None:
        self.count += 1
        self.lacks = self.lacks or missing_package(block)
        if self.lacks:
            self.leave(block.line, self.lacks, block.name)
            return
        code = "\n" * (block.line - 1) + "\n".join(block.lines)
        wrong = ""
        with contextlib.redirect_stdout(io.StringIO()) as out:
            try:
                exec(compile(code, self.document, "exec"), self.session)
            except Exception:
                wrong = traceback.format_exc(limit=-1)
        if wrong:
            self.fail(block.line, block.name, wrong)
        else:
            self.compare(block, out.getvalue())

    def run_c(self, block: Block) -> None:
        self.count += 1
        file = Path(f"block.{block.language}")
        file.write_text("\n".join(block.lines) + "\n", encoding="utf-8")
        flags = f"-Wall -Wextra -Werror {os.environ.get('DOCUMENT_FLAGS', '')}"
        words = f"{COMPILERS[block.language]} {flags} {file} -o block -Lbuild/lib -lzdbcclib"
        done = subprocess.run(
            [
                *words.split(),
                f"-I{self.source}/include",
                f"-Wl,-rpath,{Path('build/lib').resolve()}",
            ],
            stderr=subprocess.STDOUT,
            stdout=subprocess.PIPE,
            text=True,
        )
        if done.returncode != 0:
            self.fail(block.line, block.name, done.stdout)
            return
        ran = subprocess.run(["./block"], stdout=subprocess.PIPE, text=True, timeout=60)
        if ran.returncode != 0:
            self.fail(block.line, block.name, f"exit code {ran.returncode}\n{ran.stdout}")
        self.compare(block, ran.stdout)

    def run_file(self, block: Block) -> None:
        """A file that the page includes: there, and a program of the build if it is one."""
        self.count += 1
        name = block.language.partition(" ")[2].strip()
        file = (self.source / self.document).parent / name
        if not file.exists() or "/examples/" not in str(file.resolve()):
            self.fail(block.line, name, "there is no such file in examples/")
        elif file.suffix in (".c", ".cpp") and not Path("build/bin", file.stem).exists():
            self.fail(block.line, name, "the build makes no program of it")
        if block.printed is not None:
            args = [f"build/bin/{file.stem}"]
            ran = subprocess.run(args, stdout=subprocess.PIPE, text=True, timeout=60)
            self.compare(block, ran.stdout)

    def compare(self, block: Block, printed: str) -> None:
        if block.printed is not None and not is_like(printed, block.printed):
            self.fail(block.line, block.name, f"prints:\n{printed}")

    def finish(self) -> int:
        for name in self.listed:
            self.fail(0, name, "is listed in not_run.tsv, but there is no such block")
        print(f"{self.document}: {self.count} command lines and programs, {self.failed} fail")
        return 1 if self.failed else 0


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
    build, source, name = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        os.environ["PATH"] = f"{folder}/build/bin:{os.environ['PATH']}"
        os.environ.update(HOME=folder, MANPAGER="cat", COLUMNS="100")
        prepare(build, source)
        document = Document(source, name)
        for block in paired(blocks_of((source / name).read_text(encoding="utf-8"))):
            document.run_block(block)
        os.chdir("/")
        return document.finish()


if __name__ == "__main__":
    sys.exit(main())

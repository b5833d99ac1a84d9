"""What tests of sweeps with several workers share: a model with scenarios, and its processes."""

import os
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

# At its end, the address sanitizer looks for leaks with a process of its own, and waits for ever if
# that is killed like a worker.
os.environ["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"

SCENARIOS = 120

# Some milliseconds a scenario.
MODEL = """set I := 1..150; set J := 1..60;
var x{i in I, j in J} >= 0; var need_var{j in J}, = 10 + (j * 31 mod 17);
minimize cost: sum{i in I, j in J} (((i * 7919 + j * 104729) mod 997) / 10 + 1) * x[i,j];
s.t. capacity{i in I}: sum{j in J} x[i,j] <= 9;
s.t. demand{j in J}: sum{i in I} x[i,j] - need_var[j] >= 0;
end;
"""


def name(scenario: int) -> str:
    """Long, so that the results are longer than what a pipe and its reader hold: whoever has read
    the first ones knows that the sweep is not yet over."""
    return f"s{scenario}-" + "x" * 120


def children(process: int) -> list[int]:
    try:
        return [
            int(each)
            for each in Path(f"/proc/{process}/task/{process}/children").read_text().split()
        ]
    except FileNotFoundError:
        return []


def is_alive(process: int) -> bool:
    return Path(f"/proc/{process}").exists()


def is_busy(process: int) -> bool:
    """Whether it runs at one of several looks, and so does not wait for work."""
    for _ in range(20):
        if Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0] != "S":
            return True
        time.sleep(0.005)
    return False


def problems(errors: str) -> str:
    """Without the note of what is changed."""
    return "".join(line for line in errors.splitlines(True) if " change" not in line)


def finish(process: subprocess.Popen[str]) -> tuple[int, str, str]:
    """Exit code, and the rest of output and errors: communicate() would lose what readline() has
    read ahead."""
    assert process.stdout and process.stderr
    with process:
        output = process.stdout.read()
        errors = process.stderr.read()
    return process.returncode, output, errors


class SweepFolder(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path("plan.mod").write_text(MODEL)
        self.write_scenarios(SCENARIOS)
        self.arguments = [
            "sweep",
            str(self.path("plan.mod")),
            "--scenarios",
            str(self.path("needs.csv")),
        ]

    def write_scenarios(self, count: int) -> None:
        rows = (
            f"{name(i)}," + ",".join(str(1 + (i * 37 + j * 11) % 19) for j in range(1, 61))
            for i in range(count)
        )
        heading = "name," + ",".join(f"need[{j}]" for j in range(1, 61))
        self.path("needs.csv").write_text("\n".join([heading, *rows]) + "\n")

    def path(self, file: str) -> Path:
        return Path(self.folder.name, file)

    def whole(self, tool: str) -> str:
        """The results of one process."""
        command = [tool, *self.arguments]
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout

    def wait_until_gone(self, processes: set[int]) -> None:
        while any(is_alive(each) for each in processes):
            time.sleep(0.01)  # for ever: the test has a time limit

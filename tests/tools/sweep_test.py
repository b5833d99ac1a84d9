"""Sweeps with several workers, which are killed: no row is lost, doubled or cut."""

import contextlib
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from collections.abc import Callable
from pathlib import Path

TOOL = sys.argv.pop(1)
SCENARIOS = 120

# Some milliseconds a scenario.
MODEL = """set I := 1..30; set J := 1..60;
var x{I, J} >= 0; var need_var{j in J}, = 10 + (j * 31 mod 17);
minimize cost: sum{i in I, j in J} (((i * 7919 + j * 104729) mod 997) / 10 + 1) * x[i,j];
s.t. capacity{i in I}: sum{j in J} x[i,j] <= 45;
s.t. demand{j in J}: sum{i in I} x[i,j] - need_var[j] >= 0;
end;
"""


def name(scenario: int) -> str:
    """Long, so that the results are longer than what a pipe and its reader hold: whoever has read
    the first ones knows that the sweep is not yet over."""
    return f"s{scenario}-" + "x" * 120


def children(process: int) -> list[int]:
    try:
        return [int(each) for each in Path(f"/proc/{process}/task/{process}/children").read_text().split()]
    except FileNotFoundError:
        return []


class Sweep(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.model = self.path("plan.mod")
        self.model.write_text(MODEL)
        self.scenarios = self.path("needs.csv")
        rows = (
            f"{name(i)}," + ",".join(str(1 + (i * 37 + j * 11) % 19) for j in range(1, 61))
            for i in range(SCENARIOS)
        )
        heading = "name," + ",".join(f"need[{j}]" for j in range(1, 61))
        self.scenarios.write_text("\n".join([heading, *rows]) + "\n")
        self.command = [TOOL, "sweep", str(self.model), "--scenarios", str(self.scenarios)]

    def path(self, name: str) -> Path:
        return Path(self.folder.name, name)

    def whole(self) -> str:
        return subprocess.run(self.command, stdout=subprocess.PIPE, text=True, check=True).stdout

    def sweep(self, jobs: int, on_row: Callable[[int, int], None]) -> tuple[int, str, str, set[int]]:
        """Calls a function with the process and the number of rows so far, after each row. Returns
        exit code, output and errors, and all workers there were."""
        process = subprocess.Popen(
            [*self.command, "-j", str(jobs)],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            pipesize=4096,
            start_new_session=True,
        )
        assert process.stdout and process.stderr
        output = ""
        workers: set[int] = set()
        for count, line in enumerate(iter(process.stdout.readline, "")):
            output += line
            workers.update(children(process.pid))
            on_row(process.pid, count)
        errors = process.stderr.read()
        code = process.wait()
        process.stdout.close()
        process.stderr.close()
        return code, output, errors, workers

    def assert_gone(self, workers: set[int]) -> None:
        self.assertGreater(len(workers), 1)
        while any(Path(f"/proc/{each}").exists() for each in workers):
            time.sleep(0.01)  # for ever: the test has a time limit

    def test_any_number_of_workers_gives_the_same_bytes(self) -> None:
        whole = self.whole()
        self.assertEqual(whole.count("\n"), SCENARIOS + 1)
        for jobs in (2, 5, 200):
            code, output, errors, workers = self.sweep(jobs, lambda process, count: None)
            self.assertEqual((code, output, errors), (0, whole, ""), jobs)
            self.assert_gone(workers)

    def test_killed_workers_are_replaced(self) -> None:
        # Far enough from each other that no scenario loses three workers, for which it would be
        # blamed.
        def kill(process: int, count: int) -> None:
            if count in (5, 40, 75):
                for worker in children(process)[:2]:
                    os.kill(worker, signal.SIGKILL)

        code, output, errors, workers = self.sweep(3, kill)
        self.assertEqual((code, output, errors), (0, self.whole(), ""))
        self.assertGreater(len(workers), 3)
        self.assert_gone(workers)

    def test_if_all_workers_are_killed_a_scenario_is_blamed(self) -> None:
        process = subprocess.Popen(
            [*self.command, "-j", "3"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
        )
        assert process.stdout
        heading = process.stdout.readline()  # the model has been read, by a process of its own
        while process.poll() is None:
            for worker in children(process.pid):
                with contextlib.suppress(ProcessLookupError):
                    os.kill(worker, signal.SIGKILL)
        output, errors = process.communicate()
        self.assertEqual(process.returncode, 1)
        output = heading + output
        self.assertTrue(self.whole().startswith(output))
        blamed = output.count("\n") - 1
        text = rf": row {blamed + 2}: {name(blamed)}: its worker ended, .*: signal 9 \(Killed\)\n$"
        self.assertRegex(errors, text)

    def test_ctrl_c_and_kill_leave_whole_rows_and_no_worker(self) -> None:
        known = set(self.whole().splitlines(keepends=True))
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, -15), (signal.SIGKILL, -9)):

            def stop(process: int, count: int) -> None:
                if count == 10:  # a terminal sends Ctrl-C to all
                    (os.killpg if number == signal.SIGINT else os.kill)(process, number)

            ended, output, errors, workers = self.sweep(3, stop)
            self.assertEqual(ended, code)
            self.assertEqual(errors, "zdbcc: interrupted\n" if code == 130 else "")
            rows = output.splitlines(keepends=True)
            self.assertEqual([row for row in rows if row not in known], [])
            self.assertEqual(len(set(rows)), len(rows))
            self.assertIn(len(rows), range(11, SCENARIOS))
            self.assert_gone(workers)


unittest.main()

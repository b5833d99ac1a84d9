"""Sweeps with several workers, which are killed: no row is lost, doubled or cut."""

import contextlib
import os
import signal
import subprocess
import sys
import time
import unittest
from collections.abc import Callable

from sweepfolder import SCENARIOS, SweepFolder, children, finish, is_busy, name, problems

TOOL = sys.argv.pop(1)


class Workers(SweepFolder):
    def start(self, jobs: int, pipesize: int = 4096) -> subprocess.Popen[str]:
        return subprocess.Popen(
            [TOOL, *self.arguments, "-j", str(jobs)],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            pipesize=pipesize,
            start_new_session=True,
        )

    def sweep(
        self, jobs: int, on_row: Callable[[int, int], None]
    ) -> tuple[int, str, str, set[int]]:
        """Calls a function with the process and the number of rows so far, after each row. Returns
        exit code, output and errors, and all workers there were."""
        process = self.start(jobs)
        assert process.stdout
        output = ""
        workers: set[int] = set()
        for count, line in enumerate(iter(process.stdout.readline, "")):
            output += line
            workers.update(children(process.pid))
            on_row(process.pid, count)
        code, _, errors = finish(process)
        self.assertGreater(len(workers), 1)
        self.wait_until_gone(workers)
        return code, output, problems(errors), workers

    def test_any_number_of_workers_gives_the_same_bytes(self) -> None:
        for jobs in (2, 5, 200):
            result = self.sweep(jobs, lambda process, count: None)
            self.assertEqual(result[:3], (0, self.whole(TOOL), ""), jobs)

    def test_killed_workers_are_replaced(self) -> None:
        # Far enough from each other that no scenario loses three workers, for which it would be
        # blamed.
        def kill(process: int, count: int) -> None:
            if count in (5, 40, 75):
                for worker in children(process)[:2]:
                    os.kill(worker, signal.SIGKILL)

        code, output, errors, workers = self.sweep(3, kill)
        self.assertEqual((code, output, errors), (0, self.whole(TOOL), ""))
        self.assertGreater(len(workers), 3)

    def test_if_all_workers_are_killed_a_scenario_is_blamed(self) -> None:
        process = self.start(3, pipesize=65536)  # which takes all rows: nobody reads them for now
        assert process.stdout
        heading = process.stdout.readline()  # the model has been read, by a process of its own
        while process.poll() is None:
            for worker in children(process.pid):
                with contextlib.suppress(ProcessLookupError):
                    os.kill(worker, signal.SIGKILL)
        code, output, errors = finish(process)
        output = heading + output
        self.assertEqual(code, 1)
        self.assertTrue(self.whole(TOOL).startswith(output))
        blamed = output.count("\n") - 1
        text = rf": row {blamed + 2}: {name(blamed)}: its worker ended, .*: signal 9 \(Killed\)\n$"
        self.assertRegex(errors, text)

    def test_ctrl_c_and_kill_leave_whole_rows_and_no_worker(self) -> None:
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, -15), (signal.SIGKILL, -9)):

            def stop(process: int, count: int, number: int = number) -> None:
                if count == 10:  # a terminal sends Ctrl-C to all
                    (os.killpg if number == signal.SIGINT else os.kill)(process, number)

            ended, output, errors, _ = self.sweep(3, stop)
            self.assertEqual(ended, code)
            self.assertEqual(errors, "zdbcc: interrupted\n" if code == 130 else "")
            self.assertTrue(self.whole(TOOL).startswith(output))
            self.assertIn(output.count("\n"), range(11, SCENARIOS))

    def test_results_ahead_of_a_missing_one_are_kept_at_ctrl_c(self) -> None:
        results, timing = self.path("r.csv"), self.path("timing.csv")
        self.arguments += ["--timing", str(timing), "--resume", str(results)]
        process = self.start(3)
        while not results.exists() or results.read_text().count("\n") < 2:
            time.sleep(0.001)
        stopped, *others = children(process.pid)
        os.kill(stopped, signal.SIGSTOP)  # with scenarios that nobody else takes
        while any(is_busy(each) for each in others):
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        self.assertEqual(finish(process)[0], 130)
        kept = self.path("r.csv.ahead")
        self.assertTrue(kept.exists())
        self.assertLess(results.read_text().count("\n"), SCENARIOS)
        done = timing.read_text().count("\n") - 1
        self.assertGreater(done, SCENARIOS // 3)
        self.assertEqual(finish(self.start(2))[0], 0)
        self.assertEqual(timing.read_text().count("\n") - 1, SCENARIOS)
        self.arguments = self.arguments[:4]
        self.assertEqual(results.read_text(), self.whole(TOOL))
        self.assertFalse(kept.exists())

    def test_timing_tells_who_solved_what(self) -> None:
        self.arguments += ["--timing", str(self.path("timing.csv"))]
        self.sweep(3, lambda process, count: None)
        lines = self.path("timing.csv").read_text().splitlines()
        self.assertEqual(lines[0], "scenario,worker,seconds,tries")
        rows = [line.split(",") for line in lines[1:]]
        self.assertEqual([row[0] for row in rows], [name(i) for i in range(SCENARIOS)])
        self.assertLessEqual({row[1] for row in rows}, {"1", "2", "3"})
        self.assertGreater(min(float(row[2]) for row in rows), 0)
        self.assertEqual({row[3] for row in rows}, {"1"})


unittest.main()

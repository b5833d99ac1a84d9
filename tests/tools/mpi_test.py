"""The sweep over ranks, with real ones, some of which are killed."""

import os
import signal
import subprocess
import sys
import unittest
from pathlib import Path

from sweepfolder import SweepFolder, children, finish, problems

TOOL, MPI_TOOL, MPIRUN = sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1)


def named(process: int, word: str) -> list[int]:
    """The children of a process that run a program."""
    return [each for each in children(process) if word in Path(f"/proc/{each}/cmdline").read_text()]


class Ranks(SweepFolder):
    def start(self, ranks: int, *more: str) -> subprocess.Popen[str]:
        flags = ["--oversubscribe", "--allow-run-as-root", "-n", str(ranks)]
        return subprocess.Popen(
            [MPIRUN, *flags, MPI_TOOL, *self.arguments, *more],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            pipesize=4096,
            # On this machine alone, whatever its interfaces are.
            env=os.environ
            | {"OMPI_MCA_btl": "self,vader", "OMPI_MCA_btl_vader_single_copy_mechanism": "none"},
        )

    def processes(self, mpirun: int) -> list[tuple[int, int, list[int]]]:
        """Each rank with its supervisor and workers, in the order of the ranks."""
        ranks = []
        for rank in sorted(named(mpirun, "zdbcc-mpi")):
            supervisor = children(rank)[0]
            ranks.append((rank, supervisor, children(supervisor)))
        return ranks

    def kill_after_two_rows(self, ranks: int, part: int) -> tuple[int, str, str]:
        """Kills rank 1 (part 0), its supervisor (1), or a worker of each rank (2)."""
        self.write_scenarios(600)  # since mpirun reads ahead whatever there is
        process = self.start(ranks)
        assert process.stdout
        output = "".join(process.stdout.readline() for _ in range(3))
        everybody = self.processes(process.pid)
        for each in everybody if part == 2 else everybody[1:2]:
            for one in each[2] if part == 2 else [each[part]]:  # a late rank has no worker yet
                os.kill(one, signal.SIGKILL)
        code, rest, errors = finish(process)
        self.wait_until_gone({all_of for rank in everybody for all_of in (*rank[:2], *rank[2])})
        return code, output + rest, problems(errors)

    def test_any_number_of_ranks_gives_the_same_bytes(self) -> None:
        whole = self.whole(TOOL)
        for ranks, jobs in ((1, 1), (5, 1), (2, 2)):
            process = self.start(ranks, "-j", str(jobs))
            code, output, errors = finish(process)
            self.assertEqual((code, output, problems(errors)), (0, whole, ""), ranks)

    def test_killed_workers_are_replaced(self) -> None:
        code, output, errors = self.kill_after_two_rows(3, 2)
        self.assertEqual((code, output, errors), (0, self.whole(TOOL), ""))

    def test_killed_rank_or_supervisor_ends_all_and_is_named(self) -> None:
        for part, text in (
            (0, "process rank 1 .*signal 9"),
            (1, r"rank 1 \(.*\): its supervisor has ended\n"),
        ):
            code, output, errors = self.kill_after_two_rows(3, part)
            self.assertNotEqual(code, 0)
            self.assertRegex(errors, text)
            whole = self.whole(TOOL)
            self.assertTrue(whole.startswith(output))
            self.assertGreater(len(whole), len(output))

    def test_what_is_wrong_is_said_once(self) -> None:
        arguments = self.arguments
        for wrong, text in (
            ([*arguments, "--show", "y"], "zdbcc: there is no symbol y\n"),
            ([*arguments, "--memory-limit", "100"], "zdbcc: --memory-limit is for one machine: "),
            ([*arguments[:-1], "-"], "zdbcc: standard input does not reach all ranks: "),
            ([*arguments, "--start", "first"], "zdbcc: --start must be base or last, not "),
        ):
            self.arguments = wrong
            code, output, errors = finish(self.start(2))
            self.assertNotEqual(code, 0)
            self.assertEqual((output, errors.count(text)), ("", 1), errors)


unittest.main()

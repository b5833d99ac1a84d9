"""Sweeps on the workers of mpi4py and dask, which only PyPI has in versions that fit."""

from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import sys
import threading
import time

import numpy as np
import pandas as pd
import pytest
import zdbcc
from conftest import MODELS

SCENARIOS = {"need[calories].rhs": np.linspace(2, 5, 60)}
SHOW = ["buy", "need.marginal"]

# The same sweep with and without MPI, in a job of its own.
MPI_JOB = """
import sys
import numpy as np
import pandas as pd
import zdbcc
from mpi4py.futures import MPIPoolExecutor

if __name__ == "__main__":
    with zdbcc.Model.read(sys.argv[1]) as model:
        scenarios = {"need[calories].rhs": np.linspace(2, 5, 60)}
        options = {"show": ["buy", "need.marginal"], "progress": False}
        alone = model.sweep(scenarios, **options)
        with MPIPoolExecutor() as executor:
            workers = executor.num_workers
            pooled = model.sweep(scenarios, executor=executor, chunk=7, **options)
    pd.testing.assert_frame_equal(alone, pooled, check_exact=True)
    print(workers, "workers agree")
"""


def test_Mpi_GivesTheTableOfNone(tmp_path: pathlib.Path) -> None:
    pytest.importorskip("mpi4py")
    mpirun = shutil.which("mpirun")
    if mpirun is None:
        pytest.skip("mpirun is not here")
    job = tmp_path / "job.py"
    job.write_text(MPI_JOB)
    root = ["--allow-run-as-root"] if os.geteuid() == 0 else []
    result = subprocess.run(
        [mpirun, *root, "--oversubscribe", "-n", "3", sys.executable, "-m", "mpi4py.futures",
         str(job), str(MODELS / "diet.mod")],
        capture_output=True, text=True, timeout=120,
    )  # fmt: skip
    assert result.stdout == "2 workers agree\n", result.stderr


def test_Dask_GivesTheTableOfNoneWhenAWorkerIsKilled() -> None:
    distributed = pytest.importorskip("distributed")
    with (
        distributed.LocalCluster(
            n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None
        ) as cluster,
        distributed.Client(cluster) as client,
        zdbcc.Model.read(MODELS / "diet.mod") as model,
    ):
        alone = model.sweep(SCENARIOS, SHOW, progress=False)
        workers = client.run(os.getpid)
        killed: list[int] = []
        # Any worker that solves one of these scenarios is slow enough to be killed meanwhile.
        client.run(_slow_down)

        def kill() -> None:
            time.sleep(0.5)
            killed.append(next(iter(workers.values())))
            os.kill(killed[0], 9)

        thread = threading.Thread(target=kill)
        thread.start()
        pooled = model.sweep(
            SCENARIOS, SHOW, executor=client.get_executor(), chunk=5, progress=False
        )
        thread.join()
        after = set(client.run(os.getpid).values())
    assert killed and killed[0] not in after
    pd.testing.assert_frame_equal(alone, pooled, check_exact=True)


def _slow_down() -> None:
    from zdbcc import _worker

    real = _worker.Chunk.run

    def run(self: _worker.Chunk, seconds: float) -> None:
        time.sleep(0.25)
        real(self, seconds)

    _worker.Chunk.run = run  # type: ignore[method-assign]

"""Chunks of a sweep on workers of any executor with the interface of ``concurrent.futures``."""

from __future__ import annotations

import os
import shutil
import tempfile
from collections import deque
from collections.abc import Callable
from concurrent.futures import FIRST_COMPLETED, BrokenExecutor, Executor, Future, wait
from concurrent.futures.process import ProcessPoolExecutor
from dataclasses import dataclass
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from zdbcc._errors import ArgumentError, Error
from zdbcc._worker import Outcomes, check_chunk, leave_interrupts, solve_chunk

if TYPE_CHECKING:
    from zdbcc._sweep import Sweep

#: Chunks that each worker should get, and the most scenarios of one.
_CHUNKS = 8
_MOST = 1000
#: Workers of an executor that does not tell how many it has.
_WORKERS = 8


#: Seconds that workers have at most to give what they have solved after Ctrl-C.
_PATIENCE = 5.0


@dataclass(frozen=True)
class _Part:
    """Consecutive scenarios."""

    first: int
    count: int
    is_suspect: bool  #: whether its worker has ended before: then nothing else is solved meanwhile


def _workers_of(executor: Any) -> int:
    """How many workers an executor has."""
    for name in ("_max_workers", "num_workers"):
        number = getattr(executor, name, None)
        if isinstance(number, int) and number > 0:
            return number
    client = getattr(executor, "_client", None)
    if client is not None and hasattr(client, "ncores"):
        return sum(client.ncores().values()) or _WORKERS
    return _WORKERS


class _Pool:
    """An executor; processes of the standard library are replaced when they break."""

    def __init__(self, executor: Any) -> None:
        self._own: ProcessPoolExecutor | None = None
        self._make: Callable[[], ProcessPoolExecutor] | None = None
        if isinstance(executor, int | np.integer) and not isinstance(executor, bool):
            if executor < 1:
                raise ArgumentError(f"there must be at least one process, not {executor}")
            count = int(executor)
            self._make = lambda: ProcessPoolExecutor(count, initializer=leave_interrupts)
            self._own = executor = self._make()
        elif not hasattr(executor, "submit"):
            raise ArgumentError(
                f"{executor!r} is not an executor; pass one of concurrent.futures, mpi4py.futures "
                "or dask's Client.get_executor(), or a number of processes"
            )
        elif isinstance(executor, ProcessPoolExecutor):
            given: Any = executor
            self._make = lambda: ProcessPoolExecutor(
                given._max_workers,
                getattr(given, "_mp_context", None),
                getattr(given, "_initializer", None),
                getattr(given, "_initargs", ()),
            )
        self.executor: Executor = executor
        self.workers = _workers_of(executor)

    def submit(self, function: Callable[..., Any], *arguments: Any) -> Future[Any]:
        """Has a worker call a function."""
        try:
            return self.executor.submit(function, *arguments)
        except BrokenExecutor:
            if not self.renew():
                raise
            return self.executor.submit(function, *arguments)

    def renew(self) -> bool:
        """Replaces processes that have ended; whether it can."""
        if self._make is None:
            return False
        self.close()
        self._own = self.executor = self._make()
        return True

    def close(self) -> None:
        """Ends the processes that were made here."""
        if self._own is not None:
            processes = list((self._own._processes or {}).values())
            self._own.shutdown(wait=False, cancel_futures=True)
            for process in processes if self.is_stopping else []:
                process.terminate()
            self._own = None

    #: Whether those that are made here need not finish what they do.
    is_stopping = False


class _Run:
    """A sweep while it is solved on a pool."""

    def __init__(
        self, sweep: Sweep, pool: _Pool, chunk: int | None, show: Callable[[int], None]
    ) -> None:
        self._sweep = sweep
        self._pool = pool
        self._show = show
        count = len(sweep.scenarios.labels)
        size = chunk or min(_MOST, max(1, -(-count // (_CHUNKS * pool.workers))))
        self._waiting = deque(
            _Part(first, min(size, count - first), False) for first in range(0, count, size)
        )
        self._suspects: deque[_Part] = deque()
        self._flying: dict[Future[Any], _Part] = {}
        self._done = 0
        # A file in it has workers stop, whatever they run on, where they see the same folder.
        self._folder = tempfile.mkdtemp(prefix="zdbcc-")
        self._stop = os.path.join(self._folder, "stop")

    def check(self) -> None:
        """Has all values of params translated; raises for the first that the model refuses."""
        waiting = deque(self._waiting)
        flying: deque[tuple[_Part, Future[Any]]] = deque()
        while waiting or flying:
            while waiting and len(flying) < 2 * self._pool.workers:
                part = waiting.popleft()
                flying.append((part, self._pool.submit(check_chunk, *self._arguments(part))))
            part, future = flying.popleft()
            try:
                refused = future.result()
            except Error:
                raise
            except Exception:  # its worker has ended, and will be looked into when it solves
                continue
            if refused is not None:
                for _, other in flying:
                    other.cancel()
                self._sweep.refuse(part.first + refused[0], refused[1])

    def run(self) -> None:
        """Solves all, or up to a failure that ends the sweep."""
        while self._flying or self._waiting or self._suspects:
            self._hand_out()
            done, _ = wait(self._flying, return_when=FIRST_COMPLETED)
            for future in done:
                self._take(future, self._flying[future])
                del self._flying[future]  # not before: Ctrl-C may come in between
            self._show(self._done)
            if self._sweep.outcomes.failures and not self._sweep.job.keep_going:
                self._drop_later()

    def _hand_out(self) -> None:
        """Keeps workers busy; a suspect is solved by itself, to know what to blame."""
        is_alone = any(part.is_suspect for part in self._flying.values())
        if self._suspects and not self._flying:
            self._submit(self._suspects.popleft())
        while not is_alone and not self._suspects and self._waiting:
            if len(self._flying) >= 2 * self._pool.workers:
                return
            self._submit(self._waiting.popleft())

    def _arguments(self, part: _Part) -> tuple[Any, ...]:
        rows = slice(part.first, part.first + part.count)
        sweep = self._sweep
        return sweep.digest, sweep.packed, sweep.values(rows), sweep.params(rows)

    def _submit(self, part: _Part) -> None:
        future = self._pool.submit(solve_chunk, *self._arguments(part), self._stop)
        self._flying[future] = part

    def _take(self, future: Future[Any], part: _Part) -> None:
        try:
            outcomes, solved, is_stopped = future.result()
        except Error:
            raise
        except Exception as error:
            self._lose(part, error)
            return
        self._sweep.outcomes.take(part.first, outcomes)
        if is_stopped:
            raise KeyboardInterrupt
        self._done += solved
        has_failed = bool(outcomes.failures) and not self._sweep.job.keep_going
        if solved < part.count and not has_failed:  # the rest of its turn
            queue = self._suspects if part.is_suspect else self._waiting
            queue.appendleft(_Part(part.first + solved, part.count - solved, part.is_suspect))

    def _lose(self, part: _Part, error: Exception) -> None:
        """Halves a chunk whose worker has ended, or blames its only scenario."""
        if part.count == 1 and part.is_suspect:
            outcomes = Outcomes(1, self._sweep.job.width)
            outcomes.failures[0] = f"its worker has ended ({type(error).__name__}: {error})"
            self._sweep.outcomes.take(part.first, outcomes)
            self._done += 1
            return
        half = (part.count + 1) // 2
        self._suspects.append(_Part(part.first, half, True))
        if part.count > half:
            self._suspects.append(_Part(part.first + half, part.count - half, True))

    def _drop_later(self) -> None:
        """After a failure, only what comes before it is still wanted."""
        first = min(self._sweep.outcomes.failures)
        self._waiting = deque(part for part in self._waiting if part.first < first)
        self._suspects = deque(part for part in self._suspects if part.first < first)
        for future, part in list(self._flying.items()):
            if part.first > first and future.cancel():
                del self._flying[future]

    def stop(self) -> None:
        """Cancels what has not begun, stops what runs, and takes what is done."""
        Path(self._stop).touch()
        for future in self._flying:
            future.cancel()
        wait(self._flying, timeout=_PATIENCE)
        self._pool.is_stopping = True
        for future, part in self._flying.items():
            if future.done() and not future.cancelled() and future.exception() is None:
                self._sweep.outcomes.take(part.first, future.result()[0])

    def close(self) -> None:
        """Leaves nothing behind."""
        shutil.rmtree(self._folder, ignore_errors=True)


def run_on(sweep: Sweep, executor: Any, chunk: int | None, show: Callable[[int], None]) -> None:
    """Has the scenarios of a sweep solved by the workers of an executor."""
    pool = _Pool(executor)
    run = _Run(sweep, pool, chunk, show)
    try:
        if sweep.checks_params:
            run.check()
        run.run()
    except BaseException:
        run.stop()
        raise
    finally:
        pool.close()
        run.close()

"""Solving chunks of scenarios, in whichever process or thread: what runs on workers of a sweep."""

from __future__ import annotations

import contextlib
import hashlib
import os
import pickle
import signal
import threading
import time
from collections.abc import Callable, Iterator, Sequence
from typing import Final, NamedTuple

import numpy as np
from numpy.typing import NDArray

from zdbcc import _kit
from zdbcc._case import lower
from zdbcc._errors import Error, SolveError
from zdbcc._names import Name
from zdbcc._numbers import Rows
from zdbcc._opened import Options, Params, SourceText, given, targets

#: Models that a process keeps for the next chunk, at most.
_MOST_KEPT: Final = 8
#: States of a variant.
_REFUSED: Final = 0
_DIFFERS: Final = 2


class Job(NamedTuple):
    """What all chunks of a sweep have in common."""

    source: SourceText
    names: tuple[Name, ...]
    params: Params
    #: Numbers that the model has got before: changes, labels, values.
    constants: tuple[list[int], Rows, NDArray[np.float64]]
    #: What the columns of the scenarios are.
    columns: tuple[list[int], Rows]
    #: Symbols with labels of entries, and whether marginals are shown.
    shown: tuple[tuple[str, Rows, bool], ...]
    options: Options
    solver: str
    starts_at_first: bool
    keep_going: bool

    @property
    def width(self) -> int:
        """Values that are shown of each scenario."""
        return sum(len(rows) for _, rows, _ in self.shown)


class Outcomes:
    """Rows of outcomes; those that are not known have the status -1."""

    def __init__(self, count: int, width: int) -> None:
        self.statuses = np.full(count, -1, np.int32)
        self.iterations = np.zeros((count, 2), np.int32)
        self.numbers = np.full((count, 4), np.nan)
        self.shown = np.full((count, width), np.nan)
        self.failures: dict[int, str] = {}

    def front(self, count: int) -> Outcomes:
        """The first rows, as a view, and all failures."""
        front = object.__new__(Outcomes)
        front.statuses = self.statuses[:count]
        front.iterations = self.iterations[:count]
        front.numbers = self.numbers[:count]
        front.shown = self.shown[:count]
        front.failures = self.failures
        return front

    def take(self, first: int, other: Outcomes) -> None:
        """Takes rows from `first` on."""
        end = first + len(other.statuses)
        self.statuses[first:end] = other.statuses
        self.iterations[first:end] = other.iterations
        self.numbers[first:end] = other.numbers
        self.shown[first:end] = other.shown
        self.failures.update({first + row: why for row, why in other.failures.items()})


class Ready:
    """A model that is ready to solve scenarios of a job, with the values of params of some."""

    def __init__(self, job: Job, variants: Sequence[Params]) -> None:
        self._job = job
        self.core = _kit.Model(
            job.source.source(),
            [name.text for name in job.names],
            given(job.params),
            [given(params) for params in variants],
        )
        numbers, rows, values = job.constants
        self._constants = targets(numbers, rows), np.ascontiguousarray(values)
        self.columns = targets(*job.columns)
        if rows:
            self.core.set(*self._constants)
        job.options.apply(self.core, self.core.state()["direction"], job.starts_at_first)
        self._shown = self._bind_shown()
        self._has_base = not job.starts_at_first

    def _bind_shown(self) -> list[tuple[str, NDArray[np.int32], int]]:
        """What is shown, by label numbers; 0, which nothing has, for labels that are not there."""
        numbers = {lower(label): n for n, label in enumerate(self.core.labels(), 1)}
        bound = []
        for symbol, rows, is_marginal in self._job.shown:
            dim = len(rows[0]) if rows else 0
            keys = np.zeros((len(rows), dim), np.int32)
            for at, row in enumerate(rows):
                keys[at] = [numbers.get(lower(label), 0) for label in row]
            bound.append((symbol, keys, int(is_marginal)))
        return bound

    def solve_base(self) -> None:
        """Solves the model itself, at whose basis solves start. It need not have a solution."""
        if self._has_base:
            return
        with contextlib.suppress(SolveError):
            self.core.solve(self._job.solver, None)
        self._has_base = True

    def run(
        self,
        values: NDArray[np.float64],
        variants: NDArray[np.int32] | None,
        first: int,
        seconds: float,
        outcomes: Outcomes,
    ) -> tuple[int, int]:
        """Solves scenarios from `first` on, for some seconds: the next one, and why it ended."""
        self.solve_base()
        return self.core.sweep(
            self._job.solver,
            self.columns,
            values,
            *self._constants,
            variants,
            self._shown,
            first,
            seconds,
            self._job.keep_going,
            outcomes.statuses,
            outcomes.iterations,
            outcomes.numbers,
            outcomes.shown,
            outcomes.failures,
        )


class _Kept:
    """Models that wait for the next chunk."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._idle: list[tuple[str, Ready]] = []

    def take(self, key: str, make: Callable[[], Ready]) -> Ready:
        with self._lock:
            place = next((i for i, (k, _) in enumerate(self._idle) if k == key), None)
            if place is not None:
                return self._idle.pop(place)[1]
        return make()

    def give(self, key: str, ready: Ready) -> None:
        with self._lock:
            self._idle.append((key, ready))
            gone = [each for _, each in self._idle[:-_MOST_KEPT]]
            del self._idle[:-_MOST_KEPT]
        for each in gone:
            each.core.close()


_kept = _Kept()
# A thread of the parent process may have been in the middle of something.
os.register_at_fork(after_in_child=lambda: _kept.__init__())  # type: ignore[misc]


class Chunk:
    """Scenarios of a job while they are solved, in slices of time."""

    def __init__(
        self,
        digest: str,
        job: Job,
        values: NDArray[np.float64],
        params: Sequence[Params] | None,
    ) -> None:
        self._digest = self._key = digest
        self._job = job
        self._values = np.ascontiguousarray(values)
        self._params = params
        self.outcomes = Outcomes(len(values), job.width)
        self.next = 0
        self.is_stopped = False
        self._ready: Ready | None = None
        self._running: Ready | None = None
        self._variants: NDArray[np.int32] | None = None

    @property
    def is_done(self) -> bool:
        """Whether all is solved, or what follows shall not be."""
        has_failed = bool(self.outcomes.failures) and not self._job.keep_going
        return self.next >= len(self._values) or has_failed or self.is_stopped

    def __enter__(self) -> Chunk:
        return self

    def __exit__(self, kind: type[BaseException] | None, *_: object) -> None:
        self._leave(kind is None)

    def _leave(self, can_be_kept: bool) -> None:
        ready, self._ready = self._ready, None
        if ready is not None and can_be_kept:
            _kept.give(self._key, ready)
        elif ready is not None:
            ready.core.close()

    def _enter(self) -> Ready:
        if self._ready is None:
            variants: list[Params] = []
            if self._params is not None:
                variants = self._distinct(self._params)
            self._ready = _kept.take(self._key, lambda: Ready(self._job, variants))
        return self._ready

    def _distinct(self, params: Sequence[Params]) -> list[Params]:
        """All values of params in the chunk, of which each is translated once."""
        distinct: dict[tuple[tuple[str, float], ...], int] = {}
        base = tuple(sorted(self._job.params.items()))
        numbers = []
        for each in params:
            key = tuple(sorted(each.items()))
            numbers.append(-1 if key == base else distinct.setdefault(key, len(distinct)))
        self._variants = np.array(numbers, np.int32)
        self._key = self._digest + hashlib.sha256(repr(list(distinct)).encode()).hexdigest()
        return [dict(key) for key in distinct]

    def stop(self) -> None:
        """Has what another thread is solving end soon, with what is solved. To be repeated."""
        running = self._running
        if running is not None:
            running.core.stop()

    def run(self, seconds: float) -> None:
        """Solves some scenarios, for about so many seconds."""
        ready = self._enter()
        if self._is_alone(ready, self.next):
            self._run_alone()
            return
        end = self._end_of_run(ready)
        self._running = ready
        try:
            self.next, ending = ready.run(
                self._values[:end],
                None if self._variants is None else self._variants[:end],
                self.next,
                seconds,
                self.outcomes.front(end),
            )
        finally:
            self._running = None
        self.is_stopped = ending == _kit.SWEEP_STOPPED
        if ending == _kit.SWEEP_SOLVER_GONE:
            self._leave(False)

    def _is_alone(self, ready: Ready, row: int) -> bool:
        """Whether the params of a scenario give other rows or columns than those of the model."""
        variant = -1 if self._variants is None else int(self._variants[row])
        return variant >= 0 and ready.core.variant_state(variant)[0] == _DIFFERS

    def _end_of_run(self, ready: Ready) -> int:
        """The end of the scenarios that have the rows and columns of the model."""
        rows = range(self.next, len(self._values) if self._variants is not None else 0)
        return next((row for row in rows if self._is_alone(ready, row)), len(self._values))

    def _alone(self, row: int) -> Ready:
        """A scenario as a model of its own."""
        assert self._params is not None
        return Ready(self._job._replace(params=self._params[row], starts_at_first=False), [])

    def _run_alone(self) -> None:
        row, self.next = self.next, self.next + 1
        outcomes = Outcomes(1, self._job.width)
        try:
            self._running = ready = self._alone(row)
            try:
                part = self._values[row : row + 1]
                _, ending = ready.run(part, None, 0, 0.0, outcomes)
            finally:
                self._running = None
                ready.core.close()
            self.is_stopped = ending == _kit.SWEEP_STOPPED
        except Error as error:
            outcomes.failures[0] = str(error)
        self.outcomes.take(row, outcomes)

    def find_refused(self) -> tuple[int, str] | None:
        """The first scenario whose params have values that the model refuses, and why."""
        ready = self._enter()
        for row, variant in enumerate(() if self._variants is None else self._variants.tolist()):
            state, why = ready.core.variant_state(variant) if variant >= 0 else (None, "")
            if state == _REFUSED:
                return row, why
            if state == _DIFFERS and self._values.shape[1]:
                try:
                    own = self._alone(row)
                    try:
                        own.core.set(own.columns, np.ascontiguousarray(self._values[row]))
                    finally:
                        own.core.close()
                except Error as error:
                    return row, str(error)
        return None


@contextlib.contextmanager
def _watching(stop: str, chunk: Chunk) -> Iterator[None]:
    """Stops a chunk when a file is there, also in the middle of a solve."""
    is_over = threading.Event()

    def watch() -> None:
        while not is_over.wait(_LOOK):
            if os.path.exists(stop):
                chunk.stop()

    thread = threading.Thread(target=watch, daemon=True)
    thread.start()
    try:
        yield
    finally:
        is_over.set()
        thread.join()


#: Seconds between two looks for the file that stops a sweep.
_LOOK: Final = 0.1
#: Seconds after which a worker gives what it has solved, so that no more is lost with it; longer
#: by what it takes to send a large model again, and not before all is solved that was translated.
_TURN: Final = 1.0
_BYTES_A_SECOND: Final = 10_000_000


def solve_chunk(
    digest: str,
    packed: bytes,
    values: NDArray[np.float64],
    params: Sequence[Params] | None,
    stop: str,
) -> tuple[Outcomes, int, bool]:
    """Solves scenarios of a packed job from the first on: their outcomes, how many, and whether it
    was stopped, by Ctrl-C or since the file `stop` is there.

    What is wrong with a scenario is its failure; what is wrong with all of them is raised.
    """
    job: Job = pickle.loads(packed)
    turn = _TURN + len(packed) / _BYTES_A_SECOND if params is None else float("inf")
    end = time.monotonic() + turn
    with Chunk(digest, job, values, params) as chunk, _watching(stop, chunk):
        try:
            while not chunk.is_done and not os.path.exists(stop):
                chunk.run(_TURN)
                if time.monotonic() > end:
                    break
        except KeyboardInterrupt:
            chunk.is_stopped = True
        if chunk.is_stopped or os.path.exists(stop):
            return chunk.outcomes, chunk.next, True
        return chunk.outcomes.front(chunk.next), chunk.next, False


def check_chunk(
    digest: str, packed: bytes, values: NDArray[np.float64], params: Sequence[Params] | None
) -> tuple[int, str] | None:
    """The first of scenarios of a packed job that has values the model refuses, and why."""
    with Chunk(digest, pickle.loads(packed), values, params) as chunk:
        return chunk.find_refused()


def leave_interrupts() -> None:
    """Leaves Ctrl-C to the parent process, which stops the sweep."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)

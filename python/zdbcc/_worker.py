"""Solving chunks of scenarios, in whichever process or thread: what runs on workers of a sweep."""

from __future__ import annotations

import contextlib
import os
import pickle
import threading
from collections.abc import Callable, Sequence
from typing import Final, NamedTuple

import numpy as np
from numpy.typing import NDArray

from zdbcc import _kit
from zdbcc._errors import Error, SolveError
from zdbcc._names import Name
from zdbcc._numbers import Rows
from zdbcc._opened import Options, Params, SourceText, given, targets

#: Models that a process keeps for the next chunk, at most.
_MOST_KEPT: Final = 8
_FITS: Final = 1
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
        numbers = {label.lower(): n for n, label in enumerate(self.core.labels(), 1)}
        bound = []
        for symbol, rows, is_marginal in self._job.shown:
            dim = len(rows[0]) if rows else 0
            keys = np.zeros((len(rows), dim), np.int32)
            for at, row in enumerate(rows):
                keys[at] = [numbers.get(label.lower(), 0) for label in row]
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
    """Models that wait for the next chunk, each used by one thread at a time."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._idle: list[tuple[str, Ready]] = []
        self._busy: set[Ready] = set()

    def take(self, digest: str, make: Callable[[], Ready]) -> Ready:
        with self._lock:
            place = next((i for i, (d, _) in enumerate(self._idle) if d == digest), None)
            ready = self._idle.pop(place)[1] if place is not None else None
        if ready is None:
            ready = make()
        with self._lock:
            self._busy.add(ready)
        return ready

    def give(self, digest: str | None, ready: Ready) -> None:
        """Gives a model back; with None, it cannot be used again."""
        with self._lock:
            self._busy.discard(ready)
            if digest is not None:
                self._idle.append((digest, ready))
            gone = [each for _, each in self._idle[:-_MOST_KEPT]]
            del self._idle[:-_MOST_KEPT]
        for each in gone if digest is not None else [ready]:
            each.core.close()

    def stop(self) -> None:
        with self._lock:
            busy = list(self._busy)
        for ready in busy:
            ready.core.stop()


_kept = _Kept()
# A thread of the parent process may have been in the middle of something.
os.register_at_fork(after_in_child=lambda: _kept.__init__())  # type: ignore[misc]


def stop_all() -> None:
    """Stops all sweeps of this process soon, which other threads run."""
    _kept.stop()


class Chunk:
    """Scenarios of a job while they are solved, in slices of time."""

    def __init__(
        self,
        digest: str,
        job: Job,
        values: NDArray[np.float64],
        params: Sequence[Params] | None,
    ) -> None:
        self._digest = digest
        self._job = job
        self._values = np.ascontiguousarray(values)
        self._params = params
        self.outcomes = Outcomes(len(values), job.width)
        self.next = 0
        self.is_stopped = False
        self._ready: Ready | None = None
        self._variants: NDArray[np.int32] | None = None

    @property
    def is_done(self) -> bool:
        """Whether all is solved, or what follows shall not be."""
        has_failed = bool(self.outcomes.failures) and not self._job.keep_going
        return self.next >= len(self._values) or has_failed or self.is_stopped

    def __enter__(self) -> Chunk:
        return self

    def __exit__(self, kind: type[BaseException] | None, *_: object) -> None:
        self._leave(kind is None and self._params is None)

    def _leave(self, can_be_kept: bool) -> None:
        if self._ready is not None:
            _kept.give(self._digest if can_be_kept else None, self._ready)
        self._ready = None

    def _enter(self) -> Ready:
        if self._ready is None:
            if self._params is None:
                self._ready = _kept.take(self._digest, lambda: Ready(self._job, []))
            else:
                self._ready = self._with_params(self._params)
        return self._ready

    def _with_params(self, params: Sequence[Params]) -> Ready:
        """The model with all values of params in the chunk, each translated once."""
        distinct: dict[tuple[tuple[str, float], ...], int] = {}
        base = tuple(sorted(self._job.params.items()))
        numbers = []
        for each in params:
            key = tuple(sorted(each.items()))
            numbers.append(-1 if key == base else distinct.setdefault(key, len(distinct)))
        ready = _kept.take("", lambda: Ready(self._job, [dict(key) for key in distinct]))
        self._variants = np.array(numbers, np.int32)
        return ready

    def run(self, seconds: float) -> None:
        """Solves some scenarios, for about so many seconds."""
        ready = self._enter()
        if self._variants is not None:
            variant = int(self._variants[self.next])
            if variant >= 0 and ready.core.variant_state(variant)[0] == _DIFFERS:
                self._run_alone()
                return
        end = self._end_of_run(ready)
        part = slice(0, end)
        self.next, ending = ready.run(
            self._values[part],
            None if self._variants is None else self._variants[part],
            self.next,
            seconds,
            _Front(self.outcomes, end),
        )
        self.is_stopped = ending == _kit.SWEEP_STOPPED
        if ending == _kit.SWEEP_SOLVER_GONE:
            self._leave(False)

    def _end_of_run(self, ready: Ready) -> int:
        """The end of the scenarios that have the rows and columns of the model."""
        if self._variants is None:
            return len(self._values)
        for at in range(self.next, len(self._values)):
            variant = int(self._variants[at])
            if variant >= 0 and ready.core.variant_state(variant)[0] == _DIFFERS:
                return at
        return len(self._values)

    def _run_alone(self) -> None:
        """Solves a scenario whose params give other rows or columns, as a model of its own."""
        assert self._params is not None
        row, self.next = self.next, self.next + 1
        part = slice(row, row + 1)
        own = self._job._replace(params=self._params[row], starts_at_first=False)
        outcomes = Outcomes(1, own.width)
        try:
            ready = _kept.take("", lambda: Ready(own, []))
            try:
                _, ending = ready.run(self._values[part], None, 0, 0.0, outcomes)
            finally:
                _kept.give(None, ready)
            self.is_stopped = ending == _kit.SWEEP_STOPPED
        except Error as error:
            outcomes.failures[0] = str(error)
        self.outcomes.take(row, outcomes)


class _Front(Outcomes):
    """The first rows of outcomes, which are written through it."""

    def __init__(self, whole: Outcomes, end: int) -> None:
        self.statuses = whole.statuses[:end]
        self.iterations = whole.iterations[:end]
        self.numbers = whole.numbers[:end]
        self.shown = whole.shown[:end]
        self.failures = whole.failures


#: Seconds that a worker solves without looking at its stop and at signals between solves.
_SLICE: Final = 1.0


def solve_chunk(
    digest: str,
    packed: bytes,
    values: NDArray[np.float64],
    params: Sequence[Params] | None,
) -> tuple[Outcomes, bool]:
    """Solves scenarios of a packed job: their outcomes, and whether Ctrl-C has stopped it.

    What is wrong with a scenario is its failure; what is wrong with all of them is raised.
    """
    job: Job = pickle.loads(packed)
    with Chunk(digest, job, values, params) as chunk:
        try:
            while not chunk.is_done:
                chunk.run(_SLICE)
        except KeyboardInterrupt:
            chunk.is_stopped = True
        return chunk.outcomes, chunk.is_stopped

from collections.abc import Callable, Sequence
from typing import Final, TypedDict, type_check_only

import numpy as np
from numpy.typing import NDArray

SWEEP_DONE: Final[int]
SWEEP_TIME_SLICE: Final[int]
SWEEP_STOPPED: Final[int]
SWEEP_SOLVER_GONE: Final[int]

@type_check_only
class State(TypedDict):
    status: int
    solve_status: int
    direction: int
    iterations: int
    has_objective: bool
    objective: float
    bound: float
    gap: float
    seconds: float

class Source:
    def __init__(
        self, name: str, text: bytes, data_name: str | None, data: bytes, flags: int
    ) -> None: ...
    def params(self) -> list[str]: ...

class Targets:
    def __init__(self, changes: NDArray[np.int32], labels: Sequence[Sequence[str]]) -> None: ...

class Model:
    def __init__(
        self,
        source: Source,
        changes: Sequence[str],
        params: tuple[Sequence[str], Sequence[float]],
        variants: Sequence[tuple[Sequence[str], Sequence[float]]],
    ) -> None: ...
    def close(self) -> None: ...
    @property
    def closed(self) -> bool: ...
    def stop(self) -> None: ...
    def solve(self, solver: str, log: Callable[[str], object] | None) -> None: ...
    def symbols(self) -> list[tuple[str, bool, int, str, int]]: ...
    def labels(self) -> list[str]: ...
    def read(self, name: str) -> tuple[list[NDArray[np.int32]], list[NDArray[np.float64]]]: ...
    def changes(self) -> list[tuple[str, int, int, int, int]]: ...
    def set(self, targets: Targets, values: NDArray[np.float64]) -> None: ...
    def variant_state(self, variant: int) -> tuple[int, str]: ...
    def state(self) -> State: ...
    def size(self) -> tuple[int, int, int, int]: ...
    def objective(self) -> str: ...
    def default_solver(self) -> str: ...
    def configure(
        self,
        seconds: float,
        iterations: int,
        relative_gap: float,
        absolute_gap: float,
        direction: int,
        relaxed: bool,
        starts_at_first: bool,
    ) -> None: ...
    def infeasible_set(self, seconds: float) -> tuple[bool, list[tuple[str, bool, int]]]: ...
    def sweep(
        self,
        solver: str,
        targets: Targets,
        values: NDArray[np.float64],
        constants: Targets,
        constant_values: NDArray[np.float64],
        variants: NDArray[np.int32] | None,
        shown: Sequence[tuple[str, NDArray[np.int32], int]],
        first: int,
        seconds: float,
        keep_going: bool,
        statuses: NDArray[np.int32],
        iterations: NDArray[np.int32],
        outcomes: NDArray[np.float64],
        shown_values: NDArray[np.float64],
        failures: dict[int, str],
    ) -> tuple[int, int]: ...

def solvers() -> list[tuple[str, str, int, bool, str]]: ...
def status_text(status: int) -> str: ...
def end_text(status: int) -> str: ...

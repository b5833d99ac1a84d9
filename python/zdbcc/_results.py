"""Results of solves."""

from __future__ import annotations

import html
from collections.abc import Iterator, Mapping
from typing import TYPE_CHECKING, Any, Final

import numpy as np

from zdbcc._case import lower
from zdbcc._database import Database
from zdbcc._errors import ClosedError, NotFoundError, SolveError, StateError
from zdbcc._symbols import EQUATION_KINDS, VARIABLE_KINDS, Equation, Symbol, Variable

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from zdbcc import _kit
    from zdbcc._models import Model
    from zdbcc._opened import Parts

#: Numbers of statuses of models, as the kit has them.
OPTIMAL: Final = 1
FEASIBLE: Final = 7
INTEGER: Final = 8
INFEASIBLE: Final = frozenset((4, 10, 19))

_Read = tuple[list["NDArray[np.int32]"], list["NDArray[np.float64]"]]


class Result(Mapping[str, Symbol]):
    """What a solve has found: its outcome, and the variables and equations as a mapping.

    The outcome is in attributes. Symbols are read when they are first used; they have a database
    of their own, so they stay what they are when the model is changed, solved again or closed.
    Of a result that somebody still has, the model keeps all levels when it is changed or solved
    again, which takes a copy of them; once it is closed, what was not read is gone
    (``ClosedError``).

    Attributes
    ----------
    status : str
        What is known: "Optimal", "Integer solution" (proven, within the gap), "Feasible, stopped
        before optimal", "Infeasible", "Unbounded" and others.
    solve_status : str
        How the solve ended: "Normal completion", "Time limit", "Interrupted" and others.
    objective : float
        Its level, nan without a solution or an objective.
    bound, gap : float
        What the objective cannot get better than, as far as it is proven, and the distance to it
        relative to the objective; nan if they are not known.
    iterations : int
        Of the simplex method.
    seconds : float
        How long the solver took.
    solver : str
        Its name.

    Examples
    --------
    >>> with zdbcc.Model.from_text(LUNCH) as model:
    ...     result = model.solve()
    ...     buy = result["buy"]
    >>> result
    <Result Optimal: objective 14, 1 iteration of clp>
    >>> buy["bread"].level, buy["milk"].marginal
    (5.5, 0.0)
    """

    def __init__(self, model: Model, parts: Parts, state: _kit.State, solver: str) -> None:
        from zdbcc import _kit

        self.status: str = _kit.status_text(state["status"])
        self.solve_status: str = _kit.end_text(state["solve_status"])
        self.has_solution: bool = state["status"] in (OPTIMAL, INTEGER, FEASIBLE)
        self.is_optimal: bool = state["status"] in (OPTIMAL, INTEGER)
        has_objective = state["has_objective"] and self.has_solution
        self.objective: float = state["objective"] if has_objective else float("nan")
        self.bound: float = state["bound"]
        self.gap: float = state["gap"]
        self.iterations: int = state["iterations"]
        self.seconds: float = state["seconds"]
        self.solver: str = solver
        self._model: Model | None = model
        self._parts = parts
        self._read: dict[str, _Read] = {}
        self._db: Database | None = None

    # ---- The mapping ----

    def _require_solution(self) -> None:
        if not self.has_solution:
            raise SolveError(f"there is no solution to show: {self.status} ({self.solve_status})")

    def __getitem__(self, name: str) -> Symbol:
        """A variable or equation of the solution, with levels, marginals and bounds.

        Raises ``SolveError`` if there is no solution, ``NotFoundError`` for another name.
        """
        part = self._parts.get(lower(name)) if isinstance(name, str) else None
        if part is None:
            raise NotFoundError(
                f"there is no symbol {name!r} in the model; it has {', '.join(self)}"
            )
        self._require_solution()
        keys, values = self._records(part.name)
        if self._db is None:
            db = Database()
            db.add_labels(self._labels)
            self._db = db
        if part.name in self._db:
            return self._db[part.name]
        kinds = VARIABLE_KINDS if part.is_variable else EQUATION_KINDS
        kind = kinds[part.kind] if 0 <= part.kind < len(kinds) else kinds[0]
        add = self._db.add_variable if part.is_variable else self._db.add_equation
        symbol: Variable | Equation = add(part.name, ["*"] * part.dim, kind=kind, text=part.text)
        symbol.update_arrays(keys, *values, mode="replace")
        return symbol

    def _records(self, name: str) -> _Read:
        if name not in self._read:
            if self._model is None:
                raise ClosedError(
                    f"the model is closed, and {name} was not read before; read results first"
                )
            self._read[name] = self._model._read_result(self, name)
        return self._read[name]

    @property
    def _labels(self) -> list[str]:
        if self._kept_labels is None:
            if self._model is None:
                raise ClosedError("the model is closed, and no symbol was read before")
            self._kept_labels = self._model._labels()
        return self._kept_labels

    _kept_labels: list[str] | None = None

    def __iter__(self) -> Iterator[str]:
        return (part.name for part in self._parts.values() if not part.is_added)

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __contains__(self, name: object) -> bool:
        """Whether the model has such a variable or equation, also without a solution."""
        part = self._parts.get(lower(name)) if isinstance(name, str) else None
        return part is not None and not part.is_added

    def __getstate__(self) -> dict[str, Any]:
        """All of it, for copies and other processes, without the model."""
        self._keep()
        return {**self.__dict__, "_db": None}

    __hash__ = object.__hash__

    def __eq__(self, other: object) -> bool:
        return self is other

    def _keep(self) -> None:
        """Takes everything from the model, which is about to change."""
        if self._model is not None and self.has_solution:
            for part in self._parts.values():
                if not part.is_added:
                    self._records(part.name)
            self._labels  # noqa: B018
        self._model = None

    def _lose(self) -> None:
        """Forgets the model, which is about to be closed."""
        self._model = None

    # ---- Showing it ----

    def __repr__(self) -> str:
        number = f": objective {self.objective:.10g}" if self.objective == self.objective else ":"
        count = f"{self.iterations} iteration{'' if self.iterations == 1 else 's'}"
        separator = ", " if self.objective == self.objective else " "
        return f"<Result {self.status}{number}{separator}{count} of {self.solver}>"

    def _repr_html_(self) -> str:
        rows = {
            "status": self.status,
            "ended by": self.solve_status,
            "objective": f"{self.objective:.10g}",
            "bound": f"{self.bound:.10g}",
            "gap": f"{self.gap:.3g}",
            "iterations": str(self.iterations),
            "solver": f"{self.solver}, {self.seconds:.3g} s",
            "symbols": ", ".join(list(self)[:20]) + (", ..." if len(self) > 20 else ""),
        }
        body = "".join(
            f"<tr><th>{name}</th><td>{html.escape(value)}</td></tr>"
            for name, value in rows.items()
            if value != "nan"
        )
        summary = html.escape(repr(self))
        return f"<details><summary><code>{summary}</code></summary><table>{body}</table></details>"

    def plot(self, name: str, kind: str | None = None, **options: Any) -> Any:
        """Draws a symbol of the solution; see ``zdbcc.plot``. Needs matplotlib.

        Examples
        --------
        >>> zdbcc.Model.from_text(LUNCH).solve().plot("buy").get_ylabel()  # doctest: +SKIP
        'buy (level)'
        """
        return self[name].plot(kind, **options)

    def require_optimal(self) -> Result:
        """The result itself; ``StateError`` unless its solution is proven to be the best.

        Examples
        --------
        >>> zdbcc.Model.from_text(LUNCH).solve().require_optimal().objective
        14.0
        """
        if not self.is_optimal:
            raise StateError(f"the solution is not optimal: {self.status} ({self.solve_status})")
        return self

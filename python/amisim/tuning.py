"""The best settings of a model."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, Mapping

from . import plots
from .errors import CasesFailed
from .grids import FOR_TERMINALS, CaseGrid, listed, refuse_for_terminals, run_grid
from .inputs import Inputs
from .options import documented
from .progress import Progress
from .runs import run_arguments

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from typing_extensions import Unpack

    from ._options import TuneOptions


class Tuning(CaseGrid):
    """What a search for the best settings has found, by the names of tune.json (docs/tune.md).

    best: its `settings` and the `figure` it was sought by, in V, UI or bits; None if there is none
    flat: of each axis, from where to where the figure hardly changes
    confirmed: the best, bit by bit; `adaptation`: the receiver's own, beside them
    table: a row for each of `cases`: settings, rank (1 is the best), figure
    folder: where everything is
    exit_code: that of the command line; 9 where cases failed
    """

    _json, _page, _settings = "tune.json", "tune.html", "settings"

    def plot(self, ax: "Axes | None" = None) -> "Axes":
        """The figure over the settings of one axis or two; of more, over all cases by rank."""
        return plots.tuning(self, ax)

    def _summary(self) -> str:
        best = self["best"]
        if best is None:
            return "no case has a result"
        settings = ", ".join(f"{name}={value}" for name, value in best["settings"].items())
        return f"best of {len(self['cases'])} by {self['figure']}: {settings}"


@documented("tune", without=FOR_TERMINALS)
def tune(model: str | os.PathLike[str], /, channel: Any = None, *,
         over: Mapping[str, Any] | None = None, params: Mapping[str, Any] | None = None,
         out: str | os.PathLike[str] | None = None, progress: Progress = None,
         **options: "Unpack[TuneOptions]") -> Tuning:
    """Finds the best settings of a model, or of a link, on a grid (docs/tune.md).

    over: the axes with their values: parameters of the receiver as ``"rx.EQ_Level"``, of the
        transmitter as ``"tx.post1"``, options of `run` by their names:
        ``{"rx.EQ_Level": range(32), "tx.post1": [0, 0.1]}``
    model, channel, params, options: as for `run`; ``for_="width@1e-9"`` is what is best
    out: folder of all results, in which the same call goes on; by default one that is gone with
        the Tuning that is returned
    progress: as for `run`, in cases

    Cases that fail are rows of the table; `require()` raises where there are any.
    """
    refuse_for_terminals("tune", options)
    axes = {name: listed(values) for name, values in (over or {}).items()}
    with Inputs() as inputs:
        arguments = run_arguments(channel, params, None, {**options, "over": axes}, inputs, "tune")
        return Tuning(*run_grid("tune", model, arguments, [], out, progress,
                                (CasesFailed.exit_code,)))

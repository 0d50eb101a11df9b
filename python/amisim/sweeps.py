"""A model over a grid of settings."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, Mapping

from .errors import CasesFailed
from .grids import FOR_TERMINALS, CaseGrid, listed, refuse_for_terminals, run_grid
from .inputs import Inputs
from .options import COMMANDS, documented
from .progress import Progress
from .runs import run_arguments

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import SweepOptions


class Sweep(CaseGrid):
    """A sweep's table, by the names of table.json (docs/sweep.md): `axes`, `cases`, and how many
    are `ok`, `failed` and `missing`; `table` has a row for each case.

    folder: where everything is
    exit_code: that of the command line; 9 where cases failed
    """

    _json, _page, _settings = "table.json", "report.html", "axes"

    def _summary(self) -> str:
        return f"{self['ok']} cases ok, {self['failed']} failed, {self['missing']} missing"


@documented("sweep", "run", without=FOR_TERMINALS)
def sweep(what: str | os.PathLike[str], /, channel: Any = None, *,
          grid: Mapping[str, Any] | None = None, params: Mapping[str, Any] | None = None,
          out: str | os.PathLike[str] | None = None, progress: Progress = None,
          **options: "Unpack[SweepOptions]") -> Sweep:
    """Runs a model over a grid of settings, several cases at a time.

    what: a model, a plan (.toml), or the folder of a sweep to go on with
    grid: the axes: options of `run` and parameters of the model with their values; the last one
        varies fastest. ``{"EQ_Level": range(32), "loss": [6, 10, 14]}``
    channel, params, options: as for `run`; those of `amisim sweep` are taken as such
    out: folder of all results; by default one that is gone with the Sweep that is returned
    progress: as for `run`, in cases

    Cases that fail are rows of the table: see Sweep. A case that the folder holds already, with the
    same options and files, is not run again.
    """
    command = COMMANDS["sweep"]
    refuse_for_terminals("sweep", options)
    own = {name: value for name, value in options.items() if name in command.options}
    others = {name: value for name, value in options.items() if name not in command.options}
    axes = {name: listed(values) for name, values in (grid or {}).items()}
    with Inputs() as inputs:
        behind = run_arguments(channel, params, None, others, inputs)
        arguments = command.arguments({**own, "grid": axes}, inputs)
        return Sweep(*run_grid("sweep", what, arguments, ["--", *behind] if behind else [], out,
                               progress, (CasesFailed.exit_code,)))

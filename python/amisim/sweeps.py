"""A model over a grid of settings."""

from __future__ import annotations

import json
import os
from functools import cached_property
from typing import TYPE_CHECKING, Any, Mapping

import numpy as np

from .errors import CasesFailed
from .grids import FOR_TERMINALS, GridResult, refuse_for_terminals, rows, run_grid
from .inputs import Inputs
from .options import COMMANDS, documented
from .progress import Progress
from .records import Record, Table, column
from .runs import run_arguments

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import SweepOptions


class Sweep(GridResult):
    """A sweep's table, by the names of table.json (docs/sweep.md): `axes`, `cases`, and how many
    are `ok`, `failed` and `missing`.

    folder: where everything is
    exit_code: that of the command line; 9 where cases failed
    """

    _json, _page = "table.json", "report.html"

    @cached_property
    def table(self) -> Table:
        """A row for each case: its axes, then what was found."""
        axes = {axis["name"]: column([case["axes"][axis["name"]] for case in self["cases"]])
                for axis in self["axes"]}
        return Table({**axes, **rows(self["cases"])})

    def grid(self, name: str) -> np.ndarray:
        """A column in the shape of the grid: an axis of the array for each of the sweep."""
        return self.table[name].reshape([len(axis["values"]) for axis in self["axes"]])

    def result(self, number: int) -> Record:
        """result.json of a case by its number, from 1."""
        path = self.folder / self["cases"][number - 1]["folder"] / "result.json"
        return Record(json.loads(path.read_text()))

    def _counts(self) -> str:
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
    axes = {name: _listed(values) for name, values in (grid or {}).items()}
    with Inputs() as inputs:
        behind = run_arguments(channel, params, None, others, inputs)
        arguments = command.arguments({**own, "grid": axes}, inputs)
        return Sweep(*run_grid("sweep", what, arguments, ["--", *behind] if behind else [], out,
                               progress, (CasesFailed.exit_code,)))


def _listed(values: Any) -> str:
    if isinstance(values, str) or not hasattr(values, "__iter__"):
        return str(values)
    return ",".join(str(v) for v in values)

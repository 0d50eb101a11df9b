"""A model over a grid of settings."""

from __future__ import annotations

import json
import math
import os
import tempfile
from functools import cached_property
from pathlib import Path
from typing import TYPE_CHECKING, Any, Mapping

import numpy as np

from .errors import UsageError, for_exit_code
from .inputs import Inputs
from .options import COMMANDS, documented
from .programs import Finished, program
from .progress import Bar, Progress
from .records import Record, Table, column
from .results import framed
from .runs import run_arguments

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import SweepOptions


class Sweep(Record):
    """A sweep's table, by the names of table.json (docs/sweep.md): `axes`, `cases`, and how many
    are `ok`, `failed` and `missing`.

    folder: where everything is
    exit_code: that of the command line; 9 where cases failed
    """

    def __init__(self, folder: Path, finished: Finished, keep: Any = None):
        super().__init__(json.loads((folder / "table.json").read_text()),
                         folder=folder, exit_code=finished.exit_code)
        self._keep = keep

    @cached_property
    def table(self) -> Table:
        """A row for each case: its axes, then what was found."""
        columns = {axis["name"]: column([case["axes"][axis["name"]] for case in self["cases"]])
                   for axis in self["axes"]}
        names = [name for name in self["cases"][0] if name != "axes"]
        for name in names:
            columns[name] = column([case[name] for case in self["cases"]])
        return Table(columns)

    def grid(self, name: str) -> np.ndarray:
        """A column in the shape of the grid: an axis of the array for each of the sweep."""
        return self.table[name].reshape([len(axis["values"]) for axis in self["axes"]])

    def result(self, number: int) -> Record:
        """result.json of a case by its number, from 1."""
        path = self.folder / self["cases"][number - 1]["folder"] / "result.json"
        return Record(json.loads(path.read_text()))

    def require(self) -> "Sweep":
        """Itself where all cases went well. Raises CasesFailed."""
        if self.exit_code:
            raise for_exit_code(self.exit_code, self._counts(), self)
        return self

    def _counts(self) -> str:
        return f"{self['ok']} cases ok, {self['failed']} failed, {self['missing']} missing"

    def __repr__(self) -> str:
        return f"<amisim sweep: {self._counts()}>"

    def _repr_html_(self) -> str:
        return framed((self.folder / "report.html").read_text())


_FOR_TERMINALS = ("slurm", "partition", "sbatch_option", "chunk", "task", "dry_run")


@documented("sweep", "run", without=_FOR_TERMINALS)
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
    own = {name: value for name, value in options.items() if name in command.options}
    others = {name: value for name, value in options.items() if name not in command.options}
    for name in _FOR_TERMINALS:
        if own.get(name):
            raise UsageError(f"{name}: is for the command line, amisim sweep")
    going_on = Path(what).is_dir()
    keep = None
    if out is None and not going_on:
        keep = tempfile.TemporaryDirectory(prefix="amisim-sweep-")
    folder = Path(what) if going_on else Path(os.fspath(out) if out is not None else keep.name)
    axes = {name: _listed(values) for name, values in (grid or {}).items()}
    with Inputs() as inputs:
        run = run_arguments(channel, params, None, others, inputs)
        arguments = command.arguments({**own, "grid": axes}, inputs)
        if not going_on:
            arguments.append(f"--out={folder}")
        total = math.prod(len(values.split(",")) for values in axes.values())
        with Bar(progress, "cases") as bar:
            finished = program(["sweep", *arguments, os.fspath(what), *(["--", *run] if run else [])],
                               _counter(folder, total, bar) if axes and bar.update else None)
    finished.require(9)
    return Sweep(folder, finished, keep)


def _listed(values: Any) -> str:
    if isinstance(values, str) or not hasattr(values, "__iter__"):
        return str(values)
    return ",".join(str(v) for v in values)


def _counter(folder: Path, total: int, bar: Bar) -> Any:
    def count() -> None:
        done = sum(1 for _ in folder.glob("cases/*/case.json"))
        bar.update(min(done, total), total)  # type: ignore[misc]

    return count

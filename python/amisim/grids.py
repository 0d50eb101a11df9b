"""What sweeps, jitter tests and searches share: many runs, in a folder that outlives them."""

from __future__ import annotations

import json
import math
import os
import tempfile
from functools import cached_property
from pathlib import Path
from typing import Any, Mapping

import numpy as np

from .errors import UsageError
from .programs import Finished, Outcome, program
from .progress import Bar, Progress
from .records import Record, Table, column
from .results import framed

# Options that are of use on a command line alone.
FOR_TERMINALS = ("slurm", "partition", "sbatch_option", "chunk", "task", "dry_run")


class GridResult(Outcome):
    """What a folder of many runs holds, by the names of its .json file.

    folder: where everything is
    exit_code: that of the command line
    """

    _json = ""  # names of the folder's files
    _page = ""

    def __init__(self, folder: Path, finished: Finished, keep: Any):
        members = json.loads((folder / self._json).read_text())
        super().__init__(members, folder=folder, exit_code=finished.exit_code)
        self._keep = keep

    def _repr_html_(self) -> str:
        return framed((self.folder / self._page).read_text())


class CaseGrid(GridResult):
    """One whose `cases` are settings of a grid, each in a folder."""

    _settings = ""  # the member of a case that has its settings by name

    @cached_property
    def table(self) -> Table:
        """A row for each case: its settings, then what was found."""
        axes = {axis: column([case[self._settings][axis] for case in self["cases"]])
                for axis in self._shape()}
        return Table({**axes, **rows(self["cases"])})

    def grid(self, name: str) -> np.ndarray:
        """A column in the shape of the grid: an axis of the array for each of it."""
        return self.table[name].reshape(list(self._shape().values()))

    def result(self, number: int) -> Record:
        """result.json of a case by its number, from 1."""
        path = self.folder / self["cases"][number - 1]["folder"] / "result.json"
        return Record(json.loads(path.read_text()))

    def _shape(self) -> dict[str, int]:
        plan = json.loads((self.folder / "plan.json").read_text())
        return {axis["name"]: len(axis["values"]) for axis in plan["axes"]}


def listed(values: Any) -> str:
    """Values of an axis as the command line has them: with commas between."""
    if isinstance(values, str) or not hasattr(values, "__iter__"):
        return str(values)
    return ",".join(str(v) for v in values)


def rows(records: list[Record]) -> Table:
    """Records as columns; what holds more than a value is left out."""
    names = dict.fromkeys(name for record in records for name in record)
    values = {name: [record[name] if name in record else None for record in records]
              for name in names}
    return Table({name: column(cells) for name, cells in values.items()
                  if not any(isinstance(cell, (Record, list)) for cell in cells)})


def refuse_for_terminals(command: str, given: Mapping[str, Any]) -> None:
    for name in FOR_TERMINALS:
        if given.get(name):
            raise UsageError(f"{name}: is for the command line, amisim {command}")


def run_grid(command: str, what: str | os.PathLike[str], arguments: list[str], behind: list[str],
             out: str | os.PathLike[str] | None, progress: Progress,
             accepted: tuple[int, ...]) -> tuple[Path, Finished, Any]:
    """Runs a command that fills a folder.

    what: a model, a plan, or such a folder, to go on in it
    out: None for a folder that is gone with the third value returned
    accepted: exit codes of which the folder tells all
    """
    keep = None
    if Path(what).is_dir():
        folder = Path(what)
    elif out is not None:
        folder = Path(os.fspath(out))
    else:
        keep = tempfile.TemporaryDirectory(prefix="amisim-grid-")
        folder = Path(keep.name)
    if not Path(what).is_dir():
        arguments = [*arguments, f"--out={folder}"]
    with Bar(progress, "cases") as bar:
        finished = program([command, *arguments, os.fspath(what), *behind],
                           (lambda: _count(folder, bar)) if bar.update else None)
    finished.require(*accepted)
    return folder, finished, keep


def _count(folder: Path, bar: Bar) -> None:
    plan = folder / "plan.json"
    if not plan.exists():
        return
    axes = json.loads(plan.read_text())["axes"]
    total = math.prod(len(axis["values"]) for axis in axes)
    # A search runs the best of them once more.
    total += sum(1 for _ in folder.glob("confirm/cases/*"))
    done = sum(1 for cases in ("cases", "confirm/cases")
               for _ in folder.glob(f"{cases}/*/case.json"))
    bar.update(min(done, total), total)  # type: ignore[misc]

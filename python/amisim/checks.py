"""Checks of files and of models."""

from __future__ import annotations

import html
import os
from typing import TYPE_CHECKING, Any

from .errors import InputError, UsageError
from .grids import rows
from .inputs import Inputs
from .options import COMMANDS, documented
from .programs import Finished, Outcome, program
from .records import Table

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import CheckOptions


class Check(Outcome):
    """What a check has found, by the names of `amisim check --json` (docs/check.md,
    docs/contract.md).

    Of files: `findings`, each with number, severity, file, line, column, text and remedy, and
    `counts` by severity. Of a model: `checks` with their verdicts.
    exit_code: that of the command line; 0 where nothing is wrong. require() raises CheckFailed, or
        WarningsFound with strict=True
    """

    def __init__(self, finished: Finished):
        super().__init__(finished.json(), exit_code=finished.exit_code, text=finished.text)

    @property
    def ok(self) -> bool:
        """Whether the command line would say 0."""
        return self.exit_code == 0

    def table(self) -> Table:
        """The findings, or the single checks, a row each."""
        return rows(self["findings" if "findings" in self else "checks"])

    def _summary(self) -> str:
        counts = self["counts"]
        return ", ".join(f"{counts[name]} {name}" for name in counts)

    def _repr_html_(self) -> str:
        return f"<p>{html.escape(self._summary())}</p>{self.table()._repr_html_()}"


_FOR_TERMINALS = ("json", "sarif", "github", "explain")


@documented("check", without=_FOR_TERMINALS)
def check(*files: str | os.PathLike[str], **options: "Unpack[CheckOptions]") -> Check:
    """Checks IBIS files with all that they name; or, with run="MODEL", tries a model's functions.

    Findings are no exception: see Check. A file that cannot be read is.
    """
    for name in _FOR_TERMINALS:
        if options.get(name):
            raise UsageError(f"{name}: is for the command line, amisim check")
    with Inputs() as inputs:
        arguments = COMMANDS["check"].arguments(options, inputs)
        finished = program(["check", *arguments, "--json", "--", *map(os.fspath, files)])
    if finished.exit_code == InputError.exit_code and "findings" in finished.out:
        raise InputError(_first_error(finished.json()["findings"]), Check(finished))
    finished.require(10, 11)
    return Check(finished)


def _first_error(findings: list[dict[str, Any]]) -> str:
    found = next(f for f in findings if f["severity"] == "error")
    return f"{found['file']}: {found['text']}"

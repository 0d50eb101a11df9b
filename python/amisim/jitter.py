"""What jitter a model bears, and what its clock makes of it."""

from __future__ import annotations

import os
from functools import cached_property
from typing import TYPE_CHECKING, Any, Mapping

from . import plots
from .errors import CasesFailed, WarningsFound
from .grids import FOR_TERMINALS, GridResult, refuse_for_terminals, rows, run_grid
from .inputs import Inputs
from .options import documented
from .progress import Progress
from .records import Record, Table
from .runs import run_arguments

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from typing_extensions import Unpack

    from ._options import ToleranceOptions, TransferOptions

_ACCEPTED = (CasesFailed.exit_code, WarningsFound.exit_code)


class _JitterTest(GridResult):
    @cached_property
    def table(self) -> Table:
        """`points` as columns (points,): Hz, UI, dB and degrees, as their names say."""
        return rows(self["points"])

    def _mask(self) -> str:
        if self["mask"] is None:
            return ""
        verdict = {True: "passed", False: "not passed", None: "not known"}[self["passed"]]
        return f", mask {self['mask']}: {verdict}"


class Tolerance(_JitterTest):
    """What sinusoidal jitter a model bears, by the names of tolerance.json (docs/jitter.md).

    points: of each frequency `frequency_hz`, what `passes_ui_pp` and `fails_ui_pp` (UI peak to
        peak) and its `trials`; `mask_ui_pp` and the `margin` over it
    passed: whether the mask is met; None without one, or where it is not known
    folder: where everything is
    exit_code: that of the command line; 9 where frequencies have no result, 10 for a missed mask
    """

    _json, _page = "tolerance.json", "tolerance.html"

    @cached_property
    def trials(self) -> Table:
        """A row for each trial: frequency_hz, amplitude_ui_pp, passed, bits, errors, why."""
        return rows([Record({"frequency_hz": point["frequency_hz"], **trial, "why": why})
                     for point in self["points"] for trial in point["trials"]
                     for why in [trial["why"] if "why" in trial else ""]])

    def plot(self, ax: "Axes | None" = None) -> "Axes":
        """UI peak to peak over Hz: what is tolerated, each trial, and the mask."""
        return plots.tolerance(self, ax)

    def _summary(self) -> str:
        return f"{len(self['points'])} frequencies, {self['missing']} missing{self._mask()}"


class Transfer(_JitterTest):
    """What a model's clock makes of sinusoidal jitter, by the names of transfer.json
    (docs/jitter.md).

    points: of each amplitude and frequency `amplitude_ui` (peak), `frequency_hz`, `gain_db` and
        `phase_deg`
    bandwidth_hz, peaking_db: of the first amplitude; `amplitudes` has them of each
    generation: the clock's jitter without a sine
    folder, exit_code: as of Tolerance
    """

    _json, _page = "transfer.json", "transfer.html"

    def plot(self, ax: "Axes | None" = None) -> "Axes":
        """Gain, dB, over Hz: a line for each amplitude, and the mask."""
        return plots.transfer(self, ax)

    def _summary(self) -> str:
        return f"{len(self['points'])} points, {self['missing']} missing{self._mask()}"


def _test(command: str, model: str | os.PathLike[str], channel: Any, params: Any,
          out: Any, progress: Progress, options: Mapping[str, Any]) -> Any:
    refuse_for_terminals(command, options)
    with Inputs() as inputs:
        arguments = run_arguments(channel, params, None, options, inputs, command)
        return run_grid(command, model, arguments, [], out, progress, _ACCEPTED)


@documented("tolerance", without=FOR_TERMINALS)
def tolerance(model: str | os.PathLike[str], /, channel: Any = None, *,
              params: Mapping[str, Any] | None = None,
              out: str | os.PathLike[str] | None = None, progress: Progress = None,
              **options: "Unpack[ToleranceOptions]") -> Tolerance:
    """Finds at each frequency how much sinusoidal jitter a model bears (docs/jitter.md).

    model: as for `run`; or the folder of an earlier test to go on with
    channel, params, options: as for `run`; frequencies in Hz, mask by its name or as a file
    out: folder of all results; by default one that is gone with the Tolerance that is returned
    progress: as for `run`, in frequencies, of which the first has no sine

    A mask that is missed is no exception; `require()` makes it one.
    """
    return Tolerance(*_test("tolerance", model, channel, params, out, progress, options))


@documented("transfer", without=FOR_TERMINALS)
def transfer(model: str | os.PathLike[str], /, channel: Any = None, *,
             params: Mapping[str, Any] | None = None,
             out: str | os.PathLike[str] | None = None, progress: Progress = None,
             **options: "Unpack[TransferOptions]") -> Transfer:
    """Finds what a model's recovered clock makes of sinusoidal jitter, over frequency
    (docs/jitter.md).

    model, channel, params, out, progress: as for `tolerance`
    options: as for `run`; frequencies in Hz, jitter_amplitude in UI peak, a number or several

    A mask that is missed is no exception; `require()` makes it one.
    """
    return Transfer(*_test("transfer", model, channel, params, out, progress, options))

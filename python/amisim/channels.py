"""What a channel is like."""

from __future__ import annotations

import contextlib
import os
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING, Any

from . import plots
from .errors import UsageError, WarningsFound
from .inputs import Inputs
from .options import COMMANDS, documented
from .programs import Finished, Outcome, program
from .records import Record, Table
from .results import framed

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from typing_extensions import Unpack

    from ._options import ChannelOptions


class Channel(Outcome):
    """A channel's losses, reflections, crosstalk and limits, by the names of channel.json
    (docs/network.md).

    curves: the tables of the .csv files: `curves.channel` over frequency_hz, in dB;
        `curves.impedance`, ohm over time_s; `curves.response`, V over time_s
    exit_code: that of the command line; 10 where a limit is missed, which require() raises
        WarningsFound for
    """

    def __init__(self, folder: Path, finished: Finished):
        tables = {path.stem: Table.from_csv(path.read_text()) for path in folder.glob("*.csv")}
        super().__init__(finished.json(), curves=Record({}, **tables),
                         exit_code=finished.exit_code)
        self._page = (folder / "channel.html").read_text()

    @property
    def ok(self) -> bool:
        """Whether all limits that were judged are kept."""
        return self.exit_code == 0

    def report(self) -> str:
        """The page channel.html."""
        return self._page

    def plot(self, ax: "Axes | None" = None, *names: str) -> "Axes":
        """Columns of `curves.channel`, dB over GHz; unnamed, the losses."""
        return plots.channel(self, ax, names)

    def _summary(self) -> str:
        if "limits" not in self:
            return f"{self['channel']}, no limits"
        missed = [line["curve"] for line in self["limits.lines"]
                  if "kept" in line and not line["kept"]]
        found = f"misses {', '.join(missed)}" if missed else "keeps all that was judged"
        return f"{self['channel']}, {self['limits.name']}: {found}"

    def _repr_html_(self) -> str:
        return framed(self._page)


@documented("channel", without=("json",))
def channel(file: Any, /, *more: Any, out: str | os.PathLike[str] | None = None,
            **options: "Unpack[ChannelOptions]") -> Channel:
    """Looks at a channel from the transmitter to the receiver (docs/network.md).

    file, more: paths of Touchstone files, or objects with .f (points,) in Hz, .s (points, ports,
        ports) and .z0 in ohm; several are in cascade
    out: folder of all that `amisim channel` writes; by default nothing is left

    Limits that are missed are no exception; `require()` makes them one.
    """
    if options.get("json"):
        raise UsageError("json: is for the command line, amisim channel")
    with contextlib.ExitStack() as stack:
        inputs = stack.enter_context(Inputs())
        arguments = COMMANDS["channel"].arguments(options, inputs)
        if out is None:
            if options.get("pictures") is not None:
                raise UsageError("pictures: needs a folder, out=")
            arguments.append("--pictures=none")
            out = stack.enter_context(tempfile.TemporaryDirectory(prefix="amisim-"))
        paths = [inputs.path("channel", file) for file in (file, *more)]
        finished = program(["channel", *arguments, "--json", f"--out={os.fspath(out)}", "--",
                            *paths])
        finished.require(WarningsFound.exit_code)
        return Channel(Path(out), finished)

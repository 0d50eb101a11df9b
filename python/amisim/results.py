"""What a run has found."""

from __future__ import annotations

import html
import io
import json
from functools import cached_property
from typing import TYPE_CHECKING, Any

import numpy as np

from . import plots
from .records import Density, Record, Table

if TYPE_CHECKING:
    from matplotlib.axes import Axes


def framed(page: str, height: int = 900) -> str:
    """A page with scripts of its own inside a notebook's."""
    return (f'<iframe srcdoc="{html.escape(page)}" style="width:100%;height:{height}px;border:0" '
            "></iframe>")


class Run(Record):
    """The results of a run, by the names that result.json has (docs/results.md).

    ``r.eye.height_v`` or ``r["eye.height_v"]``; ``dir(r)`` lists what there is. Arrays besides:

    wave: (samples,), V, the output waveform; None where it was not kept
    clock.time_s: (ticks,), s, the clock times as the model returned them
    impulses: a list of (samples,), V/s, the impulse responses as AMI_Init gave them back: the
        channel's, then the aggressors'
    eye.density, input_eye.density: see Density
    runs: the Run of each segment of a link, in its order, the last of them this one; of those
        before it waveform and clock times are not kept
    curves: the tables of the run's .csv files by the files' names, such as ``curves.bathtub``

    In a notebook it shows itself as the run's report.
    """

    def __init__(self, handle: Any):
        members = json.loads(handle.json())
        files = handle.curves()
        for eye, file in (("eye", "eye.npy"), ("input_eye", "eye-input.npy")):
            if file in files:
                counts = np.load(io.BytesIO(files[file]))
                members[eye]["density"] = Density(members[eye]["density"], counts)
        members["clock"] = Record(members["clock"], time_s=handle.clock)
        super().__init__(members, wave=handle.wave)
        self._handle = handle
        self._files = files

    @property
    def sample_interval_s(self) -> float:
        """Time between the samples of wave and impulses."""
        signal = self["signal"]
        return 1 / (signal["bit_rate"] * signal["samples_per_bit"])

    @cached_property
    def impulses(self) -> list[np.ndarray]:
        return self._handle.impulses()

    @cached_property
    def runs(self) -> list["Run"]:
        return [*map(Run, self._handle.earlier()), self]

    @cached_property
    def curves(self) -> Record:
        tables = {
            name.removesuffix(".csv"): Table.from_csv(content.decode())
            for name, content in self._files.items() if name.endswith(".csv")
        }
        return Record({}, **tables)

    def report(self) -> str:
        """The page report.html."""
        return self._handle.report()

    def _repr_html_(self) -> str:
        return framed(self.report())

    def __repr__(self) -> str:
        eye = self["eye"]
        height, width = eye["height_v"], eye["width_ui"]
        found = [str(self["verdict"] or "no verdict"), f"{self['bits']:,} bits"]
        if height is not None:
            found.append(f"eye {1000 * height:.1f} mV")
        if width is not None:
            found.append(f"{width:.3f} UI")
        if self["errors"] is not None:
            found.append(f"{self['errors']:,} errors")
        return f"<amisim run of {self['model.name']}: {', '.join(found)}>"

    def __dir__(self) -> list[str]:
        return [*super().__dir__(), "impulses", "runs", "curves", "report", "sample_interval_s",
                "plot_eye", "plot_bathtub", "plot_tie", "plot_wave"]

    def plot_eye(self, ax: "Axes | None" = None, *, which: str = "eye") -> "Axes":
        """The density of an eye ("eye" or "input_eye") with its contours, two UI wide."""
        return plots.eye(self, ax, which)

    def plot_bathtub(self, ax: "Axes | None" = None, *, axis: str = "phase_ui") -> "Axes":
        """Error ratio against phase ("phase_ui") or threshold ("voltage_v"), of all eyes."""
        return plots.bathtub(self, ax, axis)

    def plot_tie(self, ax: "Axes | None" = None) -> "Axes":
        """Time interval error of the recovered clock, UI over bits."""
        return plots.tie(self, ax)

    def plot_wave(self, ax: "Axes | None" = None, *, bits: slice = slice(-20, None)) -> "Axes":
        """The output waveform of some bits, with the clock times in it."""
        return plots.wave(self, ax, bits)

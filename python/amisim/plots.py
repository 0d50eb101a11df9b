"""Results drawn with matplotlib, upon axes of one's own."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from .errors import InputError

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from .results import Run


def new_axes(ax: "Axes | None") -> "Axes":
    """The axes, or new ones."""
    if ax is not None:
        return ax
    import matplotlib.pyplot as plt

    return plt.subplots()[1]


def _table(run: "Run", name: str, **equal: Any) -> Any:
    table = getattr(run.curves, name, None)
    if table is None:
        raise InputError(f"the run has found no {name}")
    return table.where(**equal) if equal else table


def eye(run: "Run", ax: "Axes | None", which: str) -> "Axes":
    found = run[which]
    density = found.density if found is not None else None
    if density is None:
        raise InputError(f"the run has found no {which}")
    ax = new_axes(ax)
    # Two unit intervals around the sampling instant, in the order of time.
    middle = found.sampled_at_ui
    columns = density.counts.shape[1]
    share = density.counts / np.maximum(density.counts.sum(axis=0), 1)
    twice = np.roll(np.hstack([share, share]), -round((middle % 1) * columns), axis=1)
    low = density.first_edge_v
    high = low + density.voltages * density.step_v
    least = share[share > 0].min() / 2
    ax.imshow(np.log(np.maximum(twice, least)), origin="lower", aspect="auto", cmap="inferno",
              extent=(-1, 1, 1000 * low, 1000 * high), interpolation="nearest")
    name = {"eye": "output", "input_eye": "input"}[which]
    contours = getattr(run.curves, "contours", None)
    if contours is not None and name in contours.eye:
        contours = contours.where(eye=name)
        for ber in np.unique(contours.ber):
            line = contours.where(ber=ber)
            x = np.concatenate([line.phase_ui, line.phase_ui[::-1], line.phase_ui[:1]]) - middle
            y = np.concatenate([line.high_v, line.low_v[::-1], line.high_v[:1]])
            style = "--" if line.extrapolated.any() else "-"
            ax.plot(x, 1000 * y, style, linewidth=1, label=f"{ber:.0e}")
        ax.legend(title="BER", loc="upper right", fontsize="small")
    ax.set(xlim=(-1, 1), xlabel="UI from the sampling instant", ylabel="mV",
           title=f"Eye at the {name}")
    return ax


def bathtub(run: "Run", ax: "Axes | None", axis: str) -> "Axes":
    table = _table(run, "bathtub", axis=axis)
    ax = new_axes(ax)
    for name in dict.fromkeys(table.eye):
        side = table.where(eye=name)
        line, = ax.semilogy(side.position, _positive(side.counted_ratio), label=name)
        if not name.startswith("statistical"):
            ax.semilogy(side.position, _positive(side.extrapolated_ratio), "--",
                        color=line.get_color(), linewidth=0.8)
    ax.set(ylim=(1e-15, 1), ylabel="error ratio",
           xlabel="UI after the clock time" if axis == "phase_ui" else "threshold, V")
    ax.legend()
    return ax


def _positive(ratios: np.ndarray) -> np.ndarray:
    return np.where(ratios > 0, ratios, np.nan)


def tie(run: "Run", ax: "Axes | None") -> "Axes":
    table = _table(run, "tie")
    ax = new_axes(ax)
    ax.fill_between(table.bit, table.least_ui, table.greatest_ui, alpha=0.3, linewidth=0)
    ax.plot(table.bit, table.mean_ui)
    ax.set(xlabel="bit", ylabel="time interval error, UI")
    return ax


def wave(run: "Run", ax: "Axes | None", bits: slice) -> "Axes":
    if run.wave is None:
        raise InputError("the output waveform was not kept: run with keep_wave=True")
    ax = new_axes(ax)
    step = run.sample_interval_s
    samples = run["signal"]["samples_per_bit"]
    first, last, _ = bits.indices(len(run.wave) // samples)
    time = np.arange(first * samples, last * samples) * step
    ax.plot(time * 1e9, run.wave[first * samples:last * samples])
    if len(time):
        for tick in run.clock.time_s[(run.clock.time_s >= time[0]) & (run.clock.time_s <= time[-1])]:
            ax.axvline(tick * 1e9, color="0.8", linewidth=0.8, zorder=0)
    ax.set(xlabel="ns", ylabel="V")
    return ax

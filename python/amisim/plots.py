"""Results drawn with matplotlib, upon axes of one's own."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from .errors import InputError

if TYPE_CHECKING:
    from matplotlib.axes import Axes

    from .channels import Channel
    from .jitter import Tolerance, Transfer
    from .results import Run
    from .tuning import Tuning


def new_axes(ax: "Axes | None") -> "Axes":
    """The axes, or new ones."""
    if ax is not None:
        return ax
    import matplotlib.pyplot as plt

    return plt.subplots()[1]


def tolerance(found: "Tolerance", ax: "Axes | None") -> "Axes":
    ax = new_axes(ax)
    table, trials = found.table, found.trials
    ax.plot(table.frequency_hz, table.tolerance_ui_pp, label="tolerated")
    for passed, name in ((1, "passed"), (0, "failed")):
        dots = trials.where(passed=passed)
        ax.plot(dots.frequency_hz, dots.amplitude_ui_pp, ".", label=name)
    if found.mask is not None:
        ax.plot(table.frequency_hz, table.mask_ui_pp, "--", label=f"mask {found.mask}")
    ax.set(xscale="log", yscale="log", xlabel="Hz", ylabel="sinusoidal jitter, UI peak to peak")
    ax.legend()
    return ax


def transfer(found: "Transfer", ax: "Axes | None") -> "Axes":
    ax = new_axes(ax)
    for amplitude in np.unique(found.table.amplitude_ui):
        line = found.table.where(amplitude_ui=amplitude)
        ax.plot(line.frequency_hz, line.gain_db, ".-", label=f"{amplitude:g} UI peak")
    if found.mask is not None:
        ax.plot(line.frequency_hz, line.mask_db, "--", label=f"mask {found.mask}")
    ax.set(xscale="log", xlabel="Hz", ylabel="gain, dB")
    ax.legend()
    return ax


def tuning(found: "Tuning", ax: "Axes | None") -> "Axes":
    ax = new_axes(ax)
    table = found.table
    shape = found.grid("figure").shape
    axes = list(table)[:len(shape)]
    if len(shape) == 2:
        image = ax.imshow(found.grid("figure"), aspect="auto", cmap="viridis")
        for name, axis in zip(axes, (ax.yaxis, ax.xaxis)):
            values = list(dict.fromkeys(table[name]))
            axis.set_ticks(range(len(values)), [f"{value}" for value in values])
            axis.set_label_text(name)
        ax.figure.colorbar(image, ax=ax, label=found.figure)
        return ax
    x = table[axes[0]] if len(shape) == 1 else table["rank"]
    ax.plot(x, table["figure"], ".-" if len(shape) == 1 else ".")
    ax.set(xlabel=axes[0] if len(shape) == 1 else "rank", ylabel=found.figure)
    return ax


def channel(found: "Channel", ax: "Axes | None", names: tuple[str, ...]) -> "Axes":
    ax = new_axes(ax)
    table = found.curves.channel
    losses = [name for name in table if name.endswith("_db") and "loss" in name]
    for name in names or losses:
        ax.plot(table.frequency_hz * 1e-9, table[name], label=name.removesuffix("_db"))
    ax.set(xlabel="GHz", ylabel="dB", title=found["channel"])
    ax.legend()
    return ax


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

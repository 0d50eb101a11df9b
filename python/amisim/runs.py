"""Runs, in this process but for the models."""

from __future__ import annotations

import contextlib
import os
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING, Any, Mapping

from . import _core
from .errors import Error, UsageError, for_exit_code
from .inputs import Inputs, channel_option
from .options import COMMANDS, documented
from .programs import PROGRAMS
from .progress import Bar, Progress
from .results import Run

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import RunOptions, StatisticalOptions



def run_arguments(channel: Any, params: Any, wave: Any, options: Mapping[str, Any],
                  inputs: Inputs, command: str = "run") -> list[str]:
    """Arguments of `amisim run`, or of a command with its options, in place of what is Python's
    way to give them."""
    given = dict(options)
    special = {"param": params, "wave": None if isinstance(wave, bool) else wave}
    if channel is not None:
        special[channel_option(channel)] = channel
    for keyword, value in special.items():
        if value is not None and given.setdefault(keyword, value) is not value:
            raise UsageError(f"{keyword}: is given twice")
    return COMMANDS[command].arguments(given, inputs)


@documented("run")
def run(model: str | os.PathLike[str], /, channel: Any = None, *,
        params: Mapping[str, Any] | None = None, wave: Any = None,
        keep_wave: bool | None = None, out: str | os.PathLike[str] | None = None,
        progress: Progress = None, **options: "Unpack[RunOptions]") -> Run:
    """Runs a model on a signal and looks at what it makes of it.

    model: path of the .ibs, .ami or .so file; with ``model="NAME"`` the [Model] of an .ibs that
        holds several
    channel: path of a Touchstone file (or .csv, .npy: of an impulse response); an object with .f
        (points,) in Hz, .s (points, ports, ports) and .z0 in ohm; or an impulse response as
        (times in s, values in 1/s) or an array of shape (n, 2) of both. Other options for files
        take arrays and such objects too
    params: parameters of the model by their names
    wave: a measured waveform instead of pattern and channel: a path; (times in s, voltages in V),
        an array (n, 2) of both, or (n,) of voltages with ``wave_step`` in s. True and False mean
        what keep_wave means
    keep_wave: whether the output waveform is kept, 8 bytes a sample; by default below a million
        bits
    out: folder that everything is written into as `amisim run` does; by default nothing is left
    progress: None for a bar where a person may be looking, False for none, or a function that is
        called with the bits done and the bits to do

    Returns a Run. Raises a subclass of amisim.Error for each exit code of the command line, with
    its text; the `result` of one about a model holds what was found until it failed. Ctrl-C ends
    the run; other threads go on meanwhile.
    """
    if isinstance(wave, bool):
        if keep_wave is not None and keep_wave != wave:
            raise UsageError("wave, keep_wave: contradict each other")
        keep_wave = wave
    with contextlib.ExitStack() as stack:
        inputs = stack.enter_context(Inputs())
        arguments = run_arguments(channel, params, wave, options, inputs)
        if out is None:
            for keyword in ("save_wave", "pictures"):
                if options.get(keyword) is not None:
                    raise UsageError(f"{keyword}: needs a folder, out=")
            folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="amisim-"))
        else:
            folder = os.fspath(out)
        bar = stack.enter_context(Bar(progress, "bits"))
        handle = _core.Run([*arguments, f"--out={folder}", "--", os.fspath(model)],
                           worker=str(PROGRAMS / "amisim-worker"), write=out is not None,
                           keep_wave=keep_wave, progress=bar.update)
        result = Run(handle)
    if handle.exit_code:
        raise for_exit_code(handle.exit_code, handle.failure, result)
    return result


@documented("run")
def statistical(model: str | os.PathLike[str], /, channel: Any = None, *,
                params: Mapping[str, Any] | None = None,
                out: str | os.PathLike[str] | None = None,
                **options: "Unpack[StatisticalOptions]") -> Run:
    """Computes eyes from what AMI_Init gives back, without sending a bit (docs/statistical.md).

    model, channel, params, out, options: as for `run`

    Returns a Run whose `statistical.input_eye` and `statistical.eye` hold what was computed, and
    `curves` their bathtubs and contours. `statistical.eye` is None where AMI_Init does not tell
    what the receiver does.
    """
    return run(model, channel, params=params, out=out, progress=False,
               **{**options, "statistical": "only"})

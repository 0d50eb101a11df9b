"""A channel simulator for IBIS-AMI models.

    >>> import amisim
    >>> r = amisim.run("retimer.ibs", channel="backplane.s4p", bits=200_000)
    >>> r.eye.height_v, r["eye.width_ui"]

docs/python.md walks through it.
"""

from ._core import version as __version__
from .checks import Check, check
from .errors import (CasesFailed, CheckFailed, Error, InputError, Interrupted, ModelCrashed,
                     ModelLoadError, ModelRefused, TimeLimitReached, UsageError, WarningsFound)
from .results import Run
from .runs import run, statistical
from .sweeps import Sweep, sweep

__all__ = [
    "CasesFailed", "Check", "CheckFailed", "Error", "InputError", "Interrupted", "ModelCrashed",
    "ModelLoadError", "ModelRefused", "Run", "Sweep", "TimeLimitReached", "UsageError",
    "WarningsFound", "check", "run", "statistical", "sweep",
]

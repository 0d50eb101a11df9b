"""A channel simulator for IBIS-AMI models.

    >>> import amisim
    >>> r = amisim.run("retimer.ibs", channel="backplane.s4p", bits=200_000)
    >>> r.eye.height_v, r["eye.width_ui"]

docs/python.md walks through it.
"""

from .system import explained

try:
    from ._core import version as __version__
except ImportError as error:
    raise explained(error) from None
from .channels import Channel, channel
from .checks import Check, check
from .errors import (CasesFailed, CheckFailed, Error, InputError, Interrupted, ModelCrashed,
                     ModelLoadError, ModelRefused, TimeLimitReached, UsageError, WarningsFound)
from .jitter import Tolerance, Transfer, tolerance, transfer
from .links import link
from .results import Run
from .runs import run, statistical
from .sweeps import Sweep, sweep
from .tuning import Tuning, tune

__all__ = [
    "CasesFailed", "Channel", "Check", "CheckFailed", "Error", "InputError", "Interrupted",
    "ModelCrashed", "ModelLoadError", "ModelRefused", "Run", "Sweep", "TimeLimitReached",
    "Tolerance", "Transfer", "Tuning", "UsageError", "WarningsFound", "channel", "check", "link",
    "run", "statistical", "sweep", "tolerance", "transfer", "tune",
]

"""What can go wrong: a class for each exit code of the program `amisim`."""

from __future__ import annotations

from typing import Any


class Error(Exception):
    """An error of amisim; the text is the one that the command line prints.

    result: what there was until then, where there was anything; else None.
    """

    exit_code = 1

    def __init__(self, text: str = "", result: Any = None):
        super().__init__(text)
        self.result = result


class UsageError(Error, ValueError):
    """Options that do not exist, have an impossible value, or do not fit together."""

    exit_code = 2


class InputError(Error):
    """A file that cannot be read or written."""

    exit_code = 3


class ModelLoadError(Error):
    """A model that cannot be loaded."""

    exit_code = 4


class ModelCrashed(Error):
    """A model that crashed, aborted or ended its process."""

    exit_code = 5


class ModelRefused(Error):
    """A model that returned 0."""

    exit_code = 6


class TimeLimitReached(Error):
    """A call, or the run, that took longer than it was given."""

    exit_code = 7


class Interrupted(KeyboardInterrupt):
    """Ctrl-C in a command that runs as a program of its own."""

    exit_code = 8

    def __init__(self, text: str = "", result: Any = None):
        super().__init__(text)
        self.result = result


class CasesFailed(Error):
    """A sweep of which some cases failed or are missing."""

    exit_code = 9


class WarningsFound(Error):
    """A check that found warnings, with strict=True; a mask or a limit that is missed."""

    exit_code = 10


class CheckFailed(Error):
    """A file or a model that does not keep what it must."""

    exit_code = 11


_CLASSES = {c.exit_code: c for c in [*Error.__subclasses__(), Error, Interrupted]}


def for_exit_code(code: int, text: str, result: Any = None) -> Error | Interrupted:
    """The exception for an exit code of the program."""
    return _CLASSES.get(code, Error)(text, result)

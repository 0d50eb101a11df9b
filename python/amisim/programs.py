"""Commands whose results are files or JSON: they run as the program `amisim` itself."""

from __future__ import annotations

import json
import os
import signal
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Any, Callable, TypeVar

from .errors import Interrupted, for_exit_code
from .records import Record

PROGRAMS = Path(__file__).parent / "bin"

# A command that was asked to end has this long until it is made to, s.
_PATIENCE = 3.0


class Finished:
    """How a command ended: its exit code, and what it printed."""

    def __init__(self, exit_code: int, out: str, text: str):
        self.exit_code = exit_code
        self.out = out
        self.text = text

    def require(self, *accepted: int, result: Any = None) -> None:
        """Raises what stands for the exit code unless it is 0 or one of these."""
        if self.exit_code not in (0, *accepted):
            raise for_exit_code(self.exit_code, self.text, result)

    def json(self) -> Any:
        return json.loads(self.out)


Self = TypeVar("Self", bound="Outcome")


class Outcome(Record):
    """What a command found, which it may have something against.

    exit_code: that of the command line
    """

    def require(self: Self) -> Self:
        """Itself where the command line says 0; else raises what its exit code stands for."""
        if self.exit_code:
            raise for_exit_code(self.exit_code, self._summary(), self)
        return self

    def _summary(self) -> str:
        raise NotImplementedError

    def __repr__(self) -> str:
        return f"<amisim {type(self).__name__.lower()}: {self._summary()}>"


def program(arguments: list[str], tick: Callable[[], Any] | None = None) -> Finished:
    """Runs `amisim` with these arguments. Ctrl-C ends it in good order and becomes Interrupted.

    tick: called several times a second meanwhile
    """
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        # A session of its own: Ctrl-C on a terminal comes to it once, from here.
        process = subprocess.Popen([PROGRAMS / "amisim", *map(os.fspath, arguments)],
                                   stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                   start_new_session=True)
        try:
            while process.poll() is None:
                try:
                    process.wait(0.2)
                except subprocess.TimeoutExpired:
                    if tick:
                        tick()
        except BaseException as error:
            process.send_signal(signal.SIGINT)
            try:
                process.wait(_PATIENCE)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            if isinstance(error, KeyboardInterrupt):
                raise Interrupted(f"amisim {arguments[0]} was interrupted") from None
            raise
        texts = []
        for file in (out, err):
            file.seek(0)
            texts.append(file.read().decode(errors="replace"))
    return Finished(process.returncode, texts[0], texts[1].strip().removeprefix("amisim: "))


def main() -> None:
    """The command line `amisim`, as a wheel installs it."""
    path = PROGRAMS / "amisim"
    os.execv(path, [os.fspath(path), *sys.argv[1:]])

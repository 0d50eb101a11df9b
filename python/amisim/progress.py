"""How far something is, in terminals and notebooks."""

from __future__ import annotations

import sys
import time
from typing import Any, Callable, Optional, Union

Progress = Optional[Union[bool, Callable[[int, int], Any]]]


class Bar:
    """A bar once the work has taken two seconds, gone when it ends.

    wanted: None for a bar where a person may be looking, False for none, True for one in any case,
    or a function that is called with what is done and what there is to do.
    """

    def __init__(self, wanted: Progress, unit: str):
        self._unit = unit
        self._begin = self._last = time.monotonic()
        self._shown: Any = None
        self.update: Callable[[int, int], Any] | None
        if callable(wanted):
            self.update = wanted
        elif wanted is False:
            self.update = None
        elif _in_notebook():
            self.update = self._in_cell
        elif wanted or sys.stderr is not None and sys.stderr.isatty():
            self.update = self._in_line
        else:
            self.update = None

    def __enter__(self) -> "Bar":
        return self

    def __exit__(self, *_: object) -> None:
        if self._shown is None:
            return
        if self._shown == "line":
            sys.stderr.write("\r\033[K")
            sys.stderr.flush()
        else:
            self._shown.update(_html(""))

    def _due(self) -> bool:
        now = time.monotonic()
        due = now - self._begin > 2 and now - self._last > 0.2
        if due:
            self._last = now
        return due

    def _text(self, done: int, total: int) -> str:
        left = (time.monotonic() - self._begin) * (total - done) / done if done else 0
        return (f"{100 * done / total:3.0f} %  {done:,} of {total:,} {self._unit}  "
                f"{int(left) // 60}:{int(left) % 60:02} left")

    def _in_line(self, done: int, total: int) -> None:
        if self._due():
            full = round(30 * done / total)
            self._shown = "line"
            sys.stderr.write(f"\r{'█' * full}{'░' * (30 - full)} {self._text(done, total)}\033[K")
            sys.stderr.flush()

    def _in_cell(self, done: int, total: int) -> None:
        if not self._due():
            return
        content = _html(f'<progress value="{done}" max="{total}"></progress> '
                        f"{self._text(done, total)}")
        if self._shown is None:
            from IPython.display import display

            self._shown = display(content, display_id=True)
        else:
            self._shown.update(content)


def _in_notebook() -> bool:
    shell = sys.modules.get("IPython")
    return shell is not None and type(shell.get_ipython()).__name__ == "ZMQInteractiveShell"


def _html(text: str) -> Any:
    from IPython.display import HTML

    return HTML(text)

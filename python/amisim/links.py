"""Links of several segments, which retimers divide."""

from __future__ import annotations

import json
import os
from pathlib import Path
from typing import TYPE_CHECKING, Any, Mapping, Sequence

from .errors import UsageError
from .inputs import Inputs, channel_option
from .options import COMMANDS, documented, plain
from .progress import Progress
from .results import Run
from .runs import run

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._options import LinkOptions


@documented("run")
def link(what: str | os.PathLike[str] | Sequence[Mapping[str, Any]], /, *,
         keep_wave: bool | None = None, out: str | os.PathLike[str] | None = None,
         progress: Progress = None, **options: "Unpack[LinkOptions]") -> Run:
    """Runs a link of several segments (docs/link.md).

    what: path of a link file (.toml); or its segments as mappings, in the link's order:
        ``[{"channel": {"loss": 10}, "rx": {"ibis": "retimer.ibs", "as": "retimer"}},
        {"channel": "backplane.s4p", "tx": {"post": [0.1]}, "rx": {"ibis": "retimer.ibs"}}]``,
        with networks and arrays wherever files may stand
    keep_wave, out, progress: as for `run`
    options: those of the whole link, which replace the file's; ``set={"2.loss": 6}`` replaces a
        value of a segment

    Returns a Run: what the last segment's receiver makes of it, `end_to_end`, the numbers of all
    `segments`, and in `runs` the Run of each. Raises as `run`.
    """
    with Inputs() as inputs:
        path = what if isinstance(what, (str, os.PathLike)) else _link_file(what, inputs)
        if Path(path).suffix != ".toml":
            raise UsageError(f"{path}: expected a link file (.toml), or segments as mappings")
        return run(path, keep_wave=keep_wave, out=out, progress=progress, **options)


def _link_file(segments: Any, inputs: Inputs) -> Path:
    if not isinstance(segments, Sequence) or not all(isinstance(s, Mapping) for s in segments):
        raise UsageError(f"link: expected a path or a list of mappings, found {segments!r:.60}")
    text = "".join(f"[[segment]]\n{_lines(segment, inputs)}" for segment in segments)
    path = inputs.new("link.toml")
    path.write_text(text, encoding="utf-8")
    return path


def _lines(segment: Mapping[str, Any], inputs: Inputs) -> str:
    return "".join(f"{_entry(key, value, inputs)}\n" for key, value in segment.items())


def _entry(key: str, value: Any, inputs: Inputs) -> str:
    """KEY = VALUE in TOML; what a file holds becomes one, whose path starts at the root."""
    if isinstance(value, Mapping) and key not in ("fext", "next"):
        inner = ", ".join(_entry(k, v, inputs) for k, v in value.items())
        return f"{json.dumps(key)} = {{ {inner} }}"
    if key == "channel":
        key = channel_option(value)
    option = COMMANDS["run"].options.get(key)
    if key == "ibis" or (option and option.unit == "FILE"):
        many = isinstance(value, list) and (key == "touchstone" or option.takes == "list")
        paths = [os.path.abspath(inputs.path(key, v)) for v in (value if many else [value])]
        value = paths if many else paths[0]
    value = [plain(v) for v in value] if isinstance(value, (list, tuple)) else plain(value)
    return f"{json.dumps(key)} = {json.dumps(value, ensure_ascii=False)}"

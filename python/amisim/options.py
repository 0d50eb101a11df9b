"""The options of the commands, as the command line defines them, for Python's callers.

An option has the name that it has on the command line, with underscores: ``tx_post=[0.1, 0.05]`` is
``--tx-post 0.1,0.05``. Whether a value fits is for the command line's own code to say.
"""

from __future__ import annotations

import difflib
import inspect
import json
import os
from dataclasses import dataclass
from keyword import iskeyword
from typing import Any, Callable, Collection, Mapping

from . import _core
from .errors import UsageError
from .inputs import Inputs


@dataclass(frozen=True)
class Option:
    """One option of a command."""

    name: str  # "--tx-post", or "model" of a positional one
    text: str
    unit: str  # "UI", "FILE"
    group: str
    default: str
    takes: str  # "flag", "value", "values" with commas between, "list" where it may be repeated

    @property
    def keyword(self) -> str:
        name = self.name.removeprefix("--").replace("-", "_")
        return name + "_" if iskeyword(name) else name

    @property
    def is_positional(self) -> bool:
        return not self.name.startswith("-")

    def arguments(self, value: Any, inputs: Inputs) -> list[str]:
        """What the command line is given for a value; nothing for None and False."""
        if value is None or value is False:
            return []
        if self.takes == "flag":
            if value is True:
                return [self.name]
            raise UsageError(f"{self.keyword}: expected True or False, found {value!r}")
        if isinstance(value, Mapping) and self.unit != "FILE":
            value = [f"{key}={_text(part)}" for key, part in value.items()]
        if self.unit == "FILE":
            many = self.takes == "list" and isinstance(value, (list, tuple))
            texts = [inputs.path(self.keyword, v) for v in (value if many else [value])]
        elif isinstance(value, str) or not hasattr(value, "__iter__"):
            texts = [_text(value)]
        else:
            texts = [_text(part) for part in value]
            if self.takes != "list":
                texts = [",".join(texts)]
        return [f"{self.name}={text}" for text in texts]


def plain(value: Any) -> Any:
    """A number of numpy's as Python's, a path as text."""
    if hasattr(value, "item"):
        value = value.item()
    return os.fspath(value) if isinstance(value, os.PathLike) else value


def _text(value: Any) -> str:
    value = plain(value)
    return repr(value) if isinstance(value, float) else str(value)


class Command:
    """A subcommand of `amisim` with its options by their names in Python."""

    def __init__(self, name: str, description: Mapping[str, Any]):
        self.name = name
        self.text = description["text"]
        options = [Option(**option) for option in description["options"]]
        self.options = {o.keyword: o for o in options if not o.is_positional}

    def arguments(self, given: Mapping[str, Any], inputs: Inputs) -> list[str]:
        """The command line of what a caller has given. Raises UsageError for an unknown name."""
        arguments: list[str] = []
        for keyword, value in given.items():
            option = self.options.get(keyword)
            if option is None:
                near = difflib.get_close_matches(keyword, self.options, 1)
                hint = f": did you mean {near[0]}?" if near else ""
                raise UsageError(f"{keyword} is no option of amisim.{self.name}{hint}")
            arguments += option.arguments(value, inputs)
        return arguments

    def describe(self, without: Collection[str] = ()) -> str:
        """The options as the end of a docstring."""
        lines, group = [], None
        for option in self.options.values():
            if option.keyword in without:
                continue
            if option.group != group:
                group = option.group
                lines.append(f"\n{group}:")
            default = f" [{option.default}]" if option.default else ""
            unit = "True" if option.takes == "flag" else option.unit
            lines.append(f"    {option.keyword} ({unit}): {option.text}{default}")
        return "\n".join(lines)


COMMANDS = {name: Command(name, d) for name, d in json.loads(_core.describe_commands()).items()}


def documented(*names: str, without: Collection[str] = ()) -> Callable[[Callable], Callable]:
    """Gives a function the options of these commands in docstring and signature, where help(),
    editors and notebooks look for them.

    without: options that make no sense here
    """

    def decorate(function: Callable) -> Callable:
        signature = inspect.signature(function)
        own = [p for p in signature.parameters.values() if p.kind is not p.VAR_KEYWORD]
        options: dict[str, Option] = {}
        doc = inspect.cleandoc(function.__doc__ or "")
        for name in names:
            doc += f"\n\nOptions of `amisim {name}`:\n{COMMANDS[name].describe(without)}"
            for keyword, option in COMMANDS[name].options.items():
                if keyword not in signature.parameters and keyword not in without:
                    options.setdefault(keyword, option)
        own += [inspect.Parameter(k, inspect.Parameter.KEYWORD_ONLY, default=None) for k in options]
        function.__doc__ = doc
        function.__signature__ = signature.replace(parameters=own)  # type: ignore[attr-defined]
        function.options = options  # type: ignore[attr-defined]
        return function

    return decorate

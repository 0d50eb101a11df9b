"""Writes amisim/_options.pyi: for type checkers and editors, the options of each function by name.

    PYTHONPATH=build/release/python python3 -P write_stubs.py FILE
"""

import sys

import amisim

HEAD = '''"""Options of the command line, made from its definitions."""

from os import PathLike
from typing import Any, Mapping, Sequence, TypedDict, Union

_Value = Union[str, int, float, bool, None]
_Values = Union[_Value, Sequence[Union[str, int, float]]]
_List = Union[_Values, Mapping[str, Any]]
_File = Union[str, PathLike[str], Any, None]  # or an array, or an object with .f, .s and .z0
'''


def type_of(option):
    if option.unit == "FILE":
        return "_File"
    return {"flag": "bool", "value": "_Values", "values": "_Values", "list": "_List"}[option.takes]


def main(path):
    text = HEAD
    for name in amisim.__all__:
        options = getattr(getattr(amisim, name), "options", None)
        if not isinstance(options, dict):
            continue
        text += f"\nclass {name.capitalize()}Options(TypedDict, total=False):\n"
        for keyword, option in options.items():
            text += f"    {keyword}: {type_of(option)}  # {option.text}\n"
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


if __name__ == "__main__":
    main(sys.argv[1])

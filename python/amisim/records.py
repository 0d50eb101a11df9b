"""Results by the names that the files of a run give them."""

from __future__ import annotations

import csv
import html
import io
from typing import Any, Iterator, Mapping

import numpy as np


class Record(Mapping[str, Any]):
    """Members of a JSON object, as attributes and by their dotted paths.

    ``r.eye.height_v`` and ``r["eye.height_v"]`` are the same. What is not known is None. Lists of
    objects are lists of records. A record may hold arrays besides, as attributes.
    """

    def __init__(self, members: Mapping[str, Any], **arrays: Any):
        self._members = {name: _wrapped(value) for name, value in members.items()}
        self._arrays = arrays

    def __getattr__(self, name: str) -> Any:
        if name.startswith("_"):
            raise AttributeError(name)
        for known in (self._arrays, self._members):
            if name in known:
                return known[name]
        raise AttributeError(f"no {name!r} here: there are {', '.join(self.__dir__())}")

    def __getitem__(self, path: str) -> Any:
        if path in self._members:  # a name with dots of its own
            return self._members[path]
        value: Any = self
        for name in path.split("."):
            if isinstance(value, list):
                value = value[int(name)]
                continue
            if not isinstance(value, Record) or name not in value._members:
                raise KeyError(path)
            value = value._members[name]
        return value

    def __iter__(self) -> Iterator[str]:
        return iter(self._members)

    def __len__(self) -> int:
        return len(self._members)

    def __dir__(self) -> list[str]:
        return [*self._members, *self._arrays]

    def __repr__(self) -> str:
        return f"<amisim record: {', '.join(self.__dir__())}>"

    def to_dict(self) -> dict[str, Any]:
        """As plain dictionaries and lists."""
        return {name: _plain(value) for name, value in self._members.items()}


def _wrapped(value: Any) -> Any:
    if isinstance(value, Mapping):
        return value if isinstance(value, Record) else Record(value)
    return [_wrapped(v) for v in value] if isinstance(value, list) else value


def _plain(value: Any) -> Any:
    if isinstance(value, Record):
        return value.to_dict()
    return [_plain(v) for v in value] if isinstance(value, list) else value


class Density(Record):
    """How often a trace passed each place of an eye.

    counts: (voltages, phases), uint32, the lowest voltage first, phases from the clock time on
    phase_ui: (phases,), the middle of each column, UI after the clock time
    voltage_v: (voltages,), the middle of each row
    numpy takes the density for its counts.
    """

    def __init__(self, members: Mapping[str, Any], counts: np.ndarray):
        rows, columns = counts.shape
        super().__init__(
            members,
            counts=counts,
            phase_ui=(np.arange(columns) + 0.5) / columns,
            voltage_v=members["first_edge_v"] + (np.arange(rows) + 0.5) * members["step_v"],
        )

    def __array__(self, dtype: Any = None) -> np.ndarray:
        return np.asarray(self._arrays["counts"], dtype=dtype)


class Table(Mapping[str, np.ndarray]):
    """Columns by their names, as mapping and as attributes; each of shape (rows,)."""

    def __init__(self, columns: Mapping[str, np.ndarray]):
        self._columns = dict(columns)

    @classmethod
    def from_csv(cls, text: str) -> "Table":
        """A column is of floats if all of it are numbers, else of texts."""
        names, *rows = csv.reader(io.StringIO(text))
        return cls({name: column(values) for name, values in zip(names, zip(*rows))})

    def __getattr__(self, name: str) -> np.ndarray:
        if name.startswith("_") or name not in self._columns:
            raise AttributeError(f"no column {name!r}: there are {', '.join(self._columns)}")
        return self._columns[name]

    def __getitem__(self, name: str) -> np.ndarray:
        return self._columns[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._columns)

    def __len__(self) -> int:
        return len(self._columns)

    def __dir__(self) -> list[str]:
        return [*self._columns, "where"]

    def where(self, **equal: Any) -> "Table":
        """The rows whose columns have these values: ``where(eye="output", axis="phase_ui")``."""
        rows = np.ones(len(next(iter(self._columns.values()), ())), dtype=bool)
        for name, value in equal.items():
            rows &= self._columns[name] == value
        return Table({name: values[rows] for name, values in self._columns.items()})

    def __repr__(self) -> str:
        rows = len(next(iter(self._columns.values()), ()))
        return f"<amisim table of {rows} rows: {', '.join(self._columns)}>"

    def _repr_html_(self) -> str:
        heads = "".join(f"<th>{html.escape(name)}</th>" for name in self._columns)
        rows = list(zip(*self._columns.values()))
        body = "".join(
            "<tr>" + "".join(f"<td>{html.escape(_shown(v))}</td>" for v in row) + "</tr>"
            for row in rows[:100]
        )
        more = f"<p>and {len(rows) - 100:,} more rows</p>" if len(rows) > 100 else ""
        return f"<table><thead><tr>{heads}</tr></thead><tbody>{body}</tbody></table>{more}"


def column(values: Any) -> np.ndarray:
    """Floats, nan where something is None or empty; or texts, "" there."""
    try:
        return np.array([np.nan if v is None or v == "" else v for v in values], dtype=float)
    except ValueError:
        return np.array(["" if v is None else v for v in values])


def _shown(value: Any) -> str:
    return f"{value:.6g}" if isinstance(value, float) else str(value)

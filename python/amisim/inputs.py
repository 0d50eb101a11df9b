"""What a caller hands over as arrays and objects, as the files that the simulator reads."""

from __future__ import annotations

import os
import tempfile
from pathlib import Path
from typing import Any, Mapping

import numpy as np

from .errors import InputError, UsageError


class Inputs:
    """A folder of files made of what is no file yet; gone once it is closed."""

    def __init__(self) -> None:
        self._folder: tempfile.TemporaryDirectory[str] | None = None
        self._count = 0

    def __enter__(self) -> "Inputs":
        return self

    def __exit__(self, *_: object) -> None:
        if self._folder:
            self._folder.cleanup()

    def path(self, option: str, value: Any) -> str:
        """The file of a path, a network (.f in Hz, .s, .z0) or an array; of {"file": one of these,
        "element": N} as the command line has it."""
        if isinstance(value, (str, os.PathLike)):
            return os.fspath(value)
        if isinstance(value, Mapping) and set(value) == {"file", "element"}:
            return f"{self.path(option, value['file'])}@{value['element']}"
        if is_network(value):
            ports = np.asarray(value.s).shape[-1]
            path = self.new(f"{option}.s{ports}p")
            path.write_text(touchstone(value, option))
            return str(path)
        path = self.new(f"{option}.npy")
        np.save(path, _columns(option, value))
        return str(path)

    def new(self, name: str) -> Path:
        """Where a file of that name is to be written."""
        if not self._folder:
            self._folder = tempfile.TemporaryDirectory(prefix="amisim-")
        self._count += 1
        folder = Path(self._folder.name) / str(self._count)
        folder.mkdir()
        return folder / name


def is_network(value: Any) -> bool:
    """Whether it has what the usual classes of networks have."""
    return all(hasattr(value, name) for name in ("f", "s", "z0"))


def channel_option(channel: Any) -> str:
    """The option that a channel belongs to: S parameters, one or a cascade, or an impulse
    response."""
    if isinstance(channel, (str, os.PathLike)):
        suffix = Path(os.fspath(channel)).suffix.lower()
        return "impulse" if suffix in (".csv", ".npy") else "touchstone"
    if isinstance(channel, list):  # a cascade; of an impulse response it is rows
        cascade = all(isinstance(c, (str, os.PathLike)) or is_network(c) for c in channel)
        return "touchstone" if cascade else "impulse"
    return "touchstone" if is_network(channel) else "impulse"


def _columns(option: str, value: Any) -> np.ndarray:
    """An array of voltages, or of times and values in two columns; also (times, values)."""
    try:
        array = np.asarray(value, dtype=float)
    except (TypeError, ValueError):
        raise UsageError(
            f"{option}: expected a path, an array of numbers, or an object with .f, .s and .z0, "
            f"found {type(value).__name__}"
        ) from None
    if isinstance(value, tuple) and array.ndim == 2 and len(array) == 2:
        array = array.T
    if array.ndim == 1 or (array.ndim == 2 and array.shape[1] == 2):
        return np.ascontiguousarray(array)
    raise UsageError(
        f"{option}: expected an array of shape (n,) or (n, 2), or a tuple of times and values, "
        f"found shape {array.shape}"
    )


def touchstone(network: Any, name: str = "network") -> str:
    """A network as a Touchstone file of version 1, with all digits.

    f: (points,) in Hz; s: (points, ports, ports), complex; z0: ohm, one for all ports and
    frequencies, whatever its shape.
    """
    f = np.asarray(network.f, dtype=float)
    s = np.asarray(network.s, dtype=complex)
    z0 = np.unique(np.asarray(network.z0))
    if s.ndim != 3 or s.shape[0] != len(f) or s.shape[1] != s.shape[2]:
        raise InputError(
            f"{name}: expected .s of shape (points, ports, ports) for {len(f)} frequencies in .f, "
            f"found {s.shape}"
        )
    if len(z0) != 1 or np.imag(z0[0]) != 0:
        raise InputError(
            f"{name}: expected one real reference impedance in .z0 for all ports and frequencies: "
            "renormalise the network first"
        )
    ports = s.shape[1]
    # Of two ports S21 comes before S12.
    rows = [[s[:, 0, 0], s[:, 1, 0], s[:, 0, 1], s[:, 1, 1]]] if ports == 2 else [
        [s[:, i, j] for j in range(first, min(first + 4, ports))]
        for i in range(ports) for first in range(0, ports, 4)
    ]
    lines = [f"# Hz S RI R {np.real(z0[0]).item()!r}"]
    for k, frequency in enumerate(f):
        for number, row in enumerate(rows):
            pairs = " ".join(f"{v[k].real.item()!r} {v[k].imag.item()!r}" for v in row)
            lines.append(f"{frequency.item()!r} {pairs}" if number == 0 else pairs)
    return "\n".join(lines) + "\n"

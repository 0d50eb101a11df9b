"""What the module needs of the system, for the day that it is not there."""

from __future__ import annotations

import platform
from importlib import metadata


def explained(error: ImportError) -> ImportError:
    """An error of loading the compiled part, with what a wheel says that it needs."""
    try:
        about = metadata.metadata("amisim")
        needs = f"Python {about['Requires-Python']} and {about['Requires-External']}"
    except metadata.PackageNotFoundError:
        needs = "what it was built with"
    here = f"Python {platform.python_version()} and {' '.join(platform.libc_ver()) or 'no glibc'}"
    return ImportError(f"{error}: amisim needs {needs}; here are {here}", name=error.name,
                       path=error.path)

#!/usr/bin/env python3
"""Makes a wheel of the built Python module: make-wheel.py build/release/python/amisim FOLDER

A wheel is a zip file; no network and no packager is needed. It holds the module, amisim and
amisim-worker, and says which C library and which other libraries they need from the system.
"""

import base64
import hashlib
import importlib.util
import re
import subprocess
import sys
import sysconfig
import zipfile
from pathlib import Path

OURS = {"libc", "libm", "libdl", "libpthread", "ld-linux-x86-64", "ld-linux-aarch64"}
PYTHON = f"cp{sys.version_info.major}{sys.version_info.minor}"


def needs(files):
    """The newest version of glibc that the files ask for, and the libraries besides."""
    versions, libraries = {(2, 17)}, set()
    for file in files:
        text = subprocess.run(["objdump", "-p", file], check=True, capture_output=True, text=True).stdout
        versions |= {tuple(map(int, v.split("."))) for v in re.findall(r"\bGLIBC_([\d.]+)", text)}
        libraries |= set(re.findall(r"NEEDED\s+(\S+)", text))
    return max(versions), sorted(l for l in libraries if l.split(".so")[0] not in OURS)


def version_of(package):
    core = next(package.glob("_core*.so"))
    spec = importlib.util.spec_from_file_location("amisim._core", core)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module.version


def main(package, folder):
    package, folder = Path(package), Path(folder)
    files = {f"amisim/{path.relative_to(package)}": path.read_bytes()
             for path in sorted(package.rglob("*"))
             if path.is_file() and "__pycache__" not in path.parts}
    binaries = [path for path in package.rglob("*")
                if path.is_file() and path.read_bytes()[:4] == b"\x7fELF"]
    glibc, libraries = needs(binaries)
    version = version_of(package)
    machine = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    needed = f"glibc {'.'.join(map(str, glibc))} or newer, {', '.join(libraries)}"
    about = f"amisim-{version}.dist-info"
    files[f"{about}/METADATA"] = (
        f"Metadata-Version: 2.1\nName: amisim\nVersion: {version}\n"
        "Summary: A channel simulator for IBIS-AMI models\n"
        f"Requires-Python: =={sys.version_info.major}.{sys.version_info.minor}.*\n"
        "Requires-Dist: numpy\nRequires-Dist: matplotlib; extra == 'plots'\nProvides-Extra: plots\n"
        f"Requires-External: {needed}\n\n"
        f"For Linux with {needed}.\nNo licence has been chosen yet.\n").encode()
    files[f"{about}/WHEEL"] = (
        "Wheel-Version: 1.0\nGenerator: make-wheel\nRoot-Is-Purelib: false\n"
        f"Tag: {PYTHON}-{PYTHON}-{machine}\n").encode()
    files[f"{about}/entry_points.txt"] = b"[console_scripts]\namisim = amisim.programs:main\n"
    record = f"{about}/RECORD"
    lines = [f"{name},sha256={digest(content)},{len(content)}" for name, content in files.items()]
    files[record] = "\n".join([*lines, f"{record},,", ""]).encode()

    folder.mkdir(parents=True, exist_ok=True)
    wheel = folder / f"amisim-{version}-{PYTHON}-{PYTHON}-{machine}.whl"
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in files.items():
            # The same bytes of the same files, whenever it is made.
            info = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            program = content[:4] == b"\x7fELF" and "/bin/" in name
            info.external_attr = (0o100755 if program else 0o100644) << 16
            archive.writestr(info, content)
    sums = hashlib.sha256(wheel.read_bytes()).hexdigest()
    wheel.with_name(wheel.name + ".sha256").write_text(f"{sums}  {wheel.name}\n")
    print(f"{wheel}: needs {needed}")


def digest(content):
    return base64.urlsafe_b64encode(hashlib.sha256(content).digest()).decode().rstrip("=")


if __name__ == "__main__":
    main(*sys.argv[1:])

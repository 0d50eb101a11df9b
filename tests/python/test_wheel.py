"""The wheel: complete, and plain about what it needs of the system."""

import base64
import hashlib
import os
import re
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

import amisim
from conftest import SOURCE


@pytest.fixture(scope="module")
def unpacked(tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    subprocess.run([sys.executable, SOURCE / "scripts/make-wheel.py", Path(amisim.__file__).parent, folder],
                   check=True, capture_output=True)
    wheel, = folder.glob("*.whl")
    assert re.fullmatch(rf"amisim-{amisim.__version__}-cp3\d+-cp3\d+-linux_\w+\.whl", wheel.name)
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(folder / "files")
    return folder / "files"


def imported(folder):
    """What Python says of the module in a folder."""
    return subprocess.run([sys.executable, "-c", "import amisim; print(amisim.__version__, amisim.__file__)"],
                          env={**os.environ, "PYTHONPATH": str(folder)}, capture_output=True, text=True,
                          cwd=folder, check=False)


def test_a_wheel_holds_what_its_record_says_and_works(unpacked):
    record, = unpacked.glob("*.dist-info/RECORD")
    listed = dict(line.split(",")[:2] for line in record.read_text().splitlines())
    files = {str(path.relative_to(unpacked)): path for path in unpacked.rglob("*") if path.is_file()}
    assert set(listed) == set(files) and "amisim/bin/amisim-worker" in files
    for name, digest in listed.items():
        own = hashlib.sha256(files[name].read_bytes()).digest()
        assert not digest or digest == "sha256=" + base64.urlsafe_b64encode(own).decode().rstrip("=")
    done = imported(unpacked)
    assert done.stdout.split() == [amisim.__version__, str(unpacked / "amisim/__init__.py")], done.stderr


def test_a_system_that_lacks_something_is_told_what(unpacked):
    core, = unpacked.glob("amisim/_core*.so")
    about = next(unpacked.glob("*.dist-info/METADATA")).read_text()
    needed, = re.findall(r"^Requires-External: (glibc 2\.\d+ or newer, libcairo.*)$", about, re.M)
    symbols = subprocess.run(["nm", "-D", core], check=True, capture_output=True, text=True).stdout
    newest = max(int(minor) for minor in re.findall(r"@GLIBC_2\.(\d+)", symbols))
    assert int(re.search(r"glibc 2\.(\d+)", needed)[1]) >= newest
    whole = core.read_bytes()
    # As if a newer C library than any were asked for.
    core.write_bytes(whole.replace(f"GLIBC_2.{newest}\0".encode(), b"GLIBC_2.99\0"))
    done = imported(unpacked)
    core.write_bytes(whole)
    assert done.returncode == 1 and needed in done.stderr and "2.99" in done.stderr
    assert "here are Python 3." in done.stderr.splitlines()[-1]

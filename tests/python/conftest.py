"""The numbers of the command line, which the module's are held against."""

import json
import os
import subprocess
from pathlib import Path

import pytest

PACKAGE = Path(os.environ["PACKAGE_FOLDER"])
TEST_MODEL = os.environ["TEST_MODEL"]
FIR_MODEL = os.environ["FIR_MODEL"]
SOURCE = Path(__file__).parents[2]


@pytest.fixture
def model():
    return PACKAGE / "retimer.ibs"


def amisim_program(*arguments, folder=None):
    """Runs the command line."""
    return subprocess.run([os.environ["AMISIM_PROGRAM"], *map(str, arguments)], cwd=folder,
                          capture_output=True, text=True, check=False)


def result_json(folder):
    return json.loads((Path(folder) / "result.json").read_text())

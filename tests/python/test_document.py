"""docs/python.md does what it says: its blocks run one after another, in one session."""

import re
import shutil

import numpy as np

from amisim.inputs import touchstone
from conftest import PACKAGE, SOURCE
from test_run import line_of


def test_the_walk_through_runs(tmp_path, monkeypatch, capsys):
    for file in PACKAGE.glob("?etimer*"):
        if file.is_file():
            shutil.copy(file, tmp_path)
    network = line_of(0.6, np.arange(0, 30e9, 50e6), 4)
    (tmp_path / "backplane.s4p").write_text(touchstone(network))
    monkeypatch.chdir(tmp_path)
    text = (SOURCE / "docs/python.md").read_text()
    blocks = re.findall(r"^```python\n(.*?)^```", text, re.M | re.S)
    assert len(blocks) > 8
    session = {}
    for block in blocks:
        exec(compile(block, "docs/python.md", "exec"), session)
    printed = capsys.readouterr().out
    for expected in ("0 errors in 10,000 bits", "EQ_Level = 77: expected Integer: 0 to 31", "locked",
                     "time limit"):
        assert expected in printed
    assert (tmp_path / "run.png").stat().st_size > 10_000

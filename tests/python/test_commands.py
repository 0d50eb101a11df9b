"""Sweeps and checks: the command line's, as records and arrays."""

import json

import numpy as np
import pytest

import amisim
from conftest import PACKAGE, TEST_MODEL, amisim_program


def test_a_sweep_is_that_of_the_command_line(model, tmp_path):
    done = amisim_program("sweep", model, "--grid", "EQ_Level=0:2", "--grid", "loss=6,10", "--out",
                          tmp_path / "program", "--", "--bits", "2000", "-p", "CTLEAdapt=0")
    assert done.returncode == 0, done.stderr
    s = amisim.sweep(model, grid={"EQ_Level": range(3), "loss": [6, 10]}, params={"CTLEAdapt": 0},
                     bits=2000, jobs=2, out=tmp_path / "python")
    expected = json.loads((tmp_path / "program/table.json").read_text())
    heights = [case["eye_height_v"] for case in expected["cases"]]
    assert s.table.eye_height_v.tolist() == heights and s.require() is s
    assert s.grid("eye_height_v").tolist() == np.reshape(heights, (3, 2)).tolist()
    assert s.table.loss.tolist() == [6, 10] * 3
    assert s.result(4).eye.height_v == heights[3]
    assert s._repr_html_().startswith("<iframe")
    assert amisim.sweep(tmp_path / "python").to_dict() == s.to_dict()  # all run before


def test_cases_that_fail_are_rows(tmp_path):
    s = amisim.sweep(TEST_MODEL, grid={"param.Mode": ["normal", "abort"]}, bits=3000, ppm=0)
    assert (s.ok, s.failed, s.exit_code) == (1, 1, 9)
    assert s.table.status.tolist() == ["ok", "failed"]
    with pytest.raises(amisim.CasesFailed, match="1 cases ok, 1 failed"):
        s.require()
    folder = s.folder
    del s
    assert not folder.exists()


@pytest.mark.parametrize("options, text", [
    ({}, "nothing to sweep"),
    ({"grid": {"los": [1, 2]}}, "did you mean loss?"),
    ({"grid": {"loss": [1, 2]}, "nois": 3}, "nois is no option of amisim.run"),
    ({"grid": {"loss": [1, 2]}, "slurm": True}, "for the command line"),
])
def test_a_sweep_that_cannot_be(model, tmp_path, options, text):
    with pytest.raises(amisim.UsageError) as caught:
        amisim.sweep(model, out=tmp_path / "out", **options)
    assert text in str(caught.value)


def test_a_check_is_that_of_the_command_line(model, tmp_path):
    broken = tmp_path / "retimer.ibs"
    broken.write_text(model.read_text().replace("Typ", "Tpy", 1).replace("[Component]", "[Compnent]"))
    expected = amisim_program("check", "--json", broken)
    c = amisim.check(broken)
    assert c.to_dict() == json.loads(expected.stdout)
    assert c.exit_code == expected.returncode == 11 and not c.ok
    assert len(c.table().text) == len(c.findings) > 0
    numbers = {f.number for f in c.findings}
    assert not numbers & {f.number for f in amisim.check(broken, off=sorted(numbers)).findings}
    with pytest.raises(amisim.CheckFailed, match=r"\d+ error"):
        c.require()
    assert amisim.check(model).require().ok
    with pytest.raises(amisim.InputError, match="none.ibs"):
        amisim.check(tmp_path / "none.ibs")


def test_a_model_is_tried(model):
    c = amisim.check(run=PACKAGE / "retimer.ibs", level=2)
    assert c.ok and c.counts.passed == sum(check.outcome == "passed" for check in c.checks) > 0

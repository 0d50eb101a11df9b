"""Jitter tests and searches: the command line's, as records, arrays and plots."""

import json
import signal
import threading

import numpy as np
import pytest

import amisim
from conftest import TEST_MODEL, amisim_program

SHORT = ["--bits", "40000", "--ignore-bits", "5000"]


def folders(tmp_path):
    return tmp_path / "program", tmp_path / "python"


def found_by(done, folder, name):
    assert done.returncode in (0, 10), done.stderr
    return done.returncode, json.loads((folder / name).read_text())


def test_a_tolerance_is_that_of_the_command_line(model, tmp_path):
    program, python = folders(tmp_path)
    mask = tmp_path / "mask.csv"
    mask.write_text("1e6,5\n1e8,5\n")
    code, expected = found_by(
        amisim_program("tolerance", model, "--frequencies", "2e6,2e7", "--ber", "1e-3", "--mask",
                       mask, "--loss", "6", *SHORT, "--out", program), program, "tolerance.json")
    told = []
    t = amisim.tolerance(model, frequencies=[2e6, 2e7], ber=1e-3, mask=mask, loss=6, bits=40000,
                         ignore_bits=5000, out=python, progress=lambda *n: told.append(n))
    assert t.to_dict() == expected and t.exit_code == code == 10
    assert t.table.passes_ui_pp.tolist() == [p["passes_ui_pp"] for p in expected["points"]]
    assert len(t.trials.why) == sum(len(p["trials"]) for p in expected["points"])
    assert all(0 <= done <= total == 3 for done, total in told) and told
    with pytest.raises(amisim.WarningsFound, match="2 frequencies, 0 missing, mask .*not passed"):
        t.require()
    dots = [line for line in t.plot().lines if line.get_label() in ("passed", "failed")]
    assert sum(len(line.get_xdata()) for line in dots) == len(t.trials.why)
    assert t._repr_html_().startswith("<iframe")
    assert amisim.tolerance(python).to_dict() == expected  # all tried before


def test_a_transfer_is_that_of_the_command_line(model, tmp_path):
    program, python = folders(tmp_path)
    code, expected = found_by(
        amisim_program("transfer", model, "--frequencies", "1e6,3e6,2e7", "--jitter-amplitude",
                       "0.05,0.1", *SHORT, "--out", program), program, "transfer.json")
    t = amisim.transfer(model, frequencies=[1e6, 3e6, 2e7], jitter_amplitude=[0.05, 0.1],
                        bits=40000, ignore_bits=5000, out=python)
    assert t.to_dict() == expected and t.exit_code == code and t.require() is t
    assert t.table.where(amplitude_ui=0.1).gain_db[2] < -6 < t.bandwidth_hz
    gains = [line.get_ydata() for line in t.plot().lines]
    assert np.array_equal(np.concatenate(gains), t.table.gain_db)


def test_a_search_is_that_of_the_command_line(model, tmp_path):
    program, python = folders(tmp_path)
    done = amisim_program("tune", model, "--over", "rx.EQ_Level=0,10", "--over", "loss=6,14",
                          "--for", "width@1e-9", "--confirm", "1", "--confirm-bits", "2000",
                          "--out", program)
    _, expected = found_by(done, program, "tune.json")
    t = amisim.tune(model, over={"rx.EQ_Level": [0, 10], "loss": [6, 14]}, for_="width@1e-9",
                    confirm=1, confirm_bits=2000, out=python)
    assert t.to_dict() == expected and t.require() is t
    figures = [case["figure"] for case in expected["cases"]]
    assert t.grid("figure").tolist() == np.reshape(figures, (2, 2)).tolist()
    assert t.table.loss[t.table.rank == 1] == float(t.best.settings.loss)
    assert t.result(1)["statistical.eye"] is not None
    assert t.plot().images[0].get_array().shape == (2, 2)


def test_a_case_that_fails_is_told(tmp_path):
    t = amisim.tune(TEST_MODEL, over={"rx.Mode": ["normal", "abort"]}, for_="errors", bits=3000,
                    ppm=0, confirm=0)
    assert t.exit_code == 9 and t.table.status.tolist() == ["ok", "failed"]
    with pytest.raises(amisim.CasesFailed, match="best of 2 by errors: Mode=normal"):
        t.require()


@pytest.mark.parametrize("call, text", [
    (lambda m: amisim.tolerance(m, sj_amplitude=0.1), "the sine is what this command sets"),
    (lambda m: amisim.tolerance(m, frequency=3e6), "is no option of amisim.tolerance"),
    (lambda m: amisim.transfer(m, slurm=True), "for the command line"),
    (lambda m: amisim.tune(m), "nothing to tune"),
])
def test_what_is_refused(model, tmp_path, monkeypatch, call, text):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(amisim.UsageError) as caught:
        call(model)
    assert text in str(caught.value) and list(tmp_path.iterdir()) == []


def test_ctrl_c_ends_a_test_in_good_order(model, tmp_path):
    before = threading.Timer(1.5, signal.raise_signal, [signal.SIGINT])
    options = {"frequencies": [3e4, 2e7], "ber": 1e-5, "ignore_bits": 100_000, "out": tmp_path / "t"}
    before.start()
    with pytest.raises(KeyboardInterrupt) as caught:
        amisim.tolerance(model, **options)
    assert isinstance(caught.value, amisim.Interrupted) and caught.value.exit_code == 8
    assert (tmp_path / "t/plan.json").exists()

"""Runs: the same numbers, curves, waves and errors as those of the command line."""

import os
import shutil
import signal
import subprocess
import sys
import textwrap
import threading
import time
from types import SimpleNamespace

import numpy as np
import pytest

import amisim
from amisim.inputs import touchstone
from conftest import FIR_MODEL, TEST_MODEL, amisim_program, result_json

LINE = {"bits": 3000, "loss": 14, "noise": 0.002, "tx_post": [0.1, 0.05], "ber": [1e-3, 1e-9]}
LINE_ARGUMENTS = ["--bits", "3000", "--loss", "14", "--noise", "0.002", "--tx-post", "0.1,0.05",
                  "--ber", "1e-3,1e-9"]


def without_paths(members):
    """result.json but for what differs from run to run."""
    return {name: value for name, value in members.items()
            if name not in ("speed", "files", "eye", "input_eye", "clock")}


def test_a_run_is_that_of_the_command_line(model, tmp_path):
    done = amisim_program("run", model, *LINE_ARGUMENTS, "-p", "CTLEAdapt=0", "-p", "EQ_Level=9",
                          "--save-wave", "npy", "--out", tmp_path)
    assert done.returncode == 0, done.stderr
    expected = result_json(tmp_path)
    r = amisim.run(model, params={"EQ_Level": 9, "CTLEAdapt": 0}, **LINE)
    found = r.to_dict()
    assert found["model"]["settings"]["EQ_Level"] == "9"
    assert without_paths(found) == without_paths(expected)
    for eye in ("eye", "input_eye"):
        assert found[eye] == expected[eye]
    assert r.eye.height_v == r["eye.height_v"] == expected["eye"]["height_v"]
    assert np.array_equal(r.eye.density, np.load(tmp_path / "eye.npy"))
    assert np.array_equal(r.input_eye.density, np.load(tmp_path / "eye-input.npy"))
    assert np.array_equal(r.wave, np.load(tmp_path / "wave.npy")[:, 1])
    assert np.array_equal(r.clock.time_s, np.loadtxt(tmp_path / "clock.csv", skiprows=1))
    tie = np.genfromtxt(tmp_path / "tie.csv", delimiter=",", names=True)
    assert np.array_equal(r.curves.tie.mean_ui, tie["mean_ui"])
    assert len(r.curves.bathtub.where(eye="input", axis="phase_ui").position) > 100
    assert r.sample_interval_s == pytest.approx(np.diff(np.load(tmp_path / "wave.npy")[:2, 0])[0])


def test_a_folder_is_that_of_the_command_line(model, tmp_path):
    amisim.run(model, bits=2000, out=tmp_path / "python", pictures=["svg"], save_wave="csv")
    amisim_program("run", model, "--bits", "2000", "--pictures", "svg", "--save-wave", "csv",
                   "--out", tmp_path / "program")
    names = {path.name for path in (tmp_path / "program").iterdir()}
    assert {path.name for path in (tmp_path / "python").iterdir()} == names
    for name in ("wave.csv", "bathtub.csv", "eye.npy", "eye.svg"):
        assert (tmp_path / "python" / name).read_bytes() == (tmp_path / "program" / name).read_bytes()


def line_of(loss, frequencies, ports):
    """A lossy line, matched at 50 ohm, between each two ports."""
    through = np.exp(-loss * np.sqrt(frequencies / 5e9) - 2j * np.pi * frequencies * 1e-9)
    s = np.zeros((len(frequencies), ports, ports), complex)
    for a in range(0, ports, 2):
        s[:, a, a + 1] = s[:, a + 1, a] = through
        s[:, a, a] = 0.01 + 0.02j
        s[:, a + 1, a + 1] = -0.03j
    return SimpleNamespace(f=frequencies, s=s, z0=np.full((len(frequencies), ports), 50 + 0j))


@pytest.mark.parametrize("ports", [2, 4])
def test_a_channel_may_be_a_network_a_path_or_arrays(model, tmp_path, ports):
    network = line_of(0.5, np.arange(0, 30e9, 50e6), ports)
    path = tmp_path / f"line.s{ports}p"
    path.write_text(touchstone(network))
    options = {"bits": 1500, "accept_channel": True}
    by_network = amisim.run(model, network, **options)
    by_path = amisim.run(model, channel=path, **options)
    assert np.array_equal(by_network.wave, by_path.wave)
    assert by_network["channel.grade.reciprocity"] is not None
    # Touchstone's own order of two ports: S21 stands second.
    second = path.read_text().splitlines()[1].split()
    assert complex(float(second[3]), float(second[4])) == network.s[0, 1, 0]

    step = 1 / (10.3125e9 * 64)
    times = np.arange(64) * step
    values = np.exp(-times / 20e-12) / 20e-12
    csv = tmp_path / "impulse.csv"
    np.savetxt(csv, np.column_stack([times, values]), delimiter=",", fmt="%.17g")
    waves = [amisim.run(model, channel, bits=1000).wave
             for channel in ((times, values), np.column_stack([times, values]), csv)]
    assert np.array_equal(waves[0], waves[1]) and np.array_equal(waves[0], waves[2])


def test_a_waveform_may_be_an_array(model):
    sent = amisim.run(model, bits=2500, loss=3, ppm=0, params={"RX_Config": 2})
    times = np.arange(len(sent.wave)) * sent.sample_interval_s
    both = amisim.run(model, wave=(times, sent.wave), keep_wave=True)
    alone = amisim.run(model, wave=sent.wave, wave_step=sent.sample_interval_s, keep_wave=True)
    assert both.bits == alone.bits == 2500
    assert np.allclose(both.wave, alone.wave)
    assert not np.array_equal(both.wave, sent.wave)


def test_the_wave_is_kept_on_request(model):
    options = {"bits": 1000, "progress": False}
    assert len(amisim.run(model, **options).wave) == 64_000
    assert amisim.run(model, wave=False, **options).wave is None
    kept = amisim.run(model, wave=True, **options).wave
    assert kept.dtype == float and kept.base is not None  # the simulator's own memory
    kept[0] = 7
    assert kept[0] == 7


@pytest.mark.parametrize("options, arguments, kind", [
    ({"ppm": 1e9}, ["--ppm", "1000000000.0"], amisim.UsageError),
    ({"bits": "many"}, ["--bits", "many"], amisim.UsageError),
    ({"prbs": 7, "clock_pattern": 2}, ["--prbs", "7", "--clock-pattern", "2"], amisim.UsageError),
    ({"bits": 100, "ignore_bits": 100}, ["--bits", "100", "--ignore-bits", "100"], amisim.UsageError),
    ({"touchstone": "none.s4p"}, ["--touchstone", "none.s4p"], amisim.InputError),
    ({"params": {"EQ_Level": 99}}, ["-p", "EQ_Level=99"], amisim.UsageError),
])
def test_what_is_refused_is_refused_in_the_same_words(model, tmp_path, options, arguments, kind):
    done = amisim_program("run", model, *arguments, "--out", tmp_path / "out")
    with pytest.raises(kind) as caught:
        amisim.run(model, **options)
    assert caught.value.exit_code == done.returncode
    assert str(caught.value) in done.stderr


@pytest.mark.parametrize("mode, kind", [
    ("segv", amisim.ModelCrashed), ("abort", amisim.ModelCrashed), ("wave 0", amisim.ModelRefused),
    ("hang", amisim.TimeLimitReached)])
def test_a_model_that_fails_leaves_what_there_was(tmp_path, mode, kind):
    arguments = ["--bits", "3000", "--call-limit", "1"]
    done = amisim_program("run", TEST_MODEL, "-p", f"Mode={mode}", *arguments, "--out", tmp_path)
    with pytest.raises(kind) as caught:
        amisim.run(TEST_MODEL, params={"Mode": mode}, bits=3000, call_limit=1)
    assert caught.value.exit_code == done.returncode
    assert str(caught.value).splitlines()[0] in done.stderr
    assert caught.value.result["failure.phase"] == result_json(tmp_path)["failure"]["phase"]
    assert caught.value.result.bits == result_json(tmp_path)["bits"]


@pytest.mark.parametrize("call, text", [
    (lambda m: amisim.run(m, los=3), "los is no option of amisim.run: did you mean loss?"),
    (lambda m: amisim.run(m, np.ones((2, 3, 4))), "impulse: expected an array of shape"),
    (lambda m: amisim.run(m, wave=object()), "wave: expected a path"),
    (lambda m: amisim.run(m, accept_channel=3), "accept_channel: expected True or False"),
    (lambda m: amisim.run(m, "a.s4p", touchstone="b.s4p"), "touchstone: is given twice"),
    (lambda m: amisim.run(m, wave=True, keep_wave=False), "contradict each other"),
    (lambda m: amisim.run(m, save_wave="npy"), "save_wave: needs a folder"),
])
def test_what_python_alone_can_get_wrong(model, call, text):
    with pytest.raises(amisim.UsageError, match=text.replace("?", r"\?")):
        call(model)


def test_networks_that_are_no_channels_are_refused(model):
    good = line_of(0.5, np.arange(0, 30e9, 1e9), 2)
    for change, text in (({"z0": [50, 75]}, "renormalise"), ({"z0": 50 + 1j}, "renormalise"),
                         ({"s": good.s[:3]}, "expected .s of shape")):
        with pytest.raises(amisim.InputError, match=text):
            amisim.run(model, SimpleNamespace(**{**vars(good), **change}))


def test_other_threads_go_on(model):
    counted = 0
    done = threading.Event()

    def count():
        nonlocal counted
        while not done.is_set():
            counted += 1
            time.sleep(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    amisim.run(model, bits=20_000)
    done.set()
    thread.join()
    assert counted > 20


def test_runs_in_several_threads_keep_apart(model):
    alone = [amisim.run(model, bits=1500, seed=seed).wave for seed in (1, 2)]
    found = {}
    threads = [threading.Thread(
        target=lambda seed=seed: found.update({seed: amisim.run(model, bits=1500, seed=seed).wave}))
        for seed in (1, 2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert np.array_equal(found[1], alone[0]) and np.array_equal(found[2], alone[1])


def test_progress_is_told_and_may_end_the_run(model):
    told = []
    amisim.run(model, bits=20_000, progress=lambda done, total: told.append((done, total)))
    assert told and all(0 <= done <= total == 20_000 for done, total in told)
    assert told == sorted(told)

    class Enough(Exception):
        pass

    def stop(done, total):
        raise Enough

    with pytest.raises(Enough):
        amisim.run(model, bits=50_000_000, keep_wave=False, progress=stop)


@pytest.mark.parametrize("command", [
    "amisim.run(model, bits=100_000_000, keep_wave=False)",
    "amisim.run(hanging, bits=3000, params={'Mode': 'hang'})",
    "amisim.sweep(model, grid={'loss': [6, 10]}, bits=50_000_000)",
])
def test_control_c_ends_a_command_and_nothing_of_it_is_left(model, tmp_path, command):
    script = textwrap.dedent(f"""
        import amisim, sys
        model, hanging = sys.argv[1:]
        print("started", flush=True)
        try:
            {command}
        except KeyboardInterrupt:
            print("interrupted")
    """)
    environment = {**os.environ, "TMPDIR": str(tmp_path)}
    with subprocess.Popen([sys.executable, "-c", script, str(model), TEST_MODEL], env=environment,
                          stdout=subprocess.PIPE, text=True) as process:
        assert process.stdout.readline() == "started\n"
        time.sleep(1.5)
        process.send_signal(signal.SIGINT)
        out, _ = process.communicate(timeout=60)
    assert out == "interrupted\n" and process.returncode == 0
    assert list(tmp_path.iterdir()) == []


def test_a_result_shows_itself(model):
    import matplotlib

    matplotlib.use("Agg")
    r = amisim.run(model, bits=3000, loss=6)
    page = r._repr_html_()
    assert page.startswith("<iframe srcdoc=") and "Eye height" in page
    assert repr(r).startswith("<amisim run of Retimer_RX_RT: locked, 3,000 bits, eye ")
    ax = r.plot_eye()
    low, high = ax.images[0].get_extent()[2:]
    assert low / 1000 == r["eye.density.first_edge_v"] and high > 1000 * r.eye.high_v
    # The middle of the picture is the sampling instant: nothing passes between the openings there.
    picture = np.asarray(ax.images[0].get_array())
    rows = np.abs(np.linspace(low, high, len(picture)) / 1000) < 0.3 * r.eye.height_v
    middle = picture[rows, picture.shape[1] // 2]
    crossing = picture[rows, picture.shape[1] // 4]
    assert np.all(middle == picture.min()) and np.any(crossing > picture.min())
    for plot in (r.plot_bathtub, r.plot_tie, r.plot_wave, lambda: r.plot_eye(which="input_eye")):
        drawn = plot()
        assert drawn.has_data() and np.isfinite(drawn.dataLim.bounds).all()
        matplotlib.pyplot.close("all")


def test_help_has_the_options_of_the_command_line():
    assert "tx_post (C,...)" in amisim.run.__doc__
    import inspect

    assert {"ppm", "tx", "channel"} <= set(inspect.signature(amisim.run).parameters)
    names = inspect.signature(amisim.sweep).parameters
    assert {"jobs", "loss"} <= set(names) and "slurm" not in names


def test_eyes_are_computed_without_a_bit(model, tmp_path):
    counted = amisim.run(model, bits=2000, noise=0.002)
    r = amisim.statistical(model, noise=0.002)
    assert r["statistical.input_eye"].to_dict() == counted["statistical.input_eye"].to_dict()
    assert (r.bits, r.verdict, r.eye.height_v, r.input_eye, r.statistical.eye) == (0, None) + (None,) * 3
    assert any("its AMI_GetWave does is found in a run" in note for note in r.messages)
    assert "Computed from responses alone" in r.report()

    filtering = shutil.copy(FIR_MODEL, tmp_path / "Fir.so")
    info = "".join(f"({name} (Usage Info) (Type {kind}) (Value {value}) (Description \"\"))\n"
                   for name, kind, value in (("AMI_Version", "String", '"7.0"'),
                                             ("GetWave_Exists", "Boolean", "False"),
                                             ("Init_Returns_Impulse", "Boolean", "True")))
    own = "".join(f"({name} (Usage In) (Type Float) (Value {value}) (Description \"\"))\n"
                  for name, value in (("First", 0.8), ("Second", -0.2), ("Impulse", 1)))
    (tmp_path / "Fir.ami").write_text(
        f"(Fir (Description \"\")\n(Reserved_Parameters\n{info})\n(Model_Specific\n{own}))\n")
    impulse = amisim.statistical(filtering, ppm=0)
    printed = amisim_program("run", filtering, "--ppm", "0", "--statistical", "only", "--out", tmp_path)
    assert printed.returncode == 0, printed.stderr
    expected = result_json(tmp_path)["statistical"]
    assert impulse.statistical.to_dict() == expected and expected["eye"]["width_ui"] > 0
    assert "1e-12" in printed.stdout and "Verdict" not in printed.stdout
    assert impulse.plot_bathtub().lines
    with pytest.raises(amisim.UsageError, match="pseudo-random pattern"):
        amisim.statistical(model, clock_pattern=3)

"""Links of several segments, and channels by themselves."""

import json

import numpy as np
import pytest

import amisim
from amisim.inputs import touchstone
from conftest import amisim_program, result_json
from test_run import line_of, without_paths


def test_a_link_is_that_of_the_command_line(model, tmp_path):
    file = tmp_path / "link.toml"
    file.write_text(f"""[link]
bits = 9000
[[segment]]
channel = {{ loss = 10 }}
rx = {{ ibis = "{model}", as = "retimer", set = {{ EQ_Level = 10, CTLEAdapt = 0 }} }}
[[segment]]
loss = 8
tx = {{ post = [0.1, 0.05] }}
rx = {{ ibis = "{model}" }}
""")
    done = amisim_program("run", file, "--bits", "6000", "--set", "2.loss=6", "--out", tmp_path / "out")
    assert done.returncode == 0, done.stderr
    expected = result_json(tmp_path / "out")
    of_file = amisim.link(file, bits=6000, set={"2.loss": 6})
    of_mappings = amisim.link(
        [{"channel": {"loss": np.float64(10)},
          "rx": {"ibis": model, "as": "retimer", "set": {"EQ_Level": np.int64(10), "CTLEAdapt": 0}}},
         {"loss": 6, "tx": {"post": (0.1, 0.05)}, "rx": {"ibis": model}}], bits=6000)
    for link in (of_file, of_mappings):
        found, wanted = link.to_dict(), dict(expected)
        for segment in (*found["segments"], *wanted["segments"]):
            segment.pop("model_seconds", None)
        assert without_paths(found) == without_paths(wanted)
        assert link.end_to_end.compared_bits > 0
        first, last = link.runs
        assert last is link and first.eye.to_dict() == link.segments[0].eye.to_dict()
        assert np.array_equal(first.eye.density, np.load(tmp_path / "out/segment1/eye.npy"))
        assert first.wave is None and len(last.wave) == 6000 * 64
        assert first.plot_eye().images and "Eye height" in first.report()


def test_a_segment_takes_what_a_run_takes(model, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    network = line_of(0.3, np.arange(0, 30e9, 50e6), 2)
    for name in ("a.s2p", "b.s2p"):
        (tmp_path / name).write_text(touchstone(network))
    both = [tmp_path / "a.s2p", tmp_path / "b.s2p"]
    coupled = {"file": network, "element": 2}
    alone = amisim.run(model, both, bits=1500, fext=["b.s2p@2"], next=[coupled])
    for channel in (both, [network, network]):
        link = amisim.link([{"channel": channel, "fext": coupled, "next": ["b.s2p@2"],
                             "rx": {"ibis": model}}], bits=1500)
        assert np.array_equal(link.wave, alone.wave) and link.runs == [link]


def test_grids_take_link_files(model, tmp_path):
    segment = f"[[segment]]\nloss = 3\nrx = {{ ibis = '{model}'"
    (tmp_path / "link.toml").write_text(f"{segment}, as = 'retimer' }}\n{segment} }}\n")
    axes = {"2.loss": [3, 12], "1.rx.set.EQ_Level": [0, 5, 9]}
    options = {"bits": 1500, "out": tmp_path / "sweep"}
    s = amisim.sweep(tmp_path / "link.toml", grid=axes, **options)
    assert s.table["2.loss"].tolist() == [3] * 3 + [12] * 3 and s.grid("eye_height_v").shape == (2, 3)
    assert s.result(6)["segments.1.signal.loss_db"] == 12
    t = amisim.tune(tmp_path / "link.toml", over=axes, for_="errors", confirm=0, bits=1500)
    assert t.grid("figure").shape == (2, 3) and t.plot().images


@pytest.mark.parametrize("what, options, text", [
    ("retimer.ibs", {}, "expected a link file"),
    ([3], {}, "list of mappings"),
    ([{"rx": {"ibis": "a.ibs"}, "los": 3}], {}, "did you mean loss?"),
    ([{"rx": {"ibis": "a.ibs"}}], {"loss": 3}, "is of a single segment"),
])
def test_a_link_that_cannot_be(what, options, text):
    with pytest.raises(amisim.UsageError) as caught:
        amisim.link(what, **options)
    assert text in str(caught.value)


def test_a_channel_is_that_of_the_command_line(tmp_path):
    network = line_of(0.6, np.arange(50e6, 15e9, 20e6), 4)
    (tmp_path / "line.s4p").write_text(touchstone(network))
    done = amisim_program("channel", "line.s4p", "--limit", "10gbase-kr", "--out", "out", folder=tmp_path)
    c = amisim.channel(tmp_path / "line.s4p", limit="10gbase-kr", out=tmp_path / "python")
    names = [{path.name for path in (tmp_path / out).iterdir()} for out in ("out", "python")]
    assert names[0] == names[1] and len(names[0]) > 5
    saved = json.loads((tmp_path / "out/channel.json").read_text())
    assert c.to_dict() == saved and c.exit_code == done.returncode
    through = -20 * np.log10(np.abs(network.s[:, 1, 0]))
    of_arrays = amisim.channel(network)
    assert np.allclose(of_arrays.curves.channel.insertion_loss_db, through, atol=1e-6)
    assert of_arrays.ok and of_arrays._repr_html_().startswith("<iframe")
    lines = of_arrays.plot().lines
    assert np.allclose(lines[0].get_ydata(), through, atol=1e-6)
    lossy = amisim.channel(*[network] * 6, limit="10gbase-kr")
    with pytest.raises(amisim.WarningsFound, match="misses insertion_loss_db"):
        lossy.require()

"""docs/*.schema.json describe what the commands write: all of it, and nothing else."""

import copy
import json
import os
import shutil
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from jsonschema import Draft202012Validator, RefResolver

from amisim.inputs import touchstone
from conftest import FIR_MODEL, PACKAGE, SOURCE, TEST_MODEL, amisim_program
from test_run import line_of

PAM_MODEL = os.environ["PAM_MODEL"]
SCHEMAS = {path.name: json.loads(path.read_text()) for path in (SOURCE / "docs").glob("*.schema.json")}

# Each kind of run. m: our receiver; t, p: models for tests; x, f:
# a transmitter, and a receiver that has AMI_Init alone; y, g: the same with buffers; z: either end of
# a link that is trained; c takes a clock in.
RUNS = [
    "m --bits 12000 --tx-post 0.1 --noise 0.002 --mask sfi-host-rx",
    "m --noise 0.01 --noise-bandwidth 5e9 --rj 0.01 --sj-amplitude 0.1 --ppm -50",
    "m --statistical only",
    "m --statistical off --prbs 7 --tx-pre 0.1",
    "m --clock-pattern 4 --mask mask.toml",
    "m --pattern pattern.txt",
    "m --touchstone line.s4p --port-order 12,34 --source-ohms 45 --load-ohms 55 --source-farads 1e-13 --load-farads 1e-13",
    "m --touchstone line.s4p --touchstone line.s4p --accept-channel --mixed-mode no --fext far.s4p@2",
    "m --touchstone line.s4p --fext far.s4p --next far.s4p --crosstalk-port-order 12,34",
    "m --touchstone lanes.s8p --lanes 1,3,2,4/5,7,6,8 --victim 1 --aggressor 2:fext",
    "m --impulse impulse.csv",
    "m --step step.csv",
    "m --wave wave.npy --bit-rate auto --scale 0.5 --offset auto",
    "m --wave column.csv --column v --wave-step 1.515151e-12 --offset 0.01",
    "m --tx x --tx-param First=0.9",
    "f.so --tx x --ppm 0",
    "f.so --ppm 0 --bits 6000",
    "g.so --tx y.so --ppm 0 --touchstone line.s4p --accept-channel",
    "m --loss 8 --retimer m --loss 6 --tx-post 0.1",
    "link.toml",
    "z.so --tx z.so --ppm 0",
    "c.so --ppm 0 --clock-lane line.s4p --accept-channel",
    "t -p Mode=clock",
    "t -p Mode=segv",
    "t -p Mode=zeros",
    "t -p Mode=nan",
    "t -p Mode=hang --call-limit 1",
    "p --ppm 0 --modulation pam4 --loss 0 -p Swing=0.8 -p Tell=PAM4",
    "p --ppm 0 --modulation pam3 --loss 3 -p Swing=0.8",
]


def validator(name):
    resolver = RefResolver("", SCHEMAS[name], store=SCHEMAS)
    return Draft202012Validator(SCHEMAS[name], resolver=resolver)


def make_inputs(folder):
    frequencies = np.arange(0, 30e9, 50e6)
    for name, loss, ports in (("line.s4p", 0.5, 4), ("far.s4p", 3, 4), ("lanes.s8p", 0.5, 8)):
        network = line_of(loss, frequencies, ports)
        if ports == 8:
            network.s[:, 3, 4] = network.s[:, 4, 3] = 0.03 * network.s[:, 0, 1]
        (folder / name).write_text(touchstone(network))
    (folder / "pattern.txt").write_text("0110100111010101110001\n")
    (folder / "mask.toml").write_text(
        "points = [[0.01, 0], [0.5, 2], [0.99, 0], [0.5, -2]]\nlimits = [-0.1, 0.1]\n")
    times = np.arange(256) / (10.3125e9 * 64)
    decay = np.exp(-times / 2e-11)
    for name, values in (("impulse.csv", decay / 2e-11), ("step.csv", 1 - decay)):
        np.savetxt(folder / name, np.column_stack([times, values]), delimiter=",")
    done = amisim_program("run", "m.ibs", "--bits", "1500", "--loss", "0", "--rj", "0.01", "--save-wave",
                          "npy", "--statistical", "off", "--pictures", "none", "--out", "wave",
                          folder=folder)
    assert done.returncode == 0, done.stderr
    shutil.copy(folder / "wave/wave.npy", folder)
    np.savetxt(folder / "column.csv", np.load(folder / "wave.npy")[:30000, 1], header="v", comments="")
    back_channel = [(f"BCI_{name}", kind, value) for name, kind, value in (
        ("Protocol", "String", '"lms"'), ("ID", "String", '""'), ("State", "String", '"Off"'),
        ("Training_UI", "Integer", 1000))]
    receiver, transmitter = ("Rx_Rj", "UI", "0.01"), ("Tx_Rj", "UI", "0.001")
    buffer = ("Ts4file", "String", '"line.s4p"')
    for name, wave, *more in (("f", False, receiver), ("x", True, transmitter),
                              ("z", True, *back_channel),
                              ("c", True, ("Rx_Use_Clock_Input", "String", '"Times"')),
                              ("g", False, receiver, buffer, ("Rx_R", "Float", 50)),
                              ("y", True, transmitter, buffer, ("Tx_R", "Float", 50),
                               ("Tx_V", "Float", 1))):
        shutil.copy(FIR_MODEL, folder / f"{name}.so")
        reserved = [("AMI_Version", "String", '"7.0"'), ("GetWave_Exists", "Boolean", wave),
                    ("Init_Returns_Impulse", "Boolean", True), *more]
        own = [("First", "Float", 0.8), ("Second", "Float", -0.2), ("Impulse", "Float", 1),
               ("Tell", "Float", 3)]
        told = [row for row in reserved if row[0] in ("BCI_ID", "BCI_State")]
        texts = [" ".join(f'({parameter} (Usage {"In" if row in told else usage}) (Type {kind}) '
                          f'(Value {value}) (Description ""))'
                          for row in group for parameter, kind, value in [row])
                 for usage, group in (("Info", reserved), ("In", own))]
        (folder / f"{name}.ami").write_text('({} (Description "")\n(Reserved_Parameters {})\n'
                                            "(Model_Specific {}))\n".format(name, *texts))
    (folder / "link.toml").write_text("""[[segment]]
tx = { ibis = "x.so", set = { First = 0.9 } }
rx = { ibis = "m.ibs", as = "retimer", set = { EQ_Level = 10 } }
[[segment]]
rx = { ibis = "m.ibs" }
""")


@pytest.fixture(scope="module")
def written(tmp_path_factory):
    """result.json of each kind of run."""
    folder = tmp_path_factory.mktemp("runs")
    for path in PACKAGE.glob("?etimer*"):
        shutil.copy(path, folder)
    shutil.copy(PACKAGE / "retimer.ibs", folder / "m.ibs")
    make_inputs(folder)
    models = {"m": "m.ibs", "t": TEST_MODEL, "p": PAM_MODEL, "x": "x.so"}

    def run(number):
        words = [models.get(word, word) for word in RUNS[number].split()]
        bits = [] if "--bits" in words or "--wave" in words else ["--bits", "2000"]
        done = amisim_program("run", *words, *bits, "--pictures", "none", "--out", str(number),
                              folder=folder)
        assert done.returncode in (0, 5, 7, 10), (RUNS[number], done.stderr)
        return RUNS[number], json.loads((folder / str(number) / "result.json").read_text())

    with ThreadPoolExecutor(2) as pool:
        return dict(pool.map(run, range(len(RUNS))))


@pytest.fixture(scope="module")
def jitter(tmp_path_factory):
    folder = tmp_path_factory.mktemp("jitter")
    shorter = ["--frequencies", "2e6,2e7", "--bits", "30000", "--ignore-bits", "5000",
               "--pictures", "none"]
    (folder / "mask.csv").write_text("1e6,3\n1e7,3\n")
    for command, more in (("tolerance", ["--ber", "1e-3"]), ("transfer", [])):
        done = amisim_program(command, PACKAGE / "retimer.ibs", *shorter, *more, "--mask", "mask.csv",
                              folder=folder)
        assert done.returncode in (0, 10), done.stderr
    return {command: json.loads((folder / command / f"{command}.json").read_text())
            for command in ("tolerance", "transfer")}


def test_schemas_are_schemas_that_name_all_members():
    assert sorted(SCHEMAS) == ["result.schema.json", "tolerance.schema.json", "transfer.schema.json"]
    for schema in SCHEMAS.values():
        Draft202012Validator.check_schema(schema)
        for part in objects(schema):
            if "properties" in part and "type" in part and part["type"] != "string":
                assert part["additionalProperties"] is False
                assert set(part["required"]) <= set(part["properties"])
                for name, member in part["properties"].items():
                    assert "$ref" in member or member["description"], name


def objects(value):
    """All mappings within, itself among them."""
    if isinstance(value, dict):
        yield value
        value = list(value.values())
    for inner in value if isinstance(value, list) else []:
        yield from objects(inner)


def test_each_run_is_as_described(written):
    for text, result in written.items():
        errors = [f"{text}: {'/'.join(map(str, e.absolute_path))}: {e.message[:200]}"
                  for e in validator("result.schema.json").iter_errors(result)]
        assert not errors, "\n".join(errors)


def test_jitter_tests_are_as_described(jitter):
    for command, result in jitter.items():
        validator(f"{command}.schema.json").validate(result)
        assert all(point["mask_" + ("ui_pp" if command == "tolerance" else "db")] is not None
                   for point in result["points"][:1])


def test_no_member_is_described_that_no_run_has(written, jitter):
    """Where members are known, their names are those of some run, whatever they are in."""
    seen = {name for result in (*written.values(), *jitter.values())
            for part in objects(result) for name in part}
    described = {name for schema in SCHEMAS.values() for part in objects(schema)
                 for name in (part.get("properties") or {})}
    assert described - seen == set()


def test_what_is_not_described_is_refused(written, jitter):
    """A member more in any object, and one less of those that are always there."""
    files = [("result.schema.json", written[text]) for text in RUNS
             if any(word in text for word in ("sfi-host-rx", "--retimer", "pam4"))]
    files += [(f"{command}.schema.json", result) for command, result in jitter.items()]
    for name, result in files:
        valid = validator(name)
        tried = copy.deepcopy(result)
        for part in objects(tried):
            if is_free(part, tried):
                continue
            part["more"] = 1
            assert not valid.is_valid(tried), list(part)
            del part["more"]
        for missing in SCHEMAS[name]["required"]:
            assert not valid.is_valid({key: value for key, value in result.items() if key != missing})


def is_free(part, result):
    """Settings go by the names that the model's parameters have."""
    model = result["model"]
    return isinstance(model, dict) and part is model["settings"]

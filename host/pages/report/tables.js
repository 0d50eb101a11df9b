// The verdict, the numbers that matter and the tables.

function section(title, ...children) {
  return element("section", {}, element("h2", {}, title), ...children);
}

/** Rows of [name, value, ...]; columns: [{text, number}]. */
function table(caption, columns, rows) {
  const cell = (kind, column, content) => element(kind, {class: column.number ? "number" : "text", scope: kind === "th" ? "col" : null}, content);
  return element("div", {class: "card"}, element("div", {class: "scroll"}, element("table", {}, element("caption", {}, caption),
    columns.some((c) => c.text) ? element("thead", {}, element("tr", {}, ...columns.map((c) => cell("th", c, c.text)))) : null,
    element("tbody", {}, ...rows.map((row) => element("tr", {}, ...row.map((value, i) => cell("td", columns[i], value))))))));
}

function verdict() {
  const box = (kind, text, ...more) => element("p", {class: `verdict ${kind}`, role: "status"}, text, ...more);
  if (result.failure) {
    const {phase, reason, text} = result.failure;
    const subject = phase === "the run" ? "The run" : "The model";
    const where = phase === "the run" ? "" : ` in ${phase}`;
    return element("div", {class: "verdict bad", role: "status"},
      `${subject} ${reason}${where}. ${result.bits > 0 ? `Shown is what there was until then, ${grouped(result.bits)} bits.` : "There are no results."}`,
      text ? element("pre", {}, text) : null);
  }
  if (result.bits === 0 && (result.statistical.input_eye || result.statistical.eye)) return box("", "Computed from responses alone: no bits were sent.");
  if (result.bits === 0) return box("bad", "The model returned no bits.");
  const errors = result.errors === null ? "" : ` ${grouped(result.errors)} bit errors in ${grouped(result.compared_bits)}.`;
  if (result.verdict !== "locked" && !result.clock.ideal)
    return box("bad", `${sentence(result.messages.find((note) => note.startsWith(`${result.verdict}: `)) ?? result.verdict)}.${errors}`);
  const {state} = result.settling;
  if (state !== result.verdict)
    return box("bad", `${sentence(result.messages.find((note) => note.startsWith("adapting") || note.startsWith("still adapting")) ?? state)}.${errors}`);
  if (result.errors === null && result.symbol_errors > 0) return box("bad", `${grouped(result.symbol_errors)} symbol errors in ${grouped(result.compared_symbols)}.`);
  if (result.errors === null && result.symbol_errors === 0) return box("good", `No symbol errors in ${grouped(result.compared_symbols)}.`);
  if (result.errors === null) return box("", "Bit errors were not counted: nothing was known of what was sent, or it was not found.");
  if (result.errors > 0) return box("bad", `${grouped(result.errors)} bit errors in ${grouped(result.compared_bits)}.`);
  if (result.mask && !result.mask.passed) return box("bad", `The eye misses the mask ${result.mask.name}.`, ` No bit errors in ${grouped(result.compared_bits)} bits.`);
  return box("good", `No bit errors in ${grouped(result.compared_bits)} bits.`);
}

function sentence(text) {
  return text.charAt(0).toUpperCase() + text.slice(1);
}

function tiles() {
  const {eye, clock} = result, list = [];
  const tile = (name, value, unit, remark) => list.push(element("div", {}, element("dt", {}, name),
    element("dd", {}, value, unit ? element("small", {}, ` ${unit}`) : null), remark ? element("dd", {}, remark) : null));
  const lowest = eye.openings?.reduce((a, b) => b.ber < a.ber ? b : a, eye.openings[0]);
  const remark = (value, extrapolated) => value === null || !lowest ? null : `${value} at ${ratio(lowest.ber)}${extrapolated ? " from fit" : ""}`;
  /** A number as the terminal and comparisons show it; none where it is not known. */
  const number = (pointer, more, unitMore = "") => {
    const {title, unit, text} = data.numbers[pointer];
    if (text !== null) tile(title, text.replace("-", kMinus), unit + unitMore, more);
  };
  const at = ` at ${ratio(eye.probability ?? 1e-3)}`;
  number("/eye/height_v", lowest && remark(lowest.height_v === null ? null : `${fixed(lowest.height_v * 1000, 0)} mV`, lowest.height_extrapolated), at);
  number("/eye/width_ui", lowest && remark(lowest.width_ui === null ? null : `${fixed(lowest.width_ui, 3)} UI`, lowest.width_extrapolated), at);
  const {mask} = result;
  if (mask) number("/mask/margin_percent", `${mask.name} at the ${mask.at}: ${mask.passed ? "passed" : "missed"}`);
  number("/errors", `in ${grouped(result.compared_bits)} bits`);
  if (result.symbol_errors !== undefined) number("/symbol_errors", `in ${grouped(result.compared_symbols)} symbols`);
  // Without any error in n bits the ratio is below -ln(0.05) / n with 95 % confidence.
  if (result.errors === 0) tile("Bit error ratio", `< ${ratio(-Math.log(0.05) / result.compared_bits)}`, null, "with 95 % confidence");
  else number("/bit_error_ratio");
  number("/ppm", result.unit_interval_s && `${digits(result.unit_interval_s * 1e12, 7)} ps a bit`);
  number("/clock/tie_rms_ui", `${digits(clock.tie_rms_ui * data.bitTime * 1e12, 3)} ps rms`);
  if (clock.settled_at_bit !== null) number("/clock/settled_at_bit", `${digits(clock.settled_at_bit * data.bitTime * 1e6, 3)} ${kMicro}s`);
  else if (clock.times > 0 && hasPoints(data.clock.tie.mean)) tile(data.numbers["/clock/settled_at_bit"].title, "none");
  const n = result.adaptation.measurements;
  number("/eq_level", n === null ? "fixed" : `${n} measurements${result.adaptation.finished ? ", finished" : ""}`);
  return list.length ? element("dl", {class: "tiles"}, ...list) : null;
}

/** Of several thresholds a row for each, the uppermost first as in the pictures. */
function eyesTable() {
  const sides = [["input", result.input_eye], ["output", result.eye]].filter(([, eye]) => eye?.eyes);
  if (sides.length === 0) return null;
  const columns = [{text: "eye", number: false}], volts = (v) => `${fixed(v * 1000, 1)} mV`;
  for (const [name] of sides) for (const what of ["threshold", "height", "width"]) columns.push({text: `${name} ${what}`, number: true});
  const places = sides[0][1].eyes.map((_, i) => i).reverse();
  return table(`Eyes at a probability of ${ratio(sides[0][1].probability)}`, columns, places.map((i) => [sides[0][1].eyes[i].name,
    ...sides.flatMap(([, eye]) => {
      const one = eye.eyes[i];
      return [volts(one.threshold_v), volts(one.height_v), one.width_ui === null ? "–" : `${fixed(one.width_ui, 3)} UI`];
    })]));
}

/** The computed eye of the same threshold as a counted one. */
const sameEye = (computed, counted) => computed?.eyes?.find((one) => one.name === counted?.name) ?? computed;

function openingsTable() {
  const called = (name, eye) => eye?.name ? `${name} (${eye.name})` : name;
  const sides = [[called("input", result.input_eye), result.input_eye], ["computed input", sameEye(result.statistical.input_eye, result.input_eye)],
    [called("output", result.eye), result.eye], ["computed output", sameEye(result.statistical.eye, result.eye)]]
    .filter(([, eye]) => eye?.openings?.length);
  if (sides.length === 0) return null;
  const ratios = [...new Set(sides.flatMap(([, eye]) => eye.openings.map((o) => o.ber)))].sort((a, b) => b - a);
  const value = (number, extrapolated, places, unit) => number === null || number === undefined ? "–"
    : element("span", {class: extrapolated ? "fit" : null}, `${fixed(number, places)} ${unit}${extrapolated ? " *" : ""}`);
  const columns = [{text: "bit error ratio", number: true}];
  for (const [name] of sides) columns.push({text: `${name} height`, number: true}, {text: `${name} width`, number: true});
  const card = table("Openings", columns, ratios.map((ber) => [ratio(ber), ...sides.flatMap(([, eye]) => {
    const o = eye.openings.find((opening) => opening.ber === ber) ?? {};
    return [value(o.height_v === null || o.height_v === undefined ? null : o.height_v * 1000, o.height_extrapolated, 1, "mV"),
      value(o.width_ui, o.width_extrapolated, 3, "UI")];
  })]));
  card.append(element("figcaption", {}, "Counted where enough bits were; ", element("span", {class: "fit"}, "*"), ` extrapolated by the fit.${
    result.statistical.input_eye || result.statistical.eye ? " Computed: from responses, noise and jitter." : ""}`));
  return card;
}

/** By its causes where the eye was computed; else by the fit, which takes intersymbol interference for random. */
function jitterTable() {
  const {input_jitter: input, jitter: output, input_eye: hasInput, eye: hasOutput} = result.statistical;
  const computed = [["input", hasInput && input], ["output", hasOutput && output]].filter(([, jitter]) => jitter);
  const head = (sides) => [{text: "", number: false}, ...sides.map(([name]) => ({text: name, number: true}))];
  if (computed.length > 0) {
    const causes = [["Random (RJ), rms", "random_ui_rms"], ["Deterministic (DJ, dual-Dirac)", "deterministic_ui"],
      ["Data-dependent (DDJ), whatever the symbols", "data_dependent_ui"], ["Duty-cycle distortion (DCD)", "duty_cycle_ui"],
      ["Total (TJ) at 1e-12", "total_ui"]];
    return table("Jitter by its causes, computed", head(computed),
      causes.map(([name, member]) => [name, ...computed.map(([, jitter]) => intervals(jitter[member]))]));
  }
  const sides = [["input", result.input_eye], ["output", result.eye]].filter(([, eye]) => eye?.jitter);
  if (sides.length === 0) return null;
  const jitter = sides.map(([, eye]) => eye.jitter);
  const rows = [["Random (RJ), rms", "random_ui_rms"], ["Deterministic (DJ, dual-Dirac)", "deterministic_ui"],
    [`Total (TJ) at ${ratio(jitter[0].ber)}`, "total_ui"]];
  return table("Jitter of the signal against the clock", head(sides),
    rows.map(([name, member]) => [name, ...jitter.map((j) => j[member] === null ? "–" : intervals(j[member]))]));
}

const kUnits = {ui_rms: "UI rms", ui_peak: "UI peak", v_rms: "V rms", vpp: "V peak to peak", ui: "UI", hz: "Hz", db: "dB", v: "V", ps: "ps", s: "s"};

/** Settings as rows; the unit at the end of a name moves behind the value, nested names follow a dash. */
function flattened(object, prefix = "") {
  return Object.entries(object).flatMap(([key, value]) => {
    if (value !== null && typeof value === "object" && !Array.isArray(value)) return flattened(value, `${prefix}${key.replaceAll("_", " ")} – `);
    const suffix = Object.keys(kUnits).find((unit) => key.endsWith(`_${unit}`));
    const name = prefix + (suffix ? key.slice(0, -suffix.length - 1) : key).replaceAll("_", " ");
    const written = [value].flat().map((v) => typeof v === "number" ? short(v) : String(v ?? "–")).join(", ");
    return [[name, written === "" ? "–" : written + (suffix ? ` ${kUnits[suffix]}` : "")]];
  });
}

function settingsSection() {
  const {model, signal, speed, alignment} = result;
  const pair = [{text: "", number: false}, {text: "", number: false}];
  const parameters = Object.entries(model.settings).map(([name, value]) => [name, element("code", {}, String(value))]);
  const {transmitter} = result;
  const modelRows = [transmitter ? ["Transmitter", transmitter.file] : null, transmitter ? ["Its corner", transmitter.corner] : null,
    transmitter ? ["Its parameters in", element("code", {}, transmitter.parameters_in)] : null, ["File", model.file], ["Corner", model.corner], ["Library", model.library], ["Parameters in", element("code", {}, model.parameters_in)],
    model.parameters_out ? ["Parameters out", element("code", {}, model.parameters_out)] : null,
    model.message ? ["Message", element("code", {}, model.message)] : null].filter(Boolean);
  const runRows = [[result.signal.modulation ? "Symbols" : "Bits", grouped(result.bits)], ["Ignored at the start", grouped(result.ignored_bits)],
    ["Compared", grouped(result.compared_symbols ?? result.compared_bits)],
    alignment ? ["Delay of the bits", `${grouped(alignment.delay_bits)}${alignment.inverted ? ", inverted" : ""}`] : null,
    alignment ? ["Realignments", `${grouped(alignment.realignments)}, ${grouped(alignment.unaligned_bits)} bits not aligned`] : null,
    result.clock.missing > 0 ? ["Bits without a clock", grouped(result.clock.missing)] : null,
    ["Clock times", result.clock.ideal ? "none: an ideal clock stands in" : `${grouped(result.clock.times)}, ${grouped(result.clock.filled)} filled in`],
    ["Time", `${digits(speed.seconds, 3)} s, ${digits(speed.model_seconds, 3)} s of it in the model`],
    ["Speed", `${grouped(speed.bits_per_s)} bits/s, ${digits(speed.ns_per_sample, 3)} ns a sample`],
    ["Block", `${grouped(speed.block_bits)} bits`]].filter(Boolean);
  const files = element("p", {});
  result.files.forEach((name, i) => files.append(i ? ", " : "", element("a", {href: encodeURIComponent(name)}, name)));
  return section("Settings", element("div", {class: "pair"},
    parameters.length ? table("Parameters sent to the model", pair, parameters) : table("Model", pair, modelRows),
    table("Signal", pair, flattened(signal))),
    element("div", {class: "pair"}, parameters.length ? table("Model", pair, modelRows) : null, table("Run", pair, runRows)),
    element("div", {class: "card"}, element("h3", {}, "Files"), files));
}

// Plots of lines: bathtubs, the clock, the adaptation.

const hasPoints = (list) => Array.isArray(list) && list.some((v) => v !== null);

/** Columns for uPlot of curves that do not share their x: [[x, y], ...] to [x of all, y, ...]. */
const joined = (tables) => tables.length === 1 ? tables[0] : uPlot.join(tables, tables.map((t) => t.slice(1).map(() => 2)));

/** The counted points that a fit was made through: on its side, between its error ratios. */
function fitted(x, counted, low, high) {
  const least = counted.reduce((best, v, i) => v !== null && v < counted[best] ? i : best, 0);
  return counted.map((v, i) => {
    const fit = i <= least ? low : high;
    return fit && v !== null && v <= fit.highest_ratio * 1.0001 && v >= fit.lowest_ratio * 0.9999 ? v : null;
  });
}

/** A curve of ratios at other x, straight on a logarithmic scale; null outside of it and next to nothing. */
function logarithmicAt(x, ratios, places) {
  let i = 0;
  return places.map((place) => {
    while (i + 2 < x.length && x[i + 1] < place) ++i;
    const part = (place - x[i]) / (x[i + 1] - x[i]), [from, to] = [ratios[i], ratios[i + 1]];
    return part < 0 || part > 1 || !(from > 0 && to > 0) ? null : Math.exp(Math.log(from) * (1 - part) + Math.log(to) * part);
  });
}

/** The eyes of a side with their curves, from the lowest threshold on: [{eye, curves, computed, worst}, ...]. */
function eyesOf(eye, curves, computed) {
  return (eye.eyes ?? [eye]).map((one, i) => ({eye: one, curves: curves.eyes[i], computed: computed?.eyes[i], worst: one.name === eye.name}));
}

function bathtubFigure(title, which, x, caption) {
  const sides = [["input", data.input, result.input_eye, "two", data.statisticalInput], ["output", data.output, result.eye, "one", data.statisticalOutput]]
    .flatMap(([name, curves, eye, shade, computed]) => curves ? eyesOf(eye, curves, computed).map((one) => ({...one, name, shade})) : [])
    .filter(({curves}) => hasPoints(curves[which].counted));
  if (sides.length === 0) return null;
  const positive = (list) => list.map((v) => v > 0 ? v : null);
  const tables = [], series = [], ratios = [];
  let fits = null;
  for (const {name, curves, eye, shade, computed, worst} of sides) {
    const tub = curves[which], {time_left, time_right, voltage_low, voltage_high} = eye.fits;
    const [low, high] = which === "time" ? [time_left, time_right] : [voltage_low, voltage_high];
    const counted = positive(tub.counted), write = (v) => ratio(v);
    // What is computed takes the place of what would be guessed from the tail.
    const further = computed ? logarithmicAt(computed[which].x, computed[which].counted, tub.x) : positive(tub.extrapolated);
    const dashed = {colour: shade, dash: [6, 4], width: worst ? 1.5 : 0.8, unlisted: !worst || !hasPoints(further), write};
    const label = eye.name ? `${name}, ${eye.name}` : name;
    series.push({label: `${label}, counted`, colour: shade, width: worst ? 2.5 : 1.2, unlisted: !worst, write});
    tables.push([tub.x.map((v) => x.of(v, eye)), counted, further, computed ? counted.map(() => null) : fitted(tub.x, counted, low, high)]);
    series.push({label: `${label}, ${computed ? "computed" : "extrapolated"}`, ...dashed});
    series.push({label: "", colour: shade, dots: true, silent: true, unlisted: true, write});
    fits ||= !computed && (low || high);
    ratios.push(...counted, ...further);
  }
  const known = ratios.filter((v) => v !== null);
  const columns = joined(tables);
  return figure({
    title, caption, columns, series, key: fits ? [["points of the fit", {colour: "faint", dots: true}]] : [],
    x: {name: x.name, write: x.write, range: [columns[0][0], columns[0].at(-1)]},
    y: {name: "error ratio", logarithmic: true, range: [decades(Math.min(...known, 1e-3), 1)[0], 1]},
  });
}

/** What the dashed lines are made of. */
function dashedLines() {
  const fits = "from the Gaussian tails fitted through the dots";
  if (data.statisticalInput && data.statisticalOutput) return "computed from responses";
  return data.statisticalInput ? `at the input computed from its response; at the output ${fits}` : fits;
}

function bathtubSection() {
  const several = (result.eye.eyes ?? result.input_eye?.eyes)?.length > 0;
  const figures = [
    bathtubFigure(several ? "Time, at the thresholds" : "Time, at 0 V", "time", {name: "time from the sampling instant, UI", of: (v, eye) => v - eye.sampled_at_ui, write: (v) => intervals(v, 3)},
      `Error ratio if data were sampled at that instant. Dashed: ${dashedLines()}.${several ? " Thin: the eyes that are not the worst." : ""}`),
    bathtubFigure("Voltage, at the sampling instant", "voltage", {name: "threshold, mV", of: (v) => v * 1000, write: (v) => `${fixed(v, 1)} mV`},
      "Error ratio if data were decided at that threshold."),
  ].filter(Boolean);
  const tables = [eyesTable(), openingsTable(), jitterTable()].filter(Boolean);
  if (figures.length + tables.length === 0) return null;
  const wide = several || data.statisticalInput || data.statisticalOutput;  // the tables then have up to nine columns
  return section("Bathtubs and openings", element("div", {class: figures.length > 1 ? "pair" : ""}, ...figures),
    element("div", {class: tables.length > 1 && !wide ? "pair tables" : ""}, ...tables));
}

function trendFigure(title, trend, y, caption) {
  if (!hasPoints(trend.mean)) return null;
  const settled = result.clock.settled_at_bit;
  const write = y.write;
  return figure({
    title, caption, columns: [trend.bit, trend.least, trend.greatest, trend.mean],
    series: [
      {label: "least", colour: "band", width: 1, unlisted: true, write},
      {label: "greatest", colour: "band", width: 1, unlisted: true, write},
      {label: "mean", colour: "one", write},
    ],
    bands: [[2, 1]], key: [["least to greatest", {colour: "band", area: true}]],
    x: {name: "bit", write: (v) => `bit ${grouped(v)}`, range: [0, Math.max(result.bits, trend.bit.at(-1))]},
    y: {name: y.name},
    shaded: result.ignored_bits > 0 ? [{from: 0, to: result.ignored_bits, label: "not counted"}] : [],
    marks: settled === null ? [] : [{x: settled, label: "settled"}],
  });
}

function histogramFigure() {
  const {first, step, counts} = data.clock.histogram;
  if (counts.length === 0) return null;
  const total = counts.reduce((a, b) => a + b, 0);
  return figure({
    title: "Histogram of the time interval error", columns: [counts.map((_, i) => first + i * step), counts.map((n) => n / total)],
    caption: `${grouped(total)} clock edges after the ignored bits.`,
    series: [{label: "part of the edges", colour: "one", bars: true, width: 0, unlisted: true, write: ratio}],
    x: {name: "TIE, UI", write: (v) => intervals(v), range: [first - step, first + counts.length * step]},
    y: {name: "part of the edges", range: [0, 1.06 * Math.max(...counts) / total]},
  });
}

function spectrumFigure() {
  const {frequency: hertz, amplitude} = data.clock.spectrum;
  if (!hasPoints(amplitude)) return null;
  const tones = result.clock.tones, floor = result.clock.spectrum_floor_ui;
  const labels = {
    hooks: {
      draw: (u) => {
        const {ctx} = u, scale = devicePixelRatio, taken = [];
        ctx.save();
        ctx.font = `${11.5 * scale}px system-ui, sans-serif`;
        ctx.textAlign = "center";
        for (const tone of tones) {
          const [x, y] = [u.valToPos(tone.frequency_hz / 1e6, "x", true), u.valToPos(tone.amplitude_ui, "y", true)];
          if (!(x >= u.bbox.left && x <= u.bbox.left + u.bbox.width)) continue;
          ctx.fillStyle = colour("two");
          ctx.beginPath();
          ctx.arc(x, y, 3.5 * scale, 0, 7);
          ctx.fill();
          const text = frequency(tone.frequency_hz), half = ctx.measureText(text).width / 2;
          const middle = Math.min(Math.max(x, u.bbox.left + half), u.bbox.left + u.bbox.width - half);
          const line = y - 8 * scale;
          if (taken.some((t) => Math.abs(t.middle - middle) < t.half + half + 6 * scale && Math.abs(t.line - line) < 13 * scale)) continue;
          taken.push({middle, line, half});
          ctx.fillStyle = colour("ink");
          ctx.fillText(text, middle, line);
        }
        ctx.restore();
      },
    },
  };
  const known = amplitude.filter((v) => v > 0);
  return figure({
    title: "Spectrum of the time interval error",
    columns: [hertz.map((f) => f / 1e6), amplitude.map((v) => v > 0 ? v : null), hertz.map(() => floor)],
    caption: `Amplitude of a sine at each frequency, mean of ${grouped(result.clock.spectrum_segments)} segments.` +
      (tones.length ? " Dots: tones that stand out of the floor." : ""),
    series: [{label: "amplitude", colour: "one", width: 1.4, write: (v) => `${digits(v, 3)} UI peak`},
      {label: "floor", colour: "three", dash: [4, 4], width: 1.2, unlisted: floor === null, silent: true, write: (v) => digits(v, 2)}],
    key: tones.length ? [["tones", {colour: "two", dots: true}]] : [], plugins: [labels],
    x: {name: "frequency, MHz", write: (v) => frequency(v * 1e6), range: [hertz[0] / 1e6, hertz.at(-1) / 1e6], logarithmic: true},
    y: {name: "amplitude, UI peak", logarithmic: true, range: [decades(Math.min(...known), 1)[0], 2 * decades(0.1, Math.max(...known))[1]]},
  });
}

function clockSection() {
  const rms = result.clock.tie_rms_ui;
  const figures = [
    trendFigure("Time interval error", data.clock.tie, {name: "TIE, UI", write: (v) => intervals(v)},
      "Against the straight line through the counted clock times." +
      (rms === null ? "" : ` ${intervals(rms)} rms, ${intervals(result.clock.tie_peak_to_peak_ui)} peak to peak.`)),
    trendFigure("Recovered unit interval", data.clock.period, {name: "unit interval from nominal, ppm", write: (v) => `${fixed(v, 1)} ppm`},
      result.ppm === null ? null : `After the ignored bits ${digits(result.unit_interval_s * 1e12, 7)} ps, ${fixed((result.unit_interval_s / data.bitTime - 1) * 1e6, 1)} ppm from nominal: a bit rate of ${result.ppm > 0 ? "+" : ""}${fixed(result.ppm, 1)} ppm.`),
    histogramFigure(), spectrumFigure(),
  ].filter(Boolean);
  if (figures.length === 0) return null;
  const rows = [];
  for (let i = 0; i < figures.length; i += 2)
    rows.push(element("div", {class: i + 1 < figures.length ? "pair" : ""}, ...figures.slice(i, i + 2)));
  return section("Clock", ...rows);
}

/** What the model gave back: a table of the values, and a plot of each that changed. */
function parametersSection() {
  const all = result.parameters_out ?? [];
  if (all.length === 0) return null;
  const changed = all.filter((p) => p.values.length > 1), shown = changed.slice(0, 12);
  const figures = shown.map((p) => figure({
    title: p.name, columns: [[...p.bits, Math.max(result.bits, p.bits.at(-1) + 1)], [...p.values, p.values.at(-1)]],
    series: [{label: p.name, colour: "one", steps: true, unlisted: true, write: (v) => short(v)}],
    x: {name: "bit", write: (v) => `bit ${grouped(v)}`, range: [0, Math.max(result.bits, p.bits.at(-1) + 1)]}, y: {name: p.name},
    shaded: result.ignored_bits > 0 ? [{from: 0, to: result.ignored_bits, label: "not counted"}] : [],
  }));
  const rows = [];
  for (let i = 0; i < figures.length; i += 2)
    rows.push(element("div", {class: i + 1 < figures.length ? "pair" : ""}, ...figures.slice(i, i + 2)));
  const columns = [{text: "parameter", number: false}, ...["at first", "at the end", "last changed by bit"].map((text) => ({text, number: true}))];
  return section("What the model gives back", ...rows,
    changed.length > shown.length ? element("p", {}, `${changed.length - shown.length} more change; parameters_out.csv has all.`) : null,
    table("Numbers of AMI_parameters_out", columns,
      all.map((p) => [element("code", {}, p.name), short(p.values[0]), short(p.values.at(-1)), p.values.length > 1 ? grouped(p.bits.at(-1)) : "–"])));
}

function channelSection() {
  const channel = data.channel;
  if (!channel) return null;
  const [gigahertz, nanoseconds] = [channel.frequency.map((f) => f / 1e9), channel.time.map((t) => t * 1e9)];
  return section("Channel", element("div", {class: "pair"},
    figure({title: "Loss of the channel as it was used", columns: [gigahertz, channel.loss],
      caption: `${fixed(result.channel.loss_at_half_bit_rate_db, 2)} dB at half the bit rate, between its terminations.`,
      series: [{label: "loss", colour: "one", unlisted: true, write: (v) => `${fixed(v, 2)} dB`}],
      x: {name: "frequency, GHz", write: (v) => frequency(v * 1e9), range: [0, gigahertz.at(-1)]},
      y: {name: "loss, dB", ...(channel.flat ? {range: [-1, 1]} : {})}}),
    figure({title: "Its response to one unit interval of 1 V", columns: [nanoseconds, channel.pulse.map((v) => v * 1000)],
      caption: "The channel alone, from the time when the pulse is sent: without the transmitter's edges and equaliser.",
      series: [{label: "pulse", colour: "one", unlisted: true, write: (v) => `${fixed(v, 1)} mV`}],
      x: {name: "time, ns", write: (v) => `${fixed(v, 3)} ns`, range: [nanoseconds[0], nanoseconds.at(-1)]},
      y: {name: "pulse, mV"}})));
}

function adaptationSection() {
  const trace = result.adaptation.trace ?? [];
  if (trace.length === 0) return null;
  const numbers = trace.map((_, i) => i + 1), shaded = [];
  trace.forEach((m, i) => {
    if (!m.lock_phase) return;
    if (shaded.at(-1)?.to === i + 0.5) shaded.at(-1).to = i + 1.5;
    else shaded.push({from: i + 0.5, to: i + 1.5, label: "until lock"});
  });
  const x = {name: "measurement", write: (v) => `measurement ${v}`, range: [0.5, trace.length + 0.5],
    axis: {incrs: [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000]}};
  const integer = (v) => String(v);
  const figures = element("div", {class: "pair"},
    figure({title: "Level of the equaliser", x, columns: [numbers, trace.map((m) => m.level)], shaded,
      series: [{label: "level", colour: "one", points: true, steps: true, unlisted: true, write: integer}],
      y: {name: "level", axis: {incrs: [1, 2, 5, 10]}, range: [0, Math.max(4, ...trace.map((m) => m.level + 1))]}}),
    figure({title: "Eye opening that the model measured", x, shaded,
      columns: [numbers, trace.map((m) => m.heo), trace.map((m) => m.veo)],
      series: [{label: "HEO, 1/64 UI", colour: "two", points: true, write: integer},
        {label: "VEO, amplitude bins", colour: "three", dash: [6, 4], points: true, write: integer}],
      y: {name: "opening", range: [0, 66]}}));
  return section("Adaptation", element("p", {}, `${trace.length} eye measurements, ` +
    (result.adaptation.finished ? `finished at level ${trace.at(-1).level}.` : `not finished; the last one at level ${trace.at(-1).level}.`)), figures);
}

// Of a link of several segments: its stages beside each other.

/** Values at other places of the axis across, straight between points; nothing beyond them. */
function straightAt(x, values, places) {
  let n = 0;
  return places.map((place) => {
    while (n + 2 < x.length && x[n + 1] < place) ++n;
    if (x.length < 2 || place < x[n] || place > x[n + 1]) return null;
    return values[n] + (values[n + 1] - values[n]) * (place - x[n]) / (x[n + 1] - x[n]);
  });
}

function stagesTable(stages) {
  const columns = ["", "ends in", "verdict", "errors", "end to end", "height", "width", "TIE rms", "clock"]
    .map((text, i) => ({text, number: i > 2}));
  const counts = (c) => c ? `${grouped(c.errors)} in ${grouped(c.compared_bits)}` : "–";
  return table("Stages", columns, stages.map((s, k) => [
    k + 1 < stages.length ? element("a", {href: `segment${k + 1}/report.html`}, `Segment ${k + 1}`) : `Segment ${k + 1}`,
    s.name, s.verdict ?? "–", counts(s.errors), counts(s.end_to_end),
    s.eye ? `${fixed(s.eye.height_v * 1000, 1)} mV` : "–", s.eye ? intervals(s.eye.width_ui, 3) : "–",
    s.clock.tie_rms_ui === null ? "–" : intervals(s.clock.tie_rms_ui), s.clock.ppm === null ? "–" : `${fixed(s.clock.ppm, 1)} ppm`]));
}

function stagesClock(stages) {
  const all = data.stages.map((s, k) => ({...s.tie, label: `${k + 1} ${stages[k].name}`})).filter((t) => hasPoints(t.mean));
  if (all.length === 0) return null;
  const colours = ["one", "two", "three"], {bit} = all.at(-1);
  return figure({
    title: "Time interval error of all stages", caption: "The mean of each clock, against the straight line through its counted times.",
    columns: [bit, ...all.map((t) => straightAt(t.bit, t.mean, bit))],
    series: all.map((t, k) => ({label: t.label, colour: colours[k % 3], dash: k < 3 ? undefined : [6, 3], write: (v) => intervals(v)})),
    x: {name: "bit", write: (v) => `bit ${grouped(v)}`, range: [0, Math.max(result.bits, bit.at(-1))]}, y: {name: "TIE, UI"},
    shaded: result.ignored_bits > 0 ? [{from: 0, to: result.ignored_bits, label: "not counted"}] : [],
  });
}

function chainSection() {
  const stages = result.segments;
  if (!stages) return null;
  const eyes = stages.map((s, k) => s.eye && data.stages[k].output?.density
    ? eyeFigure(`${k + 1} ${s.name}`, s.eye, data.stages[k].output,
      `${fixed(s.eye.height_v * 1000, 1)} mV, ${s.eye.width_ui === null ? "–" : fixed(s.eye.width_ui, 3)} UI.`, null) : null).filter(Boolean);
  return section("Link", element("p", {}, "The stages in the link's order; errors compare with what was sent last before the stage, and first of all. " +
    "What follows below is of the last one."),
    stagesTable(stages), element("div", {class: eyes.length > 1 ? "pair" : ""}, ...eyes), stagesClock(stages));
}

// The eyes that the model measured itself: one enlarged, to be picked from all of them.

function loggedEyesSection() {
  const eyes = data.loggedEyes;
  if (eyes.length === 0) return null;
  const kBins = 64, trace = result.adaptation.trace ?? [];
  const hits = eyes.map((eye) => wholeNumbers(eye.hits));
  const pictures = hits.map((list) => {
    // The end rows hold all that lies beyond the span: they must not set the scale.
    const inner = list.slice(kBins, -kBins), most = Math.log1p(Math.max(1, ...inner));
    return cellPicture(kBins, kBins, (column, row) => {
      const n = list[row * kBins + column];
      return n === 0 ? 0 : 0.25 + 0.75 * Math.min(Math.log1p(n) / most, 1);
    });
  });
  const told = (i) => {
    const m = trace[eyes[i].number - 1];
    return m ? `level ${m.level}, HEO ${m.heo}, VEO ${m.veo}${m.lock_phase ? ", until lock" : ""}` : "";
  };

  let current = eyes.length - 1;
  const slider = element("input", {type: "range", id: "measurement", min: 1, max: eyes.length, value: current + 1,
    "aria-label": "Eye measurement", oninput: () => pick(Number(slider.value) - 1)});
  const label = element("span", {"aria-live": "polite"});
  const step = (by, text, name) => element("button", {type: "button", "aria-label": name,
    onclick: () => pick(Math.min(Math.max(current + by, 0), eyes.length - 1))}, text);
  const thumbs = pictures.map((picture, i) =>
    element("button", {type: "button", "aria-label": `Measurement ${eyes[i].number}`, title: told(i), onclick: () => pick(i)},
      picture, String(eyes[i].number)));

  const whole = pictureFigure({
    title: "Eye histogram", key: [],
    x: {name: "phase, UI after the falling clock edge", range: [0, 1]},
    y: {name: "amplitude bin", range: [0, kBins]},
    plugins: [picturePlugin(() => pictures[current], () => ({left: 0, right: 1, top: kBins, bottom: 0}), false)],
    describe: (u, i, x, y) => {
      const column = Math.floor(x * kBins), bin = Math.floor(y);
      if (column < 0 || column >= kBins || bin < 0 || bin >= kBins) return [];
      return [[`phase bin ${column}, amplitude bin ${bin}`, null], [`${hits[current][(kBins - 1 - bin) * kBins + column]} hits`, null]];
    },
    caption: "Data are sampled at phase bin 32. The top and bottom rows also hold what lies beyond the span.",
  });
  const record = plots.at(-1);
  function pick(i) {
    current = i;
    slider.value = i + 1;
    label.textContent = `${eyes[i].number} of ${eyes.at(-1).number}${told(i) ? `: ${told(i)}` : ""}`;
    thumbs.forEach((thumb, n) => thumb.setAttribute("aria-pressed", String(n === i)));
    record.u?.redraw(false);
  }
  pick(current);

  return section("Eyes that the model logged", element("div", {class: "pair"}, whole,
    element("div", {class: "card"}, element("h3", {}, "Measurements"),
      element("div", {class: "picker"}, step(-1, "‹", "Previous measurement"), slider, step(1, "›", "Next measurement")),
      element("p", {}, label), element("div", {class: "thumbs"}, ...thumbs))));
}

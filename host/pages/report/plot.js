// One way to draw everything that has axes: uPlot with the page's colours, a readout beside the
// pointer, a key, and zoom by dragging.

const plots = [];

const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();

/** A sample of a line or mark for the key and the readout. */
function swatch(style) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.setAttribute("width", 24);
  svg.setAttribute("height", 10);
  svg.setAttribute("aria-hidden", "true");
  const paint = style.fixed ?? `var(--${style.colour})`;
  const ground = style.ground ? `<rect y="-1" width="24" height="12" rx="2" fill="#0a0b1a"/>` : "";
  svg.innerHTML = ground + (style.area ? `<rect width="24" height="10" rx="2" fill="${paint}"/>`
    : style.dots ? `<circle cx="12" cy="5" r="3.5" fill="${paint}"/>`
    : `<path d="M0 5H24" stroke="${paint}" stroke-width="2.5" stroke-dasharray="${(style.dash ?? []).join(" ")}"/>`);
  return svg;
}

function axis(name, options = {}) {
  return {
    label: name, labelSize: 22, size: 56, gap: 5, labelGap: 0,
    font: "12px system-ui, sans-serif", labelFont: "13px system-ui, sans-serif",
    stroke: () => colour("faint"),
    grid: {stroke: () => colour("grid"), width: 1}, ticks: {stroke: () => colour("rule"), width: 1, size: 5},
    values: (u, splits) => splits.map((v) => v === null ? "" : short(v)),
    ...options,
  };
}

/** Limits for a logarithmic scale that end at whole decades, not below `floor`. */
function decades(least, greatest, floor = 1e-15) {
  return [10 ** Math.floor(Math.log10(Math.max(least, floor)) + 1e-9), 10 ** Math.ceil(Math.log10(greatest) - 1e-9)];
}

function logarithmicAxis(name, size = 50) {
  return axis(name, {
    size,
    splits: (u, i, least, greatest) => {
      const [first, last] = [Math.ceil(Math.log10(least) - 1e-9), Math.floor(Math.log10(greatest) + 1e-9)];
      const step = Math.max(1, Math.ceil((last - first) / 8));
      const list = [];
      for (let d = last; d >= first; d -= step) list.unshift(10 ** d);
      return list.length > 1 ? list : [least, greatest];
    },
    filter: (u, splits) => splits,
    values: (u, splits) => splits.map(ratio),
  });
}

/** The box beside the pointer, filled with `describe(u, index, x, y)`: a list of [text, style]. */
function readout(describe) {
  const box = element("div", {class: "tip", hidden: ""});
  return {
    hooks: {
      init: (u) => {
        u.over.append(box);
        u.over.addEventListener("mouseleave", () => { box.hidden = true; });
      },
      setCursor: (u) => {
        const {left, top, idx} = u.cursor;
        const lines = left >= 0 && top >= 0
          ? describe(u, idx, u.posToVal(left, "x"), u.posToVal(top, "y")) : [];
        box.hidden = lines.length === 0;
        if (box.hidden) return;
        box.replaceChildren(...lines.map(([text, style]) => {
          const mark = style ? element("i", {style: `background:${style.fixed ?? `var(--${style.colour})`}`}) : null;
          return element("div", {}, mark, text);
        }));
        const width = u.over.clientWidth, height = u.over.clientHeight;
        const x = left + 16 + box.offsetWidth > width ? left - 12 - box.offsetWidth : left + 16;
        box.style.left = `${Math.max(Math.min(x, width - box.offsetWidth), -40)}px`;
        box.style.top = `${Math.min(Math.max(top - 14, 0), Math.max(height - box.offsetHeight, 0))}px`;
      },
    },
  };
}

/** Shades stretches of the axis across and draws upright marks, beneath the curves. */
function stretches(shaded, marks) {
  return {
    hooks: {
      drawAxes: (u) => {
        const {left, top, width, height} = u.bbox, {ctx} = u, scale = devicePixelRatio;
        const place = (x) => Math.min(Math.max(u.valToPos(x, "x", true), left), left + width);
        ctx.save();
        ctx.font = `${12 * scale}px system-ui, sans-serif`;
        ctx.textBaseline = "top";
        ctx.textAlign = "right";
        for (const {from, to, label} of shaded) {
          const [begin, end] = [place(from), place(to)];
          ctx.fillStyle = colour("shade");
          ctx.fillRect(begin, top, end - begin, height);
          ctx.fillStyle = colour("faint");
          if (label && ctx.measureText(label).width + 12 * scale < end - begin)
            ctx.fillText(label, end - 6 * scale, top + 5 * scale);
        }
        for (const {x, label} of marks) {
          const at = u.valToPos(x, "x", true);
          if (!(at >= left && at <= left + width)) continue;
          ctx.fillStyle = colour("ink");
          ctx.fillRect(at - scale, top, 2 * scale, height);
          const leftwards = at + ctx.measureText(label).width + 10 * scale > left + width;
          ctx.textAlign = leftwards ? "right" : "left";
          ctx.fillText(label, at + (leftwards ? -6 : 6) * scale, top + height - 18 * scale);
        }
        ctx.restore();
      },
    },
  };
}

/**
 * A figure with a plot.
 * options: title, caption, height; x: {name, range}; y: {name, range, logarithmic};
 *   series: [{label, colour, dash, width, dots, steps, unlisted, band}], columns: [x, y1, y2, ...],
 *   describe (see readout), plugins, key: [[label, style]] beside the series', shaded, marks
 */
function figure(options) {
  const holder = element("div", {class: `plot ${options.className ?? ""}`, role: "img", "aria-label": options.title});
  const reset = element("button", {type: "button", hidden: "", onclick: () => record.reset()}, "Reset zoom");
  const listed = (options.series ?? []).filter((s) => !s.unlisted).map((s) => [s.label, s]);
  const key = element("ul", {class: "key"}, ...[...listed, ...(options.key ?? [])].map(([label, style]) =>
    element("li", {}, swatch(style), label)));
  const record = {figure: null, u: null, title: options.title};
  record.figure = element("figure", {},
    element("header", {}, element("h3", {}, options.title), reset), key, holder,
    options.caption ? element("figcaption", {}, options.caption) : null);

  const describe = options.describe ?? ((u, i) => {
    if (i === null || i === undefined) return [];
    const lines = options.series.map((s, n) => [s, options.columns[n + 1][i]])
      .filter(([s, v]) => !s.silent && v !== null && v !== undefined)
      .map(([s, v]) => [`${s.label} ${s.write(v)}`, s]);
    return [[options.x.write(options.columns[0][i]), null], ...lines];  // the place, where nothing was found, too
  });
  const logarithmic = options.y.logarithmic;
  const full = {x: options.x.range, y: options.y.range};
  const settings = {
    width: 400, height: options.height ?? 300, legend: {show: false}, padding: [10, 24, 0, 0],
    scales: {
      x: {time: false, distr: options.x.logarithmic ? 3 : 1, range: (u, least, greatest) => zoomed(u, "x") ?? full.x ?? [least, greatest]},
      y: {distr: logarithmic ? 3 : 1,
        range: (u, least, greatest) => zoomed(u, "y") ?? full.y
          ?? (logarithmic ? decades(least ?? 0.1, greatest ?? 1) : uPlot.rangeNum(least ?? 0, greatest ?? 1, 0.1, true))},
    },
    axes: [options.x.logarithmic ? logarithmicAxis(options.x.name, 28) : axis(options.x.name, {size: 28, ...options.x.axis}),
      logarithmic ? logarithmicAxis(options.y.name) : axis(options.y.name, options.y.axis)],
    series: [{}, ...(options.series ?? []).map((s) => ({
      label: s.label, stroke: () => colour(s.colour), width: s.dots ? 0 : s.width ?? 2, dash: s.dash,
      points: {show: Boolean(s.dots || s.points), size: 7, width: 0, fill: () => colour(s.colour)},
      paths: s.dots ? () => null : s.steps ? uPlot.paths.stepped({align: 1}) : s.bars ? uPlot.paths.bars({size: [1, Infinity], align: 0}) : undefined,
      fill: s.bars ? () => colour(s.colour) : undefined, spanGaps: false,
    })), ...(options.series ? [] : [{show: true, width: 0, points: {show: false}}])],
    bands: options.bands?.map((b) => ({series: b, fill: () => colour("band")})),
    cursor: {drag: {x: true, y: true, uni: 12, setScale: false}, points: {show: !options.describe, size: 7}, y: Boolean(options.describe),
      bind: {dblclick: () => () => { record.reset(); return null; }}},
    plugins: [stretches(options.shaded ?? [], options.marks ?? []), ...(options.plugins ?? []), readout(describe)],
    hooks: {
      // Both scales are set from the rectangle dragged; a drag along one axis leaves the other.
      setSelect: [(u) => {
        const {left, top, width, height} = u.select;
        if (width < 4 && height < 4) return;
        const zoom = {...record.zoom};
        if (width >= 4 && width < u.over.clientWidth) zoom.x = [u.posToVal(left, "x"), u.posToVal(left + width, "x")];
        if (height >= 4 && height < u.over.clientHeight) zoom.y = [u.posToVal(top + height, "y"), u.posToVal(top, "y")];
        record.show(zoom);
        u.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
      }],
    },
  };
  const zoomed = (u, scale) => record.zoom?.[scale];
  record.show = (zoom) => {
    record.zoom = zoom;
    reset.hidden = !zoom;
    record.u.setData(record.u.data, true);
  };
  record.reset = () => record.show(null);
  record.size = (width) => record.u.setSize({width, height: options.heightFor?.(width) ?? settings.height});
  record.place = () => {
    record.u = new uPlot(settings, options.columns, holder);
    new ResizeObserver(() => { if (!printing && holder.clientWidth > 0) record.size(holder.clientWidth); }).observe(holder);
  };
  plots.push(record);
  return record.figure;
}

// Light and dark: as the system has it until the button is pressed. Paper is always white.

let printing = false, chosen = null;
const darkSystem = matchMedia("(prefers-color-scheme: dark)");

function applyTheme() {
  const theme = printing ? "light" : chosen ?? (darkSystem.matches ? "dark" : "light");
  document.documentElement.dataset.theme = theme;
  document.getElementById("theme").textContent = theme === "dark" ? "Light" : "Dark";
  for (const plot of plots) plot.u?.redraw(false, true);
}

/** A4 less its margins is 186 mm wide, 703 CSS pixels; the plots are given the width that they have there. */
function preparePrint(begins) {
  if (printing === begins) return;
  printing = begins;
  applyTheme();
  for (const plot of plots) {
    const paired = plot.figure.parentElement.classList.contains("pair");
    const holder = plot.figure.querySelector(".plot");
    plot.size(begins ? (paired ? 312 : 666) : holder.clientWidth);
  }
}

function watchTheme() {
  document.getElementById("theme").addEventListener("click", () => {
    chosen = document.documentElement.dataset.theme === "dark" ? "light" : "dark";
    applyTheme();
  });
  darkSystem.addEventListener("change", applyTheme);
  addEventListener("beforeprint", () => preparePrint(true));
  addEventListener("afterprint", () => preparePrint(false));
  matchMedia("print").addEventListener("change", (event) => preparePrint(event.matches));
  applyTheme();
}

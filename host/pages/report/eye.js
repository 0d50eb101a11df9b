// Eye densities with the contours of equal bit error ratio.

const kEyeStops = ["rgb(9 10 26)", "rgb(48 26 107)", "rgb(133 31 128)", "rgb(219 77 87)", "rgb(250 158 69)", "rgb(252 247 184)"];
const kMaskLine = "#b9c4da", kMaskFill = "rgb(185 196 218 / 0.4)";
const kContourColours = ["#ffffff", "#7fe9ff", "#58b8ff", "#93f5a5", "#ffe27a", "#ffb3d9"];

/** The colours for the parts 0, 1/255 ... 1 of the scale, as red, green, blue and opacity. */
const eyeColours = (() => {
  const canvas = element("canvas", {width: 256, height: 1});
  const ctx = canvas.getContext("2d", {willReadFrequently: true});
  for (let i = 0; i < 256; ++i) {
    const place = i / 255 * (kEyeStops.length - 1), n = Math.min(Math.floor(place), kEyeStops.length - 2);
    ctx.fillStyle = `color-mix(in oklab, ${kEyeStops[n + 1]} ${100 * (place - n)}%, ${kEyeStops[n]})`;
    ctx.fillRect(i, 0, 1, 1);
  }
  return ctx.getImageData(0, 0, 256, 1).data;
})();

/** A picture of cells, the top row first; `level(column, row)` is from 0 to 1. */
function cellPicture(columns, rows, level) {
  const canvas = element("canvas", {width: columns, height: rows});
  const ctx = canvas.getContext("2d"), image = ctx.createImageData(columns, rows);
  for (let row = 0; row < rows; ++row) {
    for (let column = 0; column < columns; ++column) {
      // The bright end is kept for the crossings; most of an eye is of middling density.
      const shade = Math.round(255 * level(column, row) ** 1.6);
      image.data.set(eyeColours.subarray(4 * shade, 4 * shade + 4), 4 * (row * columns + column));
    }
  }
  ctx.putImageData(image, 0, 0);
  return canvas;
}

/** Draws a picture whose edges are at these values of the axes, and whatever else `more` draws. */
function picturePlugin(picture, edges, smooth, more = () => {}) {
  return {
    hooks: {
      drawAxes: (u) => {
        const {ctx} = u, {left, top, width, height} = u.bbox;
        ctx.save();
        ctx.beginPath();
        ctx.rect(left, top, width, height);
        ctx.clip();
        ctx.fillStyle = kEyeStops[0];
        ctx.fillRect(left, top, width, height);
        const x = (v) => u.valToPos(v, "x", true), y = (v) => u.valToPos(v, "y", true);
        ctx.imageSmoothingEnabled = smooth;
        const image = picture();
        if (image) {
          const e = edges();
          ctx.drawImage(image, x(e.left), y(e.top), x(e.right) - x(e.left), y(e.bottom) - y(e.top));
        }
        more(ctx, x, y);
        ctx.restore();
      },
    },
  };
}

/** A plot of cells with axes; `describe` as in readout. */
function pictureFigure(options) {
  return figure({
    className: "eye", columns: [options.x.range, options.y.range],
    heightFor: (width) => Math.round(Math.min(Math.max(width * 0.74, 230), 460)), ...options,
  });
}

function eyeFigure(title, eye, curves, caption, mask) {
  const density = curves.density;
  const levels = bytes(density.levels), {columns, rows} = density;
  const decadesOfDensity = Math.log10(density.peak / density.once) || 1;
  const sampled = 0.5;  // where the plot's middle is, unit intervals after the clock time
  const masked = mask ? mask.corners.map(([, volts]) => Math.abs(volts)) : [];
  const top = 1.12 * Math.max(Math.abs(density.low), Math.abs(density.high), ...masked) * 1000;
  // Three unit intervals side by side, so that nothing is seen where they meet.
  const picture = cellPicture(3 * columns, rows, (column, row) => {
    const byte = levels[(rows - 1 - row) * columns + column % columns];
    return byte === 0 ? 0 : ((byte - 1) / 254 * decadesOfDensity + 0.5) / (decadesOfDensity + 0.5);
  });
  const eyes = eyesOf(eye, curves);
  const contours = eyes.flatMap((one) => one.curves.contours.filter((c) => c.phase.length > 0));
  const ratios = [...new Set(eyes.flatMap((one) => one.curves.contours.map((c) => c.ber)))];
  const style = (c) => ({fixed: kContourColours[ratios.indexOf(c.ber) % kContourColours.length],
    dash: c.extrapolated || c.computed ? [5, 3] : undefined});

  /** Filled as it is, dashed as far as it may grow or must shrink. */
  const drawMask = (ctx, x, y, stroke) => {
    const [cx, cy] = mask.centre;
    const outline = (scale) => mask.corners.map(([px, py]) =>
      [cx + (px - cx) * scale - sampled, (cy + (py - cy) * scale) * 1000]);
    const closed = (points) => [...points, points[0]];
    ctx.fillStyle = kMaskFill;
    ctx.beginPath();
    for (const [px, py] of outline(1)) ctx.lineTo(x(px), y(py));
    ctx.fill();
    const {left, right} = {left: x(-1), right: x(1)};
    const [low, high] = mask.limits_v;
    if (high !== null && high * 1000 < top) ctx.fillRect(left, y(top), right - left, y(high * 1000) - y(top));
    if (low !== null && low * 1000 > -top) ctx.fillRect(left, y(low * 1000), right - left, y(-top) - y(low * 1000));
    const draw = (scale, dash) => {  // to be seen upon bright and dark
      stroke(closed(outline(scale)), "rgb(27 33 48 / 0.7)", 3);
      stroke(closed(outline(scale)), kMaskLine, 1.4, dash);
    };
    draw(1);
    if (mask.margin_percent !== null) draw(1 + mask.margin_percent / 100, [4, 3]);
  };
  const marks = (ctx, x, y) => {
    const scale = devicePixelRatio;
    const stroke = (points, colourOfLine, width, dash = []) => {
      ctx.strokeStyle = colourOfLine;
      ctx.lineWidth = width * scale;
      ctx.setLineDash(dash.map((d) => d * scale));
      ctx.beginPath();
      points.forEach(([px, py], i) => i ? ctx.lineTo(x(px), y(py)) : ctx.moveTo(x(px), y(py)));
      ctx.stroke();
    };
    if (mask) drawMask(ctx, x, y, stroke);
    for (const c of contours) {
      const upper = c.phase.map((p, i) => [p - sampled, c.high[i] * 1000]);
      const lower = c.phase.map((p, i) => [p - sampled, c.low[i] * 1000]).reverse();
      stroke([...upper, ...lower, upper[0]], style(c).fixed, 1.7, style(c).dash);
    }
    stroke([[0, top], [0, -top]], "rgba(255,255,255,0.75)", 1, [4, 4]);
    const bar = (points, across) => {
      stroke(points, "#fff", 1.5);
      for (const [px, py] of points) {
        ctx.fillStyle = "#fff";
        if (across) ctx.fillRect(x(px) - 0.75 * scale, y(py) - 6 * scale, 1.5 * scale, 12 * scale);
        else ctx.fillRect(x(px) - 6 * scale, y(py) - 0.75 * scale, 12 * scale, 1.5 * scale);
      }
    };
    for (const {eye: one} of eyes) {
      const at = one.sliced ? 0 : one.sampled_at_ui - sampled, threshold = (one.threshold_v ?? 0) * 1000;
      if (one.height_v > 0 && !one.sliced) bar([[at, one.high_v * 1000], [at, one.low_v * 1000]], false);
      if (one.width_ui > 0) bar([[at - one.left_ui, threshold], [at + one.right_ui, threshold]], true);
    }
  };

  return pictureFigure({
    title, caption,
    x: {name: "time from the sampling instant, UI", range: [-1, 1]},
    y: {name: "voltage, mV", range: [-top, top]},
    key: contours.filter((c, i) => contours.findIndex((other) => other.ber === c.ber) === i).map((c) => [`${ratio(c.ber)}${c.extrapolated ? " (from fit)" : c.computed ? " (computed)" : ""}`, {...style(c), ground: true}]),
    plugins: [picturePlugin(() => picture,
      () => ({left: -1 - sampled, right: 2 - sampled, top: density.high * 1000, bottom: density.low * 1000}), true, marks)],
    describe: (u, i, px, py) => {
      const phase = px + sampled, column = Math.floor((phase - Math.floor(phase)) * columns);
      const row = Math.floor((py / 1000 - density.low) / (density.high - density.low) * rows);
      const byte = row >= 0 && row < rows ? levels[row * columns + column] : 0;
      return [[intervals(px, 3), null], [`${fixed(py, 1)} mV`, null],
        [byte ? `density ${ratio(density.once * (density.peak / density.once) ** ((byte - 1) / 254))}` : "nothing passed here", null]];
    },
  });
}

function maskOf(eye) {
  const {mask} = result;
  return mask?.corners.length && eye === (mask.at === "input" ? result.input_eye : result.eye) ? mask : null;
}
function maskCaption(eye) {
  const mask = maskOf(eye);
  if (!mask) return "";
  const sign = mask.margin_percent > 0 ? "+" : "";
  return ` Mask ${mask.name}: ${mask.passed ? "passed" : "missed"}, ${grouped(mask.hits)} hits in ${grouped(mask.samples)} samples, ` +
    `${ratio(mask.allowed)} of them allowed; margin ${sign}${fixed(mask.margin_percent, 1)} % (dashed).`;
}

function eyeSection() {
  const eyes = [["At the model's input", result.input_eye, data.input], ["At its output", result.eye, data.output]]
    .filter(([, eye, curves]) => eye && curves?.density);
  if (eyes.length === 0) return null;
  const figures = eyes.map(([title, eye, curves]) => eyeFigure(title, eye, curves,
    `${grouped(eye.unit_intervals)} unit intervals. White bars: ${eye.eyes ? `of the worst eye (${eye.name}) ` : ""}` +
    (eye.sliced ? "the width" : `height ${fixed(eye.height_v * 1000, 1)} mV and width`) +
    ` ${eye.width_ui === null ? "–" : fixed(eye.width_ui, 3)} UI at a probability of ${ratio(eye.probability)}.` +
    (eye.shift_ui ? ` The clock is moved by ${fixed(eye.shift_ui, 3)} UI to centre the eye.` : "") + maskCaption(eye), maskOf(eye)));
  return section("Eye", element("p", {}, "In the recovered clock's own frame, data sampled half a unit interval after each clock time. " +
    "Brightness is the logarithm of how often the trace passed; lines surround where data may be sampled at the bit error ratio named."),
    element("div", {class: figures.length > 1 ? "pair" : ""}, ...figures));
}

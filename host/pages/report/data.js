// The run's data and how numbers are written.

const data = JSON.parse(document.getElementById("data").textContent);
const result = data.result;

const kMicro = "\u00b5", kMinus = "\u2212";

/** A number with so many significant digits, without an exponent where it can be read without. */
function digits(value, count = 4) {
  if (value === null || value === undefined || !Number.isFinite(value)) return "–";
  if (value === 0) return "0";
  const size = Math.floor(Math.log10(Math.abs(value)));
  if (size < -4 || size > 9) {
    const [mantissa, exponent] = value.toExponential(Math.max(0, count - 1)).split("e");
    const short = mantissa.includes(".") ? mantissa.replace(/\.?0+$/, "") : mantissa;
    return `${short}e${exponent.replace("+", "")}`.replace(/-/g, kMinus);
  }
  return value.toFixed(Math.max(0, count - 1 - size)).replace("-", kMinus);
}
const fixed = (value, places) =>
  value === null || value === undefined ? "–" : value.toFixed(places).replace("-", kMinus);
const grouped = (value) => value === null || value === undefined ? "–"
  : String(Math.round(value)).replace(/\B(?=(\d{3})+$)/g, ",");
/** Without zeros at the end of the fraction. */
const short = (value, count = 7) => digits(value, count).replace(/(\.\d*?)0+$/, "$1").replace(/\.$/, "");

/** A ratio, as a power of ten where it is small: 0.25, 3.2e-4, 1e-12. */
function ratio(value) {
  if (value >= 0.01 || value === 0) return short(value, 3);
  const [mantissa, exponent] = value.toExponential(2).split("e");
  return `${mantissa.replace(/\.?0+$/, "")}e${exponent.replace("-", kMinus)}`;
}

/** A frequency with the prefix that suits it. */
function frequency(hertz) {
  for (const [unit, factor] of [["GHz", 1e9], ["MHz", 1e6], ["kHz", 1e3]]) {
    if (hertz >= factor) return `${digits(hertz / factor)} ${unit}`;
  }
  return `${digits(hertz)} Hz`;
}
/** A length of time in unit intervals, with what it is in seconds. */
function intervals(ui, places = 4) {
  const seconds = ui * data.bitTime;
  const [value, unit] = Math.abs(seconds) < 1e-12 ? [seconds * 1e15, "fs"] : [seconds * 1e12, "ps"];
  return `${fixed(ui, places)} UI (${digits(value, 3)} ${unit})`;
}

function bytes(base64) {
  return Uint8Array.from(atob(base64), (c) => c.charCodeAt(0));
}

/** Whole numbers of any size in groups of seven bits, the lowest first; bit 7: more follow. */
function wholeNumbers(base64) {
  const numbers = [];
  let value = 0, scale = 1;
  for (const byte of bytes(base64)) {
    value += (byte & 127) * scale;
    scale *= 128;
    if (byte < 128) {
      numbers.push(value);
      value = 0;
      scale = 1;
    }
  }
  return numbers;
}

/** An element with attributes and children; a child that is text stays text. */
function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith("on")) made.addEventListener(key.slice(2), value);
    else if (value !== null && value !== false) made.setAttribute(key, value);
  }
  made.append(...children.filter((child) => child !== null && child !== undefined));
  return made;
}

// Opens report.html of real runs in Chromium and uses it as a reader does.
//
//     node report.test.js CHROMIUM AMISIM RETIMER.ibs TEST_MODEL.so FOLDER_FOR_PICTURES
//
// The pictures and the print are left in the folder to be looked at.

import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {mkdirSync, mkdtempSync, readFileSync, rmSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {pathToFileURL} from "node:url";
import {chromium} from "playwright-core";

const [executablePath, amisim, retimer, testModel, pictures] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), "amisim-report-"));
mkdirSync(pictures, {recursive: true});

function run(name, code, ...options) {
  const done = spawnSync(amisim, ["run", ...options, "--out", join(folder, name)], {encoding: "utf8"});
  assert.equal(done.status, code, done.stdout + done.stderr);
  return join(folder, name);
}

async function open(browser, path, options = {}) {
  const page = await browser.newPage({viewport: {width: 1280, height: 900}, ...options});
  page.faults = [];
  page.on("console", (message) => page.faults.push(message.text()));
  page.on("pageerror", (error) => page.faults.push(error.stack));
  page.on("request", (request) => /^(file|data):/.test(request.url()) || page.faults.push(request.url()));
  await page.goto(pathToFileURL(join(path, "report.html")).href);
  await page.waitForFunction(() => window.amisimPlots?.every((plot) => plot.u?.width > 100 && plot.u.status === 1));
  return page;
}

const background = (page) => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
const limits = (page, n) => page.evaluate((i) => {
  const {x, y} = amisimPlots[i].u.scales;
  return [x.min, x.max, y.min, y.max];
}, n);

/** The colours in a plot's middle part: one alone if nothing is drawn there. */
const colours = (page, n) => page.evaluate((i) => {
  const {ctx, bbox} = amisimPlots[i].u;
  const {data} = ctx.getImageData(bbox.left, bbox.top, bbox.width, bbox.height);
  return new Set(new Uint32Array(data.buffer)).size;
}, n);

async function plotsHoldPointsAndAnswer(page, expected) {
  const titles = await page.evaluate(() => amisimPlots.map((plot) => plot.title));
  assert.deepEqual(titles, expected);
  const overs = await page.locator(".u-over").all();
  for (const [n, title] of titles.entries()) {
    assert.ok(await colours(page, n) > 2, `${title}: nothing is drawn`);
    const over = overs[n];
    await over.scrollIntoViewIfNeeded();
    const {x, y, width, height} = await over.boundingBox();
    await page.mouse.move(x + 0.51 * width, y + 0.3 * height);
    assert.match(await over.locator(".tip").innerText(), /\d/, title);

    const before = await limits(page, n);
    const [from, to] = await page.evaluate(([i, w]) => [0.3, 0.6].map((part) => amisimPlots[i].u.posToVal(part * w, "x")), [n, width]);
    await page.mouse.move(x + 0.3 * width, y + 0.3 * height);
    await page.mouse.down();
    await page.mouse.move(x + 0.6 * width, y + 0.7 * height, {steps: 4});
    await page.mouse.up();
    const [left, right, low, high] = await limits(page, n);
    const near = 0.02 * (before[1] - before[0]);
    assert.ok(Math.abs(left - from) < near && Math.abs(right - to) < near, `${title}: ${left} to ${right}`);
    assert.ok(low > before[2] && high < before[3], `${title}: ${low} to ${high}`);
    await page.mouse.dblclick(x + 0.5 * width, y + 0.5 * height);
    assert.deepEqual(await limits(page, n), before, title);
  }
}

async function theKeyboardPicksEyes(page) {
  const caption = page.locator(".picker + p"), last = await caption.innerText();
  const histogram = () => page.evaluate(() => amisimPlots.at(-1).u.ctx.canvas.toDataURL());
  const picture = await histogram();
  await page.locator("#measurement").focus();
  await page.keyboard.press("ArrowLeft");
  assert.notEqual(await caption.innerText(), last);
  assert.notEqual(await histogram(), picture);
  assert.equal(await page.locator('.thumbs [aria-pressed="true"]').count(), 1);
}

async function themesFollowSystemAndButton(browser, path) {
  const page = await open(browser, path, {colorScheme: "dark"});
  const dark = await background(page);
  await page.screenshot({path: join(pictures, "dark.png"), fullPage: true});
  await page.locator("#theme").click();
  const light = await background(page);
  assert.notEqual(light, dark);
  await page.locator("#theme").click();
  assert.equal(await background(page), dark);
  await page.emulateMedia({colorScheme: "light"});
  assert.equal(await background(page), dark, "what was chosen stays");
  assert.deepEqual(page.faults, []);
}

async function paperHoldsEverything(page) {
  const file = join(pictures, "print.pdf");
  await page.pdf({path: file, preferCSSPageSize: true, printBackground: true});
  const pages = readFileSync(file, "latin1").match(/\/Type\s*\/Page\b/g).length;
  assert.ok(pages >= 3 && pages <= 8, `${pages} pages`);
  await page.emulateMedia({media: "print"});
  await page.setViewportSize({width: 703, height: 1000});
  const wide = await page.evaluate(() => [...document.querySelectorAll("canvas, table")]
    .filter((e) => e.getBoundingClientRect().right > 704).length);
  assert.equal(wide, 0, "cut off on paper");
  await page.emulateMedia({media: null});
}

const browser = await chromium.launch({executablePath, args: process.getuid() === 0 ? ["--no-sandbox"] : []});
try {
  const whole = run("whole", 0, retimer, "--bits", "12000", "--noise", "0.002");
  const page = await open(browser, whole);
  await page.screenshot({path: join(pictures, "light.png"), fullPage: true});
  await plotsHoldPointsAndAnswer(page, ["At the model's input", "At its output", "Time, at 0 V",
    "Voltage, at the sampling instant", "Time interval error", "Recovered unit interval",
    "Histogram of the time interval error", "Spectrum of the time interval error",
    "Loss of the channel as it was used", "Its response to one unit interval of 1 V", "Level of the equaliser",
    "Eye opening that the model measured", "Eye histogram"]);
  await theKeyboardPicksEyes(page);
  await paperHoldsEverything(page);
  await page.setViewportSize({width: 390, height: 800});
  await page.waitForFunction(() => amisimPlots.every((plot) => plot.u.width < 390));
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth) <= 390, "too wide for a narrow window");
  await page.screenshot({path: join(pictures, "narrow.png"), fullPage: true});
  assert.deepEqual(page.faults, []);
  await themesFollowSystemAndButton(browser, whole);

  // What there is after a failure, and a text that must not end the page's script.
  const broken = await open(browser, run("broken", 5, testModel, "--bits", "5000", "--loss", "0", "--ignore-bits", "100", "-p", "Mode=abort"));
  assert.match(await broken.locator(".verdict").innerText(), /AMI_GetWave 3.*512 bits[^]*assertion that failed/);
  assert.ok(await broken.evaluate(() => amisimPlots.length) >= 2);
  assert.deepEqual(broken.faults, []);
  const adapted = await open(browser, run("adapted", 0, testModel, "--bits", "5000", "--loss", "0", "-p", "Mode=out taps"));
  assert.deepEqual(await adapted.evaluate(() => amisimPlots.map((plot) => plot.title).slice(-2)), ["gain", "dfe.taps[1]"]);
  assert.match(await adapted.locator("tr", {hasText: "gain"}).first().innerText(), /0\.687\s+0\.36\s+1,280/);
  assert.deepEqual(adapted.faults, []);

  const empty = await open(browser, run("empty", 5, testModel, "--bits", "5000", "-p", "Mode=init abort"));
  assert.match(await empty.locator(".verdict").innerText(), /AMI_Init/);
  assert.deepEqual(empty.faults, []);
} finally {
  await browser.close();
  rmSync(folder, {recursive: true});
}

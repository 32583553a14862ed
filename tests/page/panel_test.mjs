// The panel in a browser, on a bench in Wine with the real Solvane.dll: each control is used, and what it does is
// seen in a host's output, in the bench's journal and on the page.
import assert from "node:assert/strict";
import { readFile, mkdtemp, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";

import { AXE, Stage, until } from "./stage.mjs";

const MS = 1e6;
const ALL_READ = / yes[ *]+off[ *]+on[ *]+on/; // a row of watch, after some lines could not be read
const stage = new Stage(`panel-${process.pid}`);
let page;
let watch;

before(async () => {
  await Promise.all([stage.startBench(), stage.startBrowser()]);
  await stage.startPanel();
  page = await stage.open();
});
after(() => stage.close());

const part = (key) => page.locator(`[data-key="${key}"]`);
const ofPage = (look, ...inputs) => page.evaluate(look, ...inputs);
const state = () => ofPage(() => solvanePanel.state);
const entries = (from = 0) => ofPage((first) => solvanePanel.journal.entries.filter((entry) => entry.n >= first), from);
const journalEnd = () => ofPage(() => (solvanePanel.journal.entries.at(-1)?.n ?? -1) + 1);

/** The entry of the page's journal, from number `from` on, that has this text. */
function entry(text, from) {
  return until(async () => (await entries(from)).find((each) => each.text === text), `“${text}” in the journal`);
}

function seen(locator, text) {
  return until(async () => (text instanceof RegExp ? text : { test: (all) => all.includes(text) }).test((await locator.textContent()) ?? ""),
    `“${text}” on the page`).catch(async (error) => {
    throw new Error(`${error.message}, which has “${await locator.textContent()}”`);
  });
}

/** Uses a control, and waits for what the journal says, what the host then prints, and what the page shows. */
async function effect(use, { journal, host, shows = [] }) {
  const rows = watch?.lines.length ?? 0;
  const first = await journalEnd();
  await use();
  await entry(journal, first);
  for (const [locator, text] of shows) {
    await seen(locator, text);
  }
  if (host) {
    await watch.line(host, rows);
  }
}

async function runHost(...words) {
  const host = stage.host(...words);
  assert.equal(await host.ended, 0, host.error);
  return host;
}

// ---- The bench is shown ----

test("a host that joins is drawn with its handles, and the lines have their levels", async () => {
  await seen(page.locator("#hosts"), "no host");
  await seen(page.locator("#none"), `SOLVANE_RIG=bench:${stage.name}`);
  watch = stage.host("watch");
  await watch.line(/ms +yes +off +on +on/);
  await seen(part("host1"), /solvane\.exe, process \d+: SLV1B open.*SLV1B · [\d,]+ calls/);
  await seen(page.locator("#hosts"), /solvane\.exe \([\d,]+ calls\)/);
  await seen(page.locator("#bench"), stage.name);
  const names = await page.locator("#names button").allTextContents();
  assert.ok(!(await page.locator("#none").isVisible()));
  assert.deepEqual(names.map((name) => name.trim()), ["trigger 0", "ready 1", "mep 0", "clear_mep 0", "dark 0", "camera_power 1", "accessories_power 1"]);
});

// ---- The drawing ----

test("the camera is made busy and ready", async () => {
  await effect(() => part("lens").click(), { journal: "ready off", host: / no \*/, shows: [[part("lens"), "busy"]] });
  await effect(() => part("lens").click(), { journal: "ready on", host: / yes \*/, shows: [[part("lens"), "ready"]] });
  await effect(() => page.getByRole("button", { name: "Make busy", exact: true }).click(), { journal: "ready off", host: / no \*/ });
  await effect(() => page.getByRole("button", { name: "Make ready", exact: true }).click(), { journal: "ready on", host: / yes \*/ });
});

test("the cable is pulled and put back", async () => {
  await effect(() => part("cable0").click(), { journal: "unplug 0", host: /\? \(-\d+\)/, shows: [[part("cable0"), "put back"], [part("chip-FT2232H-0"), "unplugged"]] });
  await effect(() => part("cable0").click(), { journal: "plug 0", host: ALL_READ, shows: [[part("cable0"), "pull the cable"]] });
});

test("a wire is broken and mended, and gets any other condition", async () => {
  await effect(() => part("lens").click(), { journal: "ready off", host: / no \*/ });
  // An input that is not connected reads 1.
  await effect(() => part("wire-ready").click(), { journal: "wire ready broken", host: / yes \*/, shows: [[part("wire-ready"), "broken"]] });
  await effect(() => part("wire-ready").click(), { journal: "wire ready healthy", host: / no \*/, shows: [[part("wire-ready"), "healthy"]] });
  await effect(() => part("lens").click(), { journal: "ready on", host: / yes \*/ });
  const dark = page.locator("#wire-dark_back");
  await effect(() => dark.selectOption("stuck at 1"), { journal: "wire dark_back stuck at 1", host: / on \*/ });
  await effect(() => dark.selectOption("healthy"), { journal: "wire dark_back healthy", host: / off \*/ });
  assert.equal(await page.locator("#wires select").count(), 10);
  assert.deepEqual(await dark.locator("option").allTextContents().then((all) => all.slice(0, 6)),
    ["healthy", "broken", "stuck at 0", "stuck at 1", "inverted", "swapped with trigger"]);
});

test("camera power is cut and given back", async () => {
  await effect(() => part("power").click(), { journal: "wire camera_power stuck at 0", host: / no \*/, shows: [[part("lens"), "no power"], [part("power"), "power cut"]] });
  await effect(() => part("power").click(), { journal: "wire camera_power healthy", host: / yes \*/, shows: [[part("power"), "power on"]] });
  await effect(() => page.getByRole("button", { name: "Cut it", exact: true }).click(), { journal: "wire camera_power stuck at 0", host: / no \*/ });
  await effect(() => page.getByRole("button", { name: "Give it back", exact: true }).click(), { journal: "wire camera_power healthy", host: / yes \*/ });
});

test("lines are held", async () => {
  await effect(() => page.selectOption("#hold-ready", "0"), { journal: "force ready 0", host: / no \*/ });
  await effect(() => page.selectOption("#hold-ready", "free"), { journal: "force ready free", host: / yes \*/ });
  await effect(() => page.selectOption("#hold-mep", "1"), { journal: "force mep 1", shows: [[page.locator("#names"), "mep 1"]] });
  await effect(() => page.selectOption("#hold-mep", "free"), { journal: "force mep free", shows: [[page.locator("#names"), "mep 0"]] });
});

test("the PC sleeps and resumes", async () => {
  const first = await journalEnd();
  await page.getByRole("button", { name: "Sleep for 1 s", exact: true }).click();
  await seen(page.locator("#activity"), "sleeps");
  await entry("sleep 1000", first);
  await entry("resume", first);
  await seen(page.locator("#activity"), "running");
});

// ---- Faults ----

const form = (name) => page.locator(`#faults [name="${name}"]`);
const add = () => page.getByRole("button", { name: "Add the fault", exact: true }).click();
const rows = () => page.locator("#faults tbody tr");

test("a fault fails the calls, counts how often, and is lifted", async () => {
  await watch.line(/ yes/, watch.lines.length - 1);
  await form("function").fill("FT_Write");
  await form("times").selectOption("0");
  await form("status").fill("4");
  await effect(add, { journal: "fault FT_Write status=4 times=0", host: / \? +\*/ });
  await seen(rows().first(), /FT_Writefrom call \d+ on: status 4[1-9]\d* times?Lift/);
  await entry("fault FT_Write", 0);
  const first = await journalEnd();
  const [{ id }] = (await state()).faults;
  const printed = watch.lines.length;
  await page.getByRole("button", { name: /^Lift the fault of FT_Write/ }).click();
  await entry(`lift ${id}`, first);
  await watch.line(ALL_READ, printed);
  await seen(page.locator("#no-faults"), "No fault is set.");
});

test("each kind of fault is added, and all are lifted", async () => {
  await form("function").fill("Inp32"); // nobody calls it
  await form("which").selectOption("call");
  await form("call").fill("70");
  await form("times").selectOption("3");
  await form("effect").selectOption("status count");
  await form("status").fill("0x10");
  await form("count").fill("1");
  await effect(add, { journal: "fault Inp32 status=0x10 count=1 call=70 times=3" });
  await form("which").selectOption("next");
  await form("times").selectOption("1");
  await form("effect").selectOption("silent");
  assert.ok(!(await form("status").isVisible()));
  await effect(add, { journal: "fault Inp32 silent" });
  await form("effect").selectOption("count");
  await effect(add, { journal: "fault Inp32 count=1" });
  await until(async () => (await rows().count()) === 3, "three faults");
  assert.deepEqual((await state()).faults.map(({ id, ...fault }) => fault), [
    { function: "Inp32", call: 70, times: 3, status: 16, count: 1, occurred: 0 },
    { function: "Inp32", call: 1, times: 1, silent: true, occurred: 0 },
    { function: "Inp32", call: 1, times: 1, count: 1, occurred: 0 },
  ]);
  await effect(() => page.getByRole("button", { name: "Lift all", exact: true }).click(), { journal: "lift", shows: [[page.locator("#no-faults"), "No fault"]] });
});

test("what is refused is told with what there is, and the control shows what is so", async () => {
  await form("function").fill("FT_Wrte");
  await add();
  await seen(page.getByRole("alert"), /“fault FT_Wrte count=1” was not done: .*FT_Write/);
  const text = await page.getByRole("alert").locator("span").textContent();
  assert.ok(text.length <= 250 && text.endsWith(" …"), text);
  await page.getByRole("alert").getByRole("button").click();
  assert.ok(!(await page.getByRole("alert").isVisible()));
  page.faults = page.faults.filter((fault) => !fault.includes("400 (Bad Request)"));
});

// ---- A picture is taken ----

test("exposure and flag are set while nothing restarts, and the next capture has them", async () => {
  await watch.end();
  watch = undefined;
  await seen(page.locator("#hosts"), "no host");
  for (const [mep, milliseconds, level] of [["never", 120, 0], ["latch", 60, 1]]) {
    await effect(() => page.selectOption("#flag", mep), { journal: `set mep ${mep}` });
    await effect(() => page.fill("#exposure", String(milliseconds)).then(() => page.press("#exposure", "Enter")), { journal: `set exposure_ms ${milliseconds}` });
    const first = await journalEnd();
    await runHost("trigger");
    const down = await entry("ready 0", first);
    const up = await entry("ready 1", down.n);
    assert.equal(up.ns - down.ns, milliseconds * MS);
    const levels = await stage.command("levels");
    assert.match(levels, new RegExp(`mep +${level}`));
    await seen(page.locator("#names"), `mep ${level}`);
  }
  await seen(page.locator("#counts"), "2 captures · 0 refused");
  await effect(() => page.fill("#start", "400").then(() => page.press("#start", "Tab")), { journal: "set ready_after_power_ms 400" });
});

test("the flag is latched by hand, and a host reads and clears it", async () => {
  await runHost("mep");
  await seen(part("flag"), "MEP flag 0");
  await effect(() => part("flag").click(), { journal: "mep latch", shows: [[part("flag"), "MEP flag 1"], [page.locator("#names"), "mep 1"]] });
  const host = await runHost("mep");
  assert.match(host.text, /yes/);
  await seen(part("flag"), "MEP flag 0");
});

// ---- Lines ----

const difference = () => page.locator("#difference");

test("keys go from edge to edge, and two cursors measure a pulse", async () => {
  const canvas = page.locator("canvas");
  await canvas.focus();
  const trigger = (await entries()).filter((each) => each.text.startsWith("trigger ")).slice(-2);
  await page.keyboard.press("f");
  while ((await page.locator('#names [aria-pressed="true"]').textContent()).trim() !== "trigger 0") {
    await page.keyboard.press("ArrowUp");
  }
  await page.keyboard.press("End");
  await page.keyboard.press("Space");
  await page.keyboard.press("f");
  await ofPage((ns) => (solvanePanel.lines.view.caret = ns), trigger[1].ns + MS);
  await page.keyboard.press("p");
  await page.keyboard.press("b");
  await page.keyboard.press("p");
  await page.keyboard.press("a");
  const { cursors } = await ofPage(() => solvanePanel.lines.view);
  assert.deepEqual(cursors, { A: trigger[0].ns, B: trigger[1].ns });
  const width = Number(((trigger[1].ns - trigger[0].ns) / MS).toPrecision(3));
  await seen(difference(), `B − A = ${width} ms`);
  await seen(page.locator("#reading"), `trigger is 1 for ${width} ms`);
  await page.keyboard.press("n");
  await page.keyboard.press("n");
  await seen(page.locator("#reading"), "trigger has no later edge");
  await page.keyboard.press("Escape");
  assert.equal(await difference().textContent(), "");
});

test("wheel, pointer and keys zoom and pan about what is looked at", async () => {
  const canvas = page.locator("canvas");
  const box = await canvas.boundingBox();
  const view = () => ofPage(() => ({ ...solvanePanel.lines.view }));
  const timeAt = async (x) => ofPage((at) => solvanePanel.lines.drawing.time(at), x);
  await canvas.focus();
  await page.keyboard.press("f");
  const before = await timeAt(300);
  const whole = (await view()).span;
  await page.mouse.move(box.x + 300, box.y + 60);
  await page.mouse.wheel(0, -500);
  await until(async () => (await view()).span < whole / 2, "the wheel zooms");
  assert.ok(Math.abs((await timeAt(300)) - before) < whole / 1e6, "about the pointer");
  const { from } = await view();
  await page.mouse.down();
  await page.mouse.move(box.x + 200, box.y + 60, { steps: 3 });
  await page.mouse.up();
  assert.ok((await view()).from > from, "dragging pans");
  assert.ok(Math.abs((await timeAt(200)) - before) < whole / 1e6, "what is dragged stays under the pointer");
  await page.keyboard.press("ArrowLeft");
  await page.keyboard.press("-");
  assert.ok((await view()).span > (await view()).width, "keys zoom");
  // A click takes the edge nearby and its line.
  const down = (await entries()).filter((each) => each.text === "ready 0").at(-1).ns;
  const place = async (pixels) => [box.x + (await ofPage((ns) => solvanePanel.lines.drawing.x(ns), down)) + pixels, box.y + 44 + 36 + 18];
  await ofPage((ns) => solvanePanel.lines.show(ns, 200e6), down);
  await page.waitForTimeout(100); // until it is drawn
  await page.mouse.click(...(await place(3)));
  assert.equal((await view()).caret, down);
  await seen(page.locator("#reading"), "ready is 0 for 60 ms");
  await page.mouse.move(...(await place(20)));
  await seen(page.locator("#pointed"), "ready is 0 for 60 ms");
  await page.mouse.dblclick(...(await place(20)));
  const wide = await view();
  assert.ok(Math.abs(wide.span - 100 * MS) < 1 && Math.abs(wide.from - (down - 20 * MS)) < 1, "a double click shows the stretch");
  // Cursors are dragged, and take the edges nearby.
  await page.keyboard.press("a");
  const at = async (time) => [box.x + (await ofPage((ns) => solvanePanel.lines.drawing.x(ns), time)), box.y + 60];
  await page.waitForTimeout(100);
  await page.mouse.move(...(await at((await view()).cursors.A)));
  await page.mouse.down();
  const [x, y] = await at(down + 60 * MS);
  await page.mouse.move(x - 40, y);
  await page.mouse.move(x - 3, y);
  await page.mouse.up();
  assert.equal((await view()).cursors.A, down + 60 * MS);
  await page.keyboard.press("Escape");
});

test("a pause stands still while the bench goes on, and following takes up", async () => {
  const view = () => ofPage(() => solvanePanel.lines.view.from);
  await page.getByRole("button", { name: "Go on" }).click();
  const from = await until(async () => ((await view()) > 0 ? view() : undefined), "it follows");
  await until(async () => (await view()) > from, "it scrolls");
  await page.getByRole("button", { name: "Pause" }).click();
  const still = await view();
  const first = await journalEnd();
  await stage.command("note", "meanwhile");
  await entry("meanwhile", first);
  assert.equal(await view(), still);
});

test("marks and calls lead to their place among the lines", async () => {
  await page.locator("#marks summary").click();
  const mark = page.locator("#marks button", { hasText: "capture 2 at" });
  await mark.click();
  const capture = (await entries()).find((each) => each.text === "capture 2");
  const caret = () => ofPage(() => solvanePanel.lines.view.caret);
  assert.equal(await caret(), capture.ns);
  await page.locator("#marks summary").click();

  await page.selectOption("#function", "FT_Write");
  const calls = (await stage.command("calls", "FT_Write")).match(/\d+/)[0];
  await seen(page.locator("#shown"), `${Number(calls).toLocaleString("en")} of `);
  await page.locator("#search").fill("82 f1 4f");
  const row = page.locator("#journal .entry").last();
  const chosen = (await entries()).filter((each) => /^FT_Write.*82 f1 4f/.test(each.text)).at(-1);
  await seen(row, chosen.text);
  await row.click();
  assert.equal(await caret(), chosen.ns);
  assert.equal(await row.getAttribute("aria-selected"), "true");
  await page.locator("#search").fill("");
  await page.selectOption("#function", "");
});

// ---- Keep ----

test("what is kept are the files that the command line writes", async () => {
  const folder = await mkdtemp(join(tmpdir(), "solvane panel "));
  try {
    const kept = async (button) => {
      const [download] = await Promise.all([page.waitForEvent("download"), page.getByRole("button", { name: button }).click()]);
      return { name: download.suggestedFilename(), text: await readFile(await download.path(), "utf8") };
    };
    const written = async (name, ...words) => {
      await stage.command(...words, join(folder, name));
      return readFile(join(folder, name), "utf8");
    };
    const same = (one, other, what) => assert.ok(one === other, `${what} differs: ${one.slice(0, 400)} … ${other.slice(0, 400)}`);
    const session = await kept("Keep session");
    assert.equal(session.name, `${stage.name}.toml`);
    assert.match(session.text, /set exposure_ms 60/);
    same(session.text.trim(), (await written("session.toml", "keep")).trim(), "the session");
    const vcd = await kept("Save VCD");
    assert.match(vcd.text, /\$var wire 1 . trigger \$end/);
    const [file, picture] = [join(folder, "lines.vcd"), join(folder, "lines.svg")];
    await writeFile(file, vcd.text);
    await stage.rig("wave", file, "--svg", picture).ended;
    // It ends when it is fetched: what it tells in words is the same.
    const told = (svg) => svg.slice(0, svg.indexOf("</style>"));
    const drawn = told((await kept("Save SVG")).text);
    assert.match(drawn, /<desc>Times in ms. trigger: low, high at /);
    same(drawn, told(await readFile(picture, "utf8")), "the picture");
    const journal = await stage.command("journal");
    same((await kept("Save journal")).text.trim(), journal.replaceAll("\r", "").trim(), "the journal");
  } finally {
    await rm(folder, { recursive: true });
  }
});

// ---- For everybody ----

test("the keyboard alone reaches and works everything", async () => {
  await page.locator("#bench").click();
  const wanted = await ofPage(() => {
    const all = [...document.querySelectorAll("button, select, input, summary, canvas, .touch, #journal")];
    const shown = all.filter((each) => each.checkVisibility() && !each.disabled);
    shown.forEach((each, i) => (each.dataset.number = i));
    return shown.length;
  });
  const reached = new Set();
  for (let i = 0; i < wanted + 5; ++i) {
    await page.keyboard.press("Tab");
    reached.add(await ofPage(() => document.activeElement.dataset.number));
  }
  reached.delete(undefined);
  assert.equal(reached.size, wanted);

  await part("cable0").focus();
  await effect(() => page.keyboard.press("Enter"), { journal: "unplug 0", shows: [[part("cable0"), "put back"]] });
  assert.equal(await ofPage(() => document.activeElement.dataset.key), "cable0", "the focus stays");
  await effect(() => page.keyboard.press("Space"), { journal: "plug 0" });
  await page.locator("#journal").focus();
  await page.keyboard.press("Home");
  await page.keyboard.press("ArrowDown");
  await page.keyboard.press("Enter");
  const active = await page.locator("#journal").getAttribute("aria-activedescendant");
  assert.equal(active, "row1");
  assert.equal(await page.locator("#row1").getAttribute("aria-posinset"), "2");
  assert.equal(await ofPage(() => solvanePanel.lines.view.caret), (await entries())[1].ns);
});

async function violations(on) {
  await on.evaluate(await readFile(AXE, "utf8")); // the page's policy lets no other script in, but a debugger may
  const { violations: found } = await on.evaluate(() => axe.run({ resultTypes: ["violations"] }));
  return found.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html.slice(0, 120)).join(" | ")}`);
}

/** Two fingers that part to twice their distance show half as much. */
async function pinch(on) {
  await on.locator("canvas").scrollIntoViewIfNeeded();
  const box = await on.locator("canvas").boundingBox();
  const session = await on.context().newCDPSession(on);
  const touch = (type, ...places) => session.send("Input.dispatchTouchEvent", { type, touchPoints: places.map((x, id) => ({ x: box.x + x, y: box.y + 100, id })) });
  const span = () => on.evaluate(() => solvanePanel.lines.view.span);
  const before = await span();
  await touch("touchStart", 100);
  await touch("touchStart", 100, 140);
  await touch("touchMove", 100, 180);
  await touch("touchEnd");
  await until(async () => Math.abs((await span()) / before - 0.5) < 0.01, `half of ${before}, not ${await span()}`);
}

test("axe finds nothing, by day and by night, and a phone's width is enough", async () => {
  for (const options of [{ colorScheme: "light" }, { colorScheme: "dark" }, { viewport: { width: 360, height: 740 }, hasTouch: true }]) {
    const other = await stage.open(options);
    await other.locator("#marks summary").click();
    assert.deepEqual(await violations(other), []);
    const widths = await other.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
    assert.ok(widths[0] <= widths[1], `no sideways scrolling: ${widths}`);
    if (options.hasTouch) {
      await pinch(other);
    }
    assert.deepEqual(other.faults, []);
    await other.context().close();
  }
});

// ---- Much at once ----

test("of 10,000 edges a second none is lost", async () => {
  const seconds = 3;
  const look = () => ofPage(() => ({ count: solvanePanel.journal.edges[0].count, generation: solvanePanel.journal.generation }));
  const before = await look();
  const host = stage.edgesHost(seconds);
  assert.equal(await host.ended, 0, host.error);
  assert.match(host.text, /^30000 edges in \d+ ms/);
  await until(async () => (await look()).count >= before.count + seconds * 10_000, "all edges");
  assert.deepEqual(await look(), { ...before, count: before.count + seconds * 10_000 });
  assert.ok(await ofPage(() => solvanePanel.journal.entries.every(({ n }, i, all) => n === all[0].n + i)), "no entry is missing");
});

test("more pages than a browser opens connections: hidden ones make room, and miss nothing", async () => {
  const first = await stage.open();
  const hidden = [];
  const context = first.context();
  await context.addInitScript(() => {
    let isHidden = true;
    Object.defineProperty(document, "hidden", { get: () => isHidden });
    globalThis.become = (visible) => {
      isHidden = !visible;
      document.dispatchEvent(new Event("visibilitychange"));
    };
  });
  for (let i = 0; i < 6; ++i) {
    hidden.push(await stage.openIn(context));
  }
  const last = await stage.openIn(context);
  await last.evaluate(() => become(true));
  const from = await journalEnd();
  await last.locator('[data-key="flag"]').click();
  await entry("mep latch", from);
  await until(() => last.evaluate(() => solvanePanel.journal.entries.at(-1).text.startsWith("mep")), "the visible page has it");
  const has = () => hidden[0].evaluate((n) => solvanePanel.journal.entries.at(-1).n >= n, from);
  assert.equal(await has(), false, "the hidden page has no connection");
  await hidden[0].evaluate(() => become(true));
  await until(has, "the page that is seen again takes up");
  assert.ok(await hidden[0].evaluate(() => solvanePanel.journal.entries.every(({ n }, i, all) => n === all[0].n + i)), "without a gap");
  await context.close();
});

test("what others have written stays text", async () => {
  const note = `<img src=x onerror=alert(1)> & "quoted" 'text'`;
  const first = await journalEnd();
  await stage.command("note", note);
  await entry(note, first);
  await page.locator("#search").fill("<img");
  await seen(page.locator("#journal .entry").last(), note);
  await page.locator("#search").fill("");
  assert.equal(await page.locator("img").count(), 0);
});

// ---- Ends ----

test("a bench that ends is shown as ended, and the page takes up again", async () => {
  const other = await stage.open();
  await stage.stopBench();
  for (const each of [page, other]) {
    await seen(each.locator("#notice"), "The bench has ended");
    await seen(each.locator("#activity"), "ended");
    assert.ok(await each.locator("#exposure").isDisabled());
    assert.ok(await each.locator('[data-file="keep"]').isDisabled(), "nobody has the session any more");
    assert.equal(await each.locator('[data-key="cable0"]').getAttribute("aria-disabled"), "true");
  }
  assert.ok((await entries()).length > 0, "what was seen stays");
  assert.deepEqual(await violations(other), []);
  await stage.startBench();
  for (const each of [page, other]) {
    await seen(each.locator("#activity"), "running");
    assert.ok(!(await each.locator("#notice").isVisible()));
    await seen(each.locator("#counts"), "0 captures");
  }
  await effect(() => part("lens").click(), { journal: "ready off", shows: [[part("lens"), "busy"]] });
  assert.ok((await entries()).length < 20, "another bench, another journal");
});

test("a panel that ends is told with what to do", async () => {
  await stage.panel.end();
  await seen(page.locator("#notice"), /does not answer.*solvane-rig panel/);
  page.faults = page.faults.filter((fault) => !fault.includes("ERR_"));
  assert.deepEqual(page.faults, []);
});

test("a file is shown whole, and nothing can be done to it", async () => {
  stage.panel = stage.rig("panel", "--file", fileURLToPath(new URL("../../docs/recordings/usb.vcd", import.meta.url)), "--no-browser");
  stage.address = await stage.panel.line(/^http:/);
  const file = await stage.open();
  await seen(file.locator("#bench"), "usb.vcd");
  await seen(file.locator("#counts"), "2 captures · 0 refused");
  await seen(file.locator("#names"), "camera_power 1");
  const { view, start, last } = await file.evaluate(() => ({ view: solvanePanel.lines.view, start: solvanePanel.journal.start, last: solvanePanel.journal.last }));
  assert.ok(view.from <= start && view.from + view.span >= last);
  for (const part of ["#installation", "#touch", "#faults", '[data-file="keep"]']) {
    assert.ok(!(await file.locator(part).isVisible()), part);
  }
  assert.deepEqual(await violations(file), []);
  assert.deepEqual(file.faults, []);
});

test("a recording is shown with its calls, and the lines that follow from them", async () => {
  await stage.panel.end();
  const name = fileURLToPath(new URL("../fuzz/corpus/fuzz_recording/usb", import.meta.url));
  const writes = (await readFile(name, "utf8")).match(/^> .* FT_Write\(/gm).length;
  assert.ok(writes > 0);
  stage.panel = stage.rig("panel", "--file", name, "--no-browser");
  stage.address = await stage.panel.line(/^http:/);
  const file = await stage.open();
  await seen(file.locator("#bench"), "usb");
  await seen(file.locator("#names"), "camera_power 1");
  await file.selectOption("#function", "FT_Write");
  await seen(file.locator("#shown"), `${writes} of `);
  const level = await file.evaluate(() => solvanePanel.journal.edges[0].stretch(0).level);
  assert.equal(level, undefined, "before the first call nobody knows a level");
  assert.deepEqual(file.faults, []);
});

test("a waveform from elsewhere is shown with its own lines, and what is neither is refused in a sentence", async () => {
  await stage.panel.end();
  const folder = await mkdtemp(join(tmpdir(), "solvane panel "));
  try {
    const name = join(folder, "other.vcd");
    await writeFile(name, `$timescale 1 us $end $scope module top $end $var wire 1 ! clk $end $var wire 1 " <i>out</i> $end
$var wire 8 # data [7:0] $end $upscope $end $enddefinitions $end #5000 1! #6000 0! 1" #7000 z! #8000 1!\n`);
    stage.panel = stage.rig("panel", "--file", name, "--no-browser");
    stage.address = await stage.panel.line(/^http:/);
    const file = await stage.open();
    await seen(file.locator("#names"), "<i>out</i> 1");
    await seen(file.locator("#journal"), "top.data[7:0] is left out");
    await seen(file.locator("#scenario"), "2 lines");
    const { levels, from } = await file.evaluate(() => ({ levels: [5, 6, 7].flatMap((s) => solvanePanel.journal.edges.map((edges) => String(edges.stretch(s * 1e6).level))), from: solvanePanel.lines.view.from }));
    assert.deepEqual(levels, ["1", "undefined", "0", "1", "floating", "1"]);
    assert.ok(from > 4 * MS && from < 5 * MS, "it begins where the file does");
    assert.ok(!(await file.getByRole("button", { name: /Pause|Go on/ }).isVisible()));
    assert.deepEqual(await violations(file), []);
    assert.deepEqual(file.faults, []);

    const text = join(folder, "bench.toml");
    await writeFile(text, '[[usb]]\nchip = "FT2232H"\n');
    const refused = stage.rig("panel", "--file", text, "--no-browser");
    assert.equal(await refused.ended, 1);
    assert.match(refused.error, /bench\.toml is neither a waveform \(VCD\) nor a recording of vendor calls\./);
  } finally {
    await rm(folder, { recursive: true });
  }
});

// The page's modules without a browser: what they remember, find and draw.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test from "node:test";
import { fileURLToPath } from "node:url";

import * as drawing from "../../rig/panel/page/drawing.mjs";
import { clock, duration, milliseconds, ticks } from "../../rig/panel/page/format.mjs";
import { Journal, LINES, textOf } from "../../rig/panel/page/journal.mjs";

const root = fileURLToPath(new URL("../../", import.meta.url));
const MS = 1e6;

function journalOf(...entries) {
  const journal = new Journal();
  journal.add(entries.map(([ms, kind, text], n) => ({ n, ns: ms * MS, kind, text })));
  return journal;
}

/** A context that counts what is drawn, and keeps the texts. */
function countingContext() {
  const drawn = { operations: 0, texts: [], places: {}, fills: [], dashes: new Set() };
  globalThis.Path2D ??= class {
    moveTo() {
      ++drawn.operations;
    }
    lineTo() {
      ++drawn.operations;
    }
  };
  const context = new Proxy({}, {
    get: (_, name) => (name === "measureText" ? (text) => ({ width: text.length * 7.2 }) : (...inputs) => {
      ++drawn.operations;
      if (name === "fillText") {
        drawn.texts.push(inputs[0]);
        drawn.places[inputs[0]] = inputs[1];
      } else if (name === "fillRect") {
        drawn.fills.push([drawn.fillStyle, ...inputs]);
      } else if (name === "setLineDash") {
        drawn.dashes.add(inputs[0].join(" "));
      }
    }),
    set: (_, name, value) => {
      drawn[name] = value;
      return true;
    },
  });
  return { context, drawn };
}

function draw(journal, from, span, view = {}) {
  const { context, drawn } = countingContext();
  new drawing.Drawing(context, { axis: "grey", line: "blue" }).draw(journal, { from, span, width: 1000, now: from + span, selected: 0, cursors: {}, ...view });
  return drawn;
}

test("a line has its level, its stretches and its edges at any time", () => {
  const journal = journalOf([60, "edge", "trigger 1"], [72.25, "edge", "trigger 0"], [99, "edge", "ready 0"]);
  const trigger = journal.edges[0];
  assert.equal(journal.level(0), 0);
  assert.deepEqual(trigger.stretch(65 * MS), { level: 1, from: 60 * MS, to: 72.25 * MS });
  assert.deepEqual(trigger.stretch(60 * MS), { level: 1, from: 60 * MS, to: 72.25 * MS });
  assert.deepEqual(trigger.stretch(59 * MS), { level: 0, from: undefined, to: 60 * MS });
  assert.deepEqual(trigger.stretch(80 * MS), { level: 0, from: 72.25 * MS, to: undefined });
  assert.equal(trigger.next(60 * MS), 72.25 * MS);
  assert.equal(trigger.next(72.25 * MS), undefined);
  assert.equal(trigger.previous(72.25 * MS), 60 * MS);
  assert.equal(trigger.previous(60 * MS), undefined);
  assert.equal(journal.nearestEdge(71 * MS, 2 * MS), 72.25 * MS);
  assert.equal(journal.nearestEdge(66 * MS, 2 * MS), undefined);
  assert.equal(journal.nearestEdge(99 * MS, 0), 99 * MS);
});

test("a line without edges has the level that the bench tells", () => {
  const journal = new Journal();
  assert.equal(journal.level(5), undefined);
  journal.learn({ camera_power: 1 });
  assert.equal(journal.level(5), 1);
  journal.add([{ n: 0, ns: 5, kind: "edge", text: "camera_power 0" }]);
  journal.learn({ camera_power: 0 });
  assert.equal(journal.edges[5].stretch(1).level, 1, "before its first edge");
});

const FILE = { begin: 1000 * MS, first: { clk: 1, out: "x", ready: "z" }, lines: { clk: 0, out: 1, ready: "x" } };

function journalOfFile() {
  const journal = new Journal();
  journal.learnFile(FILE);
  journal.add([[1010, "clk 0"], [1010, "out 1"], [1020, "ready 0"], [1030, "ready x"]].map(([ms, text], n) => ({ n, ns: ms * MS, kind: "edge", text })));
  return journal;
}

test("a file has its own lines, whose levels may be unknown or floating", () => {
  const journal = journalOfFile();
  const levels = (ms) => journal.edges.map((edges) => edges.stretch(ms * MS).level);
  assert.deepEqual(journal.names, ["clk", "out", "ready"]);
  assert.equal(journal.start, 1000 * MS);
  assert.deepEqual(levels(1005), [1, undefined, "floating"]);
  assert.deepEqual(levels(1025), [0, 1, 0]);
  assert.deepEqual(levels(1035), [0, 1, undefined]);
  assert.deepEqual(journal.edges.map((edges) => edges.idle), [1, 1, 0]);
  journal.learnFile(FILE); // with a stream that continues
  assert.equal(journal.entries.length, 4);
  journal.learnFile({ begin: 0, first: {}, lines: {} });
  assert.equal(journal.names.length, 3);
});

test("of a file with very many lines the first are shown", () => {
  const journal = new Journal();
  journal.learnFile({ begin: 0, first: {}, lines: Object.fromEntries(Array.from({ length: 1000 }, (_, i) => [`w${i}`, 0])) });
  assert.equal(journal.names.length, 200);
  assert.equal(drawing.heightOf(journal.names.length), 44 + 200 * 36);
});

test("what is unknown is grey, what floats is dashed, and neither is low or high", () => {
  const { fills, dashes } = draw(journalOfFile(), 1000 * MS, 40 * MS);
  const lane = (line) => fills.filter(([, , y, , height]) => y === 44 + line * 36 + 9 && height === 20).map(([colour, x, , width]) => [colour, x, width]);
  assert.deepEqual(lane(0), [["blue", 0, 250]]);
  assert.deepEqual(lane(1), [["grey", 0, 250], ["blue", 250, 750]]);
  assert.deepEqual(lane(2), [["grey", 750, 250]]);
  assert.ok(dashes.has("4 3"));
  assert.ok(!draw(journalOfFile(), 1022 * MS, 4 * MS).dashes.has("4 3"));
});

test("the text of what went wrong comes first, and no text or number is cut off at the end of a view that stands still", () => {
  const journal = journalOf([10, "event", "set exposure_ms 400"], [12, "event", "capture 1"], [40, "event", "capture 2"], [41, "event", "unplug 0"], [98, "event", "ignored trigger"]);
  const texts = (view) => draw(journal, 0, 100 * MS, view).texts;
  assert.deepEqual(texts({ isStill: true }).filter((text) => !text.endsWith("ms")), ["unplug 0", "ignored trigger", "set exposure_ms 400"]);
  const end = draw(journal, 0, 100 * MS, { isStill: true }).places["ignored trigger"] + "ignored trigger".length * 7.2;
  assert.ok(end > 960 && end < 980, `on the left of its mark: ${end}`);
  assert.ok(draw(journal, 0, 100 * MS).places["ignored trigger"] > 980, "on the right while the view moves");
  const { texts: following } = draw(journal, 0, 100.5 * MS);
  assert.ok(following.includes("80 ms"), following.join());
  assert.ok(!following.includes("100 ms"), following.join());
});

test("marks are what happened to the lines, and tell what went wrong", () => {
  const texts = ["capture 1", "ignored trigger", "unplug 0", "plug 0", "fault FT_Write", "fault FT_Write status=4", "sleep 1000", "resume", "wire dark broken"];
  const journal = journalOf([0, "event", "host 1 joins: viewer.exe (process 7)"], ...texts.map((text, i) => [i, "event", text]), [20, "note", "unplug"]);
  assert.deepEqual(journal.marks.map((mark) => mark.text), texts);
  assert.deepEqual(journal.marks.filter((mark) => mark.isDisturbance).map((mark) => mark.text),
    ["ignored trigger", "unplug 0", "fault FT_Write", "sleep 1000"]);
  assert.equal(journal.marks[journal.firstMark(3 * MS)].text, "plug 0");
});

test("calls are counted by function, and the journal begins anew", () => {
  const journal = journalOf([1, "call", "FT_Read(SLV1B, 2, 2) -> 0, [aa]"], [2, "call", "host 2: FT_Read(?, 2, 2) -> 1"]);
  assert.deepEqual([...journal.functions], [["FT_Read", 2]]);
  assert.equal(textOf({ text: "FT_Close(?) -> 1", host: 2 }), "host 2: FT_Close(?) -> 1");
  assert.equal(textOf({ text: "FT_Close(?) -> 1", host: 1 }), "FT_Close(?) -> 1");
  assert.equal(journal.start, 0);
  journal.began(17);
  assert.deepEqual([journal.entries, journal.marks, journal.level(0), journal.last, journal.start], [[], [], undefined, 0, undefined]);
  journal.add([{ n: 17, ns: 90, kind: "edge", text: "ready 1" }]);
  assert.equal(journal.start, 90, "nobody knows what was before");
});

test("of very many edges the latest are kept, none lost between them", () => {
  const journal = new Journal();
  const most = 4_000_000;
  const edges = journal.edges[0];
  for (let i = 0; i <= most; ++i) {
    edges.add(i, i === most / 2 - 1 ? 2 : (i + 1) % 2);
  }
  assert.equal(edges.count, most + 1);
  assert.equal(edges.length, most / 2 + 1);
  assert.equal(edges.times[0], most / 2);
  assert.equal(edges.levelBefore(0), undefined, "the last that was forgotten was unknown");
  assert.deepEqual(edges.stretch(most - 2), { level: 1, from: most - 2, to: most - 1 });
  assert.equal(edges.level, 1);
});

test("old entries make room, and counting goes on", () => {
  const journal = new Journal();
  const batch = 100_001;
  for (let i = 0; i < 4; ++i) {
    journal.add(Array.from({ length: batch }, (_, n) => ({ n: i * batch + n, ns: 1, kind: "note", text: "" })));
  }
  assert.equal(journal.forgotten + journal.entries.length, 4 * batch);
  assert.equal(journal.entries[0].n, journal.forgotten);
  assert.equal(journal.entries.length, 200_000);
});

test("a million edges are drawn with few operations, whatever is in view", () => {
  const journal = new Journal();
  journal.learn(Object.fromEntries(LINES.map((name) => [name, 0])));
  for (let i = 0; i < 1e6; ++i) {
    journal.edges[i % 2].add(i * 1000, (i >> 1) % 2 === 0 ? 1 : 0);
  }
  for (const span of [1e9, 1e8, 1e6]) {
    const { operations } = draw(journal, 0, span);
    assert.ok(operations > 100, "something is drawn");
    assert.ok(operations < 15_000, `${operations} operations for ${span} ns`);
  }
});

test("widths stand in pulses, equal marks are one, and a view without room has none", () => {
  const faults = Array.from({ length: 37 }, () => [81, "event", "fault FT_Write"]);
  const journal = journalOf([60, "edge", "trigger 1"], [60, "event", "capture 1"], [72.3, "edge", "trigger 0"], ...faults);
  const { texts } = draw(journal, 50 * MS, 40 * MS);
  assert.ok(texts.includes("12.3 ms"), texts.join());
  assert.ok(texts.includes("capture 1"), texts.join());
  assert.ok(texts.includes("fault FT_Write x37"), texts.join());
  assert.ok(!draw(journal, 0, 1000 * MS).texts.includes("12.3 ms"));
});

test("times are written as the command line writes them", () => {
  assert.deepEqual([61.1744, 0, 1500].map((ms) => milliseconds(ms * MS)), ["61.1744", "0", "1500"]);
  assert.deepEqual([12.3e6, 4000, 500, 1_234_567_890, 25e9, 10.06e6, 0].map(duration), ["12.3 ms", "4 µs", "500 ns", "1230 ms", "25 s", "10.1 ms", "0 ns"]);
  assert.equal(clock(3723e9), "01:02:03");
  const { unit, list } = ticks(0, 100 * MS, 5);
  assert.deepEqual([unit, list.map((tick) => tick.text)], ["ms", ["0", "20", "40", "60", "80", "100"]]);
  assert.equal(ticks(0, 60e9, 5).unit, "s");
});

test("the page and `wave --svg` look alike: the same colours and measures", () => {
  const svg = readFileSync(join(root, "rig/tool/svg_wave.cpp"), "utf8");
  const css = readFileSync(join(root, "rig/panel/page/panel.css"), "utf8");
  const [svgDay, svgNight] = svg.split("@media (prefers-color-scheme:dark)");
  const [day, night] = css.split("@media (prefers-color-scheme: dark)");
  for (const [theme, picture] of [[day, svgDay], [night, svgNight.split("</style>")[0]]]) {
    const colour = (name) => new RegExp(`--${name}: ([^;]+);`).exec(theme)[1];
    const drawn = (rule, key = "fill") => new RegExp(`\\n${rule}\\{(?:[^}]*;)?${key}:([^;}]+)`).exec(picture)[1];
    assert.equal(colour("paper"), drawn("\\.paper"));
    assert.equal(colour("rule"), drawn("\\.guide", "stroke"));
    assert.equal(colour("ink"), /text\{(?:font:[^;]*;)?fill:([^;}]+)/.exec(picture)[1]);
    assert.equal(colour("soft"), drawn("\\.time,\\.note"));
    assert.equal(colour("axis"), drawn("\\.axis,\\.cut", "stroke"));
    assert.equal(colour("line"), drawn("\\.high"));
    assert.equal(colour("fill-opacity"), drawn("\\.high", "fill-opacity"));
    assert.equal(colour("bad"), drawn("\\.disturbance"));
  }
  const measure = (name) => Number(new RegExp(`\\b${name} = (\\d+);`).exec(svg)[1]);
  assert.deepEqual([drawing.AXIS, drawing.MARKS, drawing.LANE], [measure("kAxis"), measure("kMarkRow"), measure("kRow")]);
});

test("the joined page is one small file that names every function and loads nothing", () => {
  const folder = mkdtempSync(join(tmpdir(), "solvane panel "));
  try {
    const output = join(folder, "panel.html");
    const rows = join(root, "rig/calls/vendor_functions.inc");
    execFileSync("cmake", [`-DOUTPUT=${output}`, `-DFUNCTIONS=${rows}`, "-P", join(root, "rig/panel/page/join.cmake")]);
    const page = readFileSync(output, "utf8");
    assert.ok(page.length <= 150_000, `${page.length} bytes`);
    assert.equal(page.match(/<(script|style|link|img|iframe)\b/g).join(), "<style,<script");
    assert.deepEqual(page.match(/[a-z]+:\/\/[^"'`\s]+/g), ["http://www.w3.org/2000/svg"]);
    assert.doesNotMatch(page, /^import |^export |@[A-Z]+@/m);
    const names = /"(\* [A-Za-z0-9_: ]+)"\.split/.exec(page)[1].split(" ");
    assert.equal(names.length, new Set(names).size);
    for (const name of ["FT_Open", "FT_W32_CreateFile", "EApiGPIOSetLevel", "Inp32", "IWbemServices::ExecQuery"]) {
      assert.ok(names.includes(name), name);
    }
    assert.equal(names.length, 1 + readFileSync(rows, "utf8").match(/^(D2XX\w*|EAPI|INPOUT|WMI)\(/gm).length);
  } finally {
    rmSync(folder, { recursive: true });
  }
});

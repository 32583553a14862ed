// Puts the page together.
import { CallsView } from "./calls.mjs";
import { Connection } from "./connection.mjs";
import { FaultsView } from "./faults.mjs";
import { clock, count, duration, milliseconds } from "./format.mjs";
import { FUNCTIONS } from "./functions.mjs";
import { InstallationView } from "./installation.mjs";
import { joining, powerCommand } from "./installation_parts.mjs";
import { Journal, LINES } from "./journal.mjs";
import { LinesView } from "./lines.mjs";

const SLOW_MS = 100; // how often what people read is brought up to date
const MOST_MARKS_LISTED = 200;

const find = (selector) => document.querySelector(selector);
const journal = new Journal();

let state; // the bench's latest, undefined before the first
let isOver = "connecting"; // why nothing can be touched: "connecting", "ended", "gone", "moved", "refused", or ""
let arrived = 0; // when the time of the bench was known last, in ms of the page
let known = 0; // the bench's time then

const connection = new Connection({
  began({ first }) {
    journal.began(first);
    known = 0;
    isGrown = true;
    becomeOver("");
    lines.update();
  },
  state(news) {
    const isFirst = state === undefined;
    state = news;
    if (news.mode === "file") {
      journal.learnFile(news);
    } else {
      journal.learn(news.lines);
    }
    learnTime(news.ns);
    isOver = "";
    isChanged = true;
    lines.update();
    if (isFirst) {
      showSlowly();
      performance.mark("panel-shown");
    }
  },
  journal(entries) {
    journal.add(entries);
    if (journal.last > now()) {
      learnTime(journal.last);
    }
    isGrown = true;
    lines.update();
    if (state?.mode === "file") {
      lines.fit();
    }
  },
  ended() {
    becomeOver("ended");
  },
  lost: becomeOver,
});
connection.open(); // first, for the answer takes a while

/** The bench's time. Between its messages it goes by the page's clock. */
function now() {
  const isRunning = state?.mode === "live" && isOver === "" && state.pc !== "asleep";
  return Math.max(journal.last, known + (isRunning ? (performance.now() - arrived) * 1e6 : 0));
}

function learnTime(ns) {
  known = ns;
  arrived = performance.now();
}

function becomeOver(reason) {
  if (reason !== isOver) {
    learnTime(now());
    isOver = reason;
    isChanged = true;
    showSlowly();
  }
}

// ---- Messages ----

const LONGEST_ERROR = 240;

/** Of a long list of what there is, the beginning is told. */
function report({ message }) {
  const box = find("#error");
  box.hidden = false;
  const text = box.querySelector("span");
  text.textContent = message.length > LONGEST_ERROR ? message.slice(0, LONGEST_ERROR).replace(/[\s,]*\S*$/, " …") : message;
  text.title = message;
}

async function send(command) {
  try {
    await connection.command(command);
    find("#error").hidden = true;
    find("#done").textContent = `Done: ${command}`;
  } catch (error) {
    report(error);
    showControls(); // back to what is so
  }
}

const REASONS = {
  connecting: ["Connecting…", ""],
  ended: ["ended", "The bench has ended. What it did stays here to be looked at. The page takes up again by itself when the bench is back."],
  gone: ["no connection", "The panel's server does not answer: solvane-rig has probably ended. What was seen stays here. Start “solvane-rig panel” again and open the address that it prints; if it is only slow, the page takes up again by itself."],
  moved: ["no connection", "This address is no longer good: solvane-rig was started again since. Open the address that “solvane-rig panel” has printed last."],
  refused: ["no connection", "The panel's server refuses to answer. The page tries again by itself."],
};

// ---- What is shown ----

const lines = new LinesView(find("#lines"), journal, now, (time) => {
  const entry = journal.entries[journal.firstEntry(time)];
  if (entry) {
    calls.show(entry.n);
  }
});
const calls = new CallsView(find("#calls"), journal, (entry) => lines.goTo(entry.ns, entry.text));
const installation = new InstallationView(find("#installation"), send);
const faults = new FaultsView(find("#faults"), FUNCTIONS, send);

function isStill() {
  return isOver !== "" || state?.mode === "file";
}

function levels() {
  return Object.fromEntries(LINES.map((name, line) => [name, journal.level(line) ?? state?.lines[name]]));
}

function fileName(path) {
  return path.replace(/.*[\\/]/, "");
}

function marked(what) {
  return journal.marks.filter((mark) => mark.text.startsWith(what)).length;
}

function showHeader() {
  const [word, sentence] = REASONS[isOver] ?? ["", ""];
  document.body.dataset.over = isOver;
  const isFile = state?.mode === "file";
  document.body.dataset.mode = state?.mode ?? "";
  find("#bench").textContent = state ? (isFile ? fileName(state.bench) : `bench “${state.bench}”`) : "panel";
  document.title = state ? `${isFile ? fileName(state.bench) : state.bench} – Solvane panel` : "Solvane panel";
  find("#activity").textContent = word || (isFile ? `file, ${duration(now())}` : state?.pc === "asleep" ? "the PC sleeps" : "running");
  const wires = Object.keys(state?.lines ?? {}).length;
  find("#scenario").textContent = isFile ? count(wires, "line") + (wires > journal.names.length ? `, the first ${journal.names.length} are shown` : "")
    : state ? `scenario ${fileName(state.scenario)}` : "";
  find("#scenario").title = state?.scenario ?? "";
  const { captures = marked("capture"), refused = marked("ignored") } = state ?? {};
  const isCounted = state && !(isFile && journal.marks.length === 0); // a file may have no marks at all
  find("#counts").textContent = isCounted ? `${count(captures, "capture")} · ${count(refused, "refused trigger")}` : "";
  find("#hosts").textContent = state && !isFile ? state.hosts.map((host) => `${host.program} (${count(host.calls, "call")})`).join(", ") || "no host" : "";
  const notice = find("#notice");
  notice.hidden = sentence === "";
  if (notice.textContent !== sentence) {
    notice.textContent = sentence;
  }
}

function valueAt(path) {
  return path.split(".").reduce((value, key) => value?.[key], state);
}

/** The controls show what is so, but for one that is being changed. */
function showControls() {
  for (const button of document.querySelectorAll("#keep button")) {
    button.disabled = isOver !== ""; // what is kept is what the bench, or the file's server, has
  }
  find("#touch").disabled = isStill();
  find("#break").disabled = isStill();
  find("#fail").disabled = isStill();
  for (const control of document.querySelectorAll("[data-state]")) {
    const value = valueAt(control.dataset.state);
    if (value !== undefined && !(control === document.activeElement && control.type === "number")) {
      control.value = String(value);
    }
  }
  const power = find("#cut");
  if (state?.mode === "live") {
    const isCut = state.wiring.camera_power === "stuck at 0";
    power.dataset.command = powerCommand(state);
    power.textContent = isCut ? "Give it back" : "Cut it";
  }
}

function showWires() {
  const names = Object.keys(state.wiring);
  const list = find("#wires");
  if (list.childElementCount === names.length * 2) {
    return;
  }
  const conditions = ["healthy", "broken", "stuck at 0", "stuck at 1", "inverted"];
  list.replaceChildren(...names.flatMap((name) => {
    const label = document.createElement("label");
    label.textContent = name;
    label.htmlFor = `wire-${name}`;
    const select = document.createElement("select");
    select.id = label.htmlFor;
    select.dataset.command = `wire ${name}`;
    select.dataset.state = `wiring.${name}`;
    const others = names.filter((each) => each !== name);
    for (const condition of [...conditions, ...others.map((each) => `swapped with ${each}`), ...others.map((each) => `shorted to ${each}`)]) {
      select.add(new Option(condition, condition));
    }
    return [label, select];
  }));
}

let marksShown = -1;

/** The marks as a list, for those who do not see the drawing. */
function showMarks() {
  const { marks } = journal;
  find("#marks summary").textContent = `Marks (${marks.length.toLocaleString("en")})`;
  const version = journal.generation * 1e9 + (marks.at(-1)?.n ?? 0);
  if (!find("#marks").open || version === marksShown) {
    return;
  }
  marksShown = version;
  find("#marks ol").replaceChildren(...marks.slice(-MOST_MARKS_LISTED).reverse().map((mark) => {
    const item = document.createElement("li");
    const button = document.createElement("button");
    button.textContent = `${mark.text} at ${milliseconds(mark.ns)} ms`;
    button.className = mark.isDisturbance ? "bad" : "";
    button.onclick = () => lines.goTo(mark.ns, mark.text);
    item.append(button);
    return item;
  }));
}

let isGrown = false;
let isChanged = true;

function showSlowly() {
  if (isChanged || isGrown) {
    showHeader();
    showMarks();
    if (state?.mode === "live") {
      installation.update(state, levels(), isStill());
    }
  }
  if (isChanged && state?.mode === "live") {
    showWires();
    faults.update(state.faults);
  }
  if (isChanged) {
    showControls();
  }
  if (isGrown || isChanged) {
    calls.whenEmpty = !state ? "" : state.mode === "file" ? "Nothing happens in this file."
      : `Nothing has happened yet. A host joins when it is started with ${joining(state)} in its environment.`;
    calls.update();
  }
  isGrown = false;
  isChanged = false;
  const isMoving = state?.mode === "live" && isOver === "";
  find("#time").textContent = state ? clock(isMoving ? now() : Math.max(journal.last, known)) : "";
}

// ---- Controls ----

document.addEventListener("click", (event) => {
  const { command } = event.target.dataset ?? {};
  if (command && event.target.tagName === "BUTTON") {
    send(command);
  }
});
document.addEventListener("change", (event) => {
  const { command } = event.target.dataset;
  if (command && event.target.checkValidity()) {
    send(`${command} ${event.target.value}`);
  }
});
find("#keep").addEventListener("click", async (event) => {
  const { file, name } = event.target.dataset;
  if (file) {
    try {
      await connection.download(file, `${(state?.bench ?? "bench").replace(/.*[\\/]|\.\w+$/g, "")}${name}`);
    } catch (error) {
      report(error);
    }
  }
});
find("#marks").addEventListener("toggle", () => {
  marksShown = -1;
  showMarks();
});
find("#error button").onclick = () => {
  find("#error").hidden = true;
};
new ResizeObserver(() => {
  isChanged = true;
}).observe(find("#installation"));

function frame() {
  lines.frame();
  requestAnimationFrame(frame);
}

showHeader();
showControls();
setInterval(showSlowly, SLOW_MS);
frame();

/** For tests and for a look from the browser's console. */
globalThis.solvanePanel = { journal, lines, get state() { return state; } };

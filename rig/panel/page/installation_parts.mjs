// The drawing of the installation, as markup: hosts, cables, chips, wires, the camera.
import { count, escaped } from "./format.mjs";
import { LINES } from "./journal.mjs";

const FROM_CAMERA = ["ready", "mep"];
const ROW = 26;
const BOX = 56;
const PITCH = BOX + 10; // from one host or chip to the next
const TOP = 14;

// Pixels, for a laptop's width and for a phone's: where each begins, and how wide it is. `edge` is the PC's, from which
// the cables go out; `spine` joins the chips that carry the camera's wires.
export const WIDE = { width: 920, host: [10, 190], edge: 218, chip: [302, 142], spine: 450, wire: [450, 700], camera: [700, 210] };
export const NARROW = { width: 360, host: [6, 348], edge: 16, chip: [120, 220], spine: 16, wire: [16, 216], camera: [216, 138] };

/** What a host has in its environment to join. */
export function joining({ bench }) {
  return `SOLVANE_RIG=bench${bench === "default" ? "" : `:${bench}`}`;
}

export function powerCommand(state) {
  return `wire camera_power ${state.wiring.camera_power === "stuck at 0" ? "healthy" : "stuck at 0"}`;
}

/** A part of the drawing that can be touched. Its title begins with the words that are seen in it. */
function touch(key, command, label, content, isPressed) {
  const pressed = isPressed === undefined ? "" : ` aria-pressed="${isPressed}"`;
  return `<g class="touch" role="button" tabindex="0" data-key="${key}" data-command="${escaped(command)}"${pressed}><title>${escaped(label)}</title><g aria-hidden="true">${content}</g></g>`;
}

/** A part that only shows something. */
function still(key, label, content) {
  return `<g role="img" data-key="${key}" aria-label="${escaped(label)}"><title>${escaped(label)}</title>${content}</g>`;
}

function path(key, points) {
  return `<path class="cable" data-key="${key}" d="${points}"/>`;
}

function box(x, y, width, height, style = "") {
  return `<rect class="box ${style}" x="${x}" y="${y}" width="${width}" height="${height}" rx="6"/>`;
}

function text(x, y, content, style = "") {
  return `<text class="${style}" x="${x}" y="${y}">${escaped(content)}</text>`;
}

function middleText(x, y, content, style = "") {
  return `<text class="middle ${style}" x="${x}" y="${y}">${escaped(content)}</text>`;
}

function cut(content, width) {
  const most = Math.floor(width / 7.3);
  return content.length > most ? content.slice(0, most - 1) + "…" : content;
}

function hostBox(host, x, y, width) {
  const handles = host.handles.length ? `${host.handles.join(", ")} open` : "nothing open";
  const label = `Host ${host.number}, ${host.program}, process ${host.process}: ${handles}, ${count(host.calls, "call")}`;
  return still(`host${host.number}`, label,
    box(x, y, width, BOX) + text(x + 10, y + 23, cut(host.program, width - 20)) +
    text(x + 10, y + 42, cut([...new Set(host.handles), count(host.calls, "call")].join(" · "), width - 20), "soft"));
}

/** A cable of two parts, which are apart when it is pulled. */
function cable(chip, [from, to], y) {
  const whole = `M${from} ${y}H${to}`;
  if (chip.index === undefined) {
    return path(`cable-of-${chip.kind}`, whole);
  }
  const middle = (from + to) / 2;
  const parts = chip.plugged ? whole : `M${from} ${y}H${middle - 14}M${middle + 14} ${y}H${to}`;
  const word = chip.plugged ? "pull" : "put back";
  return touch(`cable${chip.index}`, `${chip.plugged ? "unplug" : "plug"} ${chip.index}`,
    `${word} the cable of chip ${chip.index}, ${chip.name}`,
    `<path class="reach" d="${whole}"/><path class="cable ${chip.plugged ? "" : "bad"}" d="${parts}"/>` +
    middleText(middle, y - 8, word, chip.plugged ? "soft" : "bad"), !chip.plugged);
}

function chipBox(chip, x, y, width) {
  const status = chip.plugged ? (chip.camera ? "" : "no camera") : "unplugged";
  const label = [chip.kind, chip.name, status].filter(Boolean).join(", ");
  const below = [chip.name, status].filter(Boolean).join(" · ");
  return still(`chip-${chip.kind}-${chip.index ?? ""}`, label,
    box(x, y, width, BOX, chip.plugged ? "" : "off") + text(x + 8, y + 23, cut(chip.kind, width - 8)) +
    text(x + 8, y + 42, cut(below, width - 8), "soft"));
}

function wire(name, y, [from, to], condition, level) {
  const isSound = condition === "healthy";
  const middle = (from + to) / 2;
  const line = condition === "broken" ? `M${from} ${y}H${middle - 9}M${middle + 9} ${y}H${to}` : `M${from} ${y}H${to}`;
  const tip = FROM_CAMERA.includes(name) ? `M${from + 8} ${y - 4}L${from + 1} ${y}L${from + 8} ${y + 4}` : `M${to - 8} ${y - 4}L${to - 1} ${y}L${to - 8} ${y + 4}`;
  const words = isSound || to - from < 200 ? name : cut(`${name}: ${condition}`, to - from - 32);
  const label = `${name} ${level ?? "?"}: wire ${condition}. ${isSound ? "Break it" : "Mend it"}`;
  const isOdd = !isSound && condition !== "broken";
  const style = `${level === 1 ? "high" : "low"} ${isSound ? "" : "bad"} ${isOdd ? "odd" : ""}`;
  return touch(`wire-${name}`, `wire ${name} ${isSound ? "broken" : "healthy"}`, label,
    `<path class="reach" d="M${from} ${y}H${to}"/><path class="wire ${style}" d="${line}${tip}"/>` +
    text(from + 10, y - 5, words, isSound ? "soft" : "bad") +
    text(to - 18, y - 5, String(level ?? "?"), level === 1 ? "strong" : "soft"), !isSound);
}

const ACTIVITIES = {
  off: "no power", starting: "starting", asleep: "asleep", busy: "busy", ready: "ready", exposing: "exposing",
};

/** A key on the camera's body. */
function key(x, y, width, words, style) {
  return `<rect class="key ${style}" x="${x}" y="${y}" width="${width}" height="28" rx="5"/>` +
    middleText(x + width / 2, y + 18, words, "small");
}

function cameraParts(state, levels, x, y, width) {
  const { activity, powered } = state.camera;
  const height = 6 * ROW - 6;
  const centre = x + width / 2;
  const half = width / 2 - 12;
  const dark = levels.dark === 1 ? ", dark" : "";
  const words = (ACTIVITIES[activity] ?? activity) + dark;
  const captures = count(state.captures, "capture");
  const isReady = activity === "ready" || activity === "exposing";
  const isLatched = levels.mep === 1;
  const isCut = state.wiring.camera_power === "stuck at 0";
  const power = isCut ? "cut" : powered ? "on" : "off";
  return [
    `<rect class="box ${powered ? "" : "off"}" data-key="body" x="${x}" y="${y}" width="${width}" height="${height}" rx="6"/>`,
    touch("lens", isReady ? "ready off" : "ready on", `Camera ${words} ${captures}. Make it ${isReady ? "busy" : "ready"}`,
      `<rect class="reach" x="${x + 8}" y="${y + 8}" width="${width - 16}" height="${height - 50}"/>` +
      `<circle class="lens ${activity}" cx="${centre}" cy="${y + 40}" r="27"/>` +
      `<circle class="iris ${activity} ${dark ? "dark" : ""}" cx="${centre}" cy="${y + 40}" r="13"/>` +
      middleText(centre, y + 86, words) + middleText(centre, y + 104, captures, "soft")),
    touch("flag", "mep latch", `MEP flag ${isLatched ? 1 : 0}. Latch it`,
      key(x + 10, y + height - 36, half, isLatched ? "flag 1" : "flag 0", isLatched ? "high" : ""), isLatched),
    touch("power", powerCommand(state), `Camera power ${power}. ${isCut ? "Give it back" : "Cut it"}`,
      key(centre + 2, y + height - 36, half, `power ${power}`, { cut: "bad", on: "high", off: "" }[power]), isCut),
  ];
}

function accessories(isOn, x, y, width) {
  const label = `accessories: ${isOn ? "powered" : "no power"}`;
  return still("accessories", label, box(x, y, width, 30, isOn ? "" : "off") + text(x + 10, y + 20, width < 180 ? "accessories" : label));
}

function hostParts(state, [x, width], top) {
  if (state.hosts.length) {
    return state.hosts.map((host, i) => hostBox(host, x, top + i * PITCH, width));
  }
  const isFile = state.mode === "file";
  return [still("no-host", isFile ? "A file is shown" : `No host. A host joins with ${joining(state)} in its environment`, box(x, top, width, BOX, "none") +
    text(x + 10, top + 23, isFile ? "a file is shown" : "no host") +
    text(x + 10, top + 42, isFile ? "" : cut(joining(state), width - 10), "soft"))];
}

/** The markup of each part, by its key, and the height of all. `levels` by the names of the lines. */
export function installationParts(state, levels, layout) {
  const isNarrow = layout === NARROW;
  const { edge, spine } = layout;
  const { chips } = state;
  const [chipX, chipWidth] = layout.chip;
  const [cameraX, cameraWidth] = layout.camera;
  const hosts = hostParts(state, layout.host, TOP);
  const centre = (i, top) => top + i * PITCH + BOX / 2;
  // On a phone, chips stand below the hosts, and the wires below the chips.
  const chipTop = isNarrow ? TOP + hosts.length * PITCH : TOP;
  const top = isNarrow ? chipTop + chips.length * PITCH + 12 : TOP;

  const joints = isNarrow
    ? `M${edge} ${centre(hosts.length - 1, TOP) + BOX / 2}V${centre(Math.max(0, chips.length - 1), chipTop)}`
    : hosts.map((_, i) => `M${edge - 18} ${centre(i, TOP)}h18`).join("") +
      `M${edge} ${centre(0, TOP)}V${centre(Math.max(hosts.length, chips.length) - 1, TOP)}`;
  const parts = chips.length ? [path("pc", joints), ...hosts] : [...hosts];
  let links = `M${spine} ${top + 8}V${top + 20 + 6 * ROW}`;
  chips.forEach((chip, i) => {
    const y = centre(i, chipTop);
    parts.push(cable(chip, [edge, chipX], y), chipBox(chip, chipX, y - BOX / 2, chipWidth));
    if (chip.camera) {
      links += isNarrow ? `M${chipX + chipWidth} ${y}h8V${top - 8}H${spine}V${top + 8}` : `M${chipX + chipWidth} ${y}H${spine}V${top + 8}`;
    }
  });
  if (!chips.length) {
    parts.push(still("no-chip", "No hardware", text(isNarrow ? spine : chipX, isNarrow ? top : top + 30, "no hardware", "soft")));
  }
  parts.push(path("spine", links));
  LINES.forEach((name, i) => {
    parts.push(wire(name, top + 14 + i * ROW, layout.wire, state.wiring[name] ?? "healthy", levels[name]));
  });
  parts.push(...cameraParts(state, levels, cameraX, top, cameraWidth));
  parts.push(accessories(levels.accessories_power === 1, cameraX, top + 6 * ROW, cameraWidth));
  const height = Math.max(top + 7 * ROW + 14, chipTop + chips.length * PITCH, TOP + hosts.length * PITCH);
  return { parts: new Map(parts.map((markup) => [markup.match(/data-key="([^"]*)"/)[1], markup])), height };
}

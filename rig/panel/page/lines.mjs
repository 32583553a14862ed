// The lines as a logic analyser shows them: what is seen, and what pointer and keys do with it.
import { Drawing, LANE, TOP, heightOf, themeColours } from "./drawing.mjs";
import { clock, count, duration, milliseconds } from "./format.mjs";

const SHORTEST = 200; // ns
const LONGEST = 30 * 86_400e9;
const ZOOM = 1.5;
const FRAME_MS = 25; // at least, between two drawings
const NEAR = 6; // pixels within which a click takes an edge
const DRAG = 4; // pixels from which on a press is no click

export class LinesView {
  /** `now()` is the bench's time; `onMove(time)` is called when the place that is looked at was chosen. */
  constructor(root, journal, now, onMove) {
    this.root = root;
    this.journal = journal;
    this.now = now;
    this.onMove = onMove;
    this.canvas = root.querySelector("canvas");
    this.said = root.querySelector("#reading");
    this.pointed = root.querySelector("#pointed");
    this.difference = root.querySelector("#difference");
    this.list = root.querySelector("#names");
    this.context = this.canvas.getContext("2d", { alpha: false });
    this.follows = true;
    this.drawn = 0;
    this.isCalm = matchMedia("(prefers-reduced-motion: reduce)");
    this.view = { from: 0, span: 5e9, width: 100, now: 0, selected: 0, caret: undefined, cursors: {}, pointer: undefined };
    this.fingers = new Map();
    this.makeNames();
    this.listen();
    this.useTheme();
  }

  makeNames() {
    this.names = this.journal.names;
    this.list.replaceChildren(
      ...this.names.map((name, line) => {
        const button = document.createElement("button");
        button.innerHTML = "<span></span> <b></b>";
        button.firstChild.textContent = name;
        button.title = name;
        button.onclick = () => this.select(line);
        return button;
      }),
    );
    this.levels = this.names.map(() => "none");
    this.canvas.style.height = `${heightOf(this.names.length)}px`;
    this.select(0, false);
  }

  listen() {
    const { canvas, root } = this;
    new ResizeObserver(() => this.resize()).observe(canvas);
    for (const theme of ["(prefers-color-scheme: dark)", "(forced-colors: active)"]) {
      matchMedia(theme).addEventListener("change", () => this.useTheme());
    }
    canvas.addEventListener("wheel", (event) => this.turn(event), { passive: false });
    canvas.addEventListener("pointerdown", (event) => this.press(event));
    canvas.addEventListener("pointermove", (event) => this.drag(event));
    for (const end of ["pointerup", "pointercancel"]) {
      canvas.addEventListener(end, (event) => this.release(event));
    }
    canvas.addEventListener("pointerleave", () => this.point(undefined));
    canvas.addEventListener("dblclick", (event) => this.showStretch(this.at(event)));
    root.addEventListener("keydown", (event) => this.key(event));
    for (const button of root.querySelectorAll("button[data-key]")) {
      button.onclick = () => this.act(button.dataset.key);
    }
  }

  useTheme() {
    this.drawing = new Drawing(this.context, themeColours());
    this.isDirty = true;
  }

  resize() {
    const ratio = devicePixelRatio || 1;
    this.view.width = Math.max(50, this.canvas.clientWidth);
    this.canvas.width = Math.round(this.view.width * ratio);
    this.canvas.height = Math.round(heightOf(this.names.length) * ratio);
    this.context.setTransform(ratio, 0, 0, ratio, 0, 0);
    this.isDirty = true;
  }

  /** Called for every frame. Draws only what has changed by a pixel. */
  frame() {
    const { view } = this;
    const now = this.now();
    if (performance.now() - this.drawn < FRAME_MS) {
      return;
    }
    if (this.follows) {
      const isSeen = now >= view.from && now <= view.from + view.span;
      const from = !this.isCalm.matches ? now - view.span : isSeen ? view.from : now - view.span / 10;
      if (Math.abs(from - view.from) * view.width >= view.span) {
        view.from = from;
        this.isDirty = true;
      }
    }
    if (Math.abs(now - view.now) * view.width >= view.span && view.now < view.from + view.span) {
      this.isDirty = true;
    }
    if (this.isDirty) {
      this.isDirty = false;
      this.drawn = performance.now();
      view.now = now;
      view.isStill = !this.follows;
      this.drawing.draw(this.journal, view);
    }
  }

  /** The journal has grown. */
  update() {
    if (this.names !== this.journal.names) {
      this.makeNames();
    }
    this.names.forEach((name, line) => {
      const level = this.journal.level(line);
      if (level !== this.levels[line]) {
        this.levels[line] = level;
        const mark = this.list.children[line].querySelector("b");
        mark.textContent = level === "floating" ? "z" : level ?? "?";
        mark.className = level === 1 ? "high" : "";
      }
    });
    this.isDirty = true;
  }

  // ---- Where we look ----

  follow(follows) {
    this.follows = follows;
    const button = this.root.querySelector('[data-key=" "]');
    button.firstChild.textContent = follows ? "Pause " : "Go on ";
    this.isDirty = true;
  }

  /** Shows a time in the middle, unless it is seen well already. */
  show(time, span = this.view.span) {
    const { view } = this;
    this.follow(false);
    const place = (time - view.from) / view.span;
    if (span !== view.span || place < 0.05 || place > 0.95) {
      view.span = span;
      view.from = time - span / 2;
    }
    this.isDirty = true;
  }

  /** Goes to a time that something else on the page names. */
  goTo(time, text) {
    this.show(time, Math.min(this.view.span, 1e9));
    this.view.caret = time;
    this.isPointing = false;
    this.say(`${text}, at ${milliseconds(time)} ms`);
  }

  zoom(factor, x) {
    const { view } = this;
    const span = Math.min(LONGEST, Math.max(SHORTEST, view.span * factor));
    const anchor = this.follows ? view.width : x;
    view.from += (anchor / view.width) * (view.span - span);
    view.span = span;
    this.isDirty = true;
    return `${duration(span)} in view`;
  }

  pan(pixels) {
    this.follow(false);
    this.view.from += (pixels / this.view.width) * this.view.span;
  }

  fit() {
    const end = Math.max(this.now(), 1e6);
    const start = this.journal.start ?? 0;
    this.follow(false);
    this.view.span = Math.max(SHORTEST, (end - start) * 1.04);
    this.view.from = start - (end - start) * 0.02;
  }

  /** What a key zooms about: the caret if it is seen, else the middle. */
  get anchor() {
    const { view, drawing } = this;
    const x = view.caret === undefined || !drawing.view ? -1 : drawing.x(view.caret);
    return x >= 0 && x <= view.width ? x : view.width / 2;
  }

  select(line, isSaid = true) {
    const { length } = this.names;
    this.view.selected = length && (line + length) % length;
    [...this.list.children].forEach((button, i) => button.setAttribute("aria-pressed", String(i === this.view.selected)));
    this.isDirty = true;
    const edges = this.journal.edges[this.view.selected];
    if (isSaid && edges) {
      this.say(`${this.names[this.view.selected]}: level ${edges.level ?? "unknown"}, ${count(edges.count, "edge")}`);
    }
  }

  say(text) {
    this.said.textContent = text;
  }

  /** The place that was pointed at or gone to last. */
  get place() {
    const { pointer, caret, from, span } = this.view;
    return (this.isPointing ? pointer?.time : undefined) ?? caret ?? from + span / 2;
  }

  choose(time) {
    this.view.caret = time;
    this.isPointing = false;
    this.isDirty = true;
    this.onMove(time);
    this.say(this.described(this.view.selected, time));
  }

  /** "trigger is 1 for 12.3 ms, from 67.621 to 79.912 ms" */
  described(line, time) {
    if (line >= this.names.length) {
      return `${milliseconds(Math.round(time))} ms`; // of a file without wires
    }
    const { level, from, to } = this.journal.edges[line].stretch(time);
    const name = `${this.names[line]} is ${level ?? "unknown"}`;
    if (from !== undefined && to !== undefined) {
      return `${name} for ${duration(to - from)}, from ${milliseconds(from)} to ${milliseconds(to)} ms`;
    }
    return from !== undefined ? `${name} since ${milliseconds(from)} ms` : to !== undefined ? `${name} until ${milliseconds(to)} ms` : `${name} all the time`;
  }

  step(forwards) {
    const { view } = this;
    const edges = this.journal.edges[view.selected];
    const start = view.caret ?? (forwards ? view.from : view.from + view.span);
    const time = forwards ? edges?.next(start) : edges?.previous(start);
    if (time === undefined) {
      this.say(`${this.names[view.selected] ?? "The file"} has no ${forwards ? "later" : "earlier"} edge`);
      return;
    }
    this.show(time);
    this.choose(time);
  }

  /** A stretch over most of the view. */
  showStretch({ time, line }) {
    const { from, to } = this.journal.edges[line]?.stretch(time) ?? {};
    if (from !== undefined && to !== undefined && to > from) {
      this.follow(false);
      this.view.span = Math.max(SHORTEST, (to - from) / 0.6);
      this.view.from = from - this.view.span * 0.2;
      this.choose(from);
    }
  }

  setCursor(name, time) {
    this.view.cursors[name] = time;
    this.isDirty = true;
    const { A, B } = this.view.cursors;
    const parts = [];
    if (A !== undefined) {
      parts.push(`A ${milliseconds(A)} ms`);
    }
    if (B !== undefined) {
      parts.push(`B ${milliseconds(B)} ms`);
    }
    if (parts.length === 2) {
      parts.push(`B − A = ${B < A ? "−" : ""}${duration(Math.abs(B - A))}`);
    }
    this.difference.textContent = parts.join(" · ");
  }

  clear() {
    this.view.caret = undefined;
    this.setCursor("A", undefined);
    this.setCursor("B", undefined);
    this.say("No cursors");
  }

  /** Everything that a key or its button does. */
  act(key) {
    const { view } = this;
    const actions = {
      " ": () => {
        this.follow(!this.follows);
        this.say(this.follows ? "Following the bench" : `Paused at ${clock(view.from + view.span)}; the bench goes on`);
      },
      "+": () => this.say(this.zoom(1 / ZOOM, this.anchor)),
      "-": () => this.say(this.zoom(ZOOM, this.anchor)),
      f: () => {
        this.fit();
        this.say(`All of it: ${duration(view.span)} in view`);
      },
      ArrowLeft: () => this.pan(-view.width / 10),
      ArrowRight: () => this.pan(view.width / 10),
      PageUp: () => this.pan(-view.width * 0.9),
      PageDown: () => this.pan(view.width * 0.9),
      Home: () => this.show(this.journal.start ?? 0),
      End: () => this.follow(true),
      ArrowUp: () => this.select(view.selected - 1),
      ArrowDown: () => this.select(view.selected + 1),
      n: () => this.step(true),
      p: () => this.step(false),
      a: () => this.setCursor("A", this.place),
      b: () => this.setCursor("B", this.place),
      Escape: () => this.clear(),
    };
    const action = actions[{ "=": "+", _: "-", N: "n", P: "p", A: "a", B: "b", F: "f" }[key] ?? key];
    action?.();
    return action !== undefined;
  }

  key(event) {
    const isControl = event.target !== this.canvas && !this.list.contains(event.target);
    const isPress = event.target.tagName === "BUTTON" && (event.key === " " || event.key === "Enter");
    if (isControl || isPress || event.ctrlKey || event.metaKey || event.altKey) {
      return;
    }
    if (this.act(event.key)) {
      event.preventDefault();
    }
  }

  // ---- Pointer ----

  at(event) {
    const line = Math.floor((event.offsetY - TOP) / LANE);
    return { x: event.offsetX, time: this.drawing.time(event.offsetX), line: line >= 0 && line < this.names.length ? line : undefined };
  }

  turn(event) {
    event.preventDefault();
    const scale = event.deltaMode === 1 ? 16 : 1;
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      this.pan((event.deltaX || event.deltaY) * scale);
    } else {
      this.zoom(1.002 ** (event.deltaY * scale), event.offsetX);
    }
  }

  press(event) {
    this.canvas.setPointerCapture(event.pointerId);
    const place = this.at(event);
    this.fingers.set(event.pointerId, place);
    const near = Object.entries(this.view.cursors).find(
      ([, time]) => time !== undefined && Math.abs(this.drawing.x(time) - place.x) <= NEAR,
    );
    this.pressed = { ...place, cursor: near?.[0], isDrag: false };
  }

  drag(event) {
    const place = this.at(event);
    const before = this.fingers.get(event.pointerId);
    if (!before) {
      this.point(place);
      return;
    }
    if (this.fingers.size === 2) {
      this.pinch(event.pointerId, place);
    } else if (this.pressed.isDrag || Math.abs(place.x - this.pressed.x) >= DRAG) {
      this.pressed.isDrag = true;
      if (this.pressed.cursor) {
        this.setCursor(this.pressed.cursor, this.snapped(place.time));
      } else {
        this.pan(before.x - place.x);
      }
    } else {
      return;
    }
    this.fingers.set(event.pointerId, place);
  }

  /** Two fingers: what was under each stays under it. */
  pinch(id, place) {
    this.pressed.isDrag = true;
    const [other] = [...this.fingers].filter(([each]) => each !== id).map(([, each]) => each);
    const before = Math.abs(this.fingers.get(id).x - other.x);
    const after = Math.abs(place.x - other.x);
    if (before > 10 && after > 10) {
      this.follow(false);
      this.zoom(before / after, other.x);
    }
  }

  release(event) {
    const place = this.fingers.get(event.pointerId);
    this.fingers.delete(event.pointerId);
    if (event.type === "pointerup" && place && this.fingers.size === 0 && !this.pressed.isDrag) {
      this.follow(false);
      if (place.line !== undefined) {
        this.select(place.line, false);
      }
      this.choose(this.snapped(place.time));
    }
  }

  snapped(time) {
    return this.journal.nearestEdge(time, (NEAR / this.view.width) * this.view.span) ?? time;
  }

  point(place) {
    this.view.pointer = place?.line === undefined ? undefined : place;
    this.isPointing = true;
    this.isDirty = true;
    this.pointed.textContent = this.view.pointer ? `${milliseconds(Math.round(place.time))} ms: ${this.described(place.line, place.time)}` : "";
  }
}

// Draws the lines as `wave --svg` does: the same measures, colours and shapes.
import { duration, ticks } from "./format.mjs";

// Pixels, as in svg_wave.cpp.
export const AXIS = 24; // the row with the times, above the axis
export const MARKS = 20; // the row below it
export const LANE = 36;
const HIGH = 9;
const LOW = 29;
const MIDDLE = (HIGH + LOW) / 2;
const BASELINE = 4;
export const TOP = AXIS + MARKS;

export function heightOf(lines) {
  return TOP + lines * LANE;
}

const UNKNOWN_OPACITY = 0.4; // as in svg_wave.cpp
const FONT = '12px ui-monospace,SFMono-Regular,Menlo,Consolas,"Liberation Mono",monospace';
const COLOURS = ["paper", "ink", "soft", "axis", "rule", "line", "bad", "chosen"];

/** The colours of the page's theme, by their names in the style sheet. */
export function themeColours() {
  const style = getComputedStyle(document.documentElement);
  const colours = Object.fromEntries(COLOURS.map((name) => [name, style.getPropertyValue("--" + name).trim()]));
  colours.fill = Number(style.getPropertyValue("--fill-opacity"));
  return colours;
}

export class Drawing {
  constructor(context, colours) {
    this.context = context;
    this.colours = colours;
  }

  /** `view`: from, span, width (pixels), now, selected, caret, cursors, pointer ({time, line} or none). */
  draw(journal, view) {
    const { context, colours } = this;
    this.journal = journal;
    this.view = view;
    this.height = heightOf(journal.edges.length);
    context.font = FONT;
    context.lineJoin = "round";
    context.fillStyle = colours.paper;
    context.fillRect(0, 0, view.width, this.height);
    this.drawAxis();
    this.drawSelection();
    journal.edges.forEach((edges, line) => this.drawLine(edges, TOP + line * LANE));
    this.drawUnknown();
    this.drawMarks();
    this.drawMeasure();
    this.drawCursors();
  }

  x(time) {
    return ((time - this.view.from) / this.view.span) * this.view.width;
  }

  time(x) {
    return this.view.from + (x / this.view.width) * this.view.span;
  }

  text(text, x, middle, colour) {
    this.context.fillStyle = colour;
    this.context.fillText(text, x, middle + BASELINE);
  }

  stroke(colour, width, dash, path) {
    const { context } = this;
    context.beginPath();
    path(context);
    context.setLineDash(dash);
    context.lineWidth = width;
    context.strokeStyle = colour;
    context.stroke();
    context.setLineDash([]);
  }

  vertical(time, colour, width, dash, from = AXIS, to = this.height) {
    const x = Math.round(this.x(time)) + 0.5;
    this.stroke(colour, width, dash, (path) => {
      path.moveTo(x, from);
      path.lineTo(x, to);
    });
  }

  drawAxis() {
    const { colours, view } = this;
    const { unit, list } = ticks(view.from, view.span, view.width / 110);
    for (const tick of list) {
      this.vertical(tick.at, colours.rule, 1, [2, 3]);
      this.vertical(tick.at, colours.axis, 1, [], AXIS - 4, AXIS);
      const text = `${tick.text} ${unit}`;
      if (this.x(tick.at) + 4 + this.context.measureText(text).width <= view.width) { // a number cut off is another one
        this.text(text, this.x(tick.at) + 4, AXIS / 2, colours.soft);
      }
    }
    this.stroke(colours.axis, 1, [], (path) => {
      path.moveTo(0, AXIS + 0.5);
      path.lineTo(view.width, AXIS + 0.5);
    });
  }

  drawSelection() {
    const { context, colours, view } = this;
    context.globalAlpha = 0.06;
    context.fillStyle = colours.ink;
    context.fillRect(0, TOP + view.selected * LANE, view.width, LANE);
    context.globalAlpha = 1;
  }

  drawLine(edges, top) {
    const { view } = this;
    const begin = edges.firstAfter(view.from);
    const end = edges.firstAfter(view.from + view.span);
    if (!edges.isShown) {
      return;
    }
    if (end - begin <= view.width) {
      this.drawEdges(edges, begin, end, top);
    } else {
      this.drawColumns(edges, begin, end, top);
    }
  }

  /** Each stretch between two edges. Low and high are one connected stroke; what is neither interrupts it. */
  drawEdges(edges, begin, end, top) {
    const { context, colours, view } = this;
    const stop = Math.min(view.width, this.x(view.now));
    const path = new Path2D();
    const widths = [];
    const { idle } = edges;
    let wasDrawn = false;
    let x = Math.max(0, this.x(this.journal.start ?? 0));
    for (let i = begin; i <= end; ++i) {
      const next = i < end ? this.x(edges.times[i]) : Math.max(x, stop);
      const level = edges.levelBefore(i);
      const isDrawn = level === 0 || level === 1;
      if (isDrawn) {
        const y = top + (level ? HIGH : LOW);
        path[wasDrawn ? "lineTo" : "moveTo"](x, y);
        path.lineTo(next, y);
      }
      this.fillLevel(level, x, next, top);
      if (isDrawn && level !== idle && i > 0 && i < edges.length && next - x > 36) {
        widths.push({ text: duration(edges.times[i] - edges.times[i - 1]), x, end: next });
      }
      wasDrawn = isDrawn;
      x = next;
    }
    context.strokeStyle = colours.line;
    context.lineWidth = 2;
    context.stroke(path);
    this.writeWidths(widths, top + MIDDLE);
  }

  /** What a stretch has beside its stroke: high is filled, unknown is grey, floating a dashed line between both. */
  fillLevel(level, x, end, top) {
    const { context, colours } = this;
    if (level === "floating") {
      this.stroke(colours.line, 2, [4, 3], (path) => {
        path.moveTo(x, top + MIDDLE);
        path.lineTo(end, top + MIDDLE);
      });
    } else if (level !== 0) {
      context.globalAlpha = level === 1 ? colours.fill : UNKNOWN_OPACITY;
      context.fillStyle = level === 1 ? colours.line : colours.axis;
      context.fillRect(x, top + HIGH, end - x, LOW - HIGH);
      context.globalAlpha = 1;
    }
  }

  writeWidths(widths, middle) {
    const { context, colours } = this;
    context.textAlign = "center";
    context.strokeStyle = colours.paper;
    context.lineWidth = 4;
    for (const { text, x, end } of widths) {
      if (context.measureText(text).width + 8 < end - x) {
        context.strokeText(text, (x + end) / 2, middle + BASELINE);
        this.text(text, (x + end) / 2, middle, colours.ink);
      }
    }
    context.textAlign = "left";
  }

  /** More edges than pixels: each column of pixels shows which levels there were. */
  drawColumns(edges, begin, end, top) {
    const { context, colours, view } = this;
    let index = begin;
    for (let x = 0; x < view.width && index <= end; ++x) {
      const next = Math.min(end, edges.firstAfter(this.time(x + 1)));
      const level = edges.levelBefore(next);
      const both = next > index;
      context.fillStyle = colours.line;
      if (both || level === 0 || level === 1) {
        context.fillRect(x, top + (both || level ? HIGH - 1 : LOW - 1), 1, both ? LOW - HIGH + 2 : 2);
      }
      if (!both) {
        this.fillLevel(level, x, x + 1, top);
      }
      index = next;
      if (this.time(x) > view.now) {
        break;
      }
    }
  }

  /** What was before the page knew: nothing is drawn there. */
  drawUnknown() {
    const { context, colours, view } = this;
    const end = Math.min(view.width, this.x(this.journal.start ?? view.now));
    if (end > 0) {
      context.globalAlpha = 0.15;
      context.fillStyle = colours.axis;
      context.fillRect(0, TOP, end, this.height - TOP);
      context.globalAlpha = 1;
    }
    const now = this.x(view.now);
    if (now < view.width) {
      this.vertical(view.now, colours.axis, 1, []);
    }
  }

  /** Each at its moment; disturbances cross all lines. Where there is no room for all texts, theirs come first. */
  drawMarks() {
    const { colours, view } = this;
    const { marks } = this.journal;
    const seen = { disturbances: [], others: [] };
    const last = view.from + view.span;
    let drawn = -Infinity;
    for (let i = this.journal.firstMark(view.from - view.span); i < marks.length && marks[i].ns <= last; ++i) {
      const mark = marks[i];
      const x = this.x(mark.ns);
      (mark.isDisturbance ? seen.disturbances : seen.others).push({ text: mark.text, x });
      if (x - drawn >= 1) {
        if (mark.isDisturbance) {
          this.vertical(mark.ns, colours.bad, 1.5, [6, 3], AXIS);
        } else {
          this.vertical(mark.ns, colours.axis, 1, [], TOP - 4, TOP);
        }
        drawn = x;
      }
    }
    const taken = this.writeMarks(seen.disturbances, [], "600 ", colours.bad);
    this.writeMarks(seen.others, taken, "", colours.soft);
  }

  /** Writes what fits between what is `taken`, and returns what it takes. The same again and again is one: "fault x37". */
  writeMarks(marks, taken, weight, colour) {
    const { context, view } = this;
    const mine = [];
    let free = -Infinity;
    context.font = weight + FONT;
    for (let i = 0; i < marks.length; ++i) {
      const { text: name, x } = marks[i];
      if (x < free) {
        continue;
      }
      let many = 1;
      while (i + many < marks.length && marks[i + many].text === name && marks[i + many].x - x < 8) {
        ++many;
      }
      const text = name + (many > 1 ? ` x${many}` : "");
      const width = context.measureText(text).width + 12;
      // At the right end of a view that stands still, a text is on the left of its mark.
      const isLeft = view.isStill && x + width > view.width && x - width > free;
      const [begin, end] = isLeft ? [x - width, x] : [x, x + width];
      if (taken.some((other) => other.begin < end && begin < other.end)) {
        continue;
      }
      if (!isLeft && weight === "") {
        this.stroke(this.colours.axis, 1, [], (path) => {
          path.moveTo(Math.round(x) + 0.5, AXIS);
          path.lineTo(Math.round(x) + 0.5, TOP);
        });
      }
      this.text(text, begin + (isLeft ? 8 : 4), AXIS + MARKS / 2 - 1, colour);
      mine.push({ begin, end });
      free = end;
    }
    context.font = FONT;
    return mine;
  }

  /** The width of the stretch under the pointer. */
  drawMeasure() {
    const { colours, view } = this;
    if (!view.pointer) {
      return;
    }
    this.vertical(view.pointer.time, colours.axis, 1, [1, 3]);
    const stretch = this.journal.edges[view.pointer.line]?.stretch(view.pointer.time);
    if (stretch?.from === undefined || stretch.to === undefined) {
      return;
    }
    const y = TOP + view.pointer.line * LANE + LANE - 3.5;
    const from = Math.max(0, this.x(stretch.from));
    const to = Math.min(view.width, this.x(stretch.to));
    this.stroke(colours.ink, 1, [], (path) => {
      path.moveTo(from, y - 3);
      path.lineTo(from, y + 3);
      path.moveTo(from, y);
      path.lineTo(to, y);
      path.moveTo(to, y - 3);
      path.lineTo(to, y + 3);
    });
  }

  drawCursors() {
    const { context, colours, view } = this;
    if (view.caret !== undefined) {
      this.vertical(view.caret, colours.ink, 1, []);
      const x = this.x(view.caret);
      context.fillStyle = colours.ink;
      context.beginPath();
      context.moveTo(x - 5, AXIS - 7);
      context.lineTo(x + 5, AXIS - 7);
      context.lineTo(x, AXIS + 1);
      context.fill();
    }
    const { A, B } = view.cursors;
    if (A !== undefined && B !== undefined) {
      context.globalAlpha = 0.08;
      context.fillStyle = colours.chosen;
      context.fillRect(this.x(Math.min(A, B)), TOP, Math.abs(this.x(B) - this.x(A)), this.height - TOP);
      context.globalAlpha = 1;
    }
    for (const [name, time] of Object.entries(view.cursors)) {
      if (time !== undefined) {
        const x = this.x(time);
        this.vertical(time, colours.chosen, 1.5, [], 4);
        context.fillStyle = colours.chosen;
        context.fillRect(x - 7, 2, 14, 14);
        context.textAlign = "center";
        this.text(name, x, 9, colours.paper);
        context.textAlign = "left";
      }
    }
  }
}

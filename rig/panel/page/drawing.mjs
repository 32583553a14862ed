// Draws the lines as `wave --svg` does: the same measures, colours and shapes.
import { LINES } from "./journal.mjs";
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
export const HEIGHT = TOP + LINES.length * LANE;

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
    context.font = FONT;
    context.lineJoin = "round";
    context.fillStyle = colours.paper;
    context.fillRect(0, 0, view.width, HEIGHT);
    this.drawAxis();
    this.drawSelection();
    LINES.forEach((_, line) => this.drawLine(line));
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

  vertical(time, colour, width, dash, from = AXIS, to = HEIGHT) {
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
      this.text(`${tick.text} ${unit}`, this.x(tick.at) + 4, AXIS / 2, colours.soft);
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

  drawLine(line) {
    const { view } = this;
    const edges = this.journal.edges[line];
    const top = TOP + line * LANE;
    const begin = edges.firstAfter(view.from);
    const end = edges.firstAfter(view.from + view.span);
    if (edges.level === undefined) {
      return;
    }
    if (end - begin <= view.width) {
      this.drawEdges(edges, begin, end, top);
    } else {
      this.drawColumns(edges, begin, end, top);
    }
  }

  /** Each stretch between two edges. */
  drawEdges(edges, begin, end, top) {
    const { context, colours, view } = this;
    const stop = Math.min(view.width, this.x(view.now));
    const path = new Path2D();
    const widths = [];
    let x = Math.max(0, this.x(this.journal.start ?? 0));
    for (let i = begin; i <= end; ++i) {
      const next = i < end ? this.x(edges.times[i]) : Math.max(x, stop);
      const isHigh = edges.levelBefore(i) === 1;
      const y = top + (isHigh ? HIGH : LOW);
      if (i === begin) {
        path.moveTo(x, y);
      } else {
        path.lineTo(x, y);
      }
      path.lineTo(next, y);
      if (isHigh) {
        this.fillHigh(x, next, top);
      }
      this.addWidth(widths, edges, i, x, next);
      x = next;
    }
    context.strokeStyle = colours.line;
    context.lineWidth = 2;
    context.stroke(path);
    this.writeWidths(widths, top + MIDDLE);
  }

  fillHigh(x, end, top) {
    this.context.globalAlpha = this.colours.fill;
    this.context.fillStyle = this.colours.line;
    this.context.fillRect(x, top + HIGH, end - x, LOW - HIGH);
    this.context.globalAlpha = 1;
  }

  /** A pulse is a stretch at another level than the line's first one. */
  addWidth(widths, edges, index, x, end) {
    if (index > 0 && index < edges.length && edges.levelBefore(index) !== edges.levelBefore(0) && end - x > 36) {
      widths.push({ text: duration(edges.times[index] - edges.times[index - 1]), x, end });
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
      context.fillRect(x, top + (both || level ? HIGH - 1 : LOW - 1), 1, both ? LOW - HIGH + 2 : 2);
      if (!both && level) {
        this.fillHigh(x, x + 1, top);
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
      context.fillRect(0, TOP, end, HEIGHT - TOP);
      context.globalAlpha = 1;
    }
    const now = this.x(view.now);
    if (now < view.width) {
      this.vertical(view.now, colours.axis, 1, []);
    }
  }

  /** Each beside its moment; disturbances cross all lines. The same one again and again is one: "fault x37". */
  drawMarks() {
    const { context, colours, view } = this;
    const { marks } = this.journal;
    let free = -Infinity;
    const last = view.from + view.span;
    let drawn = -Infinity;
    for (let i = this.journal.firstMark(view.from - view.span); i < marks.length && marks[i].ns <= last; ++i) {
      const mark = marks[i];
      const x = this.x(mark.ns);
      if (x - drawn >= 1) {
        if (mark.isDisturbance) {
          this.vertical(mark.ns, colours.bad, 1.5, [6, 3], AXIS);
        } else {
          this.vertical(mark.ns, colours.axis, 1, [], x < free ? TOP - 4 : AXIS, TOP);
        }
        drawn = x;
      }
      if (x < free) {
        continue;
      }
      let many = 1;
      while (i + many < marks.length && marks[i + many].text === mark.text && this.x(marks[i + many].ns) - x < 8) {
        ++many;
      }
      const text = mark.text + (many > 1 ? ` x${many}` : "");
      context.font = (mark.isDisturbance ? "600 " : "") + FONT;
      this.text(text, x + 4, AXIS + MARKS / 2 - 1, mark.isDisturbance ? colours.bad : colours.soft);
      free = x + context.measureText(text).width + 12;
      context.font = FONT;
    }
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
      context.fillRect(this.x(Math.min(A, B)), TOP, Math.abs(this.x(B) - this.x(A)), HEIGHT - TOP);
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

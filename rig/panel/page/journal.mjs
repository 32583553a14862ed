// What has happened on the bench: the edges of each line, the marks, and the journal's entries. Times are
// nanoseconds of the bench.

export const LINES = ["trigger", "ready", "mep", "clear_mep", "dark", "camera_power", "accessories_power"];

// A level of a line by its code: what is undefined is not known.
const LEVELS = [0, 1, undefined, "floating"];
const UNKNOWN = 2;

/** The code of a level as messages have it: 0 or 1 as number or text, "x", "z"; none of what is no level. */
function codeOf(level) {
  const code = "01xz".indexOf(String(level));
  return code < 0 ? undefined : code;
}

const MOST_EDGES = 4_000_000; // of a line; 36 MB
const MOST_LINES = 200; // of a file
const MOST_ENTRIES = 400_000;
const MOST_MARKS = 100_000;

/** The first index below `length` for which `isLater` holds, of a list where it holds from there on. */
function firstIndex(length, isLater) {
  let low = 0;
  let high = length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (isLater(middle)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

class Edges {
  times = new Float64Array(1024);
  levels = new Uint8Array(1024); // codes of LEVELS
  length = 0;
  count = 0; // with those that were forgotten
  first = undefined; // the code before the first edge, if that is known
  rest = undefined; // the code while there is no edge

  add(time, code) {
    if (this.length === MOST_EDGES) {
      this.forgetHalf();
    }
    if (this.length === this.times.length) {
      this.grow();
    }
    this.times[this.length] = time;
    this.levels[this.length++] = code;
    ++this.count;
  }

  grow() {
    const { times, levels } = this;
    this.times = new Float64Array(times.length * 2);
    this.levels = new Uint8Array(levels.length * 2);
    this.times.set(times);
    this.levels.set(levels);
  }

  forgetHalf() {
    const half = this.length >> 1;
    this.first = this.levels[half - 1];
    this.times.copyWithin(0, half, this.length);
    this.levels.copyWithin(0, half, this.length);
    this.length -= half;
  }

  firstAfter(time) {
    return firstIndex(this.length, (i) => this.times[i] > time);
  }

  /** The level just before edge `index`, or the present one: 0, 1 or "floating". Undefined when nobody knows. */
  levelBefore(index) {
    if (index > 0) {
      return LEVELS[this.levels[index - 1]];
    }
    const opposite = [1, 0, UNKNOWN, UNKNOWN];
    return LEVELS[this.first ?? (this.length > 0 ? opposite[this.levels[0]] : this.rest) ?? UNKNOWN];
  }

  /** Whether there is anything to be drawn. */
  get isShown() {
    return this.length > 0 || this.rest !== undefined;
  }

  /** The level that is no pulse: the first that is known. */
  get idle() {
    for (let i = 0; i <= this.length; ++i) {
      const level = this.levelBefore(i);
      if (level === 0 || level === 1) {
        return level;
      }
    }
    return undefined;
  }

  get level() {
    return this.levelBefore(this.length);
  }

  /** The time with one level round a moment: `from` is undefined before the first edge, `to` after the last. */
  stretch(time) {
    const index = this.firstAfter(time);
    return {
      level: this.levelBefore(index),
      from: index > 0 ? this.times[index - 1] : undefined,
      to: index < this.length ? this.times[index] : undefined,
    };
  }

  next(time) {
    const index = this.firstAfter(time);
    return index < this.length ? this.times[index] : undefined;
  }

  previous(time) {
    const index = firstIndex(this.length, (i) => this.times[i] >= time);
    return index > 0 ? this.times[index - 1] : undefined;
  }
}

/** Whether a mark is of something that went wrong. A fault that is planned has words after its function. */
function isDisturbance(text) {
  return /^(unplug|sleep|ignored)\b/.test(text) || /^fault \S+$/.test(text);
}

/** The function of a call: "FT_Read(SLV1B, 2, 2) -> 0, [aa]", which may begin with whose call it is, "host 2: ". */
export function functionOf({ text }) {
  return /^(?:host \d+: )?([^(]*)/.exec(text)[1];
}

/** An entry as the journal's file has it: the calls of the second and later hosts say whose they are. */
export function textOf({ text, host }) {
  return host > 1 ? `host ${host}: ${text}` : text;
}

export class Journal {
  names = LINES;

  constructor() {
    this.began(0);
  }

  /** Forgets everything. What follows is the journal from entry `first` on. */
  began(first) {
    this.edges = this.names.map(() => new Edges());
    this.marks = [];
    this.entries = []; // {n, ns, kind, text, host}
    this.forgotten = 0; // entries that made room
    this.last = 0; // the latest time of an entry
    this.start = first > 0 ? undefined : 0; // from here on everything is known
    this.functions = new Map(); // calls of each
    ++this.generation;
  }

  generation = 0;

  /** Takes levels from the bench's state for the lines that have had no edge. */
  learn(levels) {
    this.names.forEach((name, i) => {
      this.edges[i].rest = codeOf(levels[name]);
    });
  }

  /** Shows a file, with the lines that it has. Its state comes before its entries, and again with a new stream. */
  learnFile({ begin, first, lines }) {
    if (this.entries.length > 0) {
      return;
    }
    this.names = Object.keys(lines).slice(0, MOST_LINES);
    this.began(0);
    this.start = begin;
    this.learn(lines);
    this.names.forEach((name, i) => {
      this.edges[i].first = codeOf(first[name]);
    });
  }

  add(entries) {
    for (const entry of entries) {
      this.start ??= entry.ns;
      this.last = Math.max(this.last, entry.ns);
      if (entry.kind === "edge") {
        const blank = entry.text.indexOf(" ");
        const line = this.names.indexOf(entry.text.slice(0, blank));
        const code = codeOf(entry.text.slice(blank + 1));
        if (line >= 0 && code !== undefined) {
          this.edges[line].add(entry.ns, code);
        }
      } else if (entry.kind === "event" && !/^host \d/.test(entry.text)) {
        this.marks.push({ ns: entry.ns, n: entry.n, text: entry.text, isDisturbance: isDisturbance(entry.text) });
      } else if (entry.kind === "call") {
        const name = functionOf(entry);
        this.functions.set(name, (this.functions.get(name) ?? 0) + 1);
      }
      this.entries.push(entry);
    }
    this.makeRoom();
  }

  makeRoom() {
    if (this.entries.length > MOST_ENTRIES) {
      const many = this.entries.length - (MOST_ENTRIES >> 1);
      this.entries.splice(0, many);
      this.forgotten += many;
    }
    if (this.marks.length > MOST_MARKS) {
      this.marks.splice(0, this.marks.length - (MOST_MARKS >> 1));
    }
  }

  level(line) {
    return this.edges[line].level;
  }

  /** The edge of any line that is nearest to a time, if it is within `reach`. */
  nearestEdge(time, reach) {
    let best;
    for (const edges of this.edges) {
      for (const each of [edges.previous(time + 0.5), edges.next(time)]) {
        if (each !== undefined && Math.abs(each - time) <= Math.min(reach, Math.abs((best ?? Infinity) - time))) {
          best = each;
        }
      }
    }
    return best;
  }

  /** The index of the first mark at or after a time. */
  firstMark(time) {
    return firstIndex(this.marks.length, (i) => this.marks[i].ns >= time);
  }

  /** The index of the first entry at or after a time. */
  firstEntry(time) {
    return firstIndex(this.entries.length, (i) => this.entries[i].ns >= time);
  }
}

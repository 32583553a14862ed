// The journal as it grows: a list of which only the rows in view exist.
import { NS_PER_MS } from "./format.mjs";
import { functionOf, textOf } from "./journal.mjs";

const ROW = 22; // pixels, as in the style sheet
const SPARE = 6; // rows beyond those that are seen

export class CallsView {
  /** `onChoose(entry)` is called for the entry that is clicked. */
  constructor(root, journal, onChoose) {
    this.journal = journal;
    this.onChoose = onChoose;
    this.box = root.querySelector("#journal");
    this.sheet = this.box.firstElementChild;
    this.functions = root.querySelector("#function");
    this.search = root.querySelector("#search");
    this.total = root.querySelector("#shown");
    this.none = root.querySelector("#none");
    this.whenEmpty = ""; // what is told while there is no entry
    this.sticks = true; // the last row stays in view
    this.generation = journal.generation;
    this.reset();
    this.box.addEventListener("scroll", () => {
      this.sticks = this.box.scrollTop + this.box.clientHeight >= this.box.scrollHeight - ROW;
      this.paint();
    });
    this.sheet.addEventListener("click", (event) => this.choose(Number(event.target.closest("[data-row]")?.dataset.row)));
    this.box.addEventListener("keydown", (event) => this.key(event));
    new ResizeObserver(() => this.paint()).observe(this.box);
    this.functions.addEventListener("change", () => this.filter());
    this.search.addEventListener("input", () => this.filter());
  }

  reset() {
    this.rows = []; // numbers of entries, counted with those that were forgotten
    this.taken = this.journal.forgotten;
    this.current = undefined;
  }

  entry(row) {
    return this.journal.entries[this.rows[row] - this.journal.forgotten];
  }

  filter() {
    const chosen = this.current === undefined ? undefined : this.entry(this.current)?.n;
    this.reset();
    this.sticks = true;
    this.update();
    if (chosen !== undefined) {
      this.show(chosen);
    }
  }

  matches(entry) {
    const wanted = this.functions.value;
    const isWanted = wanted === "" || (wanted.startsWith("kind:") ? entry.kind === wanted.slice(5) : entry.kind === "call" && functionOf(entry) === wanted);
    return isWanted && (this.needle === "" || textOf(entry).toLowerCase().includes(this.needle));
  }

  /** Takes the journal's new entries. */
  update() {
    const { journal } = this;
    if (journal.generation !== this.generation) {
      this.generation = journal.generation;
      this.reset();
    }
    this.needle = this.search.value.trim().toLowerCase();
    this.offerFunctions();
    const end = journal.forgotten + journal.entries.length;
    for (let i = Math.max(this.taken, journal.forgotten); i < end; ++i) {
      if (this.matches(journal.entries[i - journal.forgotten])) {
        this.rows.push(i);
      }
    }
    this.taken = end;
    if (this.rows.length && this.rows[0] < journal.forgotten) {
      const gone = this.rows.findIndex((each) => each >= journal.forgotten);
      this.rows.splice(0, gone < 0 ? this.rows.length : gone);
      this.current = this.current === undefined || gone < 0 || this.current < gone ? undefined : this.current - gone;
    }
    this.none.hidden = this.rows.length > 0;
    this.none.textContent = end > 0 ? "Nothing of that kind, or that contains it, has happened." : this.whenEmpty;
    this.sheet.style.height = `${this.rows.length * ROW}px`;
    this.total.textContent = `${this.rows.length.toLocaleString("en")} of ${end.toLocaleString("en")}`;
    if (this.sticks) {
      this.box.scrollTop = this.sheet.clientHeight;
    }
    this.paint();
  }

  /** The filter lists the functions that were called. */
  offerFunctions() {
    const names = [...this.journal.functions.keys()].sort();
    if (names.length !== this.offered) {
      this.offered = names.length;
      const chosen = this.functions.value;
      const group = this.functions.querySelector("optgroup");
      if (chosen && !chosen.startsWith("kind:") && !names.includes(chosen)) {
        names.push(chosen);
      }
      group.replaceChildren(...names.map((name) => new Option(name, name)));
      this.functions.value = chosen;
    }
  }

  paint() {
    const first = Math.max(0, Math.floor(this.box.scrollTop / ROW) - SPARE);
    const last = Math.min(this.rows.length, Math.ceil((this.box.scrollTop + this.box.clientHeight) / ROW) + SPARE);
    const shown = [];
    for (let row = first; row < last; ++row) {
      const entry = this.entry(row);
      const line = document.createElement("div");
      line.role = "option";
      line.id = `row${row}`;
      line.className = `entry ${entry.kind}`;
      line.dataset.row = row;
      line.style.top = `${row * ROW}px`;
      line.setAttribute("aria-selected", String(row === this.current));
      line.setAttribute("aria-setsize", String(this.rows.length));
      line.setAttribute("aria-posinset", String(row + 1));
      for (const [style, text] of [["time", (entry.ns / NS_PER_MS).toFixed(4)], ["kind", entry.kind], ["what", textOf(entry)]]) {
        const cell = document.createElement("span");
        cell.className = style;
        cell.textContent = text;
        line.append(cell, " ");
      }
      shown.push(line);
    }
    this.sheet.replaceChildren(...shown);
    if (this.current === undefined) {
      this.box.removeAttribute("aria-activedescendant");
    } else {
      this.box.setAttribute("aria-activedescendant", `row${this.current}`);
    }
  }

  /** Makes a row the current one and scrolls it into view. */
  moveTo(row) {
    this.current = Math.min(this.rows.length - 1, Math.max(0, row));
    this.sticks = false;
    const top = this.current * ROW;
    if (top < this.box.scrollTop || top + ROW > this.box.scrollTop + this.box.clientHeight) {
      this.box.scrollTop = top - this.box.clientHeight / 2;
    }
    this.paint();
  }

  choose(row) {
    if (row >= 0 && row < this.rows.length) {
      this.moveTo(row);
      this.onChoose(this.entry(row));
    }
  }

  /** Shows the row of entry number `n`, or the next one that is listed. */
  show(n) {
    const { forgotten, entries } = this.journal;
    const row = this.rows.findIndex((each) => entries[each - forgotten].n >= n);
    if (row >= 0) {
      this.moveTo(row);
    }
  }

  key(event) {
    const page = Math.max(1, Math.floor(this.box.clientHeight / ROW) - 1);
    const end = this.rows.length - 1;
    const at = this.current ?? end + 1;
    const rows = { ArrowUp: at - 1, ArrowDown: at + 1, PageUp: at - page, PageDown: at + page, Home: 0, End: end };
    if (event.key === "Enter" || event.key === " ") {
      this.choose(this.current);
    } else if (event.key in rows && end >= 0) {
      this.moveTo(rows[event.key]);
      this.sticks = event.key === "End";
    } else {
      return;
    }
    event.preventDefault();
  }
}

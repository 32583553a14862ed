// Faults of vendor calls: what is planned, how often it occurred, and a form for another one.
import { count } from "./format.mjs";

// Statuses that a function reports when it fails in the field, offered by name; any other number will do.
const STATUSES = [
  ["FT_", [[1, "invalid handle"], [2, "device not found"], [3, "device not opened"], [4, "input/output error"], [5, "insufficient resources"], [18, "other error"]]],
  ["EApi", [[0xffffffff, "not initialised"], [0xfffffeff, "invalid parameter"], [0xfffffcff, "unsupported"], [0xfffffbff, "device not found"]]],
  ["I", [[0x80004005, "unspecified failure"], [0x80041001, "WMI failed"]]],
];

/** "from call 7 on, 3 times" */
function whichCalls(fault) {
  if (fault.times === 0) {
    return `from call ${fault.call} on`;
  }
  return fault.times === 1 ? `call ${fault.call}` : `calls ${fault.call} to ${fault.call + fault.times - 1}`;
}

function whatHappens(fault) {
  const parts = [];
  if (fault.status !== undefined) {
    parts.push(`status ${fault.status > 0xffff ? "0x" + fault.status.toString(16) : fault.status}`);
  }
  if (fault.count !== undefined) {
    parts.push(`count ${fault.count}`);
  }
  return fault.silent ? "nothing is done, success reported" : parts.join(", ");
}

export class FaultsView {
  /** `send(command)` carries out a command. `functions` are the names of all vendor functions. */
  constructor(root, functions, send) {
    this.send = send;
    this.table = root.querySelector("tbody");
    this.none = root.querySelector("#no-faults");
    this.all = root.querySelector("#lift-all");
    this.form = root.querySelector("form");
    const { elements } = this.form;
    root.querySelector("#functions").replaceChildren(...functions.map((name) => new Option(name, name)));
    elements.function.addEventListener("input", () => this.offerStatuses());
    elements.which.addEventListener("change", () => this.showFields());
    elements.effect.addEventListener("change", () => this.showFields());
    this.form.addEventListener("submit", (event) => {
      event.preventDefault();
      send(this.command());
    });
    this.table.addEventListener("click", (event) => {
      const { id } = event.target.dataset;
      if (id) {
        send(`lift ${id}`);
      }
    });
    this.offerStatuses();
    this.showFields();
  }

  offerStatuses() {
    const name = this.form.elements.function.value;
    const known = STATUSES.find(([prefix]) => name.startsWith(prefix))?.[1] ?? [];
    this.form.querySelector("#statuses").replaceChildren(
      ...known.map(([status, text]) => new Option(`${status}: ${text}`, status > 0xffff ? "0x" + status.toString(16) : status)),
    );
  }

  showFields() {
    const { which, effect, call, status, count: moved } = this.form.elements;
    call.closest("label").hidden = which.value !== "call";
    status.closest("label").hidden = effect.value === "silent" || effect.value === "count";
    moved.closest("label").hidden = effect.value === "silent" || effect.value === "status";
  }

  /** The form as a command. */
  command() {
    const { function: name, which, call, times, effect, status, count: moved } = this.form.elements;
    const words = ["fault", name.value.trim() || "*"];
    if (effect.value === "silent") {
      words.push("silent");
    }
    if (effect.value.includes("status")) {
      words.push(`status=${status.value.trim()}`);
    }
    if (effect.value.includes("count")) {
      words.push(`count=${moved.value.trim()}`);
    }
    if (which.value === "call") {
      words.push(`call=${call.value}`);
    }
    if (times.value !== "1") {
      words.push(`times=${times.value}`);
    }
    return words.join(" ");
  }

  update(faults) {
    const text = JSON.stringify(faults);
    if (text === this.shown) {
      return;
    }
    this.shown = text;
    const focused = this.table.contains(document.activeElement) ? document.activeElement.dataset.id : undefined;
    this.table.replaceChildren(...faults.map((fault) => this.row(fault)));
    this.table.closest("table").hidden = faults.length === 0;
    this.none.hidden = faults.length > 0;
    this.all.hidden = faults.length === 0;
    if (focused) {
      (this.table.querySelector(`[data-id="${focused}"]`) ?? this.table.querySelector("button") ?? this.form.elements.function).focus();
    }
  }

  row(fault) {
    const row = document.createElement("tr");
    const what = document.createElement("div");
    what.className = "soft";
    what.textContent = `${whichCalls(fault)}: ${whatHappens(fault)}`;
    row.insertCell().append(fault.function, what);
    row.insertCell().textContent = count(fault.occurred, "time");
    const lift = document.createElement("button");
    lift.textContent = "Lift";
    lift.dataset.id = fault.id;
    lift.setAttribute("aria-label", `Lift the fault of ${fault.function}, ${whichCalls(fault)}`);
    row.insertCell().append(lift);
    return row;
  }
}

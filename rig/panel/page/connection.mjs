// What comes from the bench, and what goes to it.

const RETRY_MS = 500;
const MISSED_MS = 2000; // a stream that has not begun by then waits for a place among the browser's six

export class Connection {
  /** `on` has a function for each event of the stream, and lost(reason) for the loss of it. */
  constructor(on) {
    this.on = on;
    this.room = typeof BroadcastChannel === "function" ? new BroadcastChannel("solvane-panel") : { postMessage() {} };
    this.room.onmessage = () => document.hidden && this.close();
    document.addEventListener("visibilitychange", () => !document.hidden && !this.source && this.open());
    addEventListener("pagehide", () => this.close());
    addEventListener("pageshow", () => !this.source && this.open());
  }

  open() {
    clearTimeout(this.retry);
    const source = new EventSource("events" + (this.lastId ? "?from=" + encodeURIComponent(this.lastId) : ""));
    this.source = source;
    const missed = setTimeout(() => this.room.postMessage("a stream waits for a connection"), MISSED_MS);
    for (const type of ["began", "state", "journal", "ended"]) {
      source.addEventListener(type, (event) => {
        clearTimeout(missed);
        this.lastId = event.lastEventId || this.lastId;
        this.on[type](JSON.parse(event.data));
      });
    }
    source.onerror = () => {
      clearTimeout(missed);
      if (source !== this.source) {
        return;
      }
      this.close();
      this.findOut();
      this.retry = setTimeout(() => this.open(), RETRY_MS);
    };
  }

  close() {
    this.source?.close();
    this.source = undefined;
    clearTimeout(this.retry);
  }

  /** Why the stream has broken off. */
  async findOut() {
    try {
      const answer = await fetch("state", { cache: "no-store" });
      if (answer.status === 401 || answer.status === 403 || answer.status === 404) {
        this.on.lost("moved");
      } else if (!answer.ok) {
        this.on.lost("refused");
      }
    } catch {
      this.on.lost("gone");
    }
  }

  /** Carries out a command of the bench. Returns its reply; throws an Error whose message is for people. */
  async command(text) {
    let answer;
    try {
      answer = await fetch("command", { method: "POST", body: text });
    } catch {
      throw new Error(`“${text}” was not done: the panel's server does not answer.`);
    }
    const reply = await answer.json().catch(() => ({}));
    if (!answer.ok || reply.exit !== 0) {
      const why = reply.text || reply.json?.error || reply.error || `the server answered ${answer.status}`;
      throw new Error(`“${text}” was not done: ${why}`);
    }
    return reply;
  }

  /** Fetches a file and hands it to the browser as a download. */
  async download(address, name) {
    let answer;
    try {
      answer = await fetch(address, { cache: "no-store" });
    } catch {
      throw new Error(`${name} was not kept: the panel's server does not answer.`);
    }
    if (!answer.ok) {
      const why = await answer.text();
      throw new Error(`${name} was not kept: ${why.trim() || `the server answered ${answer.status}`}`);
    }
    const link = document.createElement("a");
    link.href = URL.createObjectURL(await answer.blob());
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
  }
}

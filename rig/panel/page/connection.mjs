// What comes from the bench, and what goes to it.

const RETRY_MS = 500;
const MOST_PAGES = 4; // with more of them, hidden pages have no stream: a browser opens six connections with one server

export class Connection {
  /** `on` has a function for each event of the stream, and lost(reason) for the loss of it. */
  constructor(on) {
    this.on = on;
    this.room = new BroadcastChannel("solvane-panel");
    this.room.onmessage = () => this.makeRoom();
    document.addEventListener("visibilitychange", () => (document.hidden ? this.makeRoom() : !this.source && this.open()));
    navigator.locks.request(`page ${crypto.randomUUID()}`, () => new Promise(() => {})); // held while the page is open
    this.room.postMessage("another page is open");
    addEventListener("pagehide", () => this.close());
    addEventListener("pageshow", () => !this.source && this.open());
  }

  open() {
    clearTimeout(this.retry);
    const source = new EventSource("events" + (this.lastId ? "?from=" + encodeURIComponent(this.lastId) : ""));
    this.source = source;
    for (const type of ["began", "state", "journal", "ended"]) {
      source.addEventListener(type, (event) => {
        this.lastId = event.lastEventId || this.lastId;
        this.on[type](JSON.parse(event.data));
      });
    }
    source.onerror = () => {
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

  async makeRoom() {
    const { held } = await navigator.locks.query();
    if (document.hidden && held.length > MOST_PAGES) {
      this.close();
    }
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

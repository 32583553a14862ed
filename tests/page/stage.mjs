// What the panel's tests and pictures play on: a bench, its panel and hosts in Wine, and a browser.
import { spawn } from "node:child_process";
import { createRequire } from "node:module";
import { join } from "node:path";
import { setTimeout as sleep } from "node:timers/promises";
import { fileURLToPath } from "node:url";

const ROOT = fileURLToPath(new URL("../..", import.meta.url));
const BUILD = process.env.SOLVANE_BUILD ?? join(ROOT, "build/windows-x64");
const require = createRequire(join(ROOT, "build/npm/panel/"));
const { chromium } = require("playwright-core");
export const AXE = require.resolve("axe-core/axe.min.js");

const PATIENCE_MS = 120_000;

/** Waits until `look()` gives something that is neither false nor nothing, and returns it. */
export async function until(look, what) {
  const end = performance.now() + PATIENCE_MS;
  for (;;) {
    const seen = await look();
    if (seen !== false && seen !== undefined && seen !== null) {
      return seen;
    }
    if (performance.now() > end) {
      throw new Error(`in vain: ${what}`);
    }
    await sleep(20);
  }
}

/** A Windows program in Wine. */
export class Program {
  lines = [];
  error = "";

  constructor(name, words, variables = {}) {
    this.process = spawn(join(ROOT, "scripts/wine"), [join(BUILD, name), ...words], {
      env: { ...process.env, ...variables }, stdio: ["ignore", "pipe", "pipe"],
    });
    let rest = "";
    this.text = "";
    this.process.stdout.setEncoding("utf8").on("data", (part) => {
      this.text += part;
      const lines = (rest + part).split(/\r?\n/);
      rest = lines.pop();
      this.lines.push(...lines);
    });
    this.process.stderr.setEncoding("utf8").on("data", (part) => (this.error += part));
    this.ended = new Promise((resolve) => this.process.on("close", resolve));
  }

  /** The first line from number `from` on that matches. */
  line(pattern, from = 0) {
    return until(() => this.lines.slice(from).find((line) => pattern.test(line)),
      `${pattern} in ${this.lines.slice(from).join(" | ")} ${this.error}`);
  }

  async end(signal = "SIGTERM") {
    this.process.kill(signal);
    await this.ended;
  }
}

export class Stage {
  constructor(name) {
    this.name = name;
  }

  rig(...words) {
    return new Program("rig/solvane-rig.exe", words);
  }

  host(...words) {
    return new Program("bin/solvane.exe", words, { SOLVANE_RIG: `bench:${this.name}` });
  }

  /** The host that makes 10,000 edges a second, for some seconds. */
  edgesHost(seconds) {
    return new Program("tests/page/edges_host.exe", [String(seconds)], { SOLVANE_RIG: `bench:${this.name}` });
  }

  /** A command of the bench; returns what it prints. */
  async command(name, ...words) {
    let program = this.rig(name, "--bench", this.name, ...words);
    let code = await program.ended;
    if (code === 1 && program.text + program.error === "") { // killed by Wine, which it does to a few: no command fails without a word
      program = this.rig(name, "--bench", this.name, ...words);
      code = await program.ended;
    }
    if (code !== 0) {
      throw new Error(`${name} ${words.join(" ")}: ${code} ${program.text} ${program.error}`);
    }
    return program.text;
  }

  async startBench(...words) {
    this.bench = this.rig("bench", "--name", this.name, "--quiet", ...words);
    await this.bench.line(/ runs\./);
  }

  async stopBench() {
    await this.command("stop");
    await this.bench.ended;
  }

  async startPanel() {
    this.panel = this.rig("panel", "--bench", this.name, "--no-browser");
    this.address = await this.panel.line(/^http:\/\/127\.0\.0\.1:\d+\/\w+\/$/);
  }

  async startBrowser() {
    // A root user has no sandbox, and there is no graphics card.
    this.browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox", "--disable-gpu"], timeout: PATIENCE_MS });
  }

  /** A page on the panel, which shows the bench's state. */
  async open(options = {}) {
    const context = await this.browser.newContext({ viewport: { width: 1366, height: 768 }, acceptDownloads: true, ...options });
    return this.openIn(context);
  }

  async openIn(context) {
    const page = await context.newPage();
    page.setDefaultTimeout(PATIENCE_MS);
    page.faults = [];
    page.on("pageerror", (error) => page.faults.push(error.stack));
    page.on("console", (message) => message.type() === "error" && page.faults.push(message.text()));
    await page.goto(this.address);
    await page.waitForFunction(() => performance.getEntriesByName("panel-shown").length > 0);
    return page;
  }

  async close() {
    await this.browser?.close();
    if (this.bench?.process.exitCode === null) {
      await this.stopBench();
    }
    await this.panel?.end();
  }
}

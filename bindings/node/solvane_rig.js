// The rig, virtual hardware for tests of hosts in Node.js, through koffi (npm install koffi@3).
//
//   const solvane = require('./solvane');
//   const { Rig, Line } = require('./solvane_rig');
//   const rig = new Rig("[[usb]]\nchip = 'FT2232H'\n");
//   const since = rig.mark();
//   solvane.triggerCapture();
//   await rig.expectPulse(Line.TRIGGER, 9, 13, { since });
//
// Each method does the same as its namesake in solvane/rig.h (captures is rig_captures), and what rig.h
// says about levels, times and threads holds here too. What rig.h answers with -1 is thrown as a RigError.
// The hardware is in this process, or with SOLVANE_RIG=bench that of all hosts on a bench.
//
// solvane_rig.dll is looked for by Windows' usual search, where one that is loaded already comes first, and
// in the folder of this file. The environment variable SOLVANE_RIG_DLL names another file.
'use strict';

const fs = require('fs');
const path = require('path');
const { setTimeout: sleep } = require('timers/promises');
const koffi = require('koffi');

// Thrown when the rig refuses something; the message says why.
class RigError extends Error {
  constructor(message) {
    super(message);
    this.name = 'RigError';
  }
}

// The lines of the camera. A level of 1 means active, whatever polarity a chip's pin has.
const Line = Object.freeze({
  TRIGGER: 0,
  READY: 1,
  MEP: 2,
  CLEAR_MEP: 3,
  DARK: 4,
  CAMERA_POWER: 5,
  ACCESSORIES_POWER: 6,
});
const nameOf = (line) => {
  const name = Object.keys(Line).find((each) => Line[each] === line);
  if (!name) {
    throw new RigError(`${line} is no line`);
  }
  return name.toLowerCase();
};

// ---- The C interface, as far as it is used: the journal is read as JSON -----------------------------

const Fault = koffi.struct('rig_fault', {
  function: 'const char *',
  call: 'uint32_t',
  times: 'uint32_t',
  kind: 'uint32_t',
  status: 'uint32_t',
  count: 'uint32_t',
});
const FaultKind = Object.freeze({ STATUS: 1, COUNT: 2, SILENT: 4 });

const SIGNATURES = { // the result, then the parameters
  rig_load: ['int', ['const char *']],
  rig_load_file: ['int', ['const char *']],
  rig_error: ['const char *', []],
  rig_scenario: ['const char *', []],
  rig_level: ['int', ['int']],
  rig_force: ['int', ['int', 'int']],
  rig_captures: ['uint32_t', []],
  rig_unplug: ['int', ['unsigned int']],
  rig_plug: ['int', ['unsigned int']],
  rig_wbem_interfaces: ['int', []],
  rig_add_fault: ['int', ['const rig_fault *']],
  rig_clear_faults: ['void', []],
  rig_calls: ['uint32_t', ['const char *']],
  rig_journal_clear: ['void', []],
  rig_note: ['void', ['const char *']],
  rig_command: ['int', ['const char *', 'int', '_Out_ const char **']],
  rig_time: ['uint64_t', []],
  rig_write_vcd: ['int', ['const char *']],
};

const open = () => {
  const given = process.env.SOLVANE_RIG_DLL;
  const beside = path.join(__dirname, 'solvane_rig.dll');
  try {
    return koffi.load(given || 'solvane_rig.dll');
  } catch (error) {
    if (given || !fs.existsSync(beside)) {
      throw error;
    }
    return koffi.load(beside);
  }
};
const library = open();
const native = Object.fromEntries(Object.entries(SIGNATURES).map(
  ([name, [result, parameters]]) => [name, library.func(name, result, parameters)]));

const check = (result, refusal) => {
  if (result !== 0) {
    throw new RigError(refusal);
  }
};

// ---- The rig ------------------------------------------------------------------------------------

// The rig of this process, or the bench that SOLVANE_RIG names. All objects are the same rig.
class Rig {
  // Leaves the rig as it is, or loads the text of a scenario.
  constructor(scenario) {
    if (scenario !== undefined) {
      this.load(scenario);
    }
  }

  // Replaces the hardware by that of a scenario's text; without one: one FT2232H and one camera.
  load(scenario = null) {
    if (native.rig_load(scenario) !== 0) {
      throw new RigError(this.error());
    }
  }

  // The same from a file.
  loadFile(file) {
    if (native.rig_load_file(file) !== 0) {
      throw new RigError(this.error());
    }
  }

  // What was wrong with the last scenario; empty after a good one.
  error() {
    return native.rig_error();
  }

  // The name of the scenario's file, or "default", "given as text" or "none".
  scenario() {
    return native.rig_scenario();
  }

  level(line) {
    return native.rig_level(line);
  }

  // Holds READY or MEP at a level, until release().
  force(line, level) {
    check(native.rig_force(line, level), `${nameOf(line)} cannot be forced: ready and mep can`);
  }

  release(line) {
    this.force(line, -1);
  }

  // How many captures the camera has made.
  captures() {
    return native.rig_captures();
  }

  // Pulls the plug of a USB chip, counted from 0 in the order of the scenario.
  unplug(chip = 0) {
    check(native.rig_unplug(chip), `there is no chip ${chip}`);
  }

  // Puts the plug back.
  plug(chip = 0) {
    check(native.rig_plug(chip), `there is no chip ${chip}`);
  }

  // How many references to interfaces of the rig's WMI the host holds.
  wbemInterfaces() {
    return native.rig_wbem_interfaces();
  }

  // Has calls of a vendor function ("*": of any) fail: they return `status`, move or report `count`, or do
  // nothing silently. It begins with the next call, or with `call`, counted from 1 since the scenario
  // began. `times` calls in a row fail; 0: every one from then on.
  addFault(func, { status, count, silent = false, call, times = 1 }) {
    const kind = (status === undefined ? 0 : FaultKind.STATUS) | (count === undefined ? 0 : FaultKind.COUNT) |
      (silent ? FaultKind.SILENT : 0);
    check(native.rig_add_fault({
      function: func, call: call ?? this.calls(func) + 1, times, kind, status: status ?? 0, count: count ?? 0,
    }), `no fault of ${func}: it needs a vendor function, a call from 1 on, and a status, a count, both, ` +
      'or silence');
  }

  // Lifts every fault, those of the scenario too.
  clearFaults() {
    native.rig_clear_faults();
  }

  // How often a vendor function was called since the scenario began, or any.
  calls(func = '*') {
    return native.rig_calls(func);
  }

  // The answer to a command that must succeed.
  #ask(words) {
    const { exitCode, answer } = this.command(words, { json: true });
    check(exitCode, answer?.error ?? 'the rig has no answer');
    return answer;
  }

  // What happened, from the entry on that mark() returned: [{ timeMs, kind: 'edge', text: 'trigger 1' }].
  journal(since = 0) {
    return this.#ask(`journal --since ${since}`).entries.map((entry) => (
      { timeMs: entry.time_ms, kind: entry.kind, text: entry.text }));
  }

  clearJournal() {
    native.rig_journal_clear();
  }

  // The number of the next entry: for journal(), waitEdge() and expectPulse().
  mark() {
    return this.#ask(`journal --since ${2n ** 64n - 1n}`).next;
  }

  // Writes a line of the host's own into the journal.
  note(text) {
    native.rig_note(text);
  }

  // Does a command of solvane-rig: "set exposure_ms 80", "levels", "help". The answer is text, or with
  // `json` what its JSON says. A command that waits blocks the event loop: use the two functions below.
  command(words, { json = false } = {}) {
    const answer = [null];
    const exitCode = native.rig_command(words, json ? 1 : 0, answer);
    return { exitCode, answer: json ? JSON.parse(answer[0] || 'null') : answer[0] };
  }

  // Resolves at the next such edge, or that since a mark(); rejects with a RigError when none comes.
  waitEdge(line, level, { withinMs = 5000, since = this.mark() } = {}) {
    return this.#wait(`wait-edge "${nameOf(line)} ${level}"`, withinMs, since);
  }

  // Resolves at the next pulse, or that since a mark(); rejects with a RigError for one of another width.
  expectPulse(line, fromMs, toMs, { withinMs = 5000, since = this.mark() } = {}) {
    return this.#wait(`expect-pulse ${nameOf(line)} ${fromMs}..${toMs}`, withinMs, since);
  }

  // By looking again and again, so that the event loop goes on and the process can end at any time.
  async #wait(words, withinMs, since) {
    const end = performance.now() + withinMs;
    for (;;) {
      const isOver = performance.now() >= end;
      const { exitCode, answer } = this.command(`${words} --within 0 --since ${since}`, { json: true });
      if (exitCode === 0) {
        return answer;
      }
      const isFinal = exitCode !== 1 || !answer || answer.width_ms !== undefined;
      if (isOver || isFinal) {
        const error = answer?.error ?? 'the rig has no answer';
        throw new RigError(error.replace(/within 0 ms$/, `within ${withinMs} ms`));
      }
      await sleep(2);
    }
  }

  // The rig's time now: nanoseconds since the scenario was loaded, as a BigInt.
  timeNs() {
    return BigInt(native.rig_time());
  }

  // Writes the lines to a VCD file, until writeVcd(null).
  writeVcd(file) {
    check(native.rig_write_vcd(file), `${file} cannot be written`);
  }
}

module.exports = { Rig, RigError, Line };

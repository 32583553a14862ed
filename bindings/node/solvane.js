// Solvane.dll for Node.js on 64-bit Windows, through koffi (npm install koffi@3).
//
//   const solvane = require('./solvane');
//   if (solvane.checkSystemReady()) solvane.triggerCapture();
//
// Each function does the same as its namesake in solvane.h (triggerCapture is Solvane_TriggerCapture),
// and what solvane.h says about lines, times and threads holds here too. In short:
//
// - A status other than 0 is thrown as a SolvaneError; questions return true or false.
// - Every call but Timer.run blocks the event loop until it returns: a program that has other things to do
//   calls from a worker thread. One thread at a time, except for timers.
// - An exception in a timer's callback ends the run, and is that of the promise. In a log callback it is
//   dropped.
//
// Solvane.dll is loaded from the folder of this file, or else by Windows' usual search, which includes
// PATH. The environment variable SOLVANE_DLL names another file.
'use strict';

const fs = require('fs');
const path = require('path');
const { Worker, isMainThread, parentPort, workerData } = require('worker_threads');
const koffi = require('koffi');

// ---- Statuses -----------------------------------------------------------------------------------

const Status = Object.freeze({
  OK: 0,
  UNDETERMINED: -1,
  WRITE: -2,
  NO_HARDWARE: -3,
  INVALID: -4,
  NOT_READY: -5,
});

const MEANINGS = {
  [Status.UNDETERMINED]: 'the state asked for could not be determined, or a timer failed',
  [Status.WRITE]: 'a line could not be written, or the serial channel not be reset',
  [Status.NO_HARDWARE]: 'the hardware was not found, or could not be opened and configured',
  [Status.INVALID]: 'a null pointer, or a timer that is not there or not running',
  [Status.NOT_READY]: 'the system is not ready',
};

// Thrown for a status other than 0; `func` is the function that returned it.
class SolvaneError extends Error {
  constructor(func, status) {
    const meaning = MEANINGS[status] || 'a status that this module does not know';
    super(`${func}: status ${status}: ${meaning}`);
    this.name = 'SolvaneError';
    this.func = func;
    this.status = status;
  }
}

// ---- The C interface, as it is ------------------------------------------------------------------

const TimerEvent = koffi.struct('SolvaneTimerEvent', {
  status: 'int16_t',
  initialStatusOk: 'uint16_t',
  data0: 'uint16_t',
  data1: 'uint16_t',
  data2: 'uint16_t',
  data3: 'uint16_t',
});
koffi.proto('void SolvaneLogCallback(void *context, const char *line)');
koffi.proto('void SolvaneTimerCallback(uint64_t userContext, const SolvaneTimerEvent *event)');

const COMMAND = ['int16_t', []];
const QUESTION = ['int16_t', ['_Out_ int16_t *']];
const SIGNATURES = { // the result, then the parameters
  Solvane_SetLogger: ['void', ['void *', 'SolvaneLogCallback *']],
  Solvane_CheckAvailable: COMMAND,
  Solvane_CheckPowerControlAvailable: COMMAND,
  Solvane_RecheckStatus: COMMAND,
  Solvane_EnforceFTDI: ['void', []],
  Solvane_TriggerCapture: COMMAND,
  Solvane_CheckSystemReady: QUESTION,
  Solvane_CheckAndResetMepFlag: QUESTION,
  Solvane_WakeCamera: COMMAND,
  Solvane_EnableForcedBlackUpdate: COMMAND,
  Solvane_DisableForcedBlackUpdate: COMMAND,
  Solvane_CheckForcedBlackUpdate: QUESTION,
  Solvane_EnableCameraPower: COMMAND,
  Solvane_DisableCameraPower: COMMAND,
  Solvane_CheckCameraPower: QUESTION,
  Solvane_EnableAccessoriesPower: COMMAND,
  Solvane_DisableAccessoriesPower: COMMAND,
  Solvane_CheckAccessoriesPower: QUESTION,
  Solvane_CloseDevice: COMMAND,
  Solvane_ResetComPort: COMMAND,
  Solvane_CreateTimer: ['int16_t', ['_Out_ uint64_t *', 'uint64_t']],
  Solvane_RunTimer: ['int16_t', ['uint64_t', 'uint32_t', 'SolvaneTimerCallback *']],
  Solvane_StopTimer: ['int16_t', ['uint64_t']],
  Solvane_DisposeTimer: ['int16_t', ['uint64_t']],
};

const load = () => {
  const beside = path.join(__dirname, 'Solvane.dll');
  const library = koffi.load(
    process.env.SOLVANE_DLL || (fs.existsSync(beside) ? beside : 'Solvane.dll'));
  return Object.fromEntries(Object.entries(SIGNATURES).map(
    ([name, [result, parameters]]) => [name, library.func(name, result, parameters)]));
};
const native = load();

const check = (name, status) => {
  if (status !== Status.OK) {
    throw new SolvaneError(name, status);
  }
};
const command = (name) => () => check(name, native[name]());
const question = (name) => () => {
  const answer = [0];
  check(name, native[name](answer));
  return answer[0] !== 0;
};

// ---- Logging ------------------------------------------------------------------------------------

let logCallback = null; // kept registered for as long as the library may call it

// Passes each log line to `onLine`; null ends that. Call it before the first other call, to see how
// the hardware was chosen. Rule 7 of solvane.h says what `onLine` may call in the library.
const setLogger = (onLine) => {
  const callback = onLine && koffi.register((context, line) => {
    try {
      onLine(line);
    } catch {
      // A line may be in mid-pulse: a failed log must not disturb it.
    }
  }, 'SolvaneLogCallback *');
  native.Solvane_SetLogger(null, callback);
  if (logCallback) {
    koffi.unregister(logCallback);
  }
  logCallback = callback;
};

// ---- Timers -------------------------------------------------------------------------------------

// A run has a thread of its own: this file, once more. It needs nobody else, so that it can always be stopped.
const PHASE = 0; // of a run, as both threads see it; from NOT_BEGUN on to OVER
const STOPPED = 1;
const NOT_BEGUN = 0;
const RUNNING = 1;
const OVER = 2;
const { solvaneRun } = workerData ?? {};
if (solvaneRun) {
  const { handle, parameter, shared } = solvaneRun;
  let status = Status.OK;
  if (Atomics.compareExchange(shared, PHASE, NOT_BEGUN, RUNNING) === NOT_BEGUN) {
    status = native.Solvane_RunTimer(handle, parameter, (userContext, event) => {
      if (Atomics.load(shared, STOPPED)) {
        native.Solvane_StopTimer(handle); // the first stop came too early and was lost
      } else {
        parentPort.postMessage(koffi.decode(event, TimerEvent));
      }
    });
    Atomics.store(shared, PHASE, OVER);
  }
  parentPort.postMessage(status);
}

const runs = new Set(); // those in progress, as their threads get them

const stopRun = ({ handle, shared }) => {
  Atomics.store(shared, STOPPED, 1);
  if (Atomics.compareExchange(shared, PHASE, NOT_BEGUN, OVER) === RUNNING) {
    native.Solvane_StopTimer(handle);
  }
};

// A timer of the kernel driver. The library loses a stop that comes just before a run has begun; this
// class remembers it. Call dispose() in a `finally`.
class Timer {
  #handle = 0n;
  #run = null; // the one in progress
  #stopped = false;

  // Opens the driver; Status.UNDETERMINED on failure, with the reason in the log. In the main thread only:
  // a worker that is ended cannot stop its runs.
  constructor() {
    if (!isMainThread) {
      throw new Error('Timers belong to the main thread, whose event loop goes on during a run.');
    }
    const handle = [0n];
    check('Solvane_CreateTimer', native.Solvane_CreateTimer(handle, 0n));
    this.#handle = handle[0];
  }

  // Calls onEvent for each event, from the event loop, until stop() or an exception out of onEvent. The
  // promise is settled when the run has ended.
  async run(parameter, onEvent) {
    if (this.#run || !this.#handle) {
      throw new SolvaneError('Solvane_RunTimer', Status.INVALID);
    }
    if (this.#stopped) {
      this.#stopped = false;
      return;
    }
    const run = { handle: this.#handle, parameter, shared: new Int32Array(new SharedArrayBuffer(8)) };
    this.#run = run;
    runs.add(run);
    let status = null;
    let thrown = null;
    const onMessage = (message) => {
      if (typeof message === 'number') {
        status = message;
      } else if (!run.shared[STOPPED]) {
        try {
          onEvent(message);
        } catch (exception) {
          thrown = { exception };
          this.stop();
        }
      }
    };
    try {
      await new Promise((resolve, reject) => {
        new Worker(__filename, { workerData: { solvaneRun: run } })
          .on('message', onMessage).on('error', reject).on('exit', resolve);
      });
    } finally {
      runs.delete(run);
      this.#run = null;
      this.#stopped = false;
    }
    if (thrown) {
      throw thrown.exception;
    }
    check('Solvane_RunTimer', status);
  }

  // Ends the run in progress, at the driver's next event; if there is none, the next run ends at once.
  // onEvent is not called any more.
  stop() {
    this.#stopped = true;
    if (this.#run) {
      stopRun(this.#run);
    }
  }

  dispose() {
    if (this.#run) {
      throw new Error('A timer cannot be disposed of during its run: stop it, and await the run.');
    }
    if (this.#handle) {
      native.Solvane_DisposeTimer(this.#handle);
      this.#handle = 0n;
    }
  }
}

// ---- The end of the process ---------------------------------------------------------------------

process.on('exit', () => {
  // Node.js ends the JavaScript of other threads, but waits for the library in them: until the driver's next
  // event, after a stop that was not lost.
  const end = performance.now() + 1000;
  for (const run of runs) {
    stopRun(run);
    while (Atomics.wait(run.shared, PHASE, RUNNING, 5) === 'timed-out' && performance.now() < end) {
      stopRun(run);
    }
  }
  // The library also logs when it is unloaded, and JavaScript can no longer be called by then.
  if (logCallback) {
    setLogger(null);
  }
});

// One by one: so ES modules can import each by its name.
exports.Status = Status;
exports.SolvaneError = SolvaneError;
exports.Timer = Timer;
exports.native = native;
exports.setLogger = setLogger;

// Finding the hardware. The first two throw when it is not there.
exports.checkAvailable = command('Solvane_CheckAvailable');
exports.checkPowerControlAvailable = command('Solvane_CheckPowerControlAvailable');
exports.recheckStatus = command('Solvane_RecheckStatus');
exports.enforceFTDI = () => native.Solvane_EnforceFTDI();

// Capture.
exports.triggerCapture = command('Solvane_TriggerCapture');
exports.checkSystemReady = question('Solvane_CheckSystemReady');
exports.checkAndResetMepFlag = question('Solvane_CheckAndResetMepFlag');
exports.wakeCamera = command('Solvane_WakeCamera');

// Forced black update (dark).
exports.enableForcedBlackUpdate = command('Solvane_EnableForcedBlackUpdate');
exports.disableForcedBlackUpdate = command('Solvane_DisableForcedBlackUpdate');
exports.checkForcedBlackUpdate = question('Solvane_CheckForcedBlackUpdate');

// Power. The answer for a line that cannot be read: see rule 6 of solvane.h.
exports.enableCameraPower = command('Solvane_EnableCameraPower');
exports.disableCameraPower = command('Solvane_DisableCameraPower');
exports.checkCameraPower = question('Solvane_CheckCameraPower');
exports.enableAccessoriesPower = command('Solvane_EnableAccessoriesPower');
exports.disableAccessoriesPower = command('Solvane_DisableAccessoriesPower');
exports.checkAccessoriesPower = question('Solvane_CheckAccessoriesPower');

// The device itself.
exports.closeDevice = command('Solvane_CloseDevice');
exports.resetComPort = command('Solvane_ResetComPort');

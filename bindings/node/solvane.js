// Solvane.dll for Node.js on 64-bit Windows, through koffi (npm install koffi).
//
//   const solvane = require('./solvane');
//   if (solvane.checkSystemReady()) solvane.triggerCapture();
//
// Each function does the same as its namesake in solvane.h (triggerCapture is Solvane_TriggerCapture),
// and what solvane.h says about lines, times and threads holds here too. In short:
//
// - A status other than 0 is thrown as a SolvaneError; questions return true or false.
// - Every call blocks the event loop until it returns: use a worker thread for a timer in a program
//   that has other things to do. One thread at a time, except for timers.
// - An exception in a timer's callback ends the run, and Timer.run rethrows it. In a log callback it is
//   dropped.
//
// Solvane.dll is loaded from the folder of this file, or else by Windows' usual search, which includes
// PATH. The environment variable SOLVANE_DLL names another file.
'use strict';

const fs = require('fs');
const path = require('path');
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

// The library also logs when it is unloaded, and JavaScript can no longer be called by then.
process.on('exit', () => setLogger(null));

// ---- Timers -------------------------------------------------------------------------------------

// A timer of the kernel driver. The library loses a stop that comes just before a run has begun; this
// class remembers it. Call dispose() in a `finally`.
class Timer {
  #handle = 0n;
  #running = false;
  #stopped = false;

  // Opens the driver; Status.UNDETERMINED on failure, with the reason in the log.
  constructor() {
    const handle = [0];
    check('Solvane_CreateTimer', native.Solvane_CreateTimer(handle, 0));
    this.#handle = handle[0];
  }

  // Blocks, and calls onEvent for each event, until stop() or an exception out of onEvent, which run()
  // rethrows.
  run(parameter, onEvent) {
    if (this.#running || !this.#handle) {
      throw new SolvaneError('Solvane_RunTimer', Status.INVALID);
    }
    if (this.#stopped) {
      this.#stopped = false;
      return;
    }
    let thrown = null;
    this.#running = true;
    const status = native.Solvane_RunTimer(this.#handle, parameter, (userContext, event) => {
      try {
        onEvent(koffi.decode(event, TimerEvent));
      } catch (exception) {
        thrown = { exception };
        this.stop();
      }
    });
    this.#running = false;
    this.#stopped = false;
    if (thrown) {
      throw thrown.exception;
    }
    check('Solvane_RunTimer', status);
  }

  // Ends the run in progress when onEvent returns; if there is none, the next run ends at once.
  stop() {
    this.#stopped = true;
    if (this.#running) {
      native.Solvane_StopTimer(this.#handle);
    }
  }

  dispose() {
    if (this.#running) {
      throw new Error('A timer cannot be disposed of by its own function: stop it.');
    }
    if (this.#handle) {
      native.Solvane_DisposeTimer(this.#handle);
      this.#handle = 0n;
    }
  }
}

module.exports = {
  Status,
  SolvaneError,
  Timer,
  native,
  setLogger,

  // Finding the hardware. The first two throw when it is not there.
  checkAvailable: command('Solvane_CheckAvailable'),
  checkPowerControlAvailable: command('Solvane_CheckPowerControlAvailable'),
  recheckStatus: command('Solvane_RecheckStatus'),
  enforceFTDI: () => native.Solvane_EnforceFTDI(),

  // Capture.
  triggerCapture: command('Solvane_TriggerCapture'),
  checkSystemReady: question('Solvane_CheckSystemReady'),
  checkAndResetMepFlag: question('Solvane_CheckAndResetMepFlag'),
  wakeCamera: command('Solvane_WakeCamera'),

  // Forced black update (dark).
  enableForcedBlackUpdate: command('Solvane_EnableForcedBlackUpdate'),
  disableForcedBlackUpdate: command('Solvane_DisableForcedBlackUpdate'),
  checkForcedBlackUpdate: question('Solvane_CheckForcedBlackUpdate'),

  // Power. The answer for a line that cannot be read: see rule 6 of solvane.h.
  enableCameraPower: command('Solvane_EnableCameraPower'),
  disableCameraPower: command('Solvane_DisableCameraPower'),
  checkCameraPower: question('Solvane_CheckCameraPower'),
  enableAccessoriesPower: command('Solvane_EnableAccessoriesPower'),
  disableAccessoriesPower: command('Solvane_DisableAccessoriesPower'),
  checkAccessoriesPower: question('Solvane_CheckAccessoriesPower'),

  // The device itself.
  closeDevice: command('Solvane_CloseDevice'),
  resetComPort: command('Solvane_ResetComPort'),
};

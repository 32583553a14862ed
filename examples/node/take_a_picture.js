// Takes one picture and makes sure of it, while the event loop goes on. The exit code is 0 if the MEP flag
// has confirmed it, 1 if the camera was not triggered, 2 if it was, or may have been, and nothing confirms
// it.
'use strict';

const { Worker, isMainThread, parentPort } = require('worker_threads');

const TAKEN = 0;
const NOT_TRIGGERED = 1;
const UNCONFIRMED = 2;

// What the camera of this installation needs; the library knows nothing of it.
const READY_MS = 2000; // from one picture until it is ready again, at the longest
const MEP_MS = 1000; // from the trigger until the MEP flag, at the longest
const POLL_MS = 5; // between two questions

// The camera's thread makes every call of the library, one after the other: calls block.
const beTheCamera = () => {
  const solvane = require('../../bindings/node/solvane');

  const sleep = (ms) => Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, ms);

  // Asks until the answer is yes, or time is up. By the clock: a question can take some seconds.
  const waitForYes = (ask, ms) => {
    const begin = performance.now();
    while (!ask()) {
      if (performance.now() - begin >= ms) {
        return false;
      }
      sleep(POLL_MS);
    }
    return true;
  };

  const isReady = () => waitForYes(solvane.checkSystemReady, READY_MS);

  // Asking clears the flag, so the second answer is no, unless nothing can clear it.
  const flagGoesDown = () => !(solvane.checkAndResetMepFlag() && solvane.checkAndResetMepFlag());

  // Ports whose driver has died can read as a flag too, as one that stays.
  const flagConfirms = () => waitForYes(solvane.checkAndResetMepFlag, MEP_MS) && flagGoesDown();

  const statusOf = (call) => {
    try {
      call();
    } catch (error) {
      return error.status;
    }
    return solvane.Status.OK;
  };

  // What cannot be found out does not hold.
  const holds = (condition) => {
    let answer = false;
    return statusOf(() => { answer = condition(); }) === solvane.Status.OK && answer;
  };

  const end = (outcome, what, ask) => (
    { outcome, complaint: `${what}; the hardware answers with status ${statusOf(ask)}` });

  const takeAPicture = () => {
    if (!holds(isReady)) {
      return end(NOT_TRIGGERED, 'not ready', solvane.checkAvailable);
    }
    if (!holds(flagGoesDown)) { // a flag that is up already would pass for this picture's
      return end(NOT_TRIGGERED, 'the MEP flag cannot be taken down', solvane.checkAvailable);
    }

    let status = statusOf(solvane.triggerCapture);
    if (status === solvane.Status.NOT_READY || status === solvane.Status.NO_HARDWARE) {
      return end(NOT_TRIGGERED, 'not ready any more', solvane.checkAvailable);
    }
    if (status !== solvane.Status.OK) {
      // The trigger may have been given, and its line may still be high: put it to rest.
      status = statusOf(solvane.recheckStatus);
    }

    if (status !== solvane.Status.OK || !holds(flagConfirms)) {
      return end(UNCONFIRMED, 'triggered, but not confirmed', solvane.recheckStatus);
    }
    return { outcome: TAKEN };
  };

  parentPort.postMessage(takeAPicture());
};

const beTheUserInterface = () => {
  let drawn = 1;
  const drawing = setInterval(() => { drawn += 1; }, 20);
  const camera = new Worker(__filename);
  camera.on('message', ({ outcome, complaint }) => {
    clearInterval(drawing);
    if (complaint) {
      console.error(complaint);
    } else {
      console.log('taken');
    }
    console.error(`drawn ${drawn} times meanwhile`);
    process.exitCode = outcome;
  });
};

if (isMainThread) {
  beTheUserInterface();
} else {
  beTheCamera();
}

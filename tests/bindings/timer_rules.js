// What solvane.js promises of timers and log functions, beyond the C interface.
'use strict';

const fs = require('fs');
const { Worker, isMainThread } = require('worker_threads');
const solvane = require('../../bindings/node/solvane');

const PERIOD = 2000;

// Synchronously: the process may end at once.
const print = (text) => fs.writeSync(1, `${text}\n`);

const statusOf = async (call) => {
  try {
    await call();
    return solvane.Status.OK;
  } catch (error) {
    return error.status;
  }
};

const rules = async () => {
  const seen = [];
  const timer = new solvane.Timer();
  const three = (event) => {
    seen.push(event);
    if (seen.length === 3) {
      timer.stop();
    }
  };
  timer.stop();
  await timer.run(PERIOD, three);
  print(`stopped before the run: ${seen.length} events`);
  await timer.run(PERIOD, three);
  print(`run again: ${seen.length} events, data0 ${seen.map((event) => event.data0).join(' ')}, ` +
    `initial status ${seen[0].initialStatusOk}`);
  try {
    await timer.run(PERIOD, (event) => {
      if (event.data0 === 2) {
        throw new RangeError('out of event 2');
      }
    });
  } catch (error) {
    print(`exception: ${error.message}`);
  }
  let inside = null;
  await timer.run(PERIOD, () => {
    try {
      timer.dispose();
    } catch {
      print('disposed of in its own function: refused');
    }
    inside = statusOf(() => timer.run(PERIOD, three));
    timer.stop();
  });
  print(`run inside the run: status ${await inside}`);
  timer.dispose();
  print(`run after disposal: status ${await statusOf(() => timer.run(PERIOD, three))}`);

  let called = false;
  solvane.setLogger((line) => {
    called = true;
    throw new RangeError(line);
  });
  await statusOf(solvane.checkAvailable);
  print(`log function that throws: ${called ? 'called' : 'not called'}`);
};

// All must go on while a timer runs: the event loop, and another timer.
const sideBySide = async () => {
  const timers = [new solvane.Timer(), new solvane.Timer()];
  const counts = [0, 0];
  let turns = 0;
  const turning = setInterval(() => {
    turns += 1;
    if (turns > 3 && counts.every((count) => count > 3)) {
      timers.forEach((timer) => timer.stop());
    }
  }, 1);
  await Promise.all(timers.map((timer, i) => timer.run(PERIOD, () => { counts[i] += 1; })));
  clearInterval(turning);
  timers.forEach((timer) => timer.dispose());
  print('both ran beside the event loop');
};

// The process ends while a timer runs.
const endBesideARun = () => {
  const timer = new solvane.Timer();
  solvane.setLogger(() => {});
  timer.run(PERIOD, () => {});
  setTimeout(() => process.exit(3), 50);
};
const endAtOnce = () => {
  new solvane.Timer().run(PERIOD, () => {});
  process.exit(4);
};
const endInTheFunction = () => new solvane.Timer().run(PERIOD, () => process.exit(5));
const endByAnException = () => {
  new solvane.Timer().run(PERIOD, () => {});
  setTimeout(() => { throw new RangeError('nobody catches this'); }, 50);
};
const endInTheLog = () => {
  solvane.setLogger(() => process.exit(6));
  solvane.checkAvailable();
};

const inAWorker = () => {
  if (isMainThread) {
    new Worker(__filename, { argv: ['worker'] });
    return;
  }
  try {
    new solvane.Timer();
  } catch (error) {
    print(error.message);
  }
};

const modes = {
  'side-by-side': sideBySide,
  'end-beside': endBesideARun,
  'end-at-once': endAtOnce,
  'end-inside': endInTheFunction,
  'end-exception': endByAnException,
  'end-log': endInTheLog,
  worker: inAWorker,
};
(modes[process.argv[2]] ?? rules)();

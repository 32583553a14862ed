// What solvane.js promises of timers and log functions, beyond the C interface.
'use strict';

const solvane = require('../../bindings/node/solvane');

const PERIOD = 2000;

const statusOf = (call) => {
  try {
    call();
    return solvane.Status.OK;
  } catch (error) {
    return error.status;
  }
};

const seen = [];
const timer = new solvane.Timer();
const three = (event) => {
  seen.push(event);
  if (seen.length === 3) {
    timer.stop();
  }
};
timer.stop();
timer.run(PERIOD, three);
console.log(`stopped before the run: ${seen.length} events`);
timer.run(PERIOD, three);
console.log(`run again: ${seen.length} events, data0 ${seen.map((event) => event.data0).join(' ')}, ` +
  `initial status ${seen[0].initialStatusOk}`);
try {
  timer.run(PERIOD, (event) => {
    if (event.data0 === 2) {
      throw new RangeError('out of event 2');
    }
  });
} catch (error) {
  console.log(`exception: ${error.message}`);
}
timer.run(PERIOD, () => {
  try {
    timer.dispose();
  } catch {
    console.log('disposed of in its own function: refused');
  }
  console.log(`run inside the run: status ${statusOf(() => timer.run(PERIOD, three))}`);
  timer.stop();
});
timer.dispose();
console.log(`run after disposal: status ${statusOf(() => timer.run(PERIOD, three))}`);

let called = false;
solvane.setLogger((line) => {
  called = true;
  throw new RangeError(line);
});
statusOf(solvane.checkAvailable);
console.log(`log function that throws: ${called ? 'called' : 'not called'}`);

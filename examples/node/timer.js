// Runs a timer of the driver's until ten events have come, and prints how each trigger went.
'use strict';

const solvane = require('../../bindings/node/solvane');

const parameter = 20000; // the rig's driver takes it for microseconds

const main = async () => {
  const timer = new solvane.Timer(); // throws when the driver is not installed; the log says why
  try {
    let events = 0;
    await timer.run(parameter, (event) => { // until the stop; the event loop goes on
      events += 1;
      console.log(`event ${events}: status ${event.status}`);
      if (events === 10) {
        timer.stop(); // the run ends with the driver's next event
      }
    });
  } finally {
    timer.dispose(); // never before the run has returned
  }
};

solvane.setLogger((line) => console.error(line));
main().catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});

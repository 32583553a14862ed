// Triggers one capture, if the system is ready for it.
'use strict';

const solvane = require('../../bindings/node/solvane');

try {
  // One call does it all: it finds the hardware, asks whether the system is ready, clears a latched MEP
  // flag, gives the pulse, and returns when the trigger line is low again.
  solvane.triggerCapture();
  console.log('triggered'); // the MEP flag tells whether a picture was taken
} catch (error) {
  console.error(error.status === solvane.Status.NOT_READY
    ? 'not ready: try again later' // and no line was touched
    : error.message);
  process.exitCode = 1;
}

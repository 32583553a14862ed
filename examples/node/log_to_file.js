// Writes the library's log of how it finds the hardware to a file: log_to_file [solvane.log]
'use strict';

const fs = require('fs');
const solvane = require('../../bindings/node/solvane');

const path = process.argv.length > 2 ? process.argv[2] : 'solvane.log';
let lines = 0;
let failure = null;
try {
  const file = fs.openSync(path, 'w');
  // Before the first call: earlier lines are lost. The function is called in the middle of
  // operations, so it returns quickly, and it calls nothing of Solvane's.
  solvane.setLogger((line) => {
    fs.writeSync(file, `${line}\n`);
    lines += 1;
  });
  try {
    solvane.checkAvailable();
  } catch (error) {
    failure = error;
  }
  solvane.setLogger(null); // before the file closes
  fs.closeSync(file);
  console.log(`${lines} lines logged`);
} catch (error) {
  failure = error;
}
if (failure) {
  console.error(failure.message);
  process.exitCode = 1;
}

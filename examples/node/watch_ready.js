// Prints "system ready" and each of its changes: watch_ready [seconds, 10 by default]
'use strict';

const solvane = require('../../bindings/node/solvane');

const seconds = process.argv.length > 2 ? Number(process.argv[2]) : 10;
const end = performance.now() + seconds * 1000;
let before = null; // the first answer is a change

const look = () => {
  const ready = solvane.checkSystemReady();
  if (ready !== before) {
    console.log(ready ? 'ready' : 'not ready');
    before = ready;
  }
};

const watch = setInterval(() => { // the question takes about 2 ms
  try {
    if (performance.now() < end) {
      look();
    } else {
      clearInterval(watch);
    }
  } catch (error) {
    console.error(error.message);
    process.exitCode = 1;
    clearInterval(watch);
  }
}, 20);

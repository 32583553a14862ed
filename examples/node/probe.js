// Finds the hardware and prints the state of every line that can be read.
//
// It asks and switches nothing, but finding the hardware sets trigger and clear-MEP to rest, and on a
// mainboard switches both powers on and dark off.
'use strict';

const solvane = require('../../bindings/node/solvane');

const canSwitchPower = () => {
  try {
    solvane.checkPowerControlAvailable();
    return true;
  } catch (error) {
    return false; // an answer here, not a failure
  }
};

try {
  // The first call looks for the hardware and configures it; later calls use what it found. It
  // throws when there is none.
  solvane.checkAvailable();
  console.log('available: yes');
  console.log(`power control: ${canSwitchPower() ? 'yes' : 'no'}`);

  // Asking for the MEP flag would clear it, so a probe leaves it alone.
  console.log(`ready: ${solvane.checkSystemReady() ? 'yes' : 'no'}`);
  console.log(`dark: ${solvane.checkForcedBlackUpdate() ? 'on' : 'off'}`);
  console.log(`camera power: ${solvane.checkCameraPower() ? 'on' : 'off'}`);
  console.log(`accessories power: ${solvane.checkAccessoriesPower() ? 'on' : 'off'}`);
} catch (error) {
  console.error(error.message); // the function, the status and what it means
  process.exitCode = 1;
}

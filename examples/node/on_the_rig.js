// A host's own test on the rig, which asks what the camera has seen. The exit code is 0 if everything holds.
'use strict';

const assert = require('assert');
const solvane = require('../../bindings/node/solvane');
const { Rig, Line } = require('../../bindings/node/solvane_rig');

const rig = new Rig("[[usb]]\nchip = 'FT2232H'\n");

const test = async () => {
  const since = rig.mark();
  solvane.triggerCapture();
  await rig.expectPulse(Line.TRIGGER, 9, 1000, { since }); // rejects for any other
  console.log('holds  a camera that is ready is triggered');
  assert.strictEqual(rig.captures(), 1);
  assert.strictEqual(rig.level(Line.TRIGGER), 0);
  console.log('holds  it takes one picture');

  rig.force(Line.READY, 0);
  assert.throws(solvane.triggerCapture, { status: solvane.Status.NOT_READY });
  console.log('holds  one that is not ready is left alone');
  assert.strictEqual(rig.captures(), 1);
  console.log('holds  it takes no picture');
};

test().catch((error) => {
  console.error(`FAILS  ${error.message}`);
  process.exitCode = 1;
});

// What solvane_rig.js offers to tests of hosts, each function once.
'use strict';

const fs = require('fs');
const path = require('path');
const { setTimeout: sleep } = require('timers/promises');
const solvane = require('../../bindings/node/solvane');
const { Rig, RigError, Line } = require('../../bindings/node/solvane_rig');

const SCENARIO = "[camera]\nexposure_ms = 30\n[eapi]\n[[usb]]\nchip = 'FT2232H'\n";
const folder = process.argv[2];

// Synchronously: standard output may be a file or a pipe, and the program ends by process.exit().
const print = (...words) => fs.writeSync(1, `${words.join(' ')}\n`);

const refusalOf = async (call) => {
  try {
    await call();
  } catch (error) {
    if (error instanceof RigError) {
      return error.message;
    }
    throw error;
  }
  return 'accepted';
};
const statusOf = (call) => {
  try {
    call();
  } catch (error) {
    return error.status;
  }
  return solvane.Status.OK;
};

const scenarios = async (rig) => {
  print('bad scenario:', await refusalOf(() => rig.load('[camera]\nexposure = 1\n')));
  print('no such file:', await refusalOf(() => rig.loadFile(path.join(folder, 'ä.toml'))) !== 'accepted',
    rig.error() !== '');
  rig.load();
  print('none named:', rig.scenario());
  const file = path.join(folder, 'ö.toml');
  fs.writeFileSync(file, '[lpt]\n');
  rig.loadFile(file);
  print('of a file:', rig.scenario().replaceAll('/', '\\') === file, rig.error().length);
  print('given:', new Rig(SCENARIO).scenario());
};

const lines = async (rig) => {
  solvane.triggerCapture();
  print('captures:', rig.captures(), 'trigger', rig.level(Line.TRIGGER), 'power', rig.level(Line.CAMERA_POWER));
  const since = rig.mark();
  rig.force(Line.READY, 0);
  print('forced:', rig.level(Line.READY), 'status', statusOf(solvane.triggerCapture));
  rig.release(Line.READY);
  print('released:', (await rig.waitEdge(Line.READY, 1, { since })).edge);
  print('forced dark:', await refusalOf(() => rig.force(Line.DARK, 1)));
  rig.unplug();
  rig.plug(0);
  print('no such chip:', await refusalOf(() => rig.unplug(7)));
  print('interfaces:', rig.wbemInterfaces());
};

const faults = async (rig) => {
  const before = rig.calls('EApiGPIOSetLevel');
  const allBefore = rig.calls();
  rig.addFault('EApiGPIOSetLevel', { status: 0xFFFFFFFF });
  print('faulty:', statusOf(solvane.enableForcedBlackUpdate), statusOf(solvane.enableForcedBlackUpdate));
  print('calls:', rig.calls('EApiGPIOSetLevel') - before, rig.calls() - allBefore >= 2);
  rig.addFault('*', { status: 0xFFFFFFFF, times: 0 });
  print('all fail:', statusOf(solvane.disableForcedBlackUpdate));
  rig.clearFaults();
  print('lifted:', statusOf(solvane.disableForcedBlackUpdate));
  print('bad fault:', await refusalOf(() => rig.addFault('EApiGPIOSetLevel', {})));
};

const journal = (rig) => {
  const start = rig.mark();
  rig.note('größer');
  rig.unplug();
  solvane.enableCameraPower();
  rig.plug();
  const entries = rig.journal(start);
  print('noted:', entries.find((entry) => entry.kind === 'note').text);
  print('events:', entries.filter((entry) => entry.kind === 'event').map((entry) => entry.text).join(', '));
  const now = Number(rig.timeNs()) / 1e6;
  print('in order:', entries.every(
    (entry, i) => entry.timeMs >= (i ? entries[i - 1].timeMs : 0) && entry.timeMs <= now));
  rig.clearJournal();
  print('cleared:', rig.journal().length);
};

const commands = async (rig) => {
  const set = rig.command('set exposure_ms 40');
  print('set:', set.exitCode, set.answer);
  print('levels:', rig.command('levels', { json: true }).answer.ready);
  print('unknown:', rig.command('explode').exitCode,
    rig.command('explode', { json: true }).answer.error.slice(0, 21));
  const since = rig.mark();
  solvane.triggerCapture();
  print('pulse:', (await rig.expectPulse(Line.TRIGGER, 9, 5000, { since })).line);
  print('too short:',
    (await refusalOf(() => rig.expectPulse(Line.TRIGGER, 5000, 5000.5, { since }))).split(', not ')[1]);
  print('flag:', (await rig.waitEdge(Line.MEP, 1, { since })).edge);
  print('no edge:', await refusalOf(() => rig.waitEdge(Line.MEP, 1, { withinMs: 20.5 })));
};

const waitsBesideTheEventLoop = async (rig) => {
  let seen = null;
  const waiting = rig.waitEdge(Line.DARK, 1, { withinMs: 20000 }).then((answer) => { seen = answer; });
  await sleep(300);
  print('waiting:', seen ? 1 : 0);
  solvane.enableForcedBlackUpdate();
  await waiting;
  print('seen:', seen.edge);
};

const waveform = async (rig) => {
  const file = path.join(folder, 'lines.vcd');
  rig.writeVcd(file);
  solvane.disableForcedBlackUpdate();
  rig.writeVcd(null);
  print('waveform:', fs.readFileSync(file, 'utf8').includes('$enddefinitions'));
  print('no such folder:', await refusalOf(() => rig.writeVcd(path.join(file, 'x'))) !== 'accepted');
};

(async () => {
  const rig = new Rig();
  for (const part of [scenarios, lines, faults, journal, commands, waitsBesideTheEventLoop, waveform]) {
    await part(rig);
  }
  solvane.closeDevice();
})();

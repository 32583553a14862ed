// Runs a timer of the driver's with a JavaScript function as its callback, which koffi calls on the
// thread that waits in Solvane_RunTimer.
'use strict';

const fs = require('fs');
const [, , modules, dll, resultFile] = process.argv;
const koffi = require(`${modules}/node_modules/koffi`);

const library = koffi.load(dll);
const TimerEvent = koffi.struct('SolvaneTimerEvent', {
  status: 'int16_t',
  initialStatusOk: 'uint16_t',
  data0: 'uint16_t',
  data1: 'uint16_t',
  data2: 'uint16_t',
  data3: 'uint16_t',
});
const TimerCallback = koffi.proto(
  'void SolvaneTimerCallback(uint64_t userContext, const SolvaneTimerEvent *event)');
const create = library.func('Solvane_CreateTimer', 'int16_t', ['_Out_ uint64_t *', 'uint64_t']);
const run = library.func('Solvane_RunTimer', 'int16_t',
  ['uint64_t', 'uint32_t', koffi.pointer(TimerCallback)]);
const stop = library.func('Solvane_StopTimer', 'int16_t', ['uint64_t']);
const dispose = library.func('Solvane_DisposeTimer', 'int16_t', ['uint64_t']);

const result = { events: [] };
const timer = [0];
result.create = create(timer, 1234567890123n);
result.run = run(timer[0], 2000, (userContext, pointer) => {
  const event = koffi.decode(pointer, TimerEvent);
  result.events.push({ ...event, context: String(userContext) });
  if (result.events.length === 5) {
    stop(timer[0]);
  }
});
result.dispose = dispose(timer[0]);

fs.writeFileSync(resultFile, JSON.stringify(result));

// An independent host: Node.js for Windows calls Solvane.dll through koffi, knowing nothing but the
// function signatures. Its findings go to a file, because its console does not work on a pipe.
'use strict';

const fs = require('fs');
const [, , modules, dll, resultFile] = process.argv;
const koffi = require(`${modules}/node_modules/koffi`);

const library = koffi.load(dll);
const LogCallback = koffi.proto('void LogCallback(void *context, const char *line)');
const setLogger = library.func('Solvane_SetLogger', 'void',
  ['void *', koffi.pointer(LogCallback)]);
const command = (name) => library.func(`Solvane_${name}`, 'int16_t', []);
const question = (name) => {
  const ask = library.func(`Solvane_${name}`, 'int16_t', ['_Inout_ int16_t *']);
  return () => {
    const answer = [-1];
    const status = ask(answer);
    return { status, answer: answer[0] };
  };
};

const lines = [];
const onLine = koffi.register((context, line) => { lines.push(line); }, koffi.pointer(LogCallback));
setLogger(null, onLine);

const result = {
  available: command('CheckAvailable')(),
  ready: question('CheckSystemReady')(),
  dark: question('CheckForcedBlackUpdate')(),
  cameraPower: question('CheckCameraPower')(),
  accessoriesPower: question('CheckAccessoriesPower')(),
  nullPointer: library.func('Solvane_CheckSystemReady', 'int16_t', ['int16_t *'])(null),
  trigger: command('TriggerCapture')(),
};
result.lines = lines.slice();
setLogger(null, null);
result.silentTrigger = command('WakeCamera')();
result.linesAfterRemoval = lines.length - result.lines.length;
result.close = command('CloseDevice')();

fs.writeFileSync(resultFile, JSON.stringify(result));

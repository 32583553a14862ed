// The declarations of the Node.js binding: a typed host compiles, and they declare what is there.
//   types_test.js <directory of the npm packages>
'use strict';

const assert = require('assert');
const Module = require('module');
const path = require('path');
const ts = require(path.resolve(process.argv[2], 'node_modules/typescript'));

const binding = (name) => path.join(__dirname, '../../bindings/node', name);

// The bindings load without their DLLs.
const func = () => () => 0;
const koffi = { load: () => ({ func }), struct: () => ({}), proto: () => ({}) };
const load = Module._load;
Module._load = (name, ...rest) => (name === 'koffi' ? koffi : load(name, ...rest));

const program = ts.createProgram([path.join(__dirname, 'typed_host.ts')],
  { strict: true, noEmit: true, target: ts.ScriptTarget.ES2022, module: ts.ModuleKind.CommonJS, types: [] });
const complaints = ts.getPreEmitDiagnostics(program).map(
  (each) => `${each.file?.fileName}:${ts.flattenDiagnosticMessageText(each.messageText, ' ')}`);
assert.deepStrictEqual(complaints, []);

const checker = program.getTypeChecker();
const namesOf = (symbols) => symbols.map((symbol) => symbol.name).sort();
const membersOf = (type) => namesOf(checker.getPropertiesOfType(type));
for (const name of ['solvane', 'solvane_rig']) {
  const actual = require(binding(name));
  import(binding(`${name}.js`)).then((imported) => { // an ES module that imports names
    assert.deepStrictEqual(Object.keys(actual).filter((each) => !(each in imported)), []);
  });
  const module = checker.getSymbolAtLocation(program.getSourceFile(binding(`${name}.d.ts`)));
  const values = checker.getExportsOfModule(module).filter((symbol) => symbol.flags & ts.SymbolFlags.Value);
  assert.deepStrictEqual(namesOf(values), Object.keys(actual).sort());
  for (const symbol of values) {
    const value = actual[symbol.name];
    if (symbol.flags & ts.SymbolFlags.Class && !(value.prototype instanceof Error)) {
      assert.deepStrictEqual(membersOf(checker.getDeclaredTypeOfSymbol(symbol)),
        Object.getOwnPropertyNames(value.prototype).filter((each) => each !== 'constructor').sort());
    } else if (Object.isFrozen(value)) {
      const type = checker.getTypeOfSymbol(symbol);
      const declared = checker.getPropertiesOfType(type).map(
        (each) => [each.name, checker.getTypeOfSymbol(each).value]);
      assert.deepStrictEqual(Object.fromEntries(declared), { ...value });
    }
  }
}
console.log('the declarations fit');

// Whether a file is CycloneDX to the letter: validate.js <directory of the validator> <file.cdx.json>
'use strict';

const fs = require('fs');
const path = require('path');

const [modules, file] = process.argv.slice(2);
const { Spec, Validation } = require(path.resolve(modules, 'node_modules/@cyclonedx/cyclonedx-library'));
new Validation.JsonStrictValidator(Spec.Version.v1dot6).validate(fs.readFileSync(file, 'utf8')).then((wrong) => {
  if (wrong) {
    console.log(JSON.stringify(wrong, null, 2));
    process.exitCode = 1;
  }
});

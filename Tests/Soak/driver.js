// What the drivers share: the words that they are started with, and the work. Drivers with a folder in common share the
// work, and leave a row there for each piece of it.
'use strict';

const fs = require('node:fs');
const table = require('./table.js');

const [, , , , library, part, ...words] = process.argv;
const option = (name, other) => (words.includes(name) ? words[words.indexOf(name) + 1] : other);
const share = option('--share', '/tmp');

/** Whether no other driver has taken that piece of work. */
function claim(piece) {
    try {
        return fs.mkdirSync(`${share}/claim-${piece}`) === undefined;
    } catch (error) {
        return false;
    }
}

const addRow = (row) => fs.appendFileSync(`${share}/rows`, `${JSON.stringify(row)}\n`);
const exitStatus = () => (share !== '/tmp' || table.print(part, '/tmp/rows') ? 0 : 1);

module.exports = { addRow, claim, exitStatus, library, option, part };

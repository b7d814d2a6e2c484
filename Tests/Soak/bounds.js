// The table of measures and their bounds, where each driver leaves the same ones.
'use strict';

const fs = require('node:fs');

/** Prints the measures of all boxes side by side; whether each bound was kept. */
function print(path) {
    const rows = fs.readFileSync(path, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
    for (const what of new Set(rows.map((row) => row.what))) {
        const boxes = rows.filter((row) => row.what === what);
        const values = boxes.map(({ value }) => `${value} `.padEnd(16)).join('');
        const verdict = boxes.every(({ isMet }) => isMet) ? 'kept' : 'BREACH';
        console.log(`${what.padEnd(50)} ${values}${String(boxes[0].bound).padEnd(20)} ${verdict}`);
    }
    return rows.every(({ isMet }) => isMet);
}

module.exports = { print };

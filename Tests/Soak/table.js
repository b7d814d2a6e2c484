// What came of all that was tried, by kind: node table.js PART ROWS prints it, and ends with 1 if anything was lost.
'use strict';

const fs = require('node:fs');
const bounds = require('./bounds.js');

const kFaults = [['kind', 8], ['mode', 6], ['tried', 7, 'faults'], ['answered', 19, 'answered as stated'],
    ['ended', 16, 'ended as stated'], ['lost', 5]];
const kCells = [['kind', 18, 'outcome'], ['mode', 8, 'exchange'], ['tried', 6, 'cells'],
    ['answered', 18, 'as the model says'], ['lost', 5]];

/** Adds up the rows, one JSON object a line, that the drivers have written; whether nothing was lost. */
function print(part, path) {
    if (!['faults', 'kills', 'cloud'].includes(part)) {
        return bounds.print(path);
    }
    const columns = part === 'cloud' ? kCells : kFaults;
    const sums = new Map();
    const add = (key, row) => {
        const sum = sums.get(key) || { outcomes: {} };
        sums.set(key, sum);
        columns.forEach(([name]) => {
            sum[name] = typeof row[name] === 'number' ? (sum[name] || 0) + row[name] : row[name];
        });
        Object.entries(row.outcomes).forEach(([outcome, count]) => {
            sum.outcomes[outcome] = (sum.outcomes[outcome] || 0) + count;
        });
    };
    const rows = fs.readFileSync(path, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
    const name = ({ kind, mode }) => `${kind} ${mode}`;
    rows.sort((a, b) => name(a).localeCompare(name(b))).forEach((row) => add(name(row), row));
    rows.forEach((row) => add('all', { ...row, kind: 'all', mode: '' }));
    const line = (cell, told) => console.log(`${columns.map(([name, width, title]) => {
        const text = String(cell(name, title));
        return ['kind', 'mode'].includes(name) ? text.padEnd(width) : text.padStart(width);
    }).join(' ')}  ${told}`);
    line((name, title) => title || name, 'what came of them');
    sums.forEach((sum) => line((name) => sum[name],
        Object.entries(sum.outcomes).map(([outcome, count]) => `${count} ${outcome}`).join(', ')));
    return sums.get('all').lost === 0;
}

module.exports = { print };
if (require.main === module) {
    process.exit(print(process.argv[2], process.argv[3]) ? 0 : 1);
}

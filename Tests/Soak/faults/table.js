// What came of all faults, by kind: node table.js ROWS prints it, and ends with 1 if anything was lost.
'use strict';

const fs = require('node:fs');

/** Adds up the rows, one JSON object a line, that the drivers have written; whether nothing was lost. */
function print(path) {
    const sums = new Map();
    const total = { kind: 'all', mode: '', tried: 0, answered: 0, ended: 0, lost: 0, outcomes: {} };
    for (const line of fs.readFileSync(path, 'utf8').trim().split('\n')) {
        const row = JSON.parse(line);
        const key = `${row.kind} ${row.mode}`;
        sums.set(key, sums.get(key) || { ...total, kind: row.kind, mode: row.mode, tried: 0, answered: 0, ended: 0, lost: 0,
            outcomes: {} });
        for (const sum of [sums.get(key), total]) {
            ['tried', 'answered', 'ended', 'lost'].forEach((name) => { sum[name] += row[name]; });
            Object.entries(row.outcomes).forEach(([outcome, count]) => {
                sum.outcomes[outcome] = (sum.outcomes[outcome] || 0) + count;
            });
        }
    }
    console.log('kind      mode    faults  answered as stated  ended as stated  lost   what came of them');
    for (const { kind, mode, tried, answered, ended, lost, outcomes } of [...sums.values(), total]) {
        const told = Object.entries(outcomes).map(([outcome, count]) => `${count} ${outcome}`).join(', ');
        console.log([kind.padEnd(8), mode.padEnd(6), String(tried).padStart(7), String(answered).padStart(19),
            String(ended).padStart(16), String(lost).padStart(5), ` ${told}`].join(' '));
    }
    return total.lost === 0;
}

module.exports = { print };
if (require.main === module) {
    process.exit(print(process.argv[2]) ? 0 : 1);
}

// What the drivers share: the words that they are started with, and the work. Drivers with a folder in common share the
// work, and leave a row there for each piece of it. With the same words, this prints the table of these rows, and ends
// with 1 if anything was lost.
'use strict';

const fs = require('node:fs');

const [, , , , library, part, ...words] = process.argv;
const option = (name, other) => (words.includes(name) ? words[words.indexOf(name) + 1] : other);
const share = option('--share', '/tmp');
const kRows = `${share}/rows`;

/** Whether no other driver has taken that piece of work. */
function claim(piece) {
    try {
        return fs.mkdirSync(`${share}/claim-${piece}`) === undefined;
    } catch (error) {
        return false;
    }
}

const addRow = (row) => fs.appendFileSync(kRows, `${JSON.stringify(row)}\n`);
const addMeasure = (of, value, bound, isMet) => addRow({ of, seen: [value], bound, lost: isMet ? 0 : 1 });

/** Each value once, behind the number of times that it was seen if that is not 1. */
function tally(values) {
    const counts = new Map();
    values.forEach((value) => counts.set(value, (counts.get(value) || 0) + 1));
    return [...counts].map(([value, count]) => (count === 1 ? value : `${count} x ${value}`)).join(', ');
}

/** Prints what came of all that was tried: the sums of the rows, one JSON object a line. Whether nothing was lost. */
function print() {
    const rows = fs.readFileSync(kRows, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
    const table = {};
    const add = ({ of, ...row }) => {
        const sum = table[of] || row;
        Object.keys(sum).filter((name) => sum !== row && name !== 'bound').forEach((name) => {
            sum[name] = name === 'seen' ? [...sum.seen, ...row.seen] : sum[name] + row[name];
        });
        table[of] = sum;
    };
    rows.sort((a, b) => a.of.localeCompare(b.of)).forEach(add);
    rows.filter(({ tried }) => tried).forEach((row) => add({ ...row, of: 'all' }));
    Object.values(table).forEach((sum) => Object.assign(sum, { seen: tally(sum.seen) }));
    const lines = [Object.keys(rows[0]), ...Object.entries(table).map(([of, sum]) => [of, ...Object.values(sum)])];
    const widths = lines[0].map((_, at) => Math.max(...lines.map((line) => `${line[at]}`.length)));
    lines.forEach((line) => console.log(line.map((cell, at) => `${cell}`.padEnd(widths[at])).join('  ').trimEnd()));
    return rows.every(({ lost }) => lost === 0);
}

const exitStatus = () => (share !== '/tmp' || print() ? 0 : 1);

module.exports = { addMeasure, addRow, claim, exitStatus, library, option, part };
if (require.main === module) {
    process.exit(print() ? 0 : 1);
}

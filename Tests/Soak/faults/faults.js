// Makes each call of the service go wrong once, one at a time, and checks after each that nothing was lost.
// Usage: faults.js PROGRAMS KEY LIBRARY faults|kills [--every N] [--seconds N] [--share FOLDER]
//                  [--scenario NAME] [--kind KIND] [--mode MODE]
'use strict';

const { setTimeout: sleep } = require('node:timers/promises');
const { Control, kKinds } = require('./control.js');
const { kScenarios } = require('./scenarios.js');
const { addRow, claim, exitStatus, library, option, part } = require('../driver.js');
const { World } = require('../world.js');

const isWanted = (name, value) => [value, 'all'].includes(option(name, 'all'));
const every = Number(option('--every', '1'));
const seconds = Number(option('--seconds', '86400'));
/** At how many moments of its life each child is killed. */
const kMoments = 100;
const kShortened = ['read', 'write', 'log', 'send', 'receive'];

const control = new Control('/tmp/fault-control');
const world = new World(control, library);
let faults = Math.floor(every / 2);
let notTried = 0;
/** When the scenario must be left, so that each has its share of the time. */
let end = 0;

/** One fault: what came of it, or nothing if there are not so many calls. */
async function tryFault(scenario, { kind, mode, failAt, moment }) {
    await scenario.prepare(world);
    control.begin(kind, mode, failAt, moment);
    const outcome = await scenario.run(world);
    await sleep(20); // what the service does after its answer counts as well
    const { name } = control.end();
    if (name === '' || world.hasEnded()) {
        const isNone = name === '' && !world.hasEnded();
        const ending = await world.restart(mode === 'kill');
        return isNone ? undefined : ending;
    }
    world.mayFilesStay = kind === 'unlink'; // until the next request
    await scenario.check(world, outcome);
    return outcome;
}

/** The faults of a kind in a scenario, one after the other. */
function* faultsOf({ kind, mode, count, child, life }) {
    if (child) {
        for (let at = 0; at < kMoments; ++at) {
            yield { kind, mode: at % 2 ? 'leaf' : mode, failAt: child, moment: 1 + Math.round((life * at) / kMoments) };
        }
        return;
    }
    for (let failAt = 1; every === 1 || failAt <= count; ++failAt) {
        if (faults++ % every === 0) {
            yield { kind, mode, failAt };
        }
    }
}

async function tryAll(unit) {
    const { scenario, kind, mode, child } = unit;
    const row = { scenario: scenario.name, kind, mode, tried: 0, answered: 0, ended: 0, lost: 0, outcomes: {} };
    const begin = Date.now();
    await scenario.enter(world);
    for (const fault of faultsOf(unit)) {
        if (Date.now() > end) {
            ++notTried;
            continue;
        }
        let outcome;
        try {
            outcome = await tryFault(scenario, fault);
        } catch (error) {
            const { name } = control.end();
            console.log(`LOST: ${scenario.name}, ${kind} ${fault.failAt} (${name}), ${fault.mode} ${fault.moment || ''}: ` +
                `${error.message}\n${world.endOfLog()}`);
            outcome = 'lost';
            ++row.lost;
            await scenario.enter(world);
        }
        if (outcome === undefined) {
            if (every === 1 && !child) {
                break;
            }
            continue;
        }
        ++row.tried;
        row[outcome.startsWith('ended') || outcome === 'killed' ? 'ended' : 'answered'] += outcome === 'lost' ? 0 : 1;
        row.outcomes[outcome] = (row.outcomes[outcome] || 0) + 1;
    }
    if (row.tried > 0) {
        addRow({ ...row, seconds: (Date.now() - begin) / 1000 });
    }
}

/** All that is to be tried in a scenario, as many pieces of work. The first run only counts calls. */
async function unitsOf(scenario) {
    await scenario.enter(world);
    await scenario.prepare(world);
    control.begin('none', 'error', 0);
    await scenario.run(world);
    const { count } = control.end();
    const units = [];
    const add = (unit) => units.push({ scenario, ...unit });
    for (const kind of kKinds) {
        if (part === 'kills') {
            add({ kind, mode: 'kill', count: count(kind, false) });
        } else {
            add({ kind, mode: 'error', count: count(kind, false) });
            if (kShortened.includes(kind)) {
                add({ kind, mode: 'short', count: count(kind, true) });
            }
        }
    }
    for (let child = 1; part === 'kills' && scenario.hasChildren && child <= count('waitpid', false); ++child) {
        control.begin('waitpid', 'child', child);
        await scenario.run(world);
        add({ kind: 'waitpid', mode: 'child', child, life: control.end().moment });
    }
    return units;
}

async function main() {
    const scenarios = kScenarios.filter(({ name }) => isWanted('--scenario', name));
    const last = Date.now() + 2000 * seconds; // a slow machine takes long to prepare a scenario
    await world.start();
    for (const scenario of scenarios) {
        const units = Date.now() < last ? await unitsOf(scenario) : [];
        end = Date.now() + (1000 * seconds) / scenarios.length;
        for (const unit of units) {
            const piece = [scenario.name, unit.kind, unit.mode, unit.child].join('-');
            if (isWanted('--kind', unit.kind) && isWanted('--mode', unit.mode) && claim(piece)) {
                await tryAll(unit);
            }
        }
    }
    world.end();
    if (notTried > 0) {
        console.log(`${notTried} faults were not tried for want of time`);
    }
    process.exit(exitStatus());
}

main().catch((error) => {
    console.error(error, world.endOfLog());
    world.end();
    process.exit(2);
});

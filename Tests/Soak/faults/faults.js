// Makes each call of the service go wrong once, one at a time, and checks after each that nothing was lost.
// Usage: faults.js PROGRAMS KEY LIBRARY faults|kills [--every N] [--share FOLDER]
//                  [--scenario NAME] [--kind KIND] [--mode MODE]
'use strict';

const { kScenarios } = require('./scenarios.js');
const { Faults, kKinds } = require('../control.js');
const { addRow, claim, exitStatus, option, part } = require('../driver.js');
const { World } = require('../world.js');
const { cleanUp, sleep, until } = require('../../System/gateway/support.js');

const isWanted = (name, value) => [value, 'all'].includes(option(name, 'all'));
const every = Number(option('--every', '1'));
/** At how many moments of its life each child is killed. */
const kMoments = 100;
const kShortened = ['read', 'write', 'log', 'send', 'receive'];
const kEnds = { lost: 'lost', killed: 'ended as stated', 'ended as stated': 'ended as stated' };

const control = new Faults();
const world = new World();
let faults = Math.floor(every / 2);

/** One fault: what came of it, or nothing if there are not so many calls. */
async function tryFault(scenario, { kind, mode, failAt, moment }) {
    await scenario.prepare(world);
    control.begin(kind, mode, failAt, moment);
    const outcome = await scenario.run(world);
    await sleep(20); // what the service does after its answer counts as well
    const { name } = control.end();
    if (mode === 'kill' && name !== '') {
        await until('the end', () => world.hasEnded());
    }
    if (world.hasEnded()) {
        return world.restart(mode === 'kill');
    }
    if (name === '') {
        return undefined;
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
    await scenario.enter(world);
    for (const fault of faultsOf(unit)) {
        let outcome;
        try {
            outcome = await tryFault(scenario, fault);
        } catch (error) {
            const { name } = control.end();
            console.log(`LOST: ${scenario.name}, ${kind} ${fault.failAt} (${name}), ${fault.mode} ${fault.moment || ''}: ` +
                `${error.message}\n${world.endOfLog()}`);
            outcome = 'lost';
            await scenario.enter(world);
        }
        if (outcome !== undefined) {
            const counts = { tried: 1, 'answered as stated': 0, 'ended as stated': 0, lost: 0 };
            counts[kEnds[outcome] || 'answered as stated'] = 1;
            addRow({ of: `${kind} ${mode}`, ...counts, seen: [outcome] });
        } else if (every === 1 && !child) {
            break;
        }
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
    for (const kind of kKinds) {
        const modes = part === 'kills' ? ['kill'] : ['error', ...kShortened.includes(kind) ? ['short'] : []];
        modes.forEach((mode) => units.push({ scenario, kind, mode, count: count(kind, mode === 'short') }));
    }
    for (let child = 1; part === 'kills' && scenario.hasChildren && child <= count('waitpid', false); ++child) {
        control.begin('waitpid', 'child', child);
        await scenario.run(world);
        units.push({ scenario, kind: 'waitpid', mode: 'child', child, life: control.end().moment });
    }
    return units;
}

async function main() {
    await world.start();
    for (const scenario of kScenarios.filter(({ name }) => isWanted('--scenario', name))) {
        for (const unit of await unitsOf(scenario)) {
            const piece = [scenario.name, unit.kind, unit.mode, unit.child].join('-');
            if (isWanted('--kind', unit.kind) && isWanted('--mode', unit.mode) && claim(piece)) {
                await tryAll(unit);
            }
        }
    }
    cleanUp();
    process.exit(exitStatus());
}

main().catch((error) => {
    console.error(error, world.endOfLog());
    cleanUp();
    process.exit(2);
});

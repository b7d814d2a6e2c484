// Plays each cell of the matrix to the service, and compares what it does with what the stated rules make of it.
// Usage: cloud.js PROGRAMS KEY LIBRARY cloud [--every N] [--cell N] [--share FOLDER]
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const { cells, kFine } = require('./matrix.js');
const { expected, isText, kRefusals } = require('./model.js');
const { Peer } = require('./peer.js');
const { Clock } = require('../control.js');
const { addRow, claim, exitStatus, option } = require('../driver.js');
const { World, kFolder } = require('../world.js');
const { cleanUp, kUpload, sleep } = require('../../System/gateway/support.js');

const [every, only] = [option('--every', 1), option('--cell', -1)].map(Number);
/** How long an upload may take, in ms, without what is skipped, and with how many steps. */
const kLongest = 60000;
const kMostSteps = 2500;
const kItems = [{ input: 'cat /tmp/plain.txt', harvestType: 'SCRIPT', subType: 'one', fileType: 'TOP' }];
const kLine = /Attempt:\d+ retrying POST in \d+ seconds on .*$|The POST request for .* failed with \d+$/gm;

const clock = new Clock();
const proxy = new Peer('metadata', 8888, clock);
const archive = new Peer('archive', 8889, clock);

class CloudWorld extends World {
    /** An upload to which nothing happens. */
    upload() {
        return this.play({ ...kFine.archive, proxy: 'there' });
    }

    /** All of them: no item fails. */
    files() {
        return fs.readdirSync(kFolder).sort();
    }

    checkUpload() {
        return this.uploadWhenReady(({ status }) => status === 200);
    }

    /** Asks for an upload while the cell is played; its answer, all steps until then and the lines of the log. */
    async play(cell) {
        const steps = [];
        let [first, second] = kRefusals[cell.proxy];
        clock.skip(-clock.skipped);
        await proxy.begin(cell, first, (step) => steps.push(step));
        await archive.begin(cell, 0, (step) => steps.push(step));
        this.service.clearLog();
        this.lastId = this.link.ask('POST', kUpload, { fileType: ['TOP'] });
        const isHere = ({ id }) => id === this.lastId;
        for (const end = Date.now() + kLongest; !this.link.frames.some(isHere); await sleep(1)) {
            const isLost = steps.length > kMostSteps || Date.now() > end || this.hasEnded();
            assert.ok(!isLost, `no answer, after ${told(steps.slice(-9))}`);
            const wait = clock.newWait();
            if (wait > 0) {
                await Promise.all([proxy.passing, archive.passing]);
                const isOfProxy = proxy.down > 0 && wait === 5000;
                steps.push({ step: isOfProxy ? 'proxy' : 'retry', at: wait / 1000 });
                const peer = isOfProxy ? proxy : archive;
                if (peer.down > 0) {
                    await peer.refuse(peer.down - 1);
                } else if (second > 0) {
                    await proxy.refuse(second);
                    second = 0;
                }
                clock.skip(wait);
            }
        }
        await Promise.all([proxy.passing, archive.passing]);
        return { steps, lines: this.service.log().match(kLine) || [], ...await this.answer() };
    }
}

const told = (value) => JSON.stringify(value, (name, each) => (typeof each === 'string' ? each.slice(0, 150) : each));

async function tryCell(world, cell) {
    const wanted = expected(cell);
    const seen = await world.play(cell);
    for (let at = 0; at < Math.max(wanted.steps.length, seen.steps.length); ++at) {
        const [want, saw] = [wanted, seen].map(({ steps }) => steps[at] || { step: 'nothing' });
        assert.ok(want.step === saw.step && !(saw.at < want.low || saw.at > want.high) && !saw.wrong,
            `step ${at}: expected ${told(want)}, saw ${told(saw)}`);
    }
    const waits = seen.steps.filter(({ step }) => step === 'retry').map(({ at }) => at);
    const lines = wanted.lines.map((line) => line.replace(' # ', () => ` ${waits.shift()} `));
    assert.ok(seen.lines.join() === lines.join(), `expected the lines ${told(lines)}, saw ${told(seen.lines)}`);
    assert.ok(wanted.status === seen.status && isText(seen.message, wanted),
        `expected the answer ${wanted.status} ${told(wanted.text)}, saw ${seen.status} ${told(seen.message)}`);
    world.checkAnsweredOnce();
    await world.checkHeld();
    return seen.status;
}

async function main() {
    const world = new CloudWorld();
    await world.start(false); // the cloud begins with each upload
    await world.configure(JSON.stringify({ diagItemConfigList: { version: 1.2, item: kItems } }), ['one']);
    let number = -1;
    for (const cell of cells()) {
        ++number;
        if ((only >= 0 ? number !== only : number % every !== Math.floor(every / 2)) || !claim(number)) {
            continue;
        }
        let status = 'lost';
        try {
            status = await tryCell(world, cell);
        } catch (error) {
            console.log(`LOST: --cell ${number}: ${error.message}; ${told({ ...cell, body: String(cell.body) })}`);
            await world.startAnew();
        }
        const lost = status === 'lost' ? 1 : 0;
        const of = `${cell.outcome.name}, ${cell.exchange}`;
        addRow({ of, tried: 1, 'as the model says': 1 - lost, lost, seen: [status] });
    }
    cleanUp();
    process.exit(exitStatus());
}

main();

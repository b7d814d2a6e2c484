// Years of uploads in minutes, one after the other, while the gateway restarts, the clock jumps, the storage is full and
// requesters hang up; then what the service holds is compared with what it held after the first few hundred.
// Usage: long.js PROGRAMS KEY LIBRARY long [--hundreds N] [--share FOLDER], where N is more than 5
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const { cleanUp, connect, kUpload, sleep } = require('../../System/gateway/support.js');
const { Clock } = require('../control.js');
const { addMeasure, exitStatus, option } = require('../driver.js');
const { World, kItems } = require('../world.js');

const hundreds = Number(option('--hundreds', '25'));
/** Hundreds until memory is what it stays at. Each kind of trouble has happened by then. */
const kWarmUp = 5;
const kCancelled = 200;
const kWhenFull = 50;
const kLog = '/tmp/DiagnosticFileService.log';
const kFiller = '/mnt/nv/filler';

/**
 * The spawner never destroys its file actions, deliberately. Of each collection the C library keeps room for eight actions
 * and a copy of the path, as malloc(3) rounds them.
 */
const kStatedBytes = 272 + 64;
const kToleratedBytes = 64;
/** Process numbers grow longer. */
const kToleratedLog = 32;

const clock = new Clock();
const world = new World();
const count = { uploads: 0, full: 0, jumps: 0, restarts: 0, cancelled: 0, requests: 0, collections: 0 };
let logRead = 0;

/** The end of 1998, two seconds before a signed 32-bit time ends, one before an unsigned one does, and today. */
const kTimes = [915148799, 2147483646, 4294967295, 0];

function jump() {
    const time = kTimes[count.jumps++ % kTimes.length];
    clock.shift(time === 0 ? 0 : time - Math.floor(Date.now() / 1000));
}

/** So many uploads, each answered so. In the middle of every tenth the clock jumps. */
async function uploads(number, expected) {
    for (let each = 0; each < number; ++each) {
        const answer = world.upload();
        if (each % 10 === 0) {
            await sleep((each * 7) % 50);
            jump();
        }
        const { status, message } = await answer;
        assert.match(`${status} ${message}`, expected);
    }
}

/** Every second time in the middle of an upload, whose requester loses its connection as well. */
async function restartGateway() {
    if (++count.restarts % 2) {
        world.link.ask('POST', kUpload, { fileType: ['TOP'] });
        await sleep((count.restarts * 7) % 50);
    }
    await world.gateway.kill();
    await world.startGateway();
}

/** In the middle of an upload, which may end either way. */
async function fillStorage() {
    const answer = world.upload();
    const fill = () => { for (;;) { fs.appendFileSync(kFiller, Buffer.alloc(4096)); } };
    assert.throws(fill, { code: 'ENOSPC' });
    assert.match(String((await answer).status), /^[24]00$/);
    assert.throws(fill, { code: 'ENOSPC' }); // what that upload has removed was room
    await uploads(kWhenFull, /^400 (Manifest is empty, nothing to upload|Unable to (create tarball|upload))$/);
    count.full += kWhenFull;
    fs.unlinkSync(kFiller);
}

/** Asks for an upload, and hangs up before the answer: every second time without a word. */
async function cancel() {
    const link = await connect('/hasty', []);
    link.ask('POST', kUpload, { fileType: ['TOP'] });
    link.socket[++count.cancelled % 2 ? 'close' : 'terminate']();
}

/** Once the service is idle: what it holds, and what it has done by its log. */
async function sample() {
    await world.settle();
    world.checkLeftovers();
    const log = fs.readFileSync(kLog, 'latin1').slice(logRead);
    logRead += log.length;
    count.collections += log.split('testpoint #1').length - 1;
    count.requests += log.split('DFTriggerHandler::UploadDiagFileRequest - START').length - 1;
    const [, memory] = /^Private_Dirty: +(\d+)/m.exec(fs.readFileSync(`/proc/${world.service.pid}/smaps_rollup`, 'utf8'));
    return { memory: memory * 1024, collections: count.collections, ...world.held() };
}

/** A hundred uploads, and then each kind of trouble. Returns the bytes of log per upload. */
async function hundred(number) {
    const before = fs.statSync(kLog).size;
    await uploads(100, /^200 /);
    count.uploads += 100;
    await sleep(100); // it logs that it has answered
    const bytes = Math.round((fs.statSync(kLog).size - before) / 100);
    for (let left = kCancelled; left > 0; left -= 20) {
        await Promise.all(Array.from({ length: 20 }, cancel));
    }
    await world.settle();
    await restartGateway();
    await world.settle();
    await world.checkUpload('TOP', ['script']);
    if (number % kWarmUp === 1) {
        await fillStorage();
    }
    return bytes;
}

async function years() {
    await world.start();
    await world.configure(JSON.stringify({ diagItemConfigList: { version: 1.2, item: [kItems[0]] } }), ['script']);
    const log = [];
    let begin;
    for (let number = 1; number <= hundreds; ++number) {
        log.push(await hundred(number));
        begin = number === kWarmUp ? await sample() : begin;
    }
    const end = await sample();
    const bytes = Math.round((end.memory - begin.memory) / (end.collections - begin.collections));
    addMeasure('memory, bytes a collection', bytes, `${kStatedBytes} +- ${kToleratedBytes}`,
        Math.abs(bytes - kStatedBytes) <= kToleratedBytes);
    const size = (held) => held.length ?? held;
    ['descriptors', 'threads', 'children', 'files'].forEach((what) => addMeasure(what,
        `${size(begin[what])} to ${size(end[what])}`, 'no change', `${begin[what]}` === `${end[what]}`));
    addMeasure('log, bytes an upload', `${log[0]} to ${log[hundreds - 1]}`, `${kToleratedLog} more`,
        log[hundreds - 1] - log[0] <= kToleratedLog);
}

years().catch((error) => {
    console.log(`LOST: ${error.stack}\n${world.endOfLog()}`);
    addMeasure('lost', error.message, 'nothing', false);
}).then(() => {
    cleanUp();
    [
        ['uploads answered with 200', count.uploads, 100 * hundreds],
        ['uploads answered with 400, the storage is full', count.full, kWhenFull * Math.ceil(hundreds / kWarmUp)],
        ['requests cancelled', count.cancelled, kCancelled * hundreds],
        ['requests that the service has taken', count.requests, 100 * hundreds + count.full + count.cancelled],
    ].forEach(([what, value, bound]) => addMeasure(what, value, `${bound} or more`, value >= bound));
    process.exit(exitStatus());
});

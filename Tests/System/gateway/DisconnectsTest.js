// The service keeps its feet when the gateway goes away in the midst of uploads, a hundred times. Each time all that the
// service depends on has been ready, so that it comes back at once.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const test = require('node:test');
const {
    Gateway, cleanUp, connect, kInterests, kRegistration, kUpload, run, sleep, start, startCloud, startService, until,
} = require('./support.js');

const kNote = {
    input: '/other/note', fileType: 'PROC_LOADAVG', subType: 'note', harvestType: 'GATRIX_RESPONSE_FILEPATH',
};
const kDropsOfEachKind = 50;

let service;
let isDone = false;
let uploads;

/** Uploads a built-in item and one of the gateway's, again and again, and returns the outcomes. */
async function uploadAgainAndAgain() {
    const outcomes = [];
    while (!isDone) {
        outcomes.push(await run('vcli', '--wait', 'diagfileservice', 'upload', '6'));
    }
    return outcomes;
}

/** Waits for the item's request; every second time answers it, and lets the service get on, further each time. */
async function serveEverySecond(link, count) {
    const request = await link.take({ op: 'request', endpoint: kNote.input });
    if (count % 2) {
        link.send({ op: 'answer', id: request.id, body: { filepathToUpload: '/tmp/note.txt' } });
        await sleep(count);
    }
}

test.before(async () => {
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    await startCloud();
});

test('forced disconnects', async () => {
    const gateway = new Gateway();
    service = await startService();
    let link = await gateway.accept();
    assert.strictEqual((await link.outcome('POST', kRegistration, kNote)).op, 'answer');
    uploads = uploadAgainAndAgain();
    for (let count = 0; count < kDropsOfEachKind; ++count) {
        await serveEverySecond(link, count);
        link.socket.terminate();
        link = await gateway.accept();
        link.send({ op: 'ready', endpoints: kInterests });
    }
    await gateway.close();
});

test('gateway restarts', async () => {
    for (let count = 0; count < kDropsOfEachKind; ++count) {
        const gateway = await start('gatrix-gateway', [], '8084');
        const peer = await connect(kNote.input, [kUpload, kRegistration, 'dfservice/gettysburg_address_filepath',
            'dfservice/luckiest_man_payload']);
        peer.handle('/system/info');
        await serveEverySecond(peer, count);
        await gateway.kill();
    }
});

test('every upload has ended well', async () => {
    isDone = true;
    const outcomes = await uploads;
    assert.ok(outcomes.length > kDropsOfEachKind, `${outcomes.length} uploads`);
    for (const outcome of outcomes) {
        assert.match(outcome, /Upload status code = 200/);
    }
    assert.ok(service.isAlive());
    await until('the last report', () => service.log().includes('GXC websocket NOT connected'));
});

test.after(cleanUp);

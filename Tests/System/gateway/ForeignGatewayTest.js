// The service as a gateway sees it that is not ours.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const test = require('node:test');
const {
    Gateway, cleanUp, contentOfLatest, kInterests, kRegistration, kUpload, latest, run, startCloud, startService, until,
} = require('./support.js');

let gateway;
let service;
let link;

const item = {
    input: '/other/note', fileType: 'INTROSPECTION', subType: 'note', harvestType: 'GATRIX_RESPONSE_FILEPATH',
};

test.before(async () => {
    await startCloud();
    gateway = new Gateway();
    service = await startService();
    link = await gateway.accept();
});

test('registrations arrive in order on each connection', async () => {
    for (const drop of ['close', 'terminate']) {
        link.socket[drop]();
        link = await gateway.accept();
    }
    await gateway.close();
    gateway = new Gateway();
    link = await gateway.accept();
});

test('device information is fetched each time the endpoints are ready, and names the product', async () => {
    for (const name of ['Hall', 'Kitchen']) {
        link.send({ op: 'ready', endpoints: kInterests });
        const request = await link.serve('/system/info', { name });
        assert.strictEqual(request.body, undefined);
        link.send({ op: 'notReady', endpoints: ['/system/info'] });
    }
    const { op, body } = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual([op, body.statusCode], ['answer', 200]);
    assert.strictEqual(JSON.parse(fs.readFileSync(latest('metadata.json'))).productName, 'Kitchen');
});

test('a body that is no such message is refused', async () => {
    const cases = [
        [kUpload, { fileType: ['NO_SUCH_TYPE'] }, 'NO_SUCH_TYPE'], [kUpload, 'text', 'UploadRequest'],
        [kUpload, undefined, 'UploadRequest'], [kRegistration, { input: 'x' }, 'fileType'],
    ];
    for (const [endpoint, body, reason] of cases) {
        const { op, error } = await link.outcome('POST', endpoint, body);
        assert.strictEqual(op, 'error');
        assert.strictEqual(error.statusCode, 400);
        assert.ok(error.message.includes(reason), error.message);
    }
    link.send({ op: 'notify', endpoint: kUpload, version: 1, body: { fileType: ['NO_SUCH_TYPE'] } });
    link.socket.send('no JSON');
    link.send({ op: 'no such thing' });
    const { op } = await link.outcome('GET', 'dfservice/gettysburg_address_filepath');
    assert.strictEqual(op, 'answer', 'the connection stays');
});

test('notifications do the same work, and get no answer', async () => {
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    link.send({ op: 'notify', endpoint: kRegistration, version: 1, body: item });
    link.send({ op: 'notify', endpoint: kUpload, version: 1, body: { fileType: ['INTROSPECTION'] } });
    await link.serve(item.input, { filepathToUpload: '/tmp/note.txt' });
    await until('the end of the upload', () => service.log().includes('DiagUploadNotifyResponseCB - END'));
    assert.strictEqual(await contentOfLatest('note'), 'a note\n');
    assert.deepStrictEqual(link.frames, []);
});

test('each of two overlapping uploads is answered at most once', async () => {
    const answers = () => service.log().split('DiagUploadResponseCB - END').length;
    const before = answers();
    const first = link.ask('POST', kUpload, { fileType: ['INTROSPECTION'] });
    const request = await link.take({ op: 'request', endpoint: item.input });
    const second = link.ask('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    const busy = await link.take({ op: 'error', id: second });
    assert.deepStrictEqual(busy.error, { statusCode: 555, message: 'Unable to process request, system busy' });
    const replaced = await link.take({ op: 'error', id: first });
    assert.strictEqual(replaced.error.statusCode, 500, 'nobody is left to answer the first');
    link.send({ op: 'answer', id: request.id, body: { filepathToUpload: '/tmp/note.txt' } });
    assert.strictEqual((await link.outcome('POST', kRegistration, item)).op, 'answer');
    await until('the end of the first upload', () => answers() === before + 2);
    assert.deepStrictEqual(link.frames, [], 'its outcome, meant for the second, is not sent');
});

test('the two test endpoints answer', async () => {
    const filepath = await link.outcome('GET', 'dfservice/gettysburg_address_filepath');
    assert.deepStrictEqual(filepath.body, { filepathToUpload: '/mnt/nv/product-persistence/Gettysburg_Address.txt' });
    for (const [text, payload] of [['{"a": "b"}\n', '{"a": "b"}\n'], ['\xff', '\ufffd']]) {
        fs.writeFileSync('/mnt/nv/product-persistence/Dorvin_test.json', text, 'latin1');
        const { body } = await link.outcome('GET', 'dfservice/luckiest_man_payload');
        assert.deepStrictEqual(body, { payloadToUpload: payload });
    }
});

test('without a gateway, gateway items drop out at once and the others arrive', async () => {
    await gateway.close();
    await until('the drop', () => service.log().includes('GXC websocket NOT connected'));
    assert.match(await run('vcli', 'diagfileservice', 'upload'), /Upload status code = 200/);
    assert.notStrictEqual(await contentOfLatest('proc_loadavg'), '');
    assert.ok(service.isAlive());
});

test.after(cleanUp);

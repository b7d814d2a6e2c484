// The service as a gateway sees it that is not ours.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const test = require('node:test');
const {
    Gateway, cleanUp, contentOfLatest, kInterests, kRegistration, kRegistrations, kUpload, latest, runBeside,
    startCloud, startService, until,
} = require('./support.js');

let gateway;
let service;
let link;

const item = (input, subType, harvestType, more) =>
    ({ input, subType, harvestType, fileType: 'INTROSPECTION', ...more });

/** Registers an item, and asserts that it was taken. */
async function register(...words) {
    const { op, body } = await link.outcome('POST', kRegistration, item(...words));
    assert.deepStrictEqual({ op, body }, {
        op: 'answer',
        body: { statusCode: 200, message: 'Registration Successf, AsyncCallback<const std::string>*ul' },
    });
}

/** Answers the service's next request of an endpoint; returns that request. */
async function serve(endpoint, reply) {
    const request = await link.take({ op: 'request', method: 'GET', endpoint });
    link.send({ id: request.id, ...reply });
    return request;
}

test.before(async () => {
    await startCloud();
    gateway = new Gateway();
    service = await startService();
    link = await gateway.accept();
});

test('registrations arrive in order, again after each reconnect', async () => {
    assert.deepStrictEqual(await link.takeRegistrations(), kRegistrations);
    for (const drop of ['close', 'terminate']) {
        link.socket[drop]();
        link = await gateway.accept();
        assert.deepStrictEqual(await link.takeRegistrations(), kRegistrations);
    }
    await gateway.close();
    gateway = new Gateway();
    link = await gateway.accept();
    assert.deepStrictEqual(await link.takeRegistrations(), kRegistrations);
});

test('device information is fetched each time the endpoints are ready, and names the product', async () => {
    for (const name of ['Hall', 'Kitchen']) {
        link.send({ op: 'ready', endpoints: kInterests });
        const request = await serve('/system/info', { op: 'answer', body: { name } });
        assert.strictEqual(request.body, undefined);
        link.send({ op: 'notReady', endpoints: ['/system/info'] });
    }
    const { op, body } = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual([op, body.statusCode], ['answer', 200]);
    assert.strictEqual(JSON.parse(fs.readFileSync(latest('metadata.json'))).productName, 'Kitchen');
});

test('an upload without effect is an error of the status that the pipeline gave', async () => {
    const { op, error } = await link.outcome('POST', kUpload, { fileType: ['PROC_STAT'] });
    assert.deepStrictEqual({ op, error },
        { op: 'error', error: { statusCode: 400, message: 'Manifest is empty, nothing to upload' } });
});

test('one file goes with exactly one type', async () => {
    const rule = { statusCode: 400, message: 'Custom file upload requires exactly one file type' };
    for (const fileType of [[], ['TOP', 'LOGREAD']]) {
        const refused = await link.outcome('POST', kUpload, { fileToUpload: '/proc/uptime', fileType });
        assert.deepStrictEqual([refused.op, refused.error], ['error', rule]);
    }
    const empty = await link.outcome('POST', kUpload, { fileToUpload: '', fileType: ['PROC_LOADAVG', 'PROC_UPTIME'] });
    assert.strictEqual(empty.op, 'answer', 'an empty path is no custom file');
    const taken = await link.outcome('POST', kUpload, { fileToUpload: '/proc/version', fileType: ['LOGREAD'] });
    assert.strictEqual(taken.body.statusCode, 200);
    assert.strictEqual(contentOfLatest('custom_file'), fs.readFileSync('/proc/version', 'utf8'));
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

test('gateway items collect what their endpoints answer with', async () => {
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    await register('/other/note', 'a note', 'GATRIX_RESPONSE_FILEPATH');
    await register('/other/state', 'state', 'GATRIX_RESPONSE_PAYLOAD', { outputFilename: 'named.json' });
    await register('/other/gone', 'gone', 'GATRIX_RESPONSE_PAYLOAD');
    const upload = link.ask('POST', kUpload, { fileType: ['INTROSPECTION'] });
    const note = await serve('/other/note', { op: 'answer', body: { filepathToUpload: '/tmp/note.txt' } });
    assert.strictEqual(note.body, undefined);
    const state = await serve('/other/state', { op: 'answer', body: `it's "on"` });
    assert.deepStrictEqual([state.body, state.version], [{ dummyPayload: 'dummy payload data' }, 1]);
    await serve('/other/gone', { op: 'error', error: { statusCode: 404, message: 'nobody' } });
    const { body } = await link.take({ op: 'answer', id: upload });
    assert.strictEqual(body.statusCode, 200);
    assert.strictEqual(contentOfLatest('a note'), 'a note\n');
    // The backslashes are the service's; the shell takes the one before the double quote away again.
    assert.strictEqual(contentOfLatest('state').trimEnd(), String.raw`it\'s "on"`);
    assert.ok(service.log().includes(String.raw`debugEscape #1111: it\'s \"on\"`));
    assert.ok(service.log().includes('Harvesting Gatrix Payload FAILED'));
});

test('a registration names its output: as it says, or after its sub-type', () => {
    const outputs = service.log().match(/(?<=GetOutputFilename\(\): ).*/g);
    for (const output of ['dfs_a_note', 'named.json']) {
        assert.ok(outputs.includes(`/mnt/nv/product-persistence/${output}`), output);
    }
});

test('notifications do the same work, and get no answer', async () => {
    link.send({ op: 'notify', endpoint: kRegistration, version: 1, body: item('/other/noted', 'noted', 'GATRIX_RESPONSE_FILEPATH') });
    link.send({ op: 'notify', endpoint: kUpload, version: 1, body: { fileType: ['INTROSPECTION'], subType: 'noted' } });
    await serve('/other/noted', { op: 'answer', body: { filepathToUpload: '/tmp/note.txt' } });
    await until('the end of the upload', () => service.log().includes('DiagUploadNotifyResponseCB - END'));
    assert.strictEqual(contentOfLatest('noted'), 'a note\n');
    assert.deepStrictEqual(link.frames, []);
});

test('each of two overlapping uploads is answered at most once', async () => {
    const answers = () => service.log().split('DiagUploadResponseCB - END').length;
    const before = answers();
    const wanted = { fileType: ['INTROSPECTION'], subType: 'a note' };
    const first = link.ask('POST', kUpload, wanted);
    const request = await link.take({ op: 'request', endpoint: '/other/note' });
    const second = link.ask('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    const busy = await link.take({ op: 'error', id: second });
    assert.deepStrictEqual(busy.error, { statusCode: 555, message: 'Unable to process request, system busy' });
    const replaced = await link.take({ op: 'error', id: first });
    assert.strictEqual(replaced.error.statusCode, 500, 'nobody is left to answer the first');
    link.send({ op: 'answer', id: request.id, body: { filepathToUpload: '/tmp/note.txt' } });
    assert.strictEqual((await link.outcome('POST', kRegistration, item('x', 'x', 'SCRIPT'))).op, 'answer');
    await until('the end of the first upload', () => answers() === before + 2);
    assert.deepStrictEqual(link.frames, [], 'its outcome, meant for the second, is not sent');
});

test('the two test endpoints answer', async () => {
    const filepath = await link.outcome('GET', 'dfservice/gettysburg_address_filepath');
    assert.deepStrictEqual(filepath.body, { filepathToUpload: '/mnt/nv/product-persistence/Gettysburg_Address.txt' });
    for (const [text, answer] of [['{"a": "b"}\n', { payloadToUpload: '{"a": "b"}\n' }], ['\xff', undefined]]) {
        fs.writeFileSync('/mnt/nv/product-persistence/Dorvin_test.json', text, 'latin1');
        const { op, body } = await link.outcome('GET', 'dfservice/luckiest_man_payload');
        assert.deepStrictEqual([op, body], [answer ? 'answer' : 'error', answer]);
    }
});

test('without a gateway, gateway items drop out at once and the others arrive', async () => {
    await gateway.close();
    await until('the drop', () => service.log().includes('GXC websocket NOT connected'));
    const { stdout } = await runBeside('vcli', 'diagfileservice', 'upload');
    assert.match(stdout, /Upload status code = 200/);
    assert.notStrictEqual(contentOfLatest('proc_loadavg'), '');
    assert.ok(service.isAlive());
});

test.after(cleanUp);

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
    input: '/other/note', fileType: 'INTROSPECTION', subType: 'a note', harvestType: 'GATRIX_RESPONSE_FILEPATH',
};
const kOneTypeNeeded = 'Custom file upload requires exactly one file type';

test.before(async () => {
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    await startCloud([299, 300].map((status) => ({ match: 'archive', status, body: `status ${status}` })));
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
    const { body } = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual(body, { statusCode: 299, message: 'status 299' }, 'a status below 300 is an answer');
    assert.strictEqual(JSON.parse(fs.readFileSync(latest('metadata.json'))).productName, 'Kitchen');
    const { error } = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual(error, { statusCode: 300, message: 'status 300' });
});

test('a body that cannot be taken is refused', async () => {
    const cases = [
        [kUpload, { fileType: ['NO_SUCH_TYPE'] }, 'NO_SUCH_TYPE'], [kUpload, 'text', 'UploadRequest'],
        [kUpload, undefined, 'UploadRequest'], [kRegistration, { input: 'x' }, 'fileType'],
        [kUpload, { fileType: [], fileToUpload: '/proc/version' }, kOneTypeNeeded],
        [kUpload, { fileType: ['TOP', 'LOGREAD'], fileToUpload: '/proc/version' }, kOneTypeNeeded],
    ];
    for (const [endpoint, body, reason] of cases) {
        const { op, error } = await link.outcome('POST', endpoint, body);
        assert.strictEqual(op, 'error');
        assert.strictEqual(error.statusCode, 400);
        assert.ok(error.message.includes(reason), error.message);
        link.send({ op: 'notify', endpoint, version: 1, body });
    }
    const last = `UploadSysInfoNotifications: ${kOneTypeNeeded}, got: 2\n`;
    await until('the last refusal', () => service.log().includes(last));
    link.socket.send('no JSON');
    link.send({ op: 'no such thing' });
    const { op } = await link.outcome('POST', kUpload, { fileToUpload: '', fileType: ['PROC_LOADAVG', 'PROC_UPTIME'] });
    assert.strictEqual(op, 'answer', 'the connection stays, and an empty path is no custom file');
});

test('notifications do the same work, and get no answer', async () => {
    link.send({ op: 'notify', endpoint: kRegistration, version: 1, body: item });
    link.send({ op: 'notify', endpoint: kUpload, version: 1, body: { fileType: ['INTROSPECTION'] } });
    await link.serve(item.input, { filepathToUpload: '/tmp/note.txt' });
    await until('the end of the upload', () => service.log().includes('DiagUploadNotifyResponseCB - END'));
    assert.strictEqual(await contentOfLatest('a note'), 'a note\n');
    assert.deepStrictEqual(link.frames, []);
});

test('an upload of everything brings the items that others registered', async () => {
    for (const more of [
        { input: '/nobody', subType: ' gone away\n' },
        { input: '/other/state', subType: 'state', outputFilename: 'named' },
    ]) {
        const { body } = await link.outcome('POST', kRegistration,
            { ...more, fileType: 'EXE_SCRIPT', harvestType: 'GATRIX_RESPONSE_PAYLOAD' });
        assert.deepStrictEqual(body,
            { statusCode: 200, message: 'Registration Successf, AsyncCallback<const std::string>*ul' });
    }
    const upload = link.ask('POST', kUpload, { fileType: ['UPLOAD_EVERYTHING'] });
    const note = await link.serve('/other/note', { filepathToUpload: '/tmp/note.txt' });
    assert.strictEqual(note.body, undefined);
    const { id } = await link.take({ op: 'request', endpoint: '/nobody' });
    link.send({ op: 'error', id, error: { statusCode: 404, message: 'nobody' } });
    const state = await link.serve('/other/state', { volume: 31, name: "Ann's" });
    assert.deepStrictEqual([state.body, state.version], [{ dummyPayload: 'dummy payload data' }, 1]);
    const { body } = await link.take({ op: 'answer', id: upload });
    assert.strictEqual(body.statusCode, 200);
    assert.strictEqual(await contentOfLatest('a note'), 'a note\n');
    // The backslashes are the service's; the shell takes those before the double quotes away again.
    assert.strictEqual((await contentOfLatest('state')).trimEnd(), String.raw`{"volume":31,"name":"Ann\'s"}`);
    assert.notStrictEqual(await contentOfLatest('logread'), '');
    for (const line of [
        String.raw`debugEscape #1111: {\"volume\":31,\"name\":\"Ann\'s\"}`, 'Harvesting Gatrix Payload FAILED',
        ...['a_note', '_gone_away'].map((name) => `GetOutputFilename(): /mnt/nv/product-persistence/dfs_${name}\n`),
        'GetOutputFilename(): /mnt/nv/product-persistence/named\n',
    ]) {
        assert.ok(service.log().includes(line), line);
    }
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

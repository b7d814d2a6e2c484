// A service made with another WebSocket library, beside the service, at the gateway of the development kit.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const test = require('node:test');
const {
    cleanUp, connect, contentOfLatest, kRegistration, kUpload, start, startCloud, startService, until,
} = require('./support.js');

let service;
let link;

test.before(async () => {
    await startCloud([299, 300].map((status) => ({ match: 'archive', status, body: `status ${status}` })));
    await start('gatrix-gateway', [], '8084');
    service = await startService();
    link = await connect('/system/info', [kUpload, kRegistration]);
    await link.serve('/system/info', { name: 'Kitchen' });
    await until('the device name', () => service.log().includes('deviceName: Kitchen'));
});

test('a status below 300 is an answer, another one an error', async () => {
    const answer = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual(answer.body, { statusCode: 299, message: 'status 299' });
    const { error } = await link.outcome('POST', kUpload, { fileType: ['PROC_LOADAVG'] });
    assert.deepStrictEqual(error, { statusCode: 300, message: 'status 300' });
});

test('an upload of everything brings the items that others registered', async () => {
    const items = [
        { input: '/foreign/note', subType: 'a note', harvestType: 'GATRIX_RESPONSE_FILEPATH' },
        { input: '/nobody', subType: ' gone away\n', harvestType: 'GATRIX_RESPONSE_PAYLOAD' },
        { input: '/foreign/state', subType: 'state', harvestType: 'GATRIX_RESPONSE_PAYLOAD', outputFilename: 'named' },
    ];
    for (const item of items) {
        const { body } = await link.outcome('POST', kRegistration, { ...item, fileType: 'INTROSPECTION' });
        assert.deepStrictEqual(body,
            { statusCode: 200, message: 'Registration Successf, AsyncCallback<const std::string>*ul' });
    }
    link.handle('/foreign/note');
    link.handle('/foreign/state');
    const upload = link.ask('POST', kUpload, { fileType: ['UPLOAD_EVERYTHING'] });
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    const note = await link.serve('/foreign/note', { filepathToUpload: '/tmp/note.txt' });
    const state = await link.serve('/foreign/state', { volume: 31, name: "Ann's" });
    assert.strictEqual(note.body, undefined);
    assert.deepStrictEqual([state.body, state.version], [{ dummyPayload: 'dummy payload data' }, 1]);
    const { body } = await link.take({ op: 'answer', id: upload });
    assert.strictEqual(body.statusCode, 200);
    assert.strictEqual(await contentOfLatest('a note'), 'a note\n');
    // The backslashes are the service's; the shell takes those before the double quotes away again.
    assert.ok(service.log().includes(String.raw`debugEscape #1111: {\"volume\":31,\"name\":\"Ann\'s\"}`));
    assert.strictEqual((await contentOfLatest('state')).trimEnd(), String.raw`{"volume":31,"name":"Ann\'s"}`);
    assert.notStrictEqual(await contentOfLatest('logread'), '');
    assert.ok(service.log().includes('Harvesting Gatrix Payload FAILED'));
    for (const output of ['dfs_a_note', 'dfs__gone_away', 'named']) {
        assert.ok(service.log().includes(`GetOutputFilename(): /mnt/nv/product-persistence/${output}\n`), output);
    }
});

test('one file goes with exactly one type', async () => {
    const rule = { statusCode: 400, message: 'Custom file upload requires exactly one file type' };
    for (const fileType of [[], ['TOP', 'LOGREAD']]) {
        const { op, error } = await link.outcome('POST', kUpload, { fileToUpload: '/proc/version', fileType });
        assert.deepStrictEqual([op, error], ['error', rule]);
    }
    link.send({ op: 'notify', endpoint: kUpload, version: 1, body: { fileToUpload: '/proc/version', fileType: [] } });
    await until('the refusal', () => service.log().includes(`UploadSysInfoNotifications: ${rule.message}, got: 0\n`));
    const empty = await link.outcome('POST', kUpload, { fileToUpload: '', fileType: ['PROC_LOADAVG', 'PROC_UPTIME'] });
    assert.strictEqual(empty.op, 'answer', 'an empty path is no custom file');
    const taken = await link.outcome('POST', kUpload, { fileToUpload: '/proc/version', fileType: ['LOGREAD'] });
    assert.strictEqual(taken.body.statusCode, 200);
    assert.strictEqual(await contentOfLatest('custom_file'), fs.readFileSync('/proc/version', 'utf8'));
});

test.after(cleanUp);

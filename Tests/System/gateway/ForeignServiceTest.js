// A service made with another WebSocket library, beside the service, at the gateway of the development kit.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const test = require('node:test');
const {
    cleanUp, connect, contentOfLatest, kRegistration, kUpload, start, startCloud, startService, until,
} = require('./support.js');

const kRegistered = 'Registration Successf, AsyncCallback<const std::string>*ul';

let service;
let link;

test.before(async () => {
    await startCloud();
    await start('gatrix-gateway', [], '8084');
    service = await startService();
    link = await connect('foreign');
    link.send({ op: 'register', method: 'GET', endpoint: '/system/info', version: 1, group: 'foreign' });
    link.send({ op: 'interest', endpoints: [kUpload, kRegistration] });
    await link.take({ op: 'ready' });
});

test('the service asks for the device information once somebody has it', async () => {
    const { id } = await link.take({ op: 'request', endpoint: '/system/info' });
    link.send({ op: 'answer', id, body: { name: 'Kitchen' } });
    await until('the device name', () => service.log().includes('deviceName: Kitchen'));
});

test('an upload of everything brings the items that others registered', async () => {
    fs.writeFileSync('/tmp/note.txt', 'a note\n');
    const items = [['/foreign/note', 'note', 'GATRIX_RESPONSE_FILEPATH', { filepathToUpload: '/tmp/note.txt' }],
        ['/foreign/state', 'state', 'GATRIX_RESPONSE_PAYLOAD', { volume: 31, name: "Ann's" }]];
    for (const [input, subType, harvestType] of items) {
        link.send({ op: 'register', method: 'GET', endpoint: input, version: 1, group: 'foreign' });
        const { body } = await link.outcome('POST', kRegistration,
            { input, fileType: 'INTROSPECTION', subType, harvestType });
        assert.deepStrictEqual(body, { statusCode: 200, message: kRegistered });
    }
    const upload = link.ask('POST', kUpload, { fileType: ['UPLOAD_EVERYTHING'] });
    for (const [endpoint, , , body] of items) {
        const { id } = await link.take({ op: 'request', endpoint });
        link.send({ op: 'answer', id, body });
    }
    const { body } = await link.take({ op: 'answer', id: upload });
    assert.strictEqual(body.statusCode, 200);
    assert.strictEqual(contentOfLatest('note'), 'a note\n');
    assert.deepStrictEqual(JSON.parse(contentOfLatest('state').replace(String.raw`\'`, "'")), { volume: 31, name: "Ann's" });
    assert.notStrictEqual(contentOfLatest('logread'), '');
});

test('the custom-file rule and a bad body are answered with 400', async () => {
    const rule = await link.outcome('POST', kUpload, { fileToUpload: 'x', fileType: ['TOP', 'LOGREAD'] });
    assert.deepStrictEqual(rule.error,
        { statusCode: 400, message: 'Custom file upload requires exactly one file type' });
    assert.strictEqual((await link.outcome('POST', kUpload, [1])).error.statusCode, 400);
});

test.after(cleanUp);

// The hostile sources. Each may have:
//   metadata, archive  how the cloud answers the two posts, see peers.js; plainly if not given
//   files              what lies on the device, by path; atStart: before the service starts, and that counts
//   before(device)     what is set up before the service starts, such as the gateway
//   attack(device)     what happens before the request
//   request(device)    the request and its outcome, a status; an upload of the twelve items by vcli if not given
//   memoryLeft         the address space that the service may still take
//   mayBeLate          by the retry rules, or the time limit of an exchange, the answer may come later than a row waits
//   logLimit           bytes of log, if more than a request may write
'use strict';

const crypto = require('node:crypto');
const fs = require('node:fs');
const net = require('node:net');
const WebSocket = require('ws');

const { kKiB, kMiB, sleep } = require('./peers.js');
const { Gateway, kRegistration, kUpload } = require('../../Tests/System/gateway/support.js');

const kPersistence = '/mnt/nv/product-persistence';
const kTokenFile = `${kPersistence}/quillane_jwt.json`;
/** A frame on the gateway has 1 MiB; this leaves room for what is around a text. */
const kLongestText = kMiB - kKiB;
const kRegistrations = 5000;

const segment = (text) => Buffer.from(text).toString('base64url');
const token = (claims) => `${segment('{"alg":"ES256"}')}.${segment(claims)}.${segment('signature')}`;
const tokenFile = (accessToken) =>
    JSON.stringify({ access_token: accessToken, expires_in: 3600, refresh_token: token('{}'), token_type: 'bearer' });

/** Claims in as many levels as a reader takes, so that their indented form is as wide as it gets. */
const nestedClaims = (zeros) => `{"a":[0,${'['.repeat(989)}0${',0'.repeat(zeros)}${']'.repeat(990)}}`;

/** A configuration file of about that size. */
function configuration(size) {
    const items = [];
    for (let length = 0; length < size; length += items[items.length - 1].length + 1) {
        items.push(JSON.stringify({
            input: `/nowhere/${items.length}`, fileType: 'EXE_SCRIPT', subType: `item ${items.length}`,
            harvestType: 'EXISTING_FILE', outputFilename: `${kPersistence}/dfs_${items.length}`,
        }));
    }
    return `{"diagItemConfigList":{"item":[${items.join()}],"version":1.2}}`;
}

/** The gateway, once the service is connected to it. */
const connected = (device) => device.gateway.accept();

const registration = (number, text, input = '/peer/state') => ({
    input, fileType: 'INTROSPECTION', subType: `${number} ${text}`, harvestType: 'GATRIX_RESPONSE_PAYLOAD',
});

/** Every second one as long as it may be, the others longer. */
function longRegistration(number) {
    if (number % 2) {
        return registration(number, 'x'.repeat(4000), `/peer/${'x'.repeat(4000)}`);
    }
    return registration(number, 'x'.repeat(number % 500 ? 64 * kKiB : kLongestText));
}

/** The status that the service answers the posted request with. */
async function outcome(link, id) {
    for (;;) {
        const frame = link.frames.find((each) => each.id === id && each.op !== 'request');
        if (frame) {
            return frame.op === 'answer' ? frame.body.statusCode : frame.error.statusCode;
        }
        await sleep(5);
    }
}

const withGateway = { before: (device) => { device.gateway = new Gateway(); } };

module.exports = {
    'none: a well-behaved cloud': {},
    'metadata answer: 16 MiB of JSON': { metadata: 'json' },
    'the same, with 48 MiB of address space left': { metadata: 'json', memoryLeft: 48 * kMiB },
    'metadata answer: 16 MiB of control characters': { metadata: 'controls' },
    'metadata answer: 18 MiB of header fields': { metadata: 'headers', mayBeLate: true },
    'metadata answer: no end': { metadata: 'endless', mayBeLate: true },
    'archive answer: 16 MiB of JSON': { archive: 'json' },
    'archive answer: 16 MiB of control characters': { archive: 'controls' },
    'token file: 256 KiB, claims in 990 levels': {
        files: () => ({ [kTokenFile]: tokenFile(token(nestedClaims(95000))) }),
    },
    'token file: a token of 64 KiB': {
        files: () => ({ [kTokenFile]: tokenFile(token(JSON.stringify({ text: 'a'.repeat(48 * kKiB) }))) }),
    },
    'side file of the refresh token: 16 MiB': {
        files: () => ({
            [kTokenFile]: tokenFile(token('{}')),
            [`${kPersistence}/quillane_jwt.refresh_token`]: 'x'.repeat(16 * kMiB),
        }),
    },
    'configuration file: 16 MiB of items': {
        atStart: true,
        files: () => ({ [`${kPersistence}/DFSDiagItemConfigurationFile.json`]: configuration(16 * kMiB) }),
    },
    'gateway: 5,000 registrations of 8 KiB to 1 MiB': {
        ...withGateway,
        logLimit: kMiB + kRegistrations * 16 * kKiB,
        async attack(device) {
            const link = await connected(device);
            for (let number = 0; number < kRegistrations; ++number) {
                link.send({ op: 'notify', endpoint: kRegistration, version: 1, body: longRegistration(number) });
                while (link.socket.bufferedAmount > kMiB) {
                    await sleep(1);
                }
            }
            await outcome(link, link.ask('POST', kRegistration, registration('last', '')));
        },
    },
    'gateway: a payload of 1 MiB of control characters': {
        ...withGateway,
        async request(device) {
            const link = await connected(device);
            await outcome(link, link.ask('POST', kRegistration, registration(1, 'state')));
            const upload = link.ask('POST', kUpload, { fileType: ['INTROSPECTION'] });
            await link.serve('/peer/state', '\x7f'.repeat(kLongestText));
            return outcome(link, upload);
        },
    },
    'gateway: an upload of a path of 1 MiB': {
        ...withGateway,
        async request(device) {
            const link = await connected(device);
            const fileToUpload = '/a'.repeat(kLongestText / 2);
            return outcome(link, link.ask('POST', kUpload, { fileToUpload, fileType: ['INTROSPECTION'] }));
        },
    },
    'gateway: a file of 64 MiB, 24 MiB of address space left': {
        ...withGateway,
        memoryLeft: 24 * kMiB,
        async request(device) {
            fs.writeFileSync('/mnt/nv/large', crypto.randomBytes(64 * kMiB));
            const link = await connected(device);
            const body = { fileToUpload: '/mnt/nv/large', fileType: ['USER_SPECIFIED_FILE'] };
            return outcome(link, link.ask('POST', kUpload, body));
        },
    },
    'gateway: hangs up after each hello': {
        async attack(device) {
            const lines = device.logLines();
            let connections = 0;
            const server = new WebSocket.Server({ host: '127.0.0.1', port: 8084 });
            server.on('connection', (socket) => {
                ++connections;
                socket.on('message', () => socket.close());
            });
            await sleep(10000);
            const logged = device.logLines() - lines;
            device.note = `${connections / 10} connections, ${logged / 10} lines a second`;
            device.isMissed = connections > 20;
        },
    },
    'command line: 20 tools, 1 MiB without a line feed each': {
        async attack() {
            const tools = Array.from({ length: 20 }, () => new Promise((resolve) => {
                const socket = net.connect('/run/vantor/cli/DiagnosticFileService.sock');
                socket.on('error', () => {});
                socket.on('close', resolve);
                socket.write('a'.repeat(kMiB));
            }));
            await Promise.race([Promise.all(tools), sleep(2000)]);
        },
    },
};

// What the gateway's system tests share: the programs on the device, and peers made with a WebSocket library that is
// not ours.
'use strict';

const assert = require('node:assert');
const { execFile, spawn } = require('node:child_process');
const fs = require('node:fs');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const WebSocket = require('ws');

assert.ok(fs.existsSync('/.layers'), 'this writes to the device\'s paths and is for a device box only');

const [, , programs, key] = process.argv;
const kPort = 8084;
/** How long a test waits for what must come, in ms. Far more than it takes, so that a slow machine fails no test. */
const kDeadline = (process.env.TEST_DEADLINE || 20) * 1000;

const kUpload = '/dfservice/upload';
const kRegistration = '/dfservice/diagitemregistration';
const kInterests = [kUpload, kRegistration, '/system/info'];
/** What the service sends on each new connection. */
const kRegistrations = [
    { op: 'hello', client: 'DiagFileServiceGatrixIF', platform: 'meridel' },
    { op: 'interest', endpoints: kInterests },
    { op: 'register', method: 'POST', endpoint: kUpload, version: 1, group: 'DFService' },
    { op: 'register', method: 'POST', endpoint: kRegistration, version: 1, group: 'DFService' },
    { op: 'subscribe', endpoint: kUpload, version: 1 },
    { op: 'subscribe', endpoint: kRegistration, version: 1 },
    { op: 'register', method: 'GET', endpoint: 'dfservice/gettysburg_address_filepath', version: 1, group: 'TestGroup' },
    { op: 'register', method: 'GET', endpoint: 'dfservice/luckiest_man_payload', version: 1, group: 'TestGroup' },
];

/** Waits, in small steps, until the function returns something true, and returns that. */
async function until(what, condition) {
    for (const end = Date.now() + kDeadline; ; await sleep(5)) {
        const result = await condition();
        if (result) {
            return result;
        }
        assert.ok(Date.now() < end, `waited in vain: ${what}`);
    }
}

/** Runs a program of this tree to its end, which must be a good one; its standard output. */
const run = async (name, ...words) => (await promisify(execFile)(`${programs}/${name}`, words)).stdout;

const children = [];
const sockets = [];

/** Starts a program of this tree, its output going to a file. */
function launch(name, words, environment = {}) {
    const log = `/tmp/${name}.log`;
    const { O_APPEND, O_CREAT, O_TRUNC, O_WRONLY } = fs.constants;
    const output = fs.openSync(log, O_APPEND | O_CREAT | O_TRUNC | O_WRONLY);
    const child = spawn(`${programs}/${name}`, words, {
        stdio: ['ignore', output, output], env: { ...process.env, ...environment },
    });
    fs.closeSync(output);
    children.push(child);
    return {
        pid: child.pid,
        log: () => fs.readFileSync(log, 'utf8'),
        clearLog: () => fs.truncateSync(log),
        isAlive: () => child.exitCode === null && child.signalCode === null,
        kill: () => new Promise((resolve) => { child.on('exit', resolve); child.kill('SIGKILL'); }),
    };
}

/** The same, and waits until its output says the text. */
async function start(name, words, text, environment) {
    const program = launch(name, words, environment);
    await until(`${name} says "${text}"`, () => program.log().includes(text));
    return program;
}

/** Ends what a test file has started, so that the file can end. */
function cleanUp() {
    children.forEach((child) => child.kill('SIGKILL'));
    sockets.forEach((socket) => socket.terminate());
}

/** Starts the cloud's stand-in, with the outcomes that its first requests shall have. */
function startCloud(script = []) {
    fs.writeFileSync('/tmp/script.json', JSON.stringify(script));
    return start('diag-cloud', ['--store', '/tmp/cloud', '--script', '/tmp/script.json'], '8888');
}

const startService = (environment) => (
    start('DiagnosticFileService', [], 'LoadDiagItemsFromConfigFile - END', environment));

/** Path of the file of that ending which reached the cloud last. */
function latest(ending) {
    const paths = fs.readdirSync('/tmp/cloud').map((name) => `/tmp/cloud/${name}`);
    const time = (path) => fs.statSync(path, { bigint: true }).mtimeNs;
    return paths.filter((path) => path.endsWith(ending)).reduce((a, b) => (time(a) > time(b) ? a : b));
}

/** Plain content of an item of the archive that arrived last. */
const contentOfLatest = (subType) => run('dfs-open', latest('.tar.gz'), '--key', key, '--cat', subType);

/** One end of a connection: keeps the frames that arrive, in order, until somebody takes them. */
class Link {
    constructor(socket) {
        sockets.push(socket);
        this.socket = socket;
        this.frames = [];
        this.lastId = 1000; // beyond the numbers of what the other end asks
        socket.on('message', (data) => this.frames.push(JSON.parse(data.toString())));
        socket.on('error', () => {});
    }

    send(frame) {
        this.socket.send(JSON.stringify(frame));
    }

    /** Takes the first frame that has these members, wherever it stands. */
    take(members) {
        const fits = (frame) => Object.entries(members).every(([name, value]) => frame[name] === value);
        return until(`a frame with ${JSON.stringify(members)}`, () => {
            const at = this.frames.findIndex(fits);
            return at >= 0 && this.frames.splice(at, 1)[0];
        });
    }

    /** Registers an endpoint for GET. */
    handle(endpoint) {
        this.send({ op: 'register', method: 'GET', endpoint, version: 1, group: 'test' });
    }

    /** Answers the next request of an endpoint; returns that request. */
    async serve(endpoint, body) {
        const request = await this.take({ op: 'request', method: 'GET', endpoint });
        this.send({ op: 'answer', id: request.id, body });
        return request;
    }

    /** Asks; the number of the request, which its answer carries. */
    ask(method, endpoint, body) {
        const id = ++this.lastId;
        this.send({ op: 'request', id, method, endpoint, version: 1.0, body });
        return id;
    }

    /** Asks, and takes what comes of it: an "answer" or "error" frame. */
    outcome(method, endpoint, body) {
        return this.take({ id: this.ask(method, endpoint, body) });
    }
}

/** A gateway as far as one client sees it: takes connections, and plays the gateway's part through their links. */
class Gateway {
    constructor() {
        this.links = [];
        this.server = new WebSocket.Server({ host: '127.0.0.1', port: kPort });
        this.server.on('connection', (socket) => this.links.push(new Link(socket)));
    }

    /** The service's next connection, once it has registered itself there; requests that came with that stay. */
    async accept() {
        const link = await until('a connection', () => this.links.shift());
        const others = () => link.frames.filter(({ op }) => op !== 'request');
        await until('the registrations', () => others().length >= kRegistrations.length);
        assert.deepStrictEqual(others(), kRegistrations);
        link.frames = link.frames.filter(({ op }) => op === 'request');
        return link;
    }

    /** Ends all connections without a word, and stops listening. */
    close() {
        this.server.clients.forEach((socket) => socket.terminate());
        return new Promise((resolve) => this.server.close(resolve));
    }
}

/** A service at the gateway that is there; it handles one endpoint, and waits until others handle those of interest. */
async function connect(endpoint, interests) {
    const link = new Link(new WebSocket(`ws://127.0.0.1:${kPort}/`));
    await until('an open connection', () => link.socket.readyState === WebSocket.OPEN);
    link.send({ op: 'hello', client: 'peer', platform: 'test' });
    link.handle(endpoint);
    link.send({ op: 'interest', endpoints: interests });
    await link.take({ op: 'ready' });
    return link;
}

module.exports = {
    Gateway, cleanUp, connect, contentOfLatest, kInterests, kRegistration, kUpload, latest, launch, run,
    sleep, start, startCloud, startService, until,
};

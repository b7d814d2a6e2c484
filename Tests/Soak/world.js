// The device around the service under test, and what must hold after each fault.
'use strict';

const assert = require('node:assert');
const { randomBytes } = require('node:crypto');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const zlib = require('node:zlib');
const {
    connect, kUpload, latest, sleep, start, startCloud, startService, until,
} = require('../System/gateway/support.js');
const { kPath } = require('./control.js');
const { library } = require('./driver.js');

const kFolder = '/mnt/nv/product-persistence';
const kConfiguration = `${kFolder}/DFSDiagItemConfigurationFile.json`;
const kManifest = 'dfs_uploadmanifest.json';
const kPlain = 'readable by anybody';
const kItems = [
    { input: `encrypt-logs echo ${kPlain}`, harvestType: 'SCRIPT', subType: 'script' },
    { input: '/tmp/plain.txt', harvestType: 'EXISTING_FILE', subType: 'file' },
    { input: '/peer/payload', harvestType: 'GATRIX_RESPONSE_PAYLOAD', subType: 'payload' },
    { input: '/peer/path', harvestType: 'GATRIX_RESPONSE_FILEPATH', subType: 'path' },
    { input: 'encrypt-logs echo one', harvestType: 'SCRIPT', subType: 'command', fileType: 'PROC_LOADAVG' },
].map((item) => ({ fileType: 'TOP', ...item }));
const kConfigurationText = JSON.stringify({ diagItemConfigList: { version: 1.2, item: kItems } });
/** What stays of an item that failed, or that a crash has interrupted, and of an archive in the making. */
const kLeftover = /^dfs_\w+_\d{14}(\.\w+)?(\.gz)?(\.[^.]*)?$|^\.|\.tmp$/;

/** The ends of the process that are stated: the product has no identity, or the start has failed. */
const kStatedEnd = /Fatal Error: No Product (Name|Type|Id) *\n$|Caught top level exception: .*\n$/;

/** Waits until it holds; fails as it does when it never does. */
async function eventually(check) {
    for (const end = Date.now() + 10000; ; await sleep(20)) {
        try {
            return check();
        } catch (error) {
            assert.ok(Date.now() < end, error);
        }
    }
}

class World {
    constructor() {
        this.environment = { LD_PRELOAD: library, SOAK_CONTROL: kPath };
        this.lastNumber = 0;
    }

    async start(startsCloud = true) {
        fs.mkdirSync(kFolder, { recursive: true });
        // It does not compress, so that the archive takes large allocations.
        fs.writeFileSync('/tmp/plain.txt', `${kPlain}\n${randomBytes(45000).toString('base64')}`);
        await (startsCloud && startCloud());
        await this.startGateway();
    }

    async startGateway() {
        this.gateway = await start('gatrix-gateway', [], '8084');
        await this.startPeer();
    }

    /** Another service: answers what the diagnostic-file service asks for its items. */
    async startPeer() {
        this.link = await connect('/peer/payload', []);
        ['/peer/path', '/system/info'].forEach((endpoint) => this.link.handle(endpoint));
        const bodies = {
            '/peer/payload': { payloadToUpload: kPlain }, '/peer/path': { filepathToUpload: '/tmp/plain.txt' },
            '/system/info': { name: 'Hall' },
        };
        this.link.socket.on('message', (data) => {
            const frame = JSON.parse(data.toString());
            if (frame.op === 'request') {
                this.link.frames.pop(); // its number is the gateway's, which may be one of ours as well
                this.link.send({ op: 'answer', id: frame.id, body: bodies[frame.endpoint] });
            }
        });
    }

    hasEnded() {
        return !this.service.isAlive();
    }

    /** Waits until the process has ended, if it was about to, or what it does for a requester who is gone. */
    async settle() {
        await sleep(300);
        const isWorking = () => this.children() !== ''
            || [kManifest, 'dfs_diagfile.tar.gz'].some((name) => fs.existsSync(`${kFolder}/${name}`));
        const end = Date.now() + 60000;
        for (let idle = 0; idle < 10 && !this.hasEnded(); idle = isWorking() ? 0 : idle + 1) {
            assert.ok(Date.now() < end, `the service does not come to rest, children: ${this.children() || 'none'}`);
            await sleep(20);
        }
    }

    /** Its children, which are those of its threads. */
    children() {
        const folder = `/proc/${this.service.pid}/task`;
        return fs.readdirSync(folder).map((thread) => fs.readFileSync(`${folder}/${thread}/children`, 'utf8')).join('');
    }

    async stopService() {
        if (this.service && !this.hasEnded()) {
            await this.service.kill();
        }
    }

    /** Another list of items, and the sub-types of those that an upload brings. */
    async configure(text, subTypes) {
        await this.stopService();
        fs.writeFileSync(kConfiguration, text);
        this.subTypes = subTypes;
        await this.startAnew();
        this.configuration = fs.readFileSync(kConfiguration, 'utf8');
    }

    /** A service that has served an upload; what it holds from then on is what it may hold. */
    async startAnew() {
        await this.stopService();
        this.service = await startService(this.environment);
        await this.checkUpload('TOP', this.subTypes);
        this.checkLeftovers();
        await sleep(100);
        this.before = this.held();
    }

    /** Asks through the gateway: the status and text, of an answer or an error alike. */
    ask(endpoint, body) {
        this.lastId = this.link.ask('POST', endpoint, body);
        return this.answer();
    }

    async answer() {
        const { body, error } = await this.link.take({ id: this.lastId });
        const { statusCode, message } = body || error;
        return { status: statusCode || 0, message: message || '' };
    }

    upload(fileType = 'TOP', subType = undefined) {
        return this.ask(kUpload, { fileType: [fileType], subType });
    }

    /** Uploads until the answer will do: the service may be busy still, or its registrations on their way. */
    async uploadWhenReady(isReady, fileType, subType) {
        return until('an upload that ends as it is to', async () => {
            const answer = await this.upload(fileType, subType);
            return isReady(answer) && answer;
        });
    }

    /** What the descriptors are of. Two ends of a pipe are as good as an event descriptor: threads wake each other. */
    descriptors() {
        const folder = `/proc/${this.service.pid}/fd`;
        const targets = fs.readdirSync(folder).map((name) => fs.readlinkSync(`${folder}/${name}`));
        const pipes = new Set(targets.filter((target) => target.startsWith('pipe:')));
        const others = targets.filter((target) => !pipes.has(target)).map((target) => target.replace(/\d+/g, ''));
        return [...others, ...[...pipes].map(() => 'anon_inode:[eventfd]')].sort();
    }

    files() {
        return fs.readdirSync(kFolder).filter((name) => !kLeftover.test(name)).sort();
    }

    /** What must be the same before and after. */
    held() {
        return {
            descriptors: this.descriptors(),
            threads: fs.readdirSync(`/proc/${this.service.pid}/task`).length,
            children: this.children(),
            files: this.files(),
        };
    }

    /** Removes what may stay of items that failed. Nobody may be able to read it, nor anything else there. */
    checkLeftovers() {
        for (const name of fs.readdirSync(kFolder)) {
            const bytes = fs.readFileSync(`${kFolder}/${name}`);
            const isZipped = bytes.length > 2 && bytes.readUInt16BE() === 0x1f8b;
            const text = isZipped ? zlib.gunzipSync(bytes, { finishFlush: zlib.constants.Z_SYNC_FLUSH }) : bytes;
            assert.ok(!text.includes(kPlain) || kConfiguration.endsWith(name), `${name} can be read`);
            if (kLeftover.test(name)) {
                fs.unlinkSync(`${kFolder}/${name}`);
            }
        }
    }

    /** Starts the service anew whose end is stated, or came by a kill; a word for that end. */
    async restart(isKilled) {
        assert.ok(isKilled || kStatedEnd.test(this.service.log()), 'the process has ended');
        await this.startAnew();
        this.checkConfiguration();
        return isKilled ? 'killed' : 'ended as stated';
    }

    checkConfiguration() {
        assert.strictEqual(fs.readFileSync(kConfiguration, 'utf8'), this.configuration, 'the item configuration');
    }

    /** An upload that succeeds, and packs exactly these items. */
    async checkUpload(fileType, subTypes, filter) {
        fs.readdirSync('/tmp/cloud').forEach((name) => fs.unlinkSync(`/tmp/cloud/${name}`));
        await this.uploadWhenReady(({ status }) => status === 200, fileType, filter);
        const tar = (...words) => execFileSync('tar', [...words], { encoding: 'utf8' });
        const archive = latest('.tar.gz');
        const { item } = JSON.parse(tar('-xzOf', archive, kManifest)).UploadManifest;
        assert.deepStrictEqual(item.map(({ subType }) => subType), subTypes, 'the items of the next upload');
        assert.deepStrictEqual(tar('-tzf', archive).trim().split('\n').sort(),
            [kManifest, ...item.map(({ filename }) => `${filename}.gz`)].sort(), 'the files of the next upload');
        const left = () => fs.readdirSync(kFolder).filter((name) => item.some(({ filename }) => name.startsWith(filename)));
        await eventually(() => assert.deepStrictEqual(left(), [], 'files of the next upload stay'));
    }

    /** The next upload succeeds and packs exactly its own files; all else is as it was. */
    async checkNothingIsLost() {
        if (!this.mayFilesStay) {
            await eventually(() => assert.deepStrictEqual(this.files(), this.before.files, 'files stay'));
        }
        this.checkAnsweredOnce();
        await this.checkUpload('TOP', this.subTypes);
        this.checkLeftovers();
        await this.checkHeld();
        this.checkConfiguration();
    }

    checkAnsweredOnce() {
        assert.ok(!this.link.frames.some(({ id }) => id === this.lastId), 'a second answer');
    }

    checkHeld() {
        return eventually(() => assert.deepStrictEqual(this.held(), this.before));
    }

    /** The latest lines of the log, and before them the latest warnings and errors. */
    endOfLog() {
        const lines = this.service ? this.service.log().split('\n') : [];
        const warnings = lines.filter((line) => /^\S+ \d+ [012] /.test(line)).slice(-6);
        return [...warnings, '...', ...lines.slice(-8)].map((line) => `    ${line.slice(0, 200)}`).join('\n');
    }
}

module.exports = { World, kConfiguration, kConfigurationText, kFolder, kItems };

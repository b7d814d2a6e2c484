// Hostile peers: mutated frames to the service and to the gateway, mutated requests to the command line; the programs are
// built with sanitizers. Drivers that share a folder share the parts. Usage:
//   peers.js PROGRAMS KEY LIBRARY peers [--seed N] [--part service|gateway|command] [--percent N] [--share FOLDER]
'use strict';

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const net = require('node:net');
const path = require('node:path');
const WebSocket = require('ws');
const {
    Gateway, cleanUp, connect, kRegistration, kUpload, run, sleep, start, startCloud, startService, until,
} = require('../../System/gateway/support.js');
const { broken, filled, makeChance, oneOf } = require('./mutate.js');
const { addRow, claim, exitStatus, option } = require('../driver.js');
const { kConfiguration, kItems } = require('../world.js');

const add = (what, value, bound, isMet) => addRow({ what, value, bound, isMet });
let seed = Number(option('--seed', '1'));
/** For each connection its own, so that the order among connections does not matter. */
const nextChance = () => makeChance(seed++);

/** What a program may grow by, in KiB, from a tenth of its input to the end. 8 MiB of freed memory are kept for a while. */
const kGrowth = 32 * 1024;
const kOptions = 'log_path=/tmp/sanitizer:quarantine_size_mb=8:malloc_context_size=2';
const kEnvironment = { ASAN_OPTIONS: kOptions, UBSAN_OPTIONS: 'print_stacktrace=1' };

const kFrames = ['"interest","endpoints":[$,$]', '"register","method":"GET","endpoint":$,"version":%,"group":$',
    '"register","method":"POST","endpoint":$,"version":%,"group":$', '"subscribe","endpoint":$,"version":%',
    '"request","id":#,"method":"GET","endpoint":$,"version":%,"body":@', '"notify","endpoint":$,"version":%,"body":@',
    '"request","id":#,"method":"POST","endpoint":$,"version":%', '"answer","id":#,"body":@,"later":@',
    '"error","id":#,"error":{"statusCode":404,"message":$}', '"hello","client":$,"platform":$'].map((op) => `{"op":${op}}`);
const kFramesToService = [
    [kUpload, '{"fileType":["TOP"],"subType":$}'], [kUpload, '{"fileType":["TOP"],"fileToUpload":$}'], [kUpload, '@'],
    [kRegistration, '{"input":$,"fileType":"EXE_SCRIPT","subType":$,"harvestType":"EXISTING_FILE"}'],
    [kRegistration, '{"input":$,"fileType":"INTROSPECTION","subType":$,"harvestType":"GATRIX_RESPONSE_PAYLOAD"}'],
].flatMap(([endpoint, body]) => ['"request","id":#,"method":"POST"', '"notify"'].map((op) => (
    `{"op":${op},"endpoint":"${endpoint}","version":%,"body":${body}}`))).concat(kFrames,
    '{"op":"request","id":#,"method":"GET","endpoint":"dfservice/luckiest_man_payload","version":%,"body":@}',
    '{"op":"ready","endpoints":[$]}', '{"op":"notReady","endpoints":[$]}');
const kLines = ['{"request":"list","id":#}', '{"request":"run","id":#,"line":$}'].concat(
    ['', 'upload', 'upload #', 'upload # # x 9', 'upload \\"16', 'show', 'upload 1e9 \\\\'].map((words) => (
        `{"request":"run","id":#,"line":"diagfileservice ${words}"}`)));

/** The program under attack, and what it has read. */
class Victim {
    constructor(program, what, total) {
        Object.assign(this, { program, what, total: (total * Number(option('--percent', '100'))) / 100, done: 0 });
    }

    memory() {
        return Number(/^VmRSS:\s+(\d+)/m.exec(fs.readFileSync(`/proc/${this.program.pid}/status`, 'utf8'))[1]);
    }

    /** Its log grows with each frame, and is not kept. */
    count(number) {
        this.done += number;
        this.warm = this.done >= this.total / 10 && !this.warm ? this.memory() : this.warm;
        if (this.done % 4096 < number) {
            const logs = fs.readdirSync('/tmp').filter((file) => file.endsWith('.log'));
            logs.forEach((file) => fs.truncateSync(`/tmp/${file}`));
        }
    }

    /** Attacks, several times at a time, until all has been read. */
    async attack(width, once) {
        await Promise.all(Array.from({ length: width }, async () => {
            while (this.done < this.total) {
                const end = await Promise.race([once(), sleep(60000, 'late')]);
                assert.notStrictEqual(end, 'late', 'no answer in a minute');
                assert.ok(this.program.isAlive(), 'the program has ended');
            }
        }));
    }

    /** The rate is by the program's own time, in ticks of 10 ms. */
    async end() {
        const [user, system] = fs.readFileSync(`/proc/${this.program.pid}/stat`, 'latin1').split(' ').slice(13, 15);
        const rate = Math.round((100 * this.done) / (Number(user) + Number(system)));
        const growth = this.memory() - this.warm;
        add(this.what, `${this.done}, ${rate} a second`, `${this.total} or more`, this.done >= this.total);
        add(`${this.what}: memory, KiB`, `${this.warm} + ${growth}`, `+ ${kGrowth}`, growth <= kGrowth);
        process.kill(this.program.pid); // the gateway then looks for leaks
        await until('the end', () => !this.program.isAlive());
    }
}

let gateway;

/** The service, with a gateway that is ours. */
async function startDevice() {
    fs.mkdirSync(path.dirname(kConfiguration), { recursive: true });
    const item = [{ ...kItems[0], input: 'echo one' }];
    fs.writeFileSync(kConfiguration, JSON.stringify({ diagItemConfigList: { version: 1.2, item } }));
    await startCloud();
    gateway = new Gateway();
    return startService(kEnvironment);
}

/** Waits until the other end has read all that was sent, or is gone. Returns whether it is there. */
const hasRead = (socket) => new Promise((resolve) => {
    const settle = () => {
        socket.off('pong', settle).off('close', settle);
        resolve(socket.readyState === WebSocket.OPEN);
    };
    socket.on('pong', settle).on('close', settle).ping();
});

/** The service may be busy still, and then tells an earlier requester. */
async function answersUpload(ask) {
    for (let left = 30; !await ask(); --left) {
        assert.ok(left > 0, 'no upload succeeds');
        await sleep(2000);
    }
}

/** What the service asks others is answered meanwhile, or it would wait for each. */
async function attackService() {
    const kBatch = 512;
    const [chance, answers] = [nextChance(), nextChance()];
    const victim = new Victim(await startDevice(), 'frames to the service', 1e6);
    let latest;
    const accept = async () => {
        const link = await gateway.accept();
        link.socket.on('message', (data) => {
            link.frames.length = 0;
            latest = JSON.parse(data.toString());
            const body = filled(answers, '@');
            if (latest.op === 'request') {
                link.socket.send(`{"op":"answer","id":${latest.id},"body":${answers(4) ? body : broken(answers, body)}}`);
            }
        });
        return link;
    };
    let link = await accept();
    await victim.attack(1, async () => {
        for (let each = 0; each < kBatch; ++each) {
            const frame = filled(chance, oneOf(chance, kFramesToService));
            link.socket.send(chance(2) ? frame : broken(chance, frame));
        }
        if (chance(50) === 0) {
            link.socket.send(Buffer.from(broken(chance, kFrames[0]), 'latin1'), { binary: chance(2) === 0 });
        }
        if (await hasRead(link.socket)) {
            victim.count(kBatch);
        } else {
            link = await accept();
        }
    });
    await answersUpload(async () => {
        const id = link.ask('POST', kUpload, { fileType: ['TOP'], subType: kItems[0].subType });
        await sleep(3000);
        return latest.id === id && latest.body && latest.body.statusCode === 200;
    });
    return victim;
}

/** Over many connections: frames that are odd but valid, and then a broken one, which may end the connection. */
async function attackGateway() {
    const kValid = 63;
    const victim = new Victim(await start('gatrix-gateway', [], '8084', kEnvironment), 'frames to the gateway', 1e6);
    const handler = await connect('/sane', []);
    const requester = await connect('/sane/too', ['/sane']);
    await victim.attack(8, async () => {
        const chance = nextChance();
        const socket = new WebSocket('ws://127.0.0.1:8084/').on('error', () => {});
        await new Promise((resolve) => { socket.on('open', resolve).on('close', resolve); });
        socket.send('{"op":"hello","client":"hostile","platform":"test"}');
        for (let each = 0; each < kValid; ++each) {
            socket.send(filled(chance, oneOf(chance, kFrames)));
        }
        if (await hasRead(socket)) {
            socket.send(broken(chance, filled(chance, oneOf(chance, kFrames))), { binary: chance(100) === 0 });
            await hasRead(socket);
            victim.count(kValid + 1);
        }
        socket.terminate();
    });
    const id = requester.ask('GET', '/sane');
    await handler.serve('/sane', 'sound');
    assert.strictEqual((await requester.take({ id })).body, 'sound');
    return victim;
}

/** Over many connections: requests that are odd but valid, one whose answer says that they were read, a broken one. */
async function attackCommandLine() {
    const kValid = 31;
    const kLast = 2147483647;
    const victim = new Victim(await startDevice(), 'requests to the command line', 2e5);
    await victim.attack(6, () => new Promise((resolve) => {
        const chance = nextChance();
        const line = () => `${filled(chance, oneOf(chance, kLines)).replace(/"id":\d+/, `"id":${chance(kLast)}`)}\n`;
        const socket = net.connect('/run/vantor/cli/DiagnosticFileService.sock').on('error', () => {}).on('close', resolve);
        let events = '';
        socket.on('data', (data) => {
            events += data;
            if (!socket.writableEnded && events.includes(`"id":${kLast}`)) {
                victim.count(kValid + 2);
                socket.end(`${broken(chance, line())}\n`, chance(2) ? 'utf8' : 'latin1');
            }
            events = events.slice(-100);
        });
        socket.write(`${Array.from({ length: kValid }, line).join('')}{"request":"list","id":${kLast}}\n`);
    }));
    await answersUpload(async () => (await run('vcli', 'diagfileservice', 'upload', '16')).includes('code = 200'));
    return victim;
}

async function main() {
    const parts = { service: attackService, gateway: attackGateway, command: attackCommandLine };
    for (const [part, attack] of Object.entries(parts)) {
        if (![part, 'all'].includes(option('--part', 'all')) || !claim(part)) {
            continue;
        }
        gateway = undefined;
        const said = [];
        await attack().then((victim) => victim.end()).catch((error) => {
            // Where UndefinedBehaviorSanitizer reports. The beginning of the log was not kept.
            const log = `/tmp/${attack === attackGateway ? 'gatrix-gateway' : 'DiagnosticFileService'}.log`;
            said.push(error.stack, execFileSync('tail', ['-c', '2000', log], { encoding: 'latin1' }));
        });
        cleanUp();
        await (gateway && gateway.close());
        fs.readdirSync('/tmp').filter((file) => file.startsWith('sanitizer')).forEach((file) => {
            said.push(fs.readFileSync(`/tmp/${file}`, 'utf8').slice(0, 4000));
            fs.unlinkSync(`/tmp/${file}`);
        });
        said.forEach((text) => console.log(`${part}: ${text}`));
        add(`${part}: ends well, and sanitizers report nothing`, said.length === 0, true, said.length === 0);
    }
    process.exit(exitStatus());
}

main();

// Hostile peers: mutated frames to the service and to the gateway, mutated requests to the command line; the programs are
// built with sanitizers. Drivers that share a folder share the parts. Usage:
//   peers.js PROGRAMS KEY LIBRARY peers [--seed N] [--part service|gateway|command] [--percent N] [--share FOLDER]
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const net = require('node:net');
const path = require('node:path');
const WebSocket = require('ws');
const {
    Gateway, cleanUp, connect, kRegistration, kUpload, run, sleep, start, startCloud, startService, until,
} = require('../../System/gateway/support.js');
const { addMeasure, claim, exitStatus, option } = require('../driver.js');
const { kConfiguration, kItems } = require('../world.js');

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

/** Numbers by chance, each from 0 up to a limit that is not reached (xorshift, Marsaglia 2003). */
function makeChance(number) {
    let state = Math.imul(number, 2654435761) || 1;
    return (limit) => {
        state ^= state << 13;
        state ^= state >>> 17;
        state ^= state << 5;
        return (state >>> 0) % limit;
    };
}

const oneOf = (chance, list) => list[chance(list.length)];

const kTexts = ['', '/a', '/peer/state', '/dfservice/upload', '/system/info', 'TOP', '\u0000', '\u007f\u001b[2J', '%s%n',
    '../../x', 'a b', '"\'`$(x)', '\u00e9\u{1f600}', '\ufeff', 'x'.repeat(1000)];
const kNumbers = ['0', '1', '16', '100', '2147483646', '4294967296', '9007199254740993', '18446744073709551615'];
const kValues = ['null', 'true', '{}', '1e308', '-0.0', '"\\u0000"', '[[[[[[[[]]]]]]]]', '{"a":{"a":{"a":1}}}',
    '{"fileType":["TOP"]}', '{"statusCode":200,"message":"m"}', `"${'z'.repeat(3000)}"`, `${'['.repeat(60)}${']'.repeat(60)}`];
const kPieces = ['"', '\\', '{', '}', '[', ']', ',', ':', '\\u', '\\ud800', '1e400', '-', '.', 'null', '"op":', '"id":',
    '"body":', '\u0000', '\u00e9', '['.repeat(300), '{"a":'.repeat(300), '9'.repeat(400), '/'.repeat(5000)];

/** Fills a template: # is a number, $ a text, % a version, @ any value, in JSON's spelling. The result is well formed. */
function filled(chance, template) {
    const fill = {
        '#': () => (chance(2) ? String(chance(5000)) : oneOf(chance, kNumbers)),
        $: () => JSON.stringify(oneOf(chance, kTexts) + (chance(4) ? '' : chance(1000))),
        '%': () => oneOf(chance, ['1', '1.0', '1.1', '0', '1e3', '-1']),
        '@': () => oneOf(chance, kValues),
    };
    return template.replace(/[#$%@]/g, (mark) => fill[mark]());
}

/** Removes, repeats and replaces pieces of a text, and puts foreign ones in. */
function broken(chance, text) {
    let result = text;
    for (let left = 1 + chance(3); left > 0; --left) {
        const at = chance(result.length + 1);
        const end = at + (chance(4) ? 1 + chance(4) : chance(result.length - at + 1));
        const byte = String.fromCharCode(chance(128));
        const piece = oneOf(chance, ['', byte, result.slice(at, end).repeat(2), oneOf(chance, kPieces)]);
        result = result.slice(0, at) + piece + result.slice(end);
    }
    return result.slice(0, 65536);
}

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
            this.program.clearLog();
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

    async end() {
        const growth = this.memory() - this.warm;
        addMeasure(this.what, this.done, `${this.total} or more`, this.done >= this.total);
        addMeasure(`${this.what}: memory, KiB`, `${this.warm} + ${growth}`, `+ ${kGrowth}`, growth <= kGrowth);
        process.kill(this.program.pid); // the gateway then looks for leaks
        await until('the end', () => !this.program.isAlive());
    }
}

let gateway;
let victim;

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
    victim = new Victim(await startDevice(), 'frames to the service', 1e6);
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
}

/** Over many connections: frames that are odd but valid, and then a broken one, which may end the connection. */
async function attackGateway() {
    const kValid = 63;
    victim = new Victim(await start('gatrix-gateway', [], '8084', kEnvironment), 'frames to the gateway', 1e6);
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
}

/** Over many connections: requests that are odd but valid, one whose answer says that they were read, a broken one. */
async function attackCommandLine() {
    const kValid = 31;
    const kLast = 2147483647;
    victim = new Victim(await startDevice(), 'requests to the command line', 2e5);
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
}

async function main() {
    const parts = { service: attackService, gateway: attackGateway, command: attackCommandLine };
    for (const [part, attack] of Object.entries(parts)) {
        if (![part, 'all'].includes(option('--part', 'all')) || !claim(part)) {
            continue;
        }
        gateway = undefined;
        const said = [];
        await attack().then(() => victim.end()).catch((error) => {
            // UndefinedBehaviorSanitizer reports in the log, of which the beginning was not kept.
            said.push(error.stack, victim.program.log().slice(-2000));
        });
        cleanUp();
        await (gateway && gateway.close());
        fs.readdirSync('/tmp').filter((file) => file.startsWith('sanitizer')).forEach((file) => {
            said.push(fs.readFileSync(`/tmp/${file}`, 'utf8').slice(0, 4000));
            fs.unlinkSync(`/tmp/${file}`);
        });
        said.forEach((text) => console.log(`${part}: ${text}`));
        addMeasure(`${part}: ends well, and sanitizers report nothing`, said.length === 0, true, said.length === 0);
    }
    process.exit(exitStatus());
}

main();

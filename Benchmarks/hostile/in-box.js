// One hostile source against a fresh service, in a device box; prints one line of figures, separated by tabs.
// usage: in-box.js PROGRAM_DIRECTORY SOURCE [cloud], or in-box.js --list [cloud] for the names of all sources; with "cloud",
// of those that speak through the cloud, and the service is built with sanitizers
'use strict';

const { execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');

const [, , programs, name, only] = process.argv;
const sources = require('./sources.js');
const { Cloud, kMiB, sleep } = require('./peers.js');

const kLogPath = '/tmp/service.log';
const kConfiguration = '/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json';
const kAttackDeadline = 40000; // milliseconds
const isSanitized = only === 'cloud';
const kDeadline = isSanitized ? 60000 : 20000; // milliseconds
const kReports = '/tmp/sanitizer';
const kMemoryGoal = 16 * kMiB;
const kLogGoal = kMiB;
const kTwelveTypes = ['1', '4', '6', '7', '9', '10', '11', '12', '13', '14', '15', '16'];

/** The service's process and log. */
class Device {
    constructor() {
        this.log = fs.openSync(kLogPath, 'a+');
        this.child = spawn(`${programs}/DiagnosticFileService`, [], {
            stdio: ['ignore', 'ignore', this.log],
            env: { ...process.env, ASAN_OPTIONS: `log_path=${kReports}` },
        });
        this.child.on('exit', (code, signal) => { this.end = `the service ended: ${signal || code}`; });
    }

    logSize() { return fs.fstatSync(this.log).size; }

    logLines() { return fs.readFileSync(kLogPath, 'latin1').split('\n').length; }

    /** Whether the latest part of the log says this. */
    says(text) {
        const latest = Buffer.alloc(64 * 1024);
        const length = fs.readSync(this.log, latest, 0, latest.length, Math.max(0, this.logSize() - latest.length));
        return latest.toString('latin1', 0, length).includes(text);
    }

    /** Bytes of a line of /proc/PID/status, see proc(5). */
    memory(line) {
        const status = fs.readFileSync(`/proc/${this.child.pid}/status`, 'latin1');
        return Number(new RegExp(`^${line}:\\s+(\\d+)`, 'm').exec(status)?.[1] ?? NaN) * 1024;
    }

    /** Waits until it takes commands and has its registry. */
    async isReady() {
        while (!this.end && !this.says('LoadDiagItemsFromConfigFile - END')) {
            await sleep(20);
        }
    }

    kill() {
        return new Promise((resolve) => { this.child.on('exit', resolve); this.child.kill('SIGKILL'); });
    }

    /** Asks for an upload of the twelve items; the status that comes of it. */
    upload() {
        const vcli = spawn(`${programs}/vcli`, ['diagfileservice', 'upload', ...kTwelveTypes]);
        let output = '';
        vcli.stdout.on('data', (bytes) => { output += bytes; });
        return new Promise((resolve, reject) => {
            vcli.on('exit', (code) => {
                const status = /Upload status code = (\d+)/.exec(output);
                return status ? resolve(status[1]) : reject(new Error(`vcli, exit status ${code}`));
            });
        });
    }
}

/** Waits for the status and says how it ended. Without one: what the service is doing instead, and that it is late. */
async function ending(device, status) {
    const start = Date.now();
    const seconds = () => `${((Date.now() - start) / 1000).toFixed(1)} s`;
    let text;
    let hasFailed = false;
    status.then((value) => { text = `${value} after ${seconds()}`; },
        (error) => { [text] = `failed: ${error.message}`.split('\n'); hasFailed = true; });
    while (!text && !device.end && Date.now() - start < kDeadline && !device.says(' retrying POST in ')) {
        await sleep(20);
    }
    if (text) {
        return { text, hasEnded: hasFailed };
    }
    if (device.end) {
        return { text: device.end, hasEnded: true };
    }
    const isRetrying = device.says(' retrying POST in ');
    return { text: `${isRetrying ? 'retrying' : 'not answered'} after ${seconds()}`, isLate: true };
}

function writeFiles(files) {
    for (const [path, content] of Object.entries(files())) {
        fs.writeFileSync(path, content);
    }
}

async function run(source) {
    const cloud = new Cloud(source.metadata ?? 'plain', source.archive ?? 'plain');
    await cloud.listen();
    let device = new Device();
    source.before?.(device);
    await device.isReady();
    await sleep(500); // until it is idle
    const idle = device.memory('VmRSS');
    if (source.atStart) {
        await device.kill();
        writeFiles(source.files);
        fs.truncateSync(kLogPath);
        device = new Device();
    } else {
        if (source.files) {
            writeFiles(source.files);
        }
        fs.writeFileSync(`/proc/${device.child.pid}/clear_refs`, '5'); // the peak starts over, see proc(5)
    }
    if (source.memoryLeft) {
        const limit = device.memory('VmSize') + source.memoryLeft;
        execFileSync('prlimit', ['--pid', device.child.pid, `--as=${limit}`]);
    }
    const logBefore = source.atStart ? 0 : device.logSize();

    if (source.attack) {
        await Promise.race([source.attack(device), sleep(kAttackDeadline)]);
    }
    const status = (async () => {
        if (source.atStart) {
            await device.isReady();
        }
        return source.request ? source.request(device) : device.upload();
    })();
    const end = await ending(device, status);

    const peak = device.memory('VmHWM') - idle - cloud.archiveSize;
    const log = device.logSize() - logBefore;
    const isMissed = {
        memory: !isSanitized && !(peak <= kMemoryGoal),
        log: !(log <= (source.logLimit ?? kLogGoal)),
        answer: end.hasEnded || (end.isLate && !source.mayBeLate),
        connections: device.isMissed,
        sanitizer: fs.readdirSync('/tmp').some((file) => `/tmp/${file}`.startsWith(kReports)),
    };
    const missed = Object.keys(isMissed).filter((each) => isMissed[each]);
    const mebibytes = (bytes) => (Number.isNaN(bytes) ? '-' : (bytes / kMiB).toFixed(1));
    console.log([
        name, mebibytes(peak), mebibytes(log), device.note ? `${end.text}; ${device.note}` : end.text,
        missed.length ? `goal missed: ${missed.join(', ')}` : 'met',
    ].join('\t'));
    process.exit();
}

if (programs === '--list') {
    const isWanted = ([, { metadata, archive, memoryLeft }]) => name !== 'cloud' || ((metadata || archive) && !memoryLeft);
    console.log(Object.entries(sources).filter(isWanted).map(([each]) => each).join('\n'));
} else {
    run(sources[name]);
}

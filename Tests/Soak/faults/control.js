// The memory that the driver shares with the fault library: see FaultControl.h.
'use strict';

const fs = require('node:fs');

const kKinds = ['none', 'open', 'read', 'write', 'log', 'fsync', 'rename', 'unlink', 'mkdir', 'pipe', 'eventfd', 'poll',
    'socket', 'connect', 'send', 'receive', 'thread', 'spawn', 'waitpid', 'memory'];
const kModes = ['error', 'short', 'kill', 'child', 'leaf'];
const kSize = 208;

class Control {
    constructor(path) {
        this.path = path;
        fs.writeFileSync(path, Buffer.alloc(kSize));
        this.file = fs.openSync(path, 'r+');
    }

    /** From here on, the call of that number goes wrong; "none" only counts. A child is killed at the moment, in us. */
    begin(kind, mode, failAt, moment = 0) {
        const bytes = Buffer.alloc(kSize);
        [kModes.indexOf(mode), failAt, moment].forEach((number, at) => bytes.writeUInt32LE(number, 4 + 4 * at));
        fs.writeSync(this.file, bytes, 0, kSize, 0);
        bytes.writeUInt32LE(kKinds.indexOf(kind));
        fs.writeSync(this.file, bytes, 0, 4, 0);
    }

    /** Ends that; the name of the call that went wrong, empty if none did, the time it took, and the calls so far. */
    end() {
        fs.writeSync(this.file, Buffer.alloc(4), 0, 4, 0);
        const bytes = Buffer.alloc(kSize);
        fs.readSync(this.file, bytes, 0, kSize, 0);
        const count = (kind, isShort) => bytes.readUInt32LE(48 + 4 * (kKinds.indexOf(kind) + (isShort ? kKinds.length : 0)));
        return { name: bytes.toString('latin1', 16, 48).replace(/\0.*/s, ''), moment: bytes.readUInt32LE(12), count };
    }
}

module.exports = { Control, kKinds: kKinds.slice(1) };

// The memory that a driver shares with the library that is loaded before all others.
'use strict';

const fs = require('node:fs');

const kPath = '/tmp/soak-control';
const kKinds = ['none', 'open', 'read', 'write', 'log', 'fsync', 'rename', 'unlink', 'mkdir', 'eventfd', 'poll',
    'socket', 'connect', 'send', 'receive', 'thread', 'spawn', 'waitpid', 'memory'];
const kModes = ['error', 'short', 'kill', 'child', 'leaf'];

class Control {
    constructor(size) {
        fs.writeFileSync(kPath, Buffer.alloc(size));
        this.file = fs.openSync(kPath, 'r+');
    }

    write(at, numbers) {
        fs.writeSync(this.file, numbers, 0, numbers.byteLength, at);
    }

    read(at, numbers) {
        fs.readSync(this.file, numbers, 0, numbers.byteLength, at);
        return numbers;
    }
}

/** Calls that go wrong: see faults/FaultPoint.h. */
class Faults extends Control {
    constructor() {
        super(200);
    }

    /** From here on, the call of that number goes wrong; "none" only counts. A child is killed at the moment, in us. */
    begin(kind, mode, failAt, moment = 0) {
        const numbers = new Uint32Array(50);
        numbers.set([0, kModes.indexOf(mode), failAt, moment]);
        this.write(0, numbers);
        this.write(0, new Uint32Array([kKinds.indexOf(kind)]));
    }

    /** Ends that; the name of the call that went wrong, empty if none did, the time it took, and the calls so far. */
    end() {
        this.write(0, new Uint32Array(1));
        const name = this.read(16, Buffer.alloc(32)).toString('latin1').replace(/\0.*/s, '');
        const [counts, shortened] = [48, 124].map((at) => this.read(at, new Uint32Array(kKinds.length)));
        const count = (kind, isShort) => (isShort ? shortened : counts)[kKinds.indexOf(kind)];
        return { name, moment: this.read(12, new Uint32Array(1))[0], count };
    }
}

/** The clocks of the service: see Clock.cpp. */
class Clock extends Control {
    constructor() {
        super(24);
        Object.assign(this, { skipped: 0, waits: 0 });
    }

    /** Sets the clock of the day that many seconds ahead. */
    shift(seconds) {
        this.write(0, new BigInt64Array([BigInt(seconds)]));
    }

    /** Moves the clocks of libcurl on. */
    skip(milliseconds) {
        this.skipped += milliseconds;
        this.write(8, new BigInt64Array([BigInt(this.skipped)]));
    }

    now() {
        return Date.now() + this.skipped;
    }

    /** The length of a wait that has begun since the last look, in milliseconds; 0 if there is none. */
    newWait() {
        const before = this.waits;
        const [waits, length] = this.read(16, new Int32Array(2));
        this.waits = waits;
        return waits !== before ? length : 0;
    }
}

module.exports = { Clock, Faults, kKinds: kKinds.slice(1), kPath };

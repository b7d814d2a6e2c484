// The cloud, of which every byte and every second is scripted: one server for the metadata, which the service takes for
// a proxy, and one for archives.
'use strict';

const { once } = require('node:events');
const net = require('node:net');
const { setTimeout: sleep } = require('node:timers/promises');
const { answerOf, kFine } = require('./matrix.js');
const { kUrls } = require('./model.js');

/** What requests name: a proxy is told the whole URL. */
const kTargets = { metadata: kUrls.metadata, archive: new URL(kUrls.archive).pathname };

class Peer {
    constructor(kind, port, clock) {
        Object.assign(this, { kind, port, clock });
    }

    /** Plays the cell, and calls back with each step that it sees; refuses so many connections first. */
    begin(cell, down, record) {
        const fails = cell.exchange === this.kind ? cell.fails : 0;
        const isRefused = cell.outcome.name === 'refused';
        Object.assign(this, { cell, record, failures: isRefused ? 0 : fails, first: undefined, passing: undefined });
        return this.refuse(down + (isRefused ? fails : 0));
    }

    async refuse(down) {
        this.down = down;
        if (down > 0 && this.server) {
            this.server.close();
            this.server = undefined;
        } else if (down === 0 && !this.server) {
            this.server = net.createServer((socket) => this.serve(socket)).listen(this.port, '127.0.0.1');
            await once(this.server, 'listening');
        }
    }

    serve(socket) {
        const since = this.clock.now();
        let bytes = Buffer.alloc(0);
        socket.on('error', () => {}).on('data', (more) => {
            bytes = Buffer.concat([bytes, more]);
            const part = this.failures > 0 ? this.cell.outcome.requestPart : undefined;
            const head = bytes.toString('latin1', 0, bytes.indexOf('\r\n\r\n') + 4);
            const size = head.length + Number((/\r\nContent-Length: (\d+)\r\n/.exec(head) || [])[1]);
            if (bytes.length >= Math.floor(part * this.size)) {
                --this.failures;
                this.record({ step: this.kind });
                socket.resetAndDestroy();
            } else if (bytes.length >= size) {
                Object.assign(this, { size, first: this.first || bytes });
                const isStated = head.startsWith(`POST ${kTargets[this.kind]} HTTP/1.1\r\n`);
                this.record({ step: this.kind, wrong: isStated && bytes.equals(this.first) ? undefined : head });
                bytes = Buffer.alloc(0);
                this.answer(socket, since);
            }
        });
    }

    answer(socket, since) {
        const cell = this.failures-- > 0 ? this.cell : kFine[this.kind];
        const { raw, end, part = 1, seconds } = cell.outcome;
        const whole = raw ? Buffer.from(raw) : answerOf(cell, this.clock.now());
        const bytes = whole.subarray(0, Math.floor(whole.length * part));
        if (seconds || end === 'stall') {
            this.passing = this.passTime(socket, bytes, since);
        } else if (end === 'reset') {
            socket.write(bytes, () => socket.resetAndDestroy());
        } else if (cell.isKept && cell.proxy !== 'leaves' && !raw) {
            socket.write(bytes);
        } else {
            socket.end(bytes);
        }
    }

    /** Sends the bytes, spread over seconds of that clock, and then perhaps no more; sees when the client hangs up. */
    async passTime(socket, bytes, since) {
        const { seconds = 1, end } = this.cell.outcome;
        let isOpen = true;
        socket.on('close', () => { isOpen = false; });
        const pass = async (milliseconds) => {
            this.clock.skip(milliseconds);
            const patience = this.clock.now() - since > 31000 ? 500 : 10; // in ms of the machine's clock
            for (const until = Date.now() + patience; isOpen && Date.now() < until; await sleep(2));
        };
        for (let at = 0; isOpen && at < seconds; ++at) {
            await pass(at && 1000);
            const [from, to] = [at, at + 1].map((each) => Math.floor((bytes.length * each) / seconds));
            socket.write(bytes.subarray(from, to));
        }
        for (let at = 0; isOpen && end === 'stall' && at < 20; ++at) {
            await pass([28000, 3000][at] || 30000);
        }
        if (isOpen) {
            socket.end();
        } else {
            this.record({ step: 'hangs up', at: (this.clock.now() - since) / 1000 });
        }
    }
}

module.exports = { Peer };

// The cloud that a hostile source speaks through, and the answers that it gives.
'use strict';

const http = require('node:http');
const { setTimeout: sleep } = require('node:timers/promises');

const kKiB = 1024;
const kMiB = 1024 * kKiB;
const kPort = 8888;
const kUploadUrl = `http://127.0.0.1:${kPort}/archive`;

/** An answer in one piece: the bytes that the connection ends with. */
const whole = (body) =>
    Buffer.from(`HTTP/1.1 200 OK\r\nContent-Length: ${body.length}\r\nConnection: close\r\n\r\n${body}`, 'latin1');

/** Sends pieces, 100 MiB a second at the most, until there are no more or the service has hung up. */
const stream = (head, pieces) => async (socket) => {
    socket.write(head);
    for (const piece of pieces) {
        if (socket.destroyed) {
            return;
        }
        socket.write(piece);
        await sleep(10);
    }
    socket.end();
};

function* repeated(piece, count) {
    for (let sent = 0; sent < count; ++sent) {
        yield piece;
    }
}

const kPlainBody = JSON.stringify({ uploadUrl: kUploadUrl });

/** JSON of that size, whose parsed form is many times as large. */
function hostileJson(size) {
    const head = `{"uploadUrl":"${kUploadUrl}","a":[1`;
    return `${head}${',1'.repeat((size - head.length - 2) / 2)}]}`;
}

const kAnswers = {
    plain: () => whole(kPlainBody),
    json: () => whole(hostileJson(16 * kMiB)),
    controls: () => whole('\x01'.repeat(16 * kMiB)),
    headers: () => stream('HTTP/1.1 200 OK\r\n', repeated(`X-Field: ${'h'.repeat(60 * kKiB)}\r\n`, 300)),
    endless: () => stream('HTTP/1.1 200 OK\r\n\r\n', repeated(Buffer.alloc(kMiB, 'b'), Infinity)),
};

/**
 * Answers metadata and archives, each by an answer of kAnswers. As many servers do, it hangs up with 431 when the header
 * fields have more than 16 KiB. Its archiveSize is that of the largest archive.
 */
class Cloud {
    constructor(metadata, archive) {
        this.archiveSize = 0;
        this.server = http.createServer((request) => {
            const isMetadata = request.url.endsWith('/metadata');
            const answer = kAnswers[isMetadata ? metadata : archive]();
            let size = 0;
            request.on('data', (bytes) => { size += bytes.length; });
            request.on('end', () => {
                this.archiveSize = Math.max(this.archiveSize, isMetadata ? 0 : size);
                request.socket.on('error', () => {});
                if (typeof answer === 'function') {
                    answer(request.socket);
                } else {
                    request.socket.end(answer);
                }
            });
        });
    }

    listen() {
        return new Promise((resolve) => { this.server.listen(kPort, '127.0.0.1', resolve); });
    }
}

module.exports = { Cloud, kKiB, kMiB, sleep };

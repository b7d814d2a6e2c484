// What a cloud can do to an upload: the cells of the matrix, which are always the same.
//
// The retry headers act on a status that lets them be read, so that these are crossed: exchange, status, and each of
// the five headers absent, valid and absurd. The proxy acts before an exchange, so that it is crossed with each outcome
// of the metadata, and paired with the headers. Bodies and values take turns.
'use strict';

const kProductId = '7c1f0e52-9b3a-4d86-a5e4-2f60c8d1937b'; // of the device's manufacturing data
const kArchiveUrl = 'http://127.0.0.1:8889/archives/1';
const kFound = `{"uploadUrl":"${kArchiveUrl}"}`;
const kBodies = ['', 'sorry', kFound, '{"error":"busy"}', '{"uploadUrl":7}', '["uploadUrl"]', '3',
    Buffer.from('d\xe9sol\xe9', 'latin1')];

/** Valid and absurd values of the retry headers. With a sign, a reset is relative to the time of the answer. */
const kRetryHeaders = [
    ['Retry-After', ['7', '0', '3600', '1', '12'],
        ['Wed, 21 Oct 2026 07:28:00 GMT', '-5', '4294967295', '1.5', '4294967296', '7 s', '']],
    ['X-Retry-Count', ['2', '-1', '0', '5'], ['-2', 'many', '4294967295', '1e3', '9'.repeat(9000)]],
    ['X-Retry-Behavior', ['constant', 'exponential'], ['Exponential', 'random', 'constant, exponential']],
    ['X-Ratelimit-Remaining', ['0', '12', '0'], ['none', '-1', '0x0', '4294967296']],
    ['X-Ratelimit-Reset', ['+100', '-100', '+50000'], ['soon', '-', '4294967295', '4294967296']],
];
const kEachLevel = [0, 1, 2].map((level) => Array(5).fill(level)); // absent, valid, absurd
const kStatuses = [200, 201, 204, 299, 300, 301, 304, 307, 400, 401, 403, 404, 407, 408, 413, 425, 428, 429, 431, 499,
    500, 501, 502, 503, 504, 505, 511, 599, 600, 999];
const kPositions = 40;
const kProxies = ['there', 'back', 'gone', 'leaves'];
const kContinue = 'HTTP/1.1 100 Continue\r\nRetry-After: 1\r\nX-Retry-Count: 9\r\n\r\n';
const kHead = 'HTTP/1.1 200 OK\r\nConnection: close\r\n';
const kNoise = Buffer.from(Array.from({ length: 3000 }, (_, at) => 128 + ((at * at) % 127)));
const kNoHttp = [kNoise, 'HTTP/9.9 200 OK\r\n\r\n', 'HTTP/1.1 fine\r\n\r\n', 'HTTP', '\r\n\r\n', '{}', kContinue,
    `${kHead}Content-Length: -5\r\n\r\n`, `${kHead}Transfer-Encoding: chunked\r\n\r\nZ\r\n`,
    `${kHead}X-Fi\0eld: 1\r\n\r\n`, `${kHead}Content-Length: 9\r\n`];

/**
 * All that can become of an exchange. An answer has a status, and perhaps more fields, another body, and a prelude;
 * part and end say where it breaks off and how. Or it is "raw", and no HTTP.
 */
function* outcomes() {
    for (const status of kStatuses) {
        const more = status >= 300 && status < 400 ? [['Location', kArchiveUrl]] : [];
        const body = [204, 304].includes(status) ? '' : undefined;
        yield { name: `status ${Math.floor(status / 100)}xx`, status, more, body };
    }
    for (const status of [200, 503]) {
        yield { name: 'status 1xx', status, prelude: kContinue.repeat(500) };
        yield { name: 'chunked', status, isChunked: true };
        yield { name: 'slow', status, seconds: 20 };
        yield { name: 'trickle', status, seconds: 40 };
        yield { name: 'header flood', status, more: Array(5000).fill(['X-Field', 'f'.repeat(60)]) };
        yield { name: 'header flood', status, more: [['X-Field', 'f'.repeat(300000)]] };
        yield { name: 'many fields', status, more: Array(10000).fill(['Retry-After', '3']) };
        for (const size of [60000, 70000]) {
            yield { name: 'oversized', status, body: `{"uploadUrl":"${kArchiveUrl}","a":"${'a'.repeat(size)}"}` };
        }
        for (const size of [1048577, 2 << 20, 20 << 20]) {
            yield { name: 'oversized', status, body: 'a'.repeat(size) };
        }
    }
    for (let at = 0; at < kPositions; ++at) {
        yield { name: 'reset in request', status: 200, requestPart: at / kPositions };
        for (const end of ['reset', 'close']) {
            yield { name: `${end} in answer`, status: at % 2 ? 200 : 503, part: at / kPositions, end };
        }
    }
    yield* [0, 0.1, 0.5, 0.99].map((part) => ({ name: 'stall', status: 200, part, end: 'stall' }));
    yield* kNoHttp.map((raw) => ({ name: 'garbage', raw }));
    yield { name: 'refused' };
}

function* cells() {
    let turn = 0;
    const draw = (lot) => Math.imul(turn * 8 + lot, 0x9e3779b1) >>> 12;
    const cell = (exchange, outcome, levels, other) => {
        ++turn;
        const fields = kRetryHeaders.map(([name, ...values], at) => {
            const choice = levels[at] ? values[levels[at] - 1] : [];
            return [name, choice[draw(at) % choice.length]];
        }).filter(([, value]) => value !== undefined);
        const body = Buffer.from(outcome.body === undefined ? kBodies[draw(5) % kBodies.length] : outcome.body);
        const turns = { fails: draw(6) % 3 ? 6 : 2, isKept: draw(7) % 4 === 0 && !outcome.end };
        return { exchange, outcome, fields, body, proxy: 'there', ...turns, ...other };
    };
    for (const status of [429, 500, 502, 503, 504, 599]) {
        for (const exchange of ['metadata', 'archive']) {
            for (let mix = 0; mix < 3 ** 5; ++mix) {
                const levels = [0, 1, 2, 3, 4].map((at) => Math.floor(mix / 3 ** at) % 3);
                const proxy = exchange === 'metadata' ? kProxies[(mix + (mix >> 2)) % 4] : 'there';
                yield cell(exchange, { name: `headers, ${status}`, status }, levels, { proxy });
            }
        }
    }
    for (const outcome of outcomes()) {
        for (const proxy of outcome.name === 'refused' ? [] : kProxies) { // a proxy that refuses is one that is gone
            yield cell('metadata', outcome, kEachLevel[turn % 3], { proxy });
        }
        for (const levels of kEachLevel) {
            yield cell('archive', outcome, levels);
        }
    }
    for (const [after, status] of [['1', 503], ['10', 500], ['43200', 503]]) {
        const fields = [['X-Retry-Count', '-1'], ['X-Retry-Behavior', 'exponential'], ['Retry-After', after]];
        yield cell('metadata', { name: 'without end', status }, [], { fields, fails: 33 });
        yield cell('archive', { name: 'without end', status: 429 }, [], { fields, fails: 33 });
    }
    yield cell('metadata', { name: 'without end', status: 503 }, [], { proxy: 'lost' });
}

/** All bytes of an answer. */
function answerOf({ outcome, fields, body, isKept }, now) {
    const absolute = (value) => (/^[+-]\d{3}/.test(value) ? Math.floor(now / 1000) + Number(value) : value);
    const all = [...(outcome.more || []), ...fields.map(([name, value]) => [name, absolute(value)]),
        ['Connection', isKept ? 'keep-alive' : 'close'],
        outcome.isChunked ? ['Transfer-Encoding', 'chunked'] : ['Content-Length', body.length]];
    const chunk = body.length > 0 ? [body.length.toString(16), '\r\n', body, '\r\n'] : [];
    const content = outcome.isChunked ? [...chunk, '0\r\nRetry-After: 2\r\n\r\n'] : [body];
    return Buffer.concat([outcome.prelude || '', `HTTP/1.1 ${outcome.status} Word\r\n`,
        ...all.map(([name, value]) => `${name}: ${value}\r\n`), '\r\n', ...content].map((each) => Buffer.from(each)));
}

/** What each exchange does when nothing fails. */
const fine = (body) => ({ outcome: { status: 200 }, fields: [], body: Buffer.from(body) });
const kFine = { metadata: fine(kFound), archive: fine('{}') };

module.exports = { answerOf, cells, kArchiveUrl, kFine, kProductId };

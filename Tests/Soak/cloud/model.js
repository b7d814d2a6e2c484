// What the stated rules make of a cell: written from docs/retries.md and docs/cloud.md, from no code of the service.
'use strict';

const { answerOf, kArchiveUrl, kFine, kProductId } = require('./matrix.js');

const kUrls = { metadata: `http://diagnostics.vantor.example/senders/${kProductId}/metadata`, archive: kArchiveUrl };
const kTable = [15, 60, 240, 960];
const kTableStatuses = [0, 502, 503, 504];
const kDefaultWait = 15;
const kLongestWait = 43200;
const kTimeOut = 30;
const kHeaderBound = 256 * 1024;
const kBodyBound = 1024 * 1024;
const kJsonBound = 64 * 1024;
/** How often a proxy refuses the first attempt, and the second one. */
const kRefusals = { there: [0, 0], back: [3, 0], gone: [60, 0], lost: [1000, 0], leaves: [0, 2] };
/** Between the driver's look at the clock and the service's, in seconds. */
const kSlack = 3;

/** What the client sees of an exchange that fails; of some bodies it may see less. */
function seen({ outcome, fields, body }) {
    const { status, more = [], requestPart, end, part = 1, seconds } = outcome;
    const none = { status: 0, fields: [], body: Buffer.alloc(0) };
    if (status === undefined || requestPart !== undefined || more.join().length > kHeaderBound) {
        return none;
    }
    if (end || seconds > kTimeOut) {
        const size = answerOf({ outcome, fields, body }, Date.now()).length;
        const kept = Math.max(0, body.length - size + Math.floor(size * part));
        return { ...none, body: body.subarray(0, kept), mayLack: end === 'reset' || seconds > 0 };
    }
    return { status, fields: [...more, ...fields], body: body.subarray(0, kBodyBound) };
}

const number = (text) => (/^\d+$/.test(text) && Number(text) < 2 ** 32 ? Number(text) : undefined);

/** Shortest and longest wait before the next attempt, in seconds; nothing when the request has failed. */
function nextWait(state, { status, fields }) {
    const header = (name) => (fields.filter(([each]) => each === name).pop() || ['', ''])[1];
    const isLimited = status === 429;
    const isRead = isLimited || (status >= 500 && status <= 599);
    const isExponential = isRead && header('X-Retry-Behavior') === 'exponential';
    const hasBehavior = isExponential || (isRead && header('X-Retry-Behavior') === 'constant');
    let value;
    let slack = 0;
    if (isRead) {
        const remaining = isLimited ? number(header('X-Ratelimit-Remaining')) : undefined;
        const reset = header('X-Ratelimit-Reset');
        const ahead = /^[+-]\d/.test(reset) ? Number(reset) : number(reset) - Math.floor(Date.now() / 1000);
        const count = header('X-Retry-Count') === '-1' ? Infinity : number(header('X-Retry-Count'));
        if (remaining === 0 && ahead > 0) {
            value = ahead;
            slack = ahead < kLongestWait ? kSlack : 0;
        } else if (remaining === undefined && state.retries >= (count === undefined ? kTable.length : count)) {
            return undefined;
        } else {
            value = number(header('Retry-After'));
        }
    }
    if (value === undefined && kTableStatuses.includes(status) && state.table.length > 0) {
        const entry = state.table.shift();
        value = isExponential ? kTable[0] : entry;
    } else if (value === undefined && hasBehavior && !isLimited) {
        value = kDefaultWait;
    }
    if (!value) {
        return undefined;
    }
    value = Math.min(isExponential ? value * 2 ** state.retries : value, kLongestWait);
    const chance = Math.round(Math.fround(Math.fround(value) * Math.fround(0.3)));
    return { low: value - (isLimited ? slack : chance), high: value + chance };
}

/** The upload URL that an answer names, or an empty one; nothing if it is no JSON. */
function urlIn({ body, mayLack }) {
    try {
        const { uploadUrl } = JSON.parse(mayLack || body.length > kJsonBound ? '' : body);
        return typeof uploadUrl === 'string' ? uploadUrl : '';
    } catch (error) {
        return undefined;
    }
}

/** All that the driver must see of an upload, in order, and the answer to whoever asked for it. */
function expected(cell) {
    const steps = [];
    const lines = [];
    const exchange = (kind, url) => {
        const state = { retries: 0, table: [...kTable] };
        for (let failures = 0; ; ++failures) {
            const isFine = cell.exchange !== kind || failures >= cell.fails;
            const response = seen(url === '' ? { outcome: {} } : (isFine && kFine[kind]) || cell);
            const refusals = kind === 'metadata' ? kRefusals[cell.proxy][failures] || 0 : 0;
            steps.push(...Array(refusals).fill({ step: 'proxy', low: 5, high: 5 }));
            if (url !== '' && (isFine || cell.outcome.name !== 'refused')) {
                steps.push({ step: kind });
                if (!isFine && (cell.outcome.seconds > kTimeOut || cell.outcome.end === 'stall')) {
                    steps.push({ step: 'hangs up', low: kTimeOut, high: kTimeOut + kSlack });
                }
            }
            if (response.status >= 200 && response.status <= 299) {
                return response;
            }
            const wait = nextWait(state, response);
            if (!wait) {
                lines.push(`The POST request for ${url} failed with ${response.status}`);
                return response;
            }
            ++state.retries;
            steps.push({ step: 'retry', ...wait });
            lines.push(`Attempt:${state.retries} retrying POST in # seconds on ${url}`);
        }
    };
    let last = exchange('metadata', kUrls.metadata);
    const url = urlIn(last);
    if (url !== undefined) {
        last = exchange('archive', url);
    }
    return { steps, lines, status: last.status, text: last.body.toString(), mayLack: last.mayLack };
}

/** Whether a text is the one of the answer. One that a frame cannot carry ends in the number of bytes that it lacks. */
function isText(text, { text: stated, mayLack }) {
    const [, start, lacks] = /^(.*)\.\.\. \((\d+) bytes more\)$/s.exec(text) || [];
    return text === stated || (mayLack && stated.startsWith(text)) ||
        (stated.startsWith(start) && start.length + Number(lacks) === stated.length);
}

module.exports = { expected, isText, kRefusals, kUrls };

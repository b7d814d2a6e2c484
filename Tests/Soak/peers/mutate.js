// Frames and lines that no honest peer sends, from templates; the same ones for the same seed.
'use strict';

/** Numbers by chance, each from 0 up to a limit that is not reached (xorshift, Marsaglia 2003). */
function makeChance(seed) {
    let state = Math.imul(seed, 2654435761) || 1;
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

module.exports = { broken, filled, makeChance, oneOf };

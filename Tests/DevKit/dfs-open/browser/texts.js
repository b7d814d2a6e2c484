'use strict';
// Writes the texts of which the browser test makes archives: hostile ones, and a log of 16 MiB.
// usage: texts.js FOLDER
const fs = require('fs');
const path = require('path');
const write = (name, text) => fs.writeFileSync(path.join(process.argv[2], name), text);

const script = '<script>window.hit = 1</script><img src=http://192.0.2.1/x onerror="window.hit = 1"><svg onload=hit()>';
write('hostile', `==> date <==\nSun Nov 22 01:16:29 UTC 2026\n==> system log <==\n${`Nov 20 22:14:03 v kernel: <b>error</b> ${script}\n`.repeat(40)}` +
  `]]></pre></details></script></style><!-- ${script}\n\u202egnp.exe \u2066 \ufeff\n`);
write('hostile-bytes', Buffer.concat([Buffer.from([0x1b, 0x5b, 0x32, 0x4a, 0xff, 0xc3, 0x28, 0x0d, 0x0a]), Buffer.from(script)]));
write('hostile-line', `${'<'.repeat(3 << 20)}needle`);
write('hostile-empty', '');

const line = (at) => {
  const time = new Date(Date.UTC(2026, 10, 20, 0, 0, at)).toISOString().slice(11, 19);
  const text = at % 5000 === 4999 ? 'error: cannot open output' : 'buffer refilled after 12 ms of silence in zone Kitchen';
  return `Nov ${20 + Math.floor(at / 86400)} ${time} vantor AudioRenderer[1187]: ${text}, sequence ${at}\n`;
};
const head = '==> date <==\nSun Nov 22 01:16:29 UTC 2026\n==> system log <==\n';
write('large', head + Array.from({length: 145000}, (_, at) => line(at)).join(''));

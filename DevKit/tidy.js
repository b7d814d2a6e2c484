// clang-tidy over some of the project's files, in parallel. A header is checked in one source that includes it. What was
// found clean is not checked again until it, what it includes, the checks or the compiler's options change.
// usage: tidy.js BUILD_DIRECTORY FILE...
// Prints findings only; exit status 1 if there are any. The folder must have been built: the compiler says what includes what.
'use strict';

const { execFileSync, spawn } = require('child_process');
const crypto = require('crypto');
const fs = require('fs');
const os = require('os');
const path = require('path');

const [build, ...files] = process.argv.slice(2);
const root = process.cwd();
const cache = path.join(build, 'tidy');
const settings = execFileSync('clang-tidy', ['--version'], { encoding: 'utf8' }) + fs.readFileSync('.clang-tidy', 'utf8');

// The project's own files that each object was made of, by the object's name.
function readDependencies() {
    const text = execFileSync('ninja', ['-C', build, '-t', 'deps'], { encoding: 'utf8', maxBuffer: 1 << 30 });
    const dependencies = new Map();
    let current;
    for (const line of text.split('\n')) {
        if (line.startsWith('    ')) {
            const file = path.resolve(build, line.trim());
            if (file.startsWith(root + path.sep)) {
                current.push(path.relative(root, file));
            }
        } else if (line.includes(': #deps')) {
            current = [];
            dependencies.set(line.slice(0, line.indexOf(': #deps')), current);
        }
    }
    return dependencies;
}

function readUnits() {
    const dependencies = readDependencies();
    const commands = JSON.parse(fs.readFileSync(path.join(build, 'compile_commands.json'), 'utf8'));
    return commands.map(({ file, command }) => ({
        source: path.relative(root, file),
        command,
        dependencies: dependencies.get(/ -o (\S+)/.exec(command)[1]) || [],
    }));
}

// The source of the same name, or else the one that includes least besides.
function unitOf(file, units) {
    const stem = file.replace(/\.\w+$/, '');
    const users = units.filter((unit) => unit.source === file || unit.dependencies.includes(file));
    users.sort((a, b) => a.dependencies.length - b.dependencies.length);
    return users.find((unit) => unit.source.replace(/\.\w+$/, '') === stem) || users[0];
}

function keyOf(unit) {
    const hash = crypto.createHash('sha256').update(settings).update(unit.command);
    for (const file of unit.dependencies) {
        hash.update(file).update(fs.readFileSync(file));
    }
    return path.join(cache, hash.digest('hex'));
}

// What several sources find in one header is told once.
const told = new Set();
function tell(findings) {
    for (const finding of findings.split(/^(?=\S+:\d+:\d+: (?:warning|error):)/m)) {
        if (!told.has(finding)) {
            told.add(finding);
            process.stdout.write(finding);
        }
    }
}

function check(unit) {
    return new Promise((resolve) => {
        const tidy = spawn('clang-tidy', ['-p', build, '--quiet', unit.source]);
        let found = '';
        let said = '';
        tidy.stdout.on('data', (data) => (found += data));
        tidy.stderr.on('data', (data) => (said += data)); // counts of what is suppressed, unless it failed
        tidy.on('close', (status) => {
            if (status === 0) {
                fs.writeFileSync(unit.key, '');
            } else {
                tell(found.trim() === '' ? `${unit.source}: ${said}` : found);
            }
            resolve(status === 0);
        });
    });
}

async function main() {
    const units = readUnits();
    const chosen = new Map();
    for (const file of files) {
        const unit = unitOf(file, units);
        if (unit) {
            chosen.set(unit.source, unit);
        } else {
            console.log(`${file}: no source that is built includes it`);
        }
    }
    fs.mkdirSync(cache, { recursive: true });
    const open = [...chosen.values()].filter((unit) => !fs.existsSync((unit.key = keyOf(unit))));
    console.error(`clang-tidy: ${open.length} of ${chosen.size} sources to check`);
    let isClean = true;
    const worker = async () => {
        for (let unit = open.shift(); unit; unit = open.shift()) {
            isClean = (await check(unit)) && isClean;
        }
    };
    await Promise.all(os.cpus().map(worker));
    process.exitCode = isClean ? 0 : 1;
}

main();

// What is asked of the service while a call goes wrong, and what may come of it.
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const { kRegistration, launch, run, sleep, until } = require('../../System/gateway/support.js');
const { kConfiguration, kConfigurationText, kItems } = require('../world.js');

/** Every answer that is stated, as status and text. */
const kStated = [
    /^200 /, /^400 Manifest is empty, nothing to upload$/, /^400 Unable to (create tarball|upload)$/,
    /^0 /, // the cloud gave no answer
    /^503 .*the handler went away/, /^404 .*nobody handles/,
];

/** A status that is stated. */
async function stated(world, { status, message }) {
    assert.ok(kStated.some((each) => each.test(`${status} ${message}`)), `an answer that is not stated: ${status} ${message}`);
    if (status === 503) {
        await world.settle();
    }
    return String(status);
}

const kUp = /LoadDiagItemsFromConfigFile - END|SetGatrixClientCB - END/;
const kPartial = /OnEntry: exception :/;
/** What a start may lack; the log says so. */
const kLacks = [
    [kPartial, 'without some tasks'], [/there is no command line/, 'without command line'],
    [/The service goes on without the gateway/, 'without gateway'],
    [/Could not load the diagnostic configuration file file/, 'without items'],
    [/store persistence error/, 'list not stored'],
];

async function startService(world) {
    world.service = launch('DiagnosticFileService', [], world.environment);
    const says = (text) => text.test(world.service.log());
    await until('the start or its end', () => world.hasEnded() || says(kUp) || says(kPartial));
    await sleep(50);
    const lack = kLacks.find(([text]) => says(text));
    return lack ? lack[1] : 'started';
}

/** A start that lacks something must say so and lose nothing: the next one has it all. */
async function checkStart(world, outcome) {
    if (outcome === 'without items') {
        const { status, message } = await world.uploadWhenReady((answer) => answer.status === 400);
        assert.strictEqual(`${status} ${message}`, '400 Manifest is empty, nothing to upload');
    }
    if (outcome !== 'started') {
        await world.stopService();
        await world.startAnew();
    }
    await world.checkNothingIsLost();
}

const kOldConfiguration = kConfigurationText.replace('"version":1.2', '"version":1.1');

const kScenarios = [
    {
        name: 'upload', hasChildren: true,
        run: async (world) => stated(world, await world.upload()),
    },
    {
        name: 'registration',
        run: (world) => {
            world.registered = `registered-${++world.lastNumber}`;
            const input = `encrypt-logs echo ${world.lastNumber}`;
            return world.ask(kRegistration, { input, harvestType: 'SCRIPT', fileType: 'LOGREAD', subType: world.registered })
                .then((answer) => stated(world, answer));
        },
        check: async (world, outcome) => {
            if (outcome === '200') {
                await world.checkUpload('LOGREAD', [world.registered], world.registered);
            }
            await world.checkNothingIsLost();
        },
    },
    {
        name: 'command',
        run: async (world) => {
            const words = ['--wait=60', '--timeout=60', 'diagfileservice', 'upload', '6'];
            const output = await run('vcli', ...words).catch(({ code }) => code);
            if (typeof output === 'number') {
                assert.ok([1, 5, 6].includes(output), `vcli ends with ${output}`);
                await world.settle();
                return `vcli told so (${output})`;
            }
            const told = /^Upload Request Triggered\nUpload status code = (\d+)\n$/.exec(output);
            assert.ok(told, `vcli says ${output}`);
            return told[1];
        },
    },
    {
        name: 'start', prepare: (world) => world.stopService(), run: startService, check: checkStart,
    },
    {
        // The list of items is of another version, and replaced by the built-in ones.
        name: 'update',
        enter: (world) => world.configure(kOldConfiguration, ['top']),
        prepare: async (world) => {
            await world.stopService();
            fs.writeFileSync(kConfiguration, kOldConfiguration);
        },
        run: startService, check: checkStart,
    },
].map((scenario) => ({
    enter: (world) => world.configure(kConfigurationText, kItems.filter(({ fileType }) => fileType === 'TOP')
        .map(({ subType }) => subType)),
    prepare: async () => {},
    check: (world) => world.checkNothingIsLost(),
    ...scenario,
}));

module.exports = { kScenarios };

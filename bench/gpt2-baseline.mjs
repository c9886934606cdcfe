// The baseline of GPTEncoderBench: encoding throughput of js-tiktoken's GPT-2
// encoding (r50k_base) on one file, timed inside node so that start-up and
// loading are left out. Rates are given per second of CPU time of the process
// (steady on a busy machine) and per second of wall time. Prints one JSON object.
//   node gpt2-baseline.mjs FILE SECONDS
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const require = createRequire(new URL('../third_party/npm/package.json', import.meta.url));
const [file, secondsText] = process.argv.slice(2);
const minimumSeconds = Number(secondsText ?? '2');

const encoding = require('js-tiktoken').getEncoding('r50k_base');
const encode = (text) => encoding.encode(text, [], []);
const text = readFileSync(file, 'utf8');
const bytes = Buffer.byteLength(text, 'utf8');

const cpuSeconds = (since) => {
    const used = process.cpuUsage(since);
    return (used.user + used.system) / 1e6;
};

// The first pass: nothing compiled yet.
let cpu = process.cpuUsage();
const tokens = encode(text).length;
const firstCpuSeconds = cpuSeconds(cpu);

// Warm passes until the time is up.
let iterations = 0;
cpu = process.cpuUsage();
const start = process.hrtime.bigint();
let wall = 0;
while (wall < minimumSeconds || iterations < 3) {
    encode(text);
    ++iterations;
    wall = Number(process.hrtime.bigint() - start) / 1e9;
}
const warmCpuSeconds = cpuSeconds(cpu);

process.stdout.write(JSON.stringify({
    bytes,
    tokens,
    iterations,
    firstPassMBps: bytes / firstCpuSeconds / 1e6,
    warmMBps: (bytes * iterations) / warmCpuSeconds / 1e6,
    warmWallMBps: (bytes * iterations) / wall / 1e6,
}));

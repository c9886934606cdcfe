// A message that grows while a reply streams. Its Markdown splits where a
// top-level block starts after a blank line: everything before is finished
// and drawn once into nodes that stay; only the blocks after it are parsed and
// drawn again on the next update. Each update costs the unfinished tail, not
// the whole message.
(function () {
    'use strict';

    const blank = /^[ \t]*$/;
    // A link reference definition changes links anywhere in the message, so a
    // message holding one is drawn whole.
    const referenceDefinition = /^ {0,3}\[[^\]]+\]:/m;

    // The token that starts the last block which nothing later can change, and
    // where its text begins; null when there is none. A block qualifies when
    // the one before it ended at a blank line and its own first line is
    // complete: no later text can then join it to the block before.
    function finishedSplit(source, tokens) {
        const lines = source.split('\n');
        const blocks = [];
        for (let i = 0; i < tokens.length; ++i) {
            const token = tokens[i];
            if (token.level !== 0 || token.nesting === -1) continue;
            if (!token.map) return null;
            blocks.push({ token: i, start: token.map[0], end: token.map[1] });
        }
        for (let b = blocks.length - 1; b > 0; --b) {
            const start = blocks[b].start;
            if (start + 1 >= lines.length || blocks[b - 1].end > start) continue;
            if (!blank.test(lines[start - 1])) continue;
            let offset = 0;
            for (let line = 0; line < start; ++line) offset += lines[line].length + 1;
            return { token: blocks[b].token, offset: offset };
        }
        return null;
    }

    // How many line breaks innerText puts at an edge of a block: two where
    // the block starts (or ends) with a paragraph, however deep, else one.
    function edgeBreaks(node, last) {
        for (let n = node; n; n = last ? n.lastElementChild : n.firstElementChild)
            if (n.tagName === 'P') return 2;
        return 1;
    }

    // The rendered text of top-level nodes, one item per element, as
    // innerText would join them inside their container.
    function itemsOf(nodes) {
        const items = [];
        for (const node of nodes) {
            if (node.nodeType !== Node.ELEMENT_NODE) continue;
            const buttons = node.querySelectorAll('.copy-code');
            buttons.forEach((b) => { b.hidden = true; });
            const text = node.innerText;
            buttons.forEach((b) => { b.hidden = false; });
            if (text)
                items.push({ text: text, before: edgeBreaks(node, false),
                             after: edgeBreaks(node, true) });
        }
        return items;
    }

    function separator(before, after) {
        if (!before || !after) return '';
        return '\n'.repeat(Math.max(before.after, after.before));
    }

    function joinItems(items) {
        let text = '';
        items.forEach((item, index) => { text += separator(items[index - 1], item) + item.text; });
        return text;
    }

    class StreamingMarkdown {
        // content: the element the message draws into; md: its Markdown
        // renderer; toNodes(html): the sanitised fragment of rendered HTML.
        constructor(content, md, toNodes) {
            this.content = content;
            this.md = md;
            this.toNodes = toNodes;
            this.text = '';
            this.finished = '';   // the source of the chunks, drawn for good
            this.chunks = [];     // the nodes of each finished piece
            this.tail = [];       // the nodes of the unfinished blocks
            this.read = 0;        // pieces whose text is in finishedText
            this.finishedText = '';
            this.lastItem = null; // the last item of finishedText
            this.reported = 0;    // the length of finishedText at the last report
        }

        // Whether `text` is this message grown: the finished part unchanged.
        canGrowTo(text, md) {
            return md === this.md && text.startsWith(this.finished) && !/\r|\0/.test(text);
        }

        update(text) {
            this.text = text;
            const source = text.slice(this.finished.length);
            const env = {};
            const tokens = this.md.parse(source, env);
            const whole = referenceDefinition.test(text);
            if (whole && this.chunks.length) {
                this.chunks.forEach((nodes) => nodes.forEach((node) => node.remove()));
                Object.assign(this, { finished: '', chunks: [], read: 0, finishedText: '',
                                      lastItem: null, reported: 0 });
                return this.update(text);
            }
            const split = whole ? null : finishedSplit(source, tokens);
            this.tail.forEach((node) => node.remove());
            let rest = tokens;
            if (split) {
                const html = this.md.renderer.render(tokens.slice(0, split.token), this.md.options,
                                                     env);
                this.chunks.push(this.insert(html));
                this.finished += source.slice(0, split.offset);
                rest = tokens.slice(split.token);
            }
            this.tail = this.insert(this.md.renderer.render(rest, this.md.options, env));
        }

        insert(html) {
            const fragment = this.toNodes(html);
            const nodes = Array.from(fragment.childNodes);
            this.content.appendChild(fragment);
            return nodes;
        }

        // Whether the drawing equals a one-shot render of `text`.
        drawsWhole(text, md) {
            return md === this.md && text === this.text;
        }

        // What changed in the text the message reads as since the last call:
        // the text keeps its first `kept` characters and goes on with `more`.
        // The text of finished blocks stays while the message grows.
        renderedTextChange() {
            for (; this.read < this.chunks.length; ++this.read) {
                for (const item of itemsOf(this.chunks[this.read])) {
                    this.finishedText += separator(this.lastItem, item) + item.text;
                    this.lastItem = item;
                }
            }
            const tail = itemsOf(this.tail);
            const text = this.finishedText + separator(this.lastItem, tail[0]) + joinItems(tail);
            const kept = this.reported;
            this.reported = this.finishedText.length;
            return { kept: kept, more: text.slice(kept) };
        }
    }

    window.StreamingMarkdown = StreamingMarkdown;
})();

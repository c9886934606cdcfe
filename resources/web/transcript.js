// The transcript of one chat window: every row in one page. The window sends
// the rows that changed (base64 of UTF-8 JSON) and the style; the page draws
// them and answers over the web channel, once a frame, with the rows' heights,
// the text they rendered and that the frame is painted; and with copy
// requests and the actions the user takes.
(function () {
    'use strict';

    let bridge = null;
    const rowsElement = document.getElementById('rows');
    const elements = new Map();   // row key -> element
    const heights = new Map();    // row key -> last height reported
    const textsDue = new Set();   // rows whose rendered text goes out after the next frame
    let heightsDue = {};          // row key -> height, not yet sent
    let applied = 0;              // updates drawn so far
    let frameDue = false;
    let style = { stylesheet: '', light: 'github', dark: 'github-dark', isDark: false };

    function decodeBase64(text) {
        const binary = atob(text);
        const bytes = new Uint8Array(binary.length);
        for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
        return new TextDecoder('utf-8').decode(bytes);
    }

    function encodeBase64(text) {
        const bytes = new TextEncoder().encode(text);
        let binary = '';
        for (let i = 0; i < bytes.length; i += 0x8000)
            binary += String.fromCharCode.apply(null, bytes.subarray(i, i + 0x8000));
        return btoa(binary);
    }

    function escapeHtml(text) {
        return text.replace(/[&<>"']/g, (c) => ({
            '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;'
        }[c]));
    }

    function highlight(code, language) {
        try {
            if (language && hljs.getLanguage(language))
                return hljs.highlight(code, { language: language, ignoreIllegals: true }).value;
        } catch (e) { /* drawn plain below */ }
        return escapeHtml(code);
    }

    function makeRenderer(withMath) {
        const md = window.markdownit({
            html: false,
            linkify: true,
            breaks: false,
            highlight: (code, language) =>
                '<pre><code class="hljs">' + highlight(code, language) + '</code></pre>'
        });
        // A chat search marks its hits in replies as ==hit==.
        if (window.markdownitMark) md.use(window.markdownitMark);
        if (withMath && window.texmath && window.katex)
            md.use(window.texmath, { engine: window.katex, delimiters: ['dollars', 'brackets'],
                                     katexOptions: { throwOnError: false } });
        return md;
    }
    const renderers = {};
    function renderer(withMath) {
        const name = withMath ? 'math' : 'plain';
        if (!renderers[name]) renderers[name] = makeRenderer(withMath);
        return renderers[name];
    }

    function sanitize(html) {
        return DOMPurify.sanitize(html, {
            FORBID_TAGS: ['style', 'form', 'input', 'textarea', 'select', 'button', 'iframe'],
            ALLOW_DATA_ATTR: false
        });
    }

    function send(name, key, index) {
        if (bridge) bridge.action(name, key || '', index === undefined ? -1 : index);
    }

    function button(text, label, onClick) {
        const b = document.createElement('button');
        b.type = 'button';
        b.textContent = text;
        if (label) {
            b.setAttribute('aria-label', label);
            b.title = label;
        }
        b.addEventListener('click', (event) => {
            event.stopPropagation();
            onClick(b);
        });
        return b;
    }

    function addCodeCopyButtons(container) {
        container.querySelectorAll('pre').forEach((pre) => {
            const code = pre.querySelector('code');
            if (!code) return;
            const copy = button('Copy', 'Copy code', (b) => {
                if (bridge) bridge.copyToClipboardHandler(code.innerText);
                b.textContent = 'Copied';
                setTimeout(() => { b.textContent = 'Copy'; }, 1500);
            });
            copy.className = 'copy-code';
            pre.appendChild(copy);
        });
    }

    function actionBar(key, actions) {
        const bar = document.createElement('div');
        bar.className = 'actions';
        bar.setAttribute('role', 'toolbar');
        bar.setAttribute('aria-label', 'Message actions');
        for (const action of actions) {
            const b = bar.appendChild(button(action.help, action.help, (b) => {
                send(action.action, key);
                if (action.action === 'copy') {
                    b.textContent = 'Copied';
                    b.setAttribute('aria-label', 'Copied');
                    setTimeout(() => {
                        b.textContent = action.help;
                        b.setAttribute('aria-label', action.help);
                    }, 1500);
                }
            }));
            // Speech on its way: the button spins and says it is busy.
            if (action.busy) {
                b.classList.add('busy');
                b.setAttribute('aria-busy', 'true');
            }
        }
        return bar;
    }

    function drawUser(element, key, row) {
        element.setAttribute('aria-label', 'Your message');
        const bubble = document.createElement('div');
        bubble.className = 'bubble clamped';
        if (row.context) {
            const context = document.createElement('div');
            context.className = 'context';
            const label = document.createElement('strong');
            label.textContent = 'Context:';
            context.append(label, ' ' + row.context);
            bubble.appendChild(context);
        }
        bubble.appendChild(document.createTextNode(row.text));
        element.appendChild(bubble);
        if (row.images && row.images.length) {
            const thumbnails = document.createElement('div');
            thumbnails.className = 'thumbnails';
            row.images.forEach((url, index) => {
                const image = document.createElement('img');
                image.src = url;
                image.alt = 'Attached image ' + (index + 1);
                image.tabIndex = 0;
                image.setAttribute('role', 'button');
                image.addEventListener('click', () => send('previewImage', key, index));
                image.addEventListener('keydown', (event) => {
                    if (event.key === 'Enter' || event.key === ' ') send('previewImage', key, index);
                });
                thumbnails.appendChild(image);
            });
            element.appendChild(thumbnails);
        }
        requestAnimationFrame(() => {
            if (bubble.scrollHeight > bubble.clientHeight + 1) {
                const more = button(row.showFull, row.showFull, (b) => {
                    bubble.classList.remove('clamped');
                    b.remove();
                });
                bubble.after(more);
            } else {
                bubble.classList.remove('clamped');
            }
        });
    }

    function renderMarkdown(content, row) {
        content.classList.remove('plain', 'pending');
        content.innerHTML = sanitize(renderer(row.math).render(row.text));
        addCodeCopyButtons(content);
    }

    // Rendered HTML as nodes to put into a message's content.
    function contentNodes(html) {
        const range = document.createRange();
        range.selectNodeContents(rowsElement);
        const fragment = range.createContextualFragment(sanitize(html));
        addCodeCopyButtons(fragment);
        return fragment;
    }

    // Rows far from the end render their Markdown when they come near the
    // viewport; until then they show their text as it is.
    const pendingObserver = new IntersectionObserver((entries) => {
        for (const entry of entries) {
            if (!entry.isIntersecting) continue;
            const element = entry.target;
            pendingObserver.unobserve(element);
            const content = element.querySelector('.content.pending');
            if (!content || !element.row) continue;
            renderMarkdown(content, element.row);
            textChanged(element.dataset.key);
        }
    }, { rootMargin: '1000px 0px' });

    // A streamed reply draws its Markdown piece by piece; `adopted` is the
    // content of the streamed row a finished message takes over.
    function drawAssistant(element, key, row, lazy, adopted) {
        element.setAttribute('aria-label', 'Assistant message');
        const content = adopted || document.createElement('div');
        content.className = 'content';
        if (adopted) {
            // Drawn already, the same as a render of the whole text.
        } else if (row.markdown && key === 'live') {
            element.stream = new StreamingMarkdown(content, renderer(row.math), contentNodes);
            element.stream.update(row.text);
        } else if (row.markdown && lazy) {
            content.classList.add('plain', 'pending');
            content.textContent = row.text;
            pendingObserver.observe(element);
        } else if (row.markdown) {
            renderMarkdown(content, row);
        } else {
            content.classList.add('plain');
            content.textContent = row.text;
        }
        element.appendChild(content);
        if (row.references) {
            const references = document.createElement('div');
            references.className = 'references';
            const label = document.createElement('span');
            label.className = 'label';
            label.textContent = row.pageLabel;
            references.appendChild(label);
            for (const reference of row.references) {
                references.appendChild(button(reference.label, reference.tooltip,
                                              () => send('goToReference', key, reference.index)));
            }
            element.appendChild(references);
        }
    }

    // The text a shown assistant row reads as, without the copy buttons. A
    // row out of sight skips layout and would read as nothing: it is laid out
    // for the reading.
    function reportRenderedText(key, element) {
        const content = element.querySelector('.content');
        if (!content || !bridge || content.classList.contains('pending')) return;
        element.style.contentVisibility = 'visible';
        try {
            sendRenderedText(key, element, content);
        } finally {
            element.style.contentVisibility = '';
        }
    }

    function sendRenderedText(key, element, content) {
        if (element.stream) {
            // Only what changed since the last report: the finished start of
            // a streamed message stays.
            const change = element.stream.renderedTextChange();
            bridge.renderedContentTailHandler(key, change.kept, encodeBase64(change.more));
            return;
        }
        const buttons = content.querySelectorAll('.copy-code');
        buttons.forEach((b) => { b.hidden = true; });
        const text = content.innerText;
        buttons.forEach((b) => { b.hidden = false; });
        bridge.renderedContentHandler(key, encodeBase64(text));
    }

    // After the next frame is painted: the rendered text of the rows that
    // changed, the heights that changed, and how many updates the frame shows
    // with the last row's key.
    function afterPaint() {
        if (frameDue) return;
        frameDue = true;
        requestAnimationFrame(() => setTimeout(() => {
            frameDue = false;
            for (const key of textsDue) {
                const element = elements.get(key);
                if (element) reportRenderedText(key, element);
            }
            textsDue.clear();
            if (!bridge) return scheduleDrain();
            if (Object.keys(heightsDue).length) bridge.sizesChangeHandler(heightsDue);
            heightsDue = {};
            const last = rowsElement.lastElementChild;
            bridge.painted(applied, last ? last.dataset.key : '');
            // The rows that wait are drawn once the frame with the last ones
            // is on screen.
            scheduleDrain();
        }, 0));
    }

    function textChanged(key) {
        textsDue.add(key);
        afterPaint();
    }

    function draw(key, row, lazy, adopted) {
        const element = document.createElement('div');
        element.className = 'row ' + row.kind;
        element.dataset.key = key;
        element.row = row;
        switch (row.kind) {
        case 'user':
            drawUser(element, key, row);
            break;
        case 'assistant':
            drawAssistant(element, key, row, lazy, adopted);
            break;
        case 'divider': {
            element.setAttribute('role', 'separator');
            element.setAttribute('aria-label', row.text);
            const text = document.createElement('span');
            text.textContent = row.text;
            element.append(text, button(row.deleteLabel, row.deleteLabel,
                                        () => send('deleteMarker', key)));
            break;
        }
        case 'search': {
            const text = document.createElement('span');
            text.textContent = '\u{1F50D} ' + row.text + row.query + ' ';
            element.append(text, button(row.button, row.button, () => send('openSearch', key)));
            break;
        }
        case 'waiting': {
            element.setAttribute('role', 'progressbar');
            element.setAttribute('aria-label', 'Waiting for the reply');
            const dots = document.createElement('span');
            dots.className = 'dots';
            element.appendChild(dots);
            break;
        }
        case 'status':
        case 'error':
            element.setAttribute('role', row.kind === 'error' ? 'alert' : 'status');
            element.textContent = row.text;
            break;
        case 'regenerate':
            element.appendChild(button(row.regenerate, row.regenerate, () => send('regenerateLast')));
            if (row.continue)
                element.appendChild(button(row.continue, row.continue, () => send('continue')));
            break;
        case 'empty':
            element.textContent = row.text;
            break;
        }
        if (row.kind === 'user' || row.kind === 'assistant') {
            element.setAttribute('role', 'article');
            element.tabIndex = 0;
            if (row.actions) {
                element.appendChild(actionBar(key, row.actions));
                element.addEventListener('contextmenu', (event) => {
                    if (window.getSelection().toString()) return;
                    event.preventDefault();
                    if (bridge) bridge.contextMenu(key);
                });
            }
        }
        return element;
    }

    const resizeObserver = new ResizeObserver((entries) => {
        for (const entry of entries) {
            const key = entry.target.dataset.key;
            const height = entry.target.getBoundingClientRect().height;
            if (heights.get(key) === height) continue;
            heights.set(key, height);
            heightsDue[key] = height;
        }
        afterPaint();
    });

    function nearBottom() {
        const scroller = document.scrollingElement;
        return scroller.scrollHeight - scroller.scrollTop - scroller.clientHeight < 40;
    }

    // {order: [keys], rows: {key: row}}: the rows in order, and the content of
    // those that are new or changed. Rows not in the order go.
    function sameButText(a, b) {
        return JSON.stringify(Object.assign({}, a, { text: '' })) ===
               JSON.stringify(Object.assign({}, b, { text: '' }));
    }

    // The streamed row grows in place when only its text grew.
    function grow(element, row) {
        const stream = element.stream;
        if (!stream || row.kind !== 'assistant' || !row.markdown || !element.row ||
            !sameButText(element.row, row) || !stream.canGrowTo(row.text, renderer(row.math)))
            return false;
        stream.update(row.text);
        element.row = row;
        return true;
    }

    // The content a finished message can take over from the streamed row
    // that it replaces, when that drawing equals a render of its text.
    function adoptable(row, keep) {
        const live = elements.get('live');
        if (!live || keep.has('live') || !live.stream || row.kind !== 'assistant' ||
            !row.markdown || !live.stream.drawsWhole(row.text, renderer(row.math)))
            return null;
        const content = live.querySelector('.content');
        live.stream = null;
        return content;
    }

    // A long chat draws its last rows at once and the others afterwards, a
    // slice at a time between frames, nearest the end first.
    const shownFirst = 40;
    const waiting = new Map();    // row key -> row not drawn yet
    let order = [];               // the rows in order, as last sent
    let drainDue = false;

    function placeRows() {
        let previous = null;
        for (const key of order) {
            const element = elements.get(key);
            if (!element) continue;
            const expected = previous ? previous.nextSibling : rowsElement.firstChild;
            if (expected !== element) rowsElement.insertBefore(element, expected);
            previous = element;
        }
    }

    function drainSlice() {
        drainDue = false;
        const stick = nearBottom();
        const started = performance.now();
        for (let i = order.length - 1; i >= 0 && performance.now() - started < 8; --i) {
            const key = order[i];
            const row = waiting.get(key);
            if (!row) continue;
            waiting.delete(key);
            const element = draw(key, row, true);
            elements.set(key, element);
            resizeObserver.observe(element);
        }
        placeRows();
        if (stick) document.scrollingElement.scrollTop = document.scrollingElement.scrollHeight;
        scheduleDrain();
    }

    function scheduleDrain() {
        if (drainDue || !waiting.size) return;
        drainDue = true;
        setTimeout(drainSlice, 0);
    }

    function apply(payload) {
        const stick = nearBottom();
        order = payload.order;
        const position = new Map(payload.order.map((key, index) => [key, index]));
        const keep = new Set(payload.order);
        const eager = payload.order.length - 6;
        const rows = Object.entries(payload.rows || {});
        const fresh = rows.filter(([key]) => !elements.has(key)).length;
        const defer = fresh > 2 * shownFirst ? payload.order.length - shownFirst : -1;
        ++applied;
        for (const [key, row] of rows) {
            if (waiting.has(key) || (position.get(key) < defer && !elements.has(key))) {
                waiting.set(key, row);
                continue;
            }
            const old = elements.get(key);
            if (old && grow(old, row)) {
                if (row.kind === 'assistant') textChanged(key);
                continue;
            }
            const adopted = old ? null : adoptable(row, keep);
            const element = draw(key, row, key !== 'live' && position.get(key) < eager, adopted);
            if (old) {
                resizeObserver.unobserve(old);
                pendingObserver.unobserve(old);
                old.replaceWith(element);
            }
            elements.set(key, element);
            resizeObserver.observe(element);
        }
        for (const [key, element] of elements) {
            if (keep.has(key)) continue;
            resizeObserver.unobserve(element);
            pendingObserver.unobserve(element);
            element.remove();
            elements.delete(key);
            heights.delete(key);
        }
        for (const key of waiting.keys())
            if (!keep.has(key)) waiting.delete(key);
        placeRows();
        for (const [key, row] of rows) {
            if (row.kind === 'assistant') textChanged(key);
        }
        afterPaint();
        if (stick) document.scrollingElement.scrollTop = document.scrollingElement.scrollHeight;
    }

    function applyStyle() {
        document.getElementById('message-style').textContent = style.stylesheet;
        document.documentElement.classList.toggle('dark', style.isDark);
        const theme = style.isDark ? style.dark : style.light;
        if (/^[a-z0-9-]+$/.test(theme))
            document.getElementById('code-theme').href = 'lib/styles/' + theme + '.min.css';
    }

    // A row sent as {grow: more} is the row the page has with `more` added to
    // its text.
    function expand(payload) {
        for (const [key, row] of Object.entries(payload.rows || {})) {
            if (row.grow === undefined) continue;
            const old = elements.has(key) ? elements.get(key).row : waiting.get(key);
            if (old) payload.rows[key] = Object.assign({}, old, { text: old.text + row.grow });
            else delete payload.rows[key];
        }
        return payload;
    }

    window.transcript = {
        apply: (base64) => apply(expand(JSON.parse(decodeBase64(base64)))),
        setStyle: (stylesheetBase64, light, dark, isDark) => {
            style = { stylesheet: decodeBase64(stylesheetBase64), light: light || 'github',
                      dark: dark || 'github-dark', isDark: !!isDark };
            applyStyle();
        }
    };

    // The contract of one message view, kept for a single message: the
    // Markdown as base64 of UTF-8, the stylesheet and the two theme names.
    window.updateWithMarkdownContentBase64Encoded2 = (markdown, stylesheet, light, dark) => {
        style = { stylesheet: stylesheet, light: light || 'github', dark: dark || 'github-dark',
                  isDark: style.isDark };
        applyStyle();
        apply({ order: ['message'],
                rows: { message: { kind: 'assistant', text: decodeBase64(markdown),
                                   markdown: true, math: true } } });
    };

    new QWebChannel(qt.webChannelTransport, (channel) => {
        bridge = channel.objects.bridge;
        bridge.ready();
    });
})();

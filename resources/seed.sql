-- The database a new installation starts from. It is the schema of the first
-- release (version 0): the migration scripts bring it to the current version
-- on first start, exactly as they bring an old user's database.

CREATE TABLE conversations (
    id INTEGER PRIMARY KEY NOT NULL,
    title TEXT NOT NULL,
    bookmarkId INTEGER NOT NULL,
    extraBookmarkIds TEXT,
    model TEXT,
    temperature REAL,
    languageCode TEXT,
    useWebSearch INTEGER,
    isDemo INTEGER,
    latestMessage TEXT,
    messageCount INTEGER,
    suggestedQuestion1 TEXT,
    suggestedQuestion2 TEXT,
    suggestedQuestion3 TEXT,
    cost REAL DEFAULT 0,
    createdAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP,
    updatedAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP
);

CREATE TABLE messages (
    id INTEGER PRIMARY KEY NOT NULL,
    conversationId INTEGER NOT NULL,
    role TEXT NOT NULL,
    content TEXT NOT NULL,
    model TEXT,
    name TEXT,
    functionName TEXT,
    functionArguments TEXT,
    "references" TEXT,
    contextMode TEXT,
    stringContext TEXT,
    documentContext INTEGER,
    createdAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP,
    updatedAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP
);

CREATE TABLE bookmarks (
    id INTEGER PRIMARY KEY NOT NULL,
    filePath TEXT NOT NULL,
    data BLOB NOT NULL,
    hash TEXT NOT NULL,
    indexingStatus TEXT NOT NULL DEFAULT 'none',
    tags TEXT,
    createdAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP,
    updatedAt TEXT NOT NULL DEFAULT CURRENT_TIMESTAMP
);

CREATE TABLE embeddings (
    id INTEGER PRIMARY KEY,
    indexItem TEXT NOT NULL,
    bookmarkId INTEGER NOT NULL
);

CREATE TABLE prompts (
    id INTEGER PRIMARY KEY NOT NULL,
    name TEXT NOT NULL,
    prompt TEXT NOT NULL,
    enable INTEGER NOT NULL DEFAULT 1,
    sortOrder INTEGER NOT NULL DEFAULT 0
);

-- The chat list shows each chat's message count and latest message; these
-- triggers keep both current, and move a chat that gets a message to the top.
CREATE TRIGGER messages_after_insert AFTER INSERT ON messages
BEGIN
    UPDATE conversations SET
        messageCount = (SELECT COUNT(*) FROM messages
                        WHERE conversationId = NEW.conversationId AND role != 'application'),
        latestMessage = CASE WHEN NEW.role IN ('user', 'assistant') THEN NEW.content
                             ELSE latestMessage END,
        updatedAt = CURRENT_TIMESTAMP
    WHERE id = NEW.conversationId;
END;

CREATE TRIGGER messages_after_update AFTER UPDATE OF content ON messages
BEGIN
    UPDATE conversations SET
        latestMessage = (SELECT content FROM messages
                         WHERE conversationId = NEW.conversationId
                           AND role IN ('user', 'assistant')
                         ORDER BY id DESC LIMIT 1)
    WHERE id = NEW.conversationId;
END;

CREATE TRIGGER messages_after_delete AFTER DELETE ON messages
BEGIN
    UPDATE conversations SET
        messageCount = (SELECT COUNT(*) FROM messages
                        WHERE conversationId = OLD.conversationId AND role != 'application'),
        latestMessage = (SELECT content FROM messages
                         WHERE conversationId = OLD.conversationId
                           AND role IN ('user', 'assistant')
                         ORDER BY id DESC LIMIT 1)
    WHERE id = OLD.conversationId;
END;

-- The demo document. Its path and access data are set at every start to the
-- copy in the user's data directory; the hash is the digest of that PDF.
INSERT INTO bookmarks (id, filePath, data, hash, indexingStatus)
VALUES (1, 'file:///Bitcoin%20Whitepaper.pdf', X'', '37db35fb1801d1081987327f398f8cde', 'none');

INSERT INTO conversations (id, title, bookmarkId, extraBookmarkIds, model, temperature,
                           languageCode, useWebSearch, isDemo, cost,
                           suggestedQuestion1, suggestedQuestion2, suggestedQuestion3)
VALUES (1, 'Example Chat', 1, '[]', 'gpt-3.5-turbo', 0.1, '', 0, 1, 0,
        'How does a transaction reach the chain?',
        'Why does proof of work stop double spending?',
        'What does a light client need to keep?');

INSERT INTO messages (conversationId, role, content, model)
VALUES (1, 'user', 'What problem does this paper solve?', 'gpt-3.5-turbo');
INSERT INTO messages (conversationId, role, content, model, "references")
VALUES (1, 'assistant',
        'The paper explains how people who do not trust each other can agree on who owns which coins without a bank in the middle. Payments are broadcast to everyone, grouped into blocks, and the blocks are chained by proof of work, so rewriting history would cost more computing power than the honest network has.',
        'gpt-3.5-turbo',
        '[{"id":"demo-1","bookmarkId":1,"page":1}]');

INSERT INTO prompts (name, prompt, enable, sortOrder) VALUES
('Summarize', 'Summarize this document in a few short paragraphs. Keep the names, numbers and conclusions that matter, and say on which pages they stand.', 1, 0),
('Key points', 'List the key points of this document as bullet points, most important first, each with its page.', 1, 1),
('Explain simply', 'Explain the main idea of this document to someone new to the field, in plain words and with one everyday example.', 1, 2),
('Find the numbers', 'List every figure, amount, date and measurement in this document with what it refers to and its page, as a table.', 1, 3),
('Critical review', 'Review this document critically: what does it claim, what evidence does it give, what is weak or missing, and what questions remain open?', 1, 4),
('Action items', 'Extract every task, obligation, deadline and decision from this document, with who is responsible where it says so.', 1, 5),
('Glossary', 'Make a glossary of the technical terms and abbreviations in this document, each with a one-line definition in the document''s own sense.', 1, 6),
('Quiz me', 'Write five questions that test understanding of this document, then give the answers with their pages.', 1, 7);

-- Custom model endpoints, and the per-chat choice of one and of the history length.
CREATE TABLE custom_models (
    id INTEGER PRIMARY KEY,
    provider TEXT NOT NULL,
    name TEXT NOT NULL,
    apiEndpoint TEXT NOT NULL,
    modelId TEXT NOT NULL,
    contextLength INTEGER NOT NULL,
    useStream INTEGER NOT NULL,
    headers TEXT,
    deleted INTEGER NOT NULL DEFAULT 0,
    createdAt TEXT NOT NULL,
    updatedAt TEXT NOT NULL
);

ALTER TABLE conversations ADD COLUMN customModelId INTEGER NOT NULL DEFAULT 0;
ALTER TABLE conversations ADD COLUMN contextLimit INTEGER NOT NULL DEFAULT 0;

CREATE INDEX IF NOT EXISTS messages_conversationId ON messages (conversationId);
CREATE INDEX IF NOT EXISTS embeddings_bookmarkId ON embeddings (bookmarkId);

-- Each stored vector names the model that made it. Rows from before this step
-- were made on the device; the documents that went to OpenAI are set apart by
-- the data step that follows this script.
ALTER TABLE embeddings ADD COLUMN embeddingModel TEXT NOT NULL DEFAULT 'distilbert';

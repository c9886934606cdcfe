-- The point from which a chat's history counts, and a message's stored speech.
ALTER TABLE conversations ADD COLUMN contextSince TEXT;
ALTER TABLE messages ADD COLUMN speechFileURL TEXT;

-- Sampling penalties per chat, and images attached to a message.
ALTER TABLE conversations ADD COLUMN presencePenalty REAL;
ALTER TABLE conversations ADD COLUMN frequencyPenalty REAL;
ALTER TABLE messages ADD COLUMN imageURLs TEXT;

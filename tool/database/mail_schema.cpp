#include "tool/database/mail_schema.h"

namespace emltool {

const char* const kMailSchema = R"sql(
PRAGMA application_id = 0x454D4C31;
PRAGMA user_version = 1;
CREATE TABLE runs (
    id INTEGER PRIMARY KEY,
    folder TEXT NOT NULL            -- paths that are not absolute begin there
);
CREATE TABLE messages (
    id INTEGER PRIMARY KEY,         -- eml show FILE#id
    run INTEGER NOT NULL REFERENCES runs,
    path TEXT NOT NULL,
    path_b64 TEXT,                  -- where the path is not UTF-8
    member TEXT,                    -- of an archive
    mbox_index INTEGER,             -- from 0 on; also of the messages of an archive
    byte_offset INTEGER,
    byte_length INTEGER,
    maildir_flags TEXT,             -- words with blanks between
    status TEXT NOT NULL,           -- ok, warning, error
    error_code TEXT,
    error_text TEXT,
    subject TEXT,
    subject_base TEXT,              -- without "Re:" and the like
    sender TEXT,                    -- From, as a person reads it
    recipients TEXT,                -- To, Cc, Bcc
    date TEXT,                      -- by the clock of the sender
    date_utc TEXT,
    time INTEGER,                   -- the same in seconds since 1970
    message_id TEXT,
    list_id TEXT,
    thread TEXT,                    -- equal for the messages of one conversation; with --threads
    size INTEGER,                   -- bytes, as stored
    sha256 TEXT,                    -- of these; with --digest
    encrypted INTEGER,
    protection TEXT,
    charset TEXT,
    attachments INTEGER NOT NULL    -- how many
);
CREATE TABLE addresses (
    message INTEGER NOT NULL REFERENCES messages,
    field TEXT NOT NULL,            -- from, to, cc ...
    name TEXT,
    address TEXT,
    member_of TEXT                  -- the group
);
CREATE TABLE replies (
    message INTEGER NOT NULL REFERENCES messages,
    field TEXT NOT NULL,            -- in_reply_to, references
    message_id TEXT NOT NULL
);
CREATE TABLE parts (
    message INTEGER NOT NULL REFERENCES messages,
    number INTEGER NOT NULL,
    parent INTEGER,                 -- a number
    section TEXT,
    type TEXT,
    name TEXT,
    disposition TEXT,
    content_id TEXT,
    charset TEXT,
    encoding TEXT,
    size INTEGER,                   -- decoded
    stored_size INTEGER,
    sha256 TEXT,                    -- of the decoded bytes; with --digest
    is_attachment INTEGER NOT NULL
);
CREATE TABLE fields (
    message INTEGER NOT NULL REFERENCES messages,
    position INTEGER NOT NULL,
    name TEXT NOT NULL,
    text TEXT
);
CREATE TABLE warnings (
    message INTEGER NOT NULL REFERENCES messages,
    code TEXT NOT NULL,
    text TEXT
);
CREATE TABLE texts (                -- what the search goes over
    id INTEGER PRIMARY KEY REFERENCES messages,
    subject TEXT,
    sender TEXT,                    -- names and addresses
    recipients TEXT,
    body TEXT,
    attachments TEXT                -- names, one a line
);
CREATE TABLE other_texts (
    message INTEGER NOT NULL REFERENCES messages,
    kind TEXT NOT NULL,             -- hidden_text, markdown, html
    text TEXT NOT NULL
);
CREATE VIRTUAL TABLE search USING fts5(subject, sender, recipients, body, attachments,
    content = 'texts', content_rowid = 'id', tokenize = 'unicode61 remove_diacritics 2');
CREATE INDEX messages_by_time ON messages (time);
CREATE INDEX parts_by_message ON parts (message);
CREATE INDEX addresses_by_message ON addresses (message);
)sql";

}  // namespace emltool

// The SQL scripts that make the tables of the mail log's database, oldest first. A script that was
// released never changes.
#pragma once

namespace host::maillog {

// `queue_id` is that of the message as it came in, with the name of the machine before it where
// that is another one than this.
//
// Each sort order of the log page has an index, so that a page is read without sorting; equal
// values are in the order of their dates. Inserting into the view `share` adds an entry to the
// totals (sign 1) or subtracts it (-1).
inline constexpr char kEntries[] = R"(
CREATE TABLE entry (
    id INTEGER PRIMARY KEY,       -- order of arrival
    queue_id TEXT NOT NULL,       -- of the message as it came in
    message_id TEXT NOT NULL,
    subject TEXT NOT NULL,
    recipients INTEGER NOT NULL,  -- of the message
    date INTEGER NOT NULL,        -- seconds since the epoch
    size INTEGER NOT NULL,        -- bytes
    status INTEGER NOT NULL,      -- 0 sent, 1 received, 2 bounced, 3 retried or passed on
    mail_to TEXT NOT NULL,        -- empty while no recipient is known
    mail_from TEXT NOT NULL,
    counts_as INTEGER             -- status in the totals, -1 for none; null: as `status`
);
CREATE UNIQUE INDEX entry_key ON entry (queue_id, mail_to);
CREATE INDEX entry_date ON entry (date);
CREATE INDEX entry_message_id ON entry (message_id, date);
CREATE INDEX entry_mail_from ON entry (mail_from, date);
CREATE INDEX entry_mail_to ON entry (mail_to, date);
CREATE INDEX entry_size ON entry (size, date);
CREATE INDEX entry_status ON entry (status, date);
CREATE VIRTUAL TABLE entry_text USING fts5 (
    message_id, subject, mail_to, mail_from,
    content = 'entry', content_rowid = 'id', tokenize = 'trigram'
);
CREATE TABLE tally (
    entries INTEGER NOT NULL,
    text_later INTEGER NOT NULL   -- 1 while whoever adds many entries adds their texts at the end
);
INSERT INTO tally VALUES (0, 0);
CREATE TABLE totals (
    period INTEGER PRIMARY KEY,   -- date / 900
    inbound INTEGER NOT NULL,
    outbound INTEGER NOT NULL,
    bounce INTEGER NOT NULL,
    inbound_bytes INTEGER NOT NULL,
    outbound_bytes INTEGER NOT NULL
);
CREATE VIEW share AS SELECT 0 AS date, 0 AS status, 0 AS size, 0 AS sign;
CREATE TRIGGER share_added INSTEAD OF INSERT ON share BEGIN
    INSERT INTO totals VALUES (
        new.date / 900,
        new.sign * (new.status = 1), new.sign * (new.status = 0), new.sign * (new.status = 2),
        new.sign * (new.status = 1) * new.size, new.sign * (new.status = 0) * new.size)
    ON CONFLICT (period) DO UPDATE SET
        inbound = inbound + excluded.inbound,
        outbound = outbound + excluded.outbound,
        bounce = bounce + excluded.bounce,
        inbound_bytes = inbound_bytes + excluded.inbound_bytes,
        outbound_bytes = outbound_bytes + excluded.outbound_bytes;
END;
CREATE TRIGGER entry_added AFTER INSERT ON entry BEGIN
    UPDATE tally SET entries = entries + 1;
    INSERT INTO share VALUES (new.date, coalesce(new.counts_as, new.status), new.size, 1);
END;
CREATE TRIGGER entry_indexed AFTER INSERT ON entry WHEN (SELECT text_later = 0 FROM tally) BEGIN
    INSERT INTO entry_text (rowid, message_id, subject, mail_to, mail_from)
    VALUES (new.id, new.message_id, new.subject, new.mail_to, new.mail_from);
END;
CREATE TRIGGER entry_removed AFTER DELETE ON entry BEGIN
    UPDATE tally SET entries = entries - 1;
    INSERT INTO share VALUES (old.date, coalesce(old.counts_as, old.status), old.size, -1);
    INSERT INTO entry_text (entry_text, rowid, message_id, subject, mail_to, mail_from)
    VALUES ('delete', old.id, old.message_id, old.subject, old.mail_to, old.mail_from);
END;
CREATE TRIGGER entry_changed AFTER UPDATE OF date, size, status, counts_as ON entry BEGIN
    INSERT INTO share VALUES (old.date, coalesce(old.counts_as, old.status), old.size, -1);
    INSERT INTO share VALUES (new.date, coalesce(new.counts_as, new.status), new.size, 1);
END;
CREATE TRIGGER entry_renamed AFTER UPDATE OF message_id, subject, mail_from ON entry
WHEN old.message_id <> new.message_id OR old.subject <> new.subject
    OR old.mail_from <> new.mail_from
BEGIN
    INSERT INTO entry_text (entry_text, rowid, message_id, subject, mail_to, mail_from)
    VALUES ('delete', old.id, old.message_id, old.subject, old.mail_to, old.mail_from);
    INSERT INTO entry_text (rowid, message_id, subject, mail_to, mail_from)
    VALUES (new.id, new.message_id, new.subject, new.mail_to, new.mail_from);
END;
)";

// The collector's state between two runs: its position in the log, and unfinished messages.
inline constexpr char kCollector[] = R"(
CREATE TABLE position (
    only INTEGER PRIMARY KEY CHECK (only = 1),
    inode INTEGER NOT NULL,       -- of the log; 0 before the first line
    offset INTEGER NOT NULL,      -- of the first line that is not in yet
    head INTEGER NOT NULL,        -- checksum of the log's first bytes; 0: not known
    clearings INTEGER NOT NULL    -- how often the log was cleared
);
INSERT INTO position VALUES (1, 0, 0, 0, 0);
CREATE TABLE message (
    queue_id TEXT PRIMARY KEY,
    root_id TEXT NOT NULL,        -- `queue_id` of its entries
    message_id TEXT NOT NULL,
    mail_from TEXT NOT NULL,
    size INTEGER NOT NULL,
    recipients INTEGER NOT NULL,
    date INTEGER NOT NULL,
    seen INTEGER NOT NULL,        -- last mentioned, seconds since the epoch
    state INTEGER NOT NULL        -- bits: 1 queued, 2 requeued, 4 no recipient known, 8 has entries
) WITHOUT ROWID;
CREATE INDEX message_root ON message (root_id);
CREATE INDEX message_seen ON message (seen);
)";

// When the last line that is in was written, or the log was cleared, in seconds since the epoch.
inline constexpr char kTimeOfPosition[] =
    "ALTER TABLE position ADD COLUMN time INTEGER NOT NULL DEFAULT 0";

// How many entries there are of each status in each hour, so that pages need not count them. New
// entries are added to the totals, the counts and the search index batch by batch (`EntryBatch`):
// triggers would take most of the time. What changes or removes entries still has triggers, which
// leave alone what its batch is to count.
inline constexpr char kCounts[] = R"(
DROP TRIGGER entry_added;
DROP TRIGGER entry_indexed;
DROP TRIGGER entry_removed;
DROP TRIGGER entry_changed;
DROP TRIGGER entry_renamed;
ALTER TABLE tally DROP COLUMN text_later;
-- Entries with a higher id are being added, and were not counted yet.
ALTER TABLE tally ADD COLUMN last_counted INTEGER NOT NULL DEFAULT 9223372036854775807;
CREATE TABLE counts (
    status INTEGER NOT NULL,      -- as in `entry`
    hour INTEGER NOT NULL,        -- date / 3600
    entries INTEGER NOT NULL,
    PRIMARY KEY (status, hour)
) WITHOUT ROWID;
INSERT INTO counts SELECT status, date / 3600, count(*) FROM entry GROUP BY 1, 2;
CREATE TRIGGER entry_removed AFTER DELETE ON entry
WHEN old.id <= (SELECT last_counted FROM tally) BEGIN
    UPDATE tally SET entries = entries - 1;
    UPDATE counts SET entries = entries - 1 WHERE status = old.status AND hour = old.date / 3600;
    INSERT INTO share VALUES (old.date, coalesce(old.counts_as, old.status), old.size, -1);
    INSERT INTO entry_text (entry_text, rowid, message_id, subject, mail_to, mail_from)
    VALUES ('delete', old.id, old.message_id, old.subject, old.mail_to, old.mail_from);
END;
CREATE TRIGGER entry_changed AFTER UPDATE OF date, size, status, counts_as ON entry
WHEN old.id <= (SELECT last_counted FROM tally) BEGIN
    UPDATE counts SET entries = entries - 1 WHERE status = old.status AND hour = old.date / 3600;
    INSERT INTO counts VALUES (new.status, new.date / 3600, 1)
    ON CONFLICT (status, hour) DO UPDATE SET entries = entries + 1;
    INSERT INTO share VALUES (old.date, coalesce(old.counts_as, old.status), old.size, -1);
    INSERT INTO share VALUES (new.date, coalesce(new.counts_as, new.status), new.size, 1);
END;
CREATE TRIGGER entry_renamed AFTER UPDATE OF message_id, subject, mail_from ON entry
WHEN old.id <= (SELECT last_counted FROM tally)
    AND (old.message_id <> new.message_id OR old.subject <> new.subject
        OR old.mail_from <> new.mail_from)
BEGIN
    INSERT INTO entry_text (entry_text, rowid, message_id, subject, mail_to, mail_from)
    VALUES ('delete', old.id, old.message_id, old.subject, old.mail_to, old.mail_from);
    INSERT INTO entry_text (rowid, message_id, subject, mail_to, mail_from)
    VALUES (new.id, new.message_id, new.subject, new.mail_to, new.mail_from);
END;
)";

}  // namespace host::maillog

// The mail log's database: its tables, and the paths of the current one and older months.
#include "host/libmailvane/maillog/schema.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <stdexcept>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace host::maillog {
namespace {

constexpr int kBusyTimeoutMs = 10000;
constexpr char kLogOfAll[] = "/var/log/mailvane/all_machines";

// `queue_id` is that of the message as it came in, with the name of the machine before it where
// that is another one than this.
//
// Each sort order of the log page has an index, so that a page is read without sorting; equal
// values are in the order of their dates. Inserting into the view `share` adds an entry to the
// totals (sign 1) or subtracts it (-1).
constexpr char kEntries[] = R"(
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
constexpr char kCollector[] = R"(
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
constexpr char kTimeOfPosition[] =
    "ALTER TABLE position ADD COLUMN time INTEGER NOT NULL DEFAULT 0";

constexpr const char* kScripts[] = {kEntries, kCollector, kTimeOfPosition};

/// An empty file, changed when the log was last cleared.
std::string ClearedPath()
{
    return MailLogLiveFolder() + "/cleared";
}

Result<void> NoteClearing()
{
    const std::string path = ClearedPath();
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
    if (!file || ::futimens(file.get(), nullptr) < 0 || ::fsync(file.get()) < 0) {
        return Reason{ReasonCode::kSystem, path, "cannot change " + path + ": " + ErrnoText()};
    }
    return {};
}

}  // namespace

std::string MailLogFolder()
{
    return PackagePath("target/etc/maillog");
}

std::string MailLogLiveFolder()
{
    return PackagePath("target/etc/maillog.live");
}

std::string MailLogLivePath()
{
    return MailLogLiveFolder() + "/maillog.db";
}

bool ReadsAllMachines()
{
    const auto defaults = KeyValueFile::Read(Path("/etc/default/mailvane"));
    return defaults && defaults->Get("MAILVANE_MAIL_LOG") == "all";
}

std::string CollectedLogPath()
{
    return Path(ReadsAllMachines() ? kLogOfAll : kPostfixLog);
}

std::vector<std::string> MonthPaths(std::int64_t time)
{
    constexpr int kMostOfAMonth = 9;
    const auto seconds = static_cast<std::time_t>(time);
    std::tm parts{};
    (void)localtime_r(&seconds, &parts);
    char month[16];
    (void)std::strftime(month, sizeof month, "/%Y-%m", &parts);
    const std::string name = MailLogFolder() + month;

    std::vector<std::string> paths{name + ".db"};
    for (int number = 2; number <= kMostOfAMonth; ++number) {
        paths.push_back(name + "-" + std::to_string(number) + ".db");
    }
    return paths;
}

std::int64_t ClearedAt()
{
    struct stat status {};
    return ::lstat(ClearedPath().c_str(), &status) == 0 ? std::int64_t{status.st_mtime} : 0;
}

std::int64_t LatestDate(SQLite::Database& database)
{
    SQLite::Statement latest(database, "SELECT coalesce(max(date), 0) FROM entry WHERE date <= ?");
    latest.bind(1, static_cast<std::int64_t>(std::time(nullptr)));
    (void)latest.executeStep();
    return latest.getColumn(0).getInt64();
}

const system::Schema& MailLogSchema()
{
    static constexpr system::Schema schema(kScripts);
    return schema;
}

Result<SQLite::Database> OpenMailLogForChange(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    if (descriptor >= 0) ::close(descriptor);

    SQLite::Database database(path, SQLite::OPEN_READWRITE, kBusyTimeoutMs);
    database.exec("PRAGMA journal_mode = WAL");
    // A power failure may lose the last transactions with their log position; the lines are then
    // read again.
    database.exec("PRAGMA synchronous = NORMAL");
    Result<void> done = system::BringUpToDate(database, MailLogSchema());
    if (!done) return std::move(done).reason();
    return database;
}

namespace {

/// Makes the collector continue at the present end of the log and forget unfinished messages.
Result<void> SkipLog(SQLite::Database& database)
{
    struct stat status {};
    const bool known = ::stat(CollectedLogPath().c_str(), &status) == 0;
    SQLite::Statement skip(
        database,
        "UPDATE position SET clearings = clearings + 1, inode = iif(?1, ?2, "
        "inode), offset = iif(?1, ?3, offset), head = iif(?1, 0, head), time = ?4");
    skip.bind(1, known ? 1 : 0);
    skip.bind(2, static_cast<std::int64_t>(status.st_ino));
    skip.bind(3, static_cast<std::int64_t>(status.st_size));
    skip.bind(4, static_cast<std::int64_t>(std::time(nullptr)));
    // Without a position this database is being closed as a past month; the caller is to clear the
    // new one.
    if (skip.exec() != 0) return {};
    return Reason{ReasonCode::kBusy, "mail log", "mail log: the month is being closed"};
}

}  // namespace

Result<void> ClearMailLog(SQLite::Database& database)
{
    Result<void> noted = NoteClearing();
    if (!noted) return noted;
    database.exec("PRAGMA secure_delete = ON");
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    // Tables are dropped and created again, since deleting a large log row by row would take
    // minutes.
    database.exec(
        "DROP TABLE entry; DROP TABLE entry_text; DROP TABLE tally; DROP TABLE totals;"
        "DROP VIEW share; DELETE FROM message;");
    database.exec(kEntries);
    Result<void> skipped = SkipLog(database);
    if (!skipped) return skipped;
    transaction.commit();

    // Frees the space of the entries, which are deleted by now.
    database.tryExec("VACUUM");
    database.tryExec("PRAGMA wal_checkpoint (TRUNCATE)");
    return {};
}

}  // namespace host::maillog

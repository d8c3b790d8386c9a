// The mail log's database, written by the collector.
#include "tools/maillog_collector/mail_store.h"

#include <stdexcept>

#include "host/libmailvane/maillog/schema.h"

namespace collector {
namespace {

constexpr std::int64_t kUnqueuedLife = 3600;        // seconds; clients may disconnect unlogged
constexpr std::int64_t kQueuedLife = 45 * 86400LL;  // seconds; Postfix gives up long before
constexpr int kMostUnderWay = 200000;

enum StateBit : int { kQueued = 1, kRequeued = 2, kWaiting = 4, kHasEntries = 8 };

int StateOf(const Mail& mail)
{
    return (mail.queued ? kQueued : 0) | (mail.requeued ? kRequeued : 0) |
           (mail.waiting ? kWaiting : 0) |
           (mail.hasEntries || !mail.entries.empty() ? kHasEntries : 0);
}

SQLite::Database Open(const std::string& path)
{
    auto database = host::maillog::OpenMailLogForChange(path);
    if (!database) throw std::runtime_error(database.reason().text);
    database->exec("PRAGMA cache_size = -16384");
    // Else statements with triggers note what they change in a file.
    database->exec("PRAGMA temp_store = MEMORY");
    return *std::move(database);
}

void Bind(SQLite::Statement& statement, int index, const std::string& value)
{
    statement.bindNoCopy(index, value);
}

void Bind(SQLite::Statement& statement, int index, std::int64_t value)
{
    statement.bind(index, value);
}

/// Binds values in order, runs the statement and resets it. Returns the number of rows changed.
template <typename... Values>
int Run(SQLite::Statement& statement, const Values&... values)
{
    int index = 0;
    (Bind(statement, ++index, values), ...);
    const int changed = statement.exec();
    statement.reset();
    return changed;
}

/// Resets a query at the end of the scope, also after an exception.
class Query {
public:
    explicit Query(SQLite::Statement& statement) : statement_(statement) {}
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    ~Query() { (void)statement_.tryReset(); }

    bool Next() { return statement_.executeStep(); }

private:
    SQLite::Statement& statement_;
};

}  // namespace

MailStore::MailStore(const std::string& path)
    : database_(Open(path)),
      position_(database_, "SELECT inode, offset, head, clearings, time FROM position"),
      load_(database_,
            "SELECT root_id, message_id, mail_from, size, recipients, date, seen, state "
            "FROM message WHERE queue_id = ?"),
      idsOf_(database_, "SELECT queue_id FROM message WHERE root_id = ?"),
      loadEntry_(database_,
                 "SELECT status, counts_as FROM entry WHERE queue_id = ? AND mail_to = ?"),
      undelivered_(database_, "SELECT mail_to FROM entry WHERE queue_id = ? AND counts_as = -1"),
      addEntry_(database_,
                "INSERT INTO entry (queue_id, mail_to, status, counts_as, message_id, subject, "
                "recipients, date, size, mail_from) VALUES (?, ?, ?, ?, ?, '', ?, ?, ?, ?) "
                "ON CONFLICT (queue_id, mail_to) DO NOTHING"),
      changeEntry_(database_,
                   "UPDATE entry SET status = ?, counts_as = ? WHERE queue_id = ? AND mail_to = ?"),
      describe_(database_,
                "UPDATE entry SET message_id = ?, mail_from = ?, size = ?, recipients = ? "
                "WHERE queue_id = ?"),
      removeUnknown_(database_, "DELETE FROM entry WHERE queue_id = ? AND mail_to = ''"),
      absorb_(database_, "UPDATE OR IGNORE entry SET queue_id = ? WHERE queue_id = ?"),
      addMessage_(database_, "INSERT OR REPLACE INTO message VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      endMessage_(database_, "DELETE FROM message WHERE queue_id = ?"),
      setPosition_(database_, "UPDATE position SET inode = ?, offset = ?, head = ?, time = ?"),
      batch_(database_)
{
}

LogPosition MailStore::Position()
{
    Query query(position_);
    LogPosition position;
    if (!query.Next()) return position;
    position.inode = position_.getColumn(0).getInt64();
    position.offset = position_.getColumn(1).getInt64();
    position.head = position_.getColumn(2).getInt64();
    clearings_ = position_.getColumn(3).getInt64();
    position.time = position_.getColumn(4).getInt64();
    return position;
}

std::int64_t MailStore::LatestDate()
{
    return host::maillog::LatestDate(database_);
}

std::unique_ptr<Mail> MailStore::Load(const std::string& id)
{
    load_.bind(1, id);
    Query query(load_);
    if (!query.Next()) return nullptr;

    auto mail = std::make_unique<Mail>();
    mail->key = load_.getColumn(0).getString();
    mail->messageId = load_.getColumn(1).getString();
    mail->from = load_.getColumn(2).getString();
    mail->size = load_.getColumn(3).getInt64();
    mail->recipients = load_.getColumn(4).getInt();
    mail->date = load_.getColumn(5).getInt64();
    mail->seen = load_.getColumn(6).getInt64();
    const int state = load_.getColumn(7).getInt();
    mail->queued = (state & kQueued) != 0;
    mail->requeued = (state & kRequeued) != 0;
    mail->waiting = (state & kWaiting) != 0;
    mail->hasEntries = (state & kHasEntries) != 0;
    return mail;
}

std::unique_ptr<Mail> MailStore::LoadEnded(const std::string& key)
{
    SQLite::Statement ended(database_,
                            "SELECT message_id, mail_from, size, recipients, date, mail_to = '' "
                            "FROM entry WHERE queue_id = ? ORDER BY mail_to");
    ended.bind(1, key);
    if (!ended.executeStep()) return nullptr;

    auto mail = std::make_unique<Mail>();
    mail->key = key;
    mail->messageId = ended.getColumn(0).getString();
    mail->from = ended.getColumn(1).getString();
    mail->size = ended.getColumn(2).getInt64();
    mail->recipients = ended.getColumn(3).getInt();
    mail->date = ended.getColumn(4).getInt64();
    mail->queued = true;
    mail->waiting = ended.getColumn(5).getInt() != 0;
    mail->hasEntries = true;
    return mail;
}

std::vector<std::string> MailStore::IdsOf(const std::string& key)
{
    std::vector<std::string> ids;
    idsOf_.bind(1, key);
    Query query(idsOf_);
    while (query.Next()) ids.push_back(idsOf_.getColumn(0).getString());
    return ids;
}

void MailStore::LoadEntry(const std::string& key, Recipient& entry)
{
    loadEntry_.bind(1, key);
    loadEntry_.bind(2, entry.to);
    Query query(loadEntry_);
    if (!query.Next()) return;
    entry.status = loadEntry_.getColumn(0).getInt();
    entry.countsAs = loadEntry_.getColumn(1).getInt();
}

std::vector<Recipient> MailStore::UndeliveredOf(const std::string& key)
{
    std::vector<Recipient> entries;
    undelivered_.bind(1, key);
    Query query(undelivered_);
    while (query.Next()) {
        entries.emplace_back();
        entries.back().to = undelivered_.getColumn(0).getString();
    }
    return entries;
}

void MailStore::Absorb(const Mail& mail, const std::string& key)
{
    (void)Run(removeUnknown_, key);
    (void)Run(absorb_, mail.key, key);
}

void MailStore::StoreEntries(const Mail& mail)
{
    for (const Recipient& entry : mail.entries) {
        const bool isNew =
            Run(addEntry_, mail.key, entry.to, entry.status, entry.countsAs, mail.messageId,
                mail.recipients, mail.date, mail.size, mail.from) > 0;
        if (!isNew) (void)Run(changeEntry_, entry.status, entry.countsAs, mail.key, entry.to);
    }
}

void MailStore::StoreMail(const Mail& mail)
{
    StoreEntries(mail);
    if (mail.headChanged && mail.hasEntries) {
        (void)Run(describe_, mail.messageId, mail.from, mail.size, mail.recipients, mail.key);
    }
    for (const std::string& id : mail.ids) {
        (void)Run(addMessage_, id, mail.key, mail.messageId, mail.from, mail.size, mail.recipients,
                  mail.date, mail.seen, StateOf(mail));
    }
}

void MailStore::StorePosition(const LogPosition& position)
{
    (void)Run(setPosition_, position.inode, position.offset, position.head, position.time);
}

void MailStore::StoreMails(const std::vector<std::shared_ptr<Mail>>& mails)
{
    for (const auto& mail : mails) {
        if (mail->nowKnown) (void)Run(removeUnknown_, mail->key);
        for (const std::string& key : mail->absorbed) Absorb(*mail, key);
    }
    batch_.Begin();
    for (const auto& mail : mails) StoreMail(*mail);
    batch_.End();
}

bool MailStore::Store(const std::vector<std::shared_ptr<Mail>>& mails,
                      const std::vector<std::string>& ended, const LogPosition& position)
{
    SQLite::Transaction transaction(database_, SQLite::TransactionBehavior::IMMEDIATE);
    const std::int64_t clearings = clearings_;
    (void)Position();
    if (clearings != clearings_) return false;

    StoreMails(mails);
    for (const std::string& id : ended) (void)Run(endMessage_, id);
    StorePosition(position);
    transaction.commit();
    return true;
}

void MailStore::Forget(std::int64_t now)
{
    SQLite::Statement old(database_,
                          "DELETE FROM message WHERE seen < ?1 OR (seen < ?2 AND state & 1 = 0)");
    (void)Run(old, now - kQueuedLife, now - kUnqueuedLife);
    SQLite::Statement surplus(database_,
                              "DELETE FROM message WHERE queue_id IN (SELECT queue_id FROM message "
                              "ORDER BY seen DESC LIMIT -1 OFFSET ?)");
    (void)Run(surplus, kMostUnderWay);
}

}  // namespace collector

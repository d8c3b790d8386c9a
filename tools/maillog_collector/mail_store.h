// The mail log's database, written by the collector.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/libmailvane/maillog/entry_batch.h"
#include "tools/maillog_collector/log_position.h"
#include "tools/maillog_collector/mail.h"

namespace collector {

/// Entries, unfinished messages and the log position; changed in one transaction. All functions
/// throw SQLite::Exception.
class MailStore {
public:
    /// Opens the database at `path` and creates it as needed. Throws std::runtime_error for one of
    /// a later version.
    explicit MailStore(const std::string& path);

    LogPosition Position();
    /// Time of the latest entry; 0 when there is none.
    std::int64_t LatestDate();

    /// The unfinished message with this queue id; null when there is none.
    std::unique_ptr<Mail> Load(const std::string& id);
    /// The finished message with this key, if it has entries; null when there is none.
    std::unique_ptr<Mail> LoadEnded(const std::string& key);
    /// All queue ids of the message with this key.
    std::vector<std::string> IdsOf(const std::string& key);
    /// Completes `entry` from the stored one for `entry.to`, if there is one.
    void LoadEntry(const std::string& key, Recipient& entry);
    /// The entries of a message that have no outcome yet.
    std::vector<Recipient> UndeliveredOf(const std::string& key);

    /// Stores changed messages, ended queue ids and the position in one transaction. False, with
    /// nothing stored, when the log was cleared since the position was read.
    bool Store(const std::vector<std::shared_ptr<Mail>>& mails,
               const std::vector<std::string>& ended, const LogPosition& position);

    /// Forgets unfinished messages without a line for long before `now`, and the oldest when there
    /// are too many.
    void Forget(std::int64_t now);

private:
    void StoreMails(const std::vector<std::shared_ptr<Mail>>& mails);
    void StoreMail(const Mail& mail);
    void StoreEntries(const Mail& mail);
    void Absorb(const Mail& mail, const std::string& key);
    void StorePosition(const LogPosition& position);

    SQLite::Database database_;
    SQLite::Statement position_;
    SQLite::Statement load_;
    SQLite::Statement idsOf_;
    SQLite::Statement loadEntry_;
    SQLite::Statement undelivered_;
    SQLite::Statement addEntry_;
    SQLite::Statement changeEntry_;
    SQLite::Statement describe_;
    SQLite::Statement removeUnknown_;
    SQLite::Statement absorb_;
    SQLite::Statement addMessage_;
    SQLite::Statement endMessage_;
    SQLite::Statement setPosition_;
    host::maillog::EntryBatch batch_;
    std::int64_t clearings_ = 0;
};

}  // namespace collector

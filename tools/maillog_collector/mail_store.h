// The mail-log database as the collector writes it.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/maillog_collector/log_position.h"
#include "tools/maillog_collector/mail.h"

namespace collector {

/// Entries, messages under way and the position in the log, changed together or not at all. All
/// functions throw SQLite::Exception.
class MailStore {
public:
    /// Opens the database at `path` and creates it as needed. Throws std::runtime_error for one of
    /// a later version.
    explicit MailStore(const std::string& path);

    LogPosition Position();
    /// Time of the latest entry; 0 without any.
    std::int64_t LatestDate();

    /// The message with this queue id that is under way; null when there is none.
    std::unique_ptr<Mail> Load(const std::string& id);
    /// The message with this key that has entries but is not under way; null when there is none.
    std::unique_ptr<Mail> LoadEnded(const std::string& key);
    /// All queue ids of the message with this key.
    std::vector<std::string> IdsOf(const std::string& key);
    /// Completes the entry for `entry.to`, if there is one.
    void LoadEntry(const std::string& key, Recipient& entry);
    /// Entries nothing has become of so far.
    std::vector<Recipient> UndeliveredOf(const std::string& key);

    /// Stores changed messages, ended queue ids and the position in one transaction. False, and
    /// nothing stored, when somebody cleared the log since the position was read.
    bool Store(const std::vector<std::shared_ptr<Mail>>& mails,
               const std::vector<std::string>& ended, const LogPosition& position);

    /// Forgets messages that were not mentioned for long by `now`, and the oldest of too many.
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
    SQLite::Statement addTexts_;
    SQLite::Statement describe_;
    SQLite::Statement removeUnknown_;
    SQLite::Statement absorb_;
    SQLite::Statement addMessage_;
    SQLite::Statement endMessage_;
    SQLite::Statement setPosition_;
    std::int64_t clearings_ = 0;
};

}  // namespace collector

// Puts together what the lines of the log say about each message.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/maillog_collector/log_event.h"
#include "tools/maillog_collector/mail.h"

namespace collector {

class MailStore;

/// Follows every message from its first line to its last. Lines come from many processes, so only
/// queue ids tell which belong together.
class MailCorrelator {
public:
    /// `store` (borrowed) knows the messages that are under way since earlier.
    explicit MailCorrelator(MailStore& store) : store_(store) {}

    /// Takes an event in. `lineName` is the line's own name, the same whenever it is read: the key
    /// of what is refused without a queue id. Throws SQLite::Exception.
    void Apply(const Event& event, std::int64_t time, const std::string& lineName);

    /// Messages that changed since the last call of `Stored`.
    const std::vector<std::shared_ptr<Mail>>& Changed() const { return changed_; }
    /// Queue ids that will not be mentioned any more.
    const std::vector<std::string>& Ended() const { return ended_; }

    /// All changes are stored. Keeps memory bounded, whatever is under way.
    void Stored();

private:
    using MailPointer = std::shared_ptr<Mail>;

    MailPointer Find(std::string_view id);
    MailPointer FindOrBegin(std::string_view id, std::int64_t time);
    MailPointer Begin(std::string_view id, std::int64_t time);
    MailPointer FindContinued(std::string_view id, std::int64_t time);
    void Name(const MailPointer& mail, std::string_view id);
    void Touch(const MailPointer& mail);
    void Join(const Event& event, std::int64_t time);
    void Absorb(const MailPointer& whole, const MailPointer& part);
    Recipient& EntryOf(Mail& mail, std::string_view to);
    void JudgeWithoutId(const Event& event, std::int64_t time, const std::string& lineName);
    void Describe(Mail& mail, const Event& event);
    void Deliver(Mail& mail, const Event& event);
    void SettleWaiting(Mail& mail, int status, int countsAs);
    void Remove(const MailPointer& mail, std::string_view id);
    void End(const MailPointer& mail, std::string_view id);

    MailStore& store_;
    std::unordered_map<std::string, MailPointer> mails_;  ///< by queue id; the ended ones too
    std::vector<MailPointer> changed_;
    std::vector<std::string> ended_;
};

}  // namespace collector

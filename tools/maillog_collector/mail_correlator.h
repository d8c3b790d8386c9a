// The correlator: makes messages of log lines.
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

/// Follows each message from its first line to its last. Lines of many processes are mixed; only
/// queue ids tell which belong together.
class MailCorrelator {
public:
    /// `store` must outlive the object; it has the unfinished messages of earlier runs.
    explicit MailCorrelator(MailStore& store) : store_(store) {}

    /// Processes an event. `lineName` identifies the line, the same at each reading; it is the key
    /// of a message refused without a queue id. Throws SQLite::Exception.
    void Apply(const Event& event, std::int64_t time, const std::string& lineName);

    /// The messages changed since the last call of `Stored`.
    const std::vector<std::shared_ptr<Mail>>& Changed() const { return changed_; }
    /// Queue ids that no later line will have.
    const std::vector<std::string>& Ended() const { return ended_; }

    /// To be called when all changes are stored. Also limits the memory used for unfinished
    /// messages.
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
    std::unordered_map<std::string, MailPointer> mails_;  ///< by queue id, ended ones too
    std::vector<MailPointer> changed_;
    std::vector<std::string> ended_;
};

}  // namespace collector

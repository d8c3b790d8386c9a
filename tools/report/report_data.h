// The data of the report about a period, from the mail log, the scanner's log, the queue, the file
// systems and the self-check.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/libmailvane/selfcheck/self_check.h"

namespace report {

/// Seconds since the epoch, without `end` itself.
struct Period {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

struct Volume {
    std::int64_t messages = 0;  ///< number of messages and recipients: two for one to two
    std::int64_t bytes = 0;
};

struct Rank {
    std::string address;
    Volume volume;
};

struct MailCounts {
    std::array<Volume, 3> byOutcome;  ///< by `MailStatus`: sent, received, bounced
    Volume waiting;                   ///< nothing has become of them yet
    Volume resent;                    ///< of those with an outcome, at a later attempt or elsewhere
    std::vector<Rank> senders;        ///< those with most messages, the most first
    std::vector<Rank> recipients;
};

struct ScanCounts {
    std::int64_t viruses = 0;
    std::int64_t spam = 0;
};

struct QueueState {
    bool isWhole = true;      ///< false when the queue is longer than what was counted
    int waiting = 0;          ///< messages of all queues
    int deferred = 0;         ///< of these, to be tried again
    std::int64_t oldest = 0;  ///< age of the oldest in seconds
};

struct Disk {
    const char* name;
    std::uint64_t freeBytes;
    std::uint64_t totalBytes;
};

/// Data that could not be obtained is empty.
struct Data {
    std::string host;  ///< name of the mail server
    Period period;
    std::optional<MailCounts> mail;
    std::optional<ScanCounts> scans;
    std::optional<QueueState> queue;
    std::vector<Disk> disks;
    std::vector<host::selfcheck::CheckResult> checks;  ///< empty when the self-check failed
};

Data Gather(const Period& period);

/// The mail server's name, that of its domain when it has none, or "localhost".
std::string ServerName();

/// The results of the self-check; empty, which is logged, when the settings cannot be read.
std::vector<host::selfcheck::CheckResult> RunSelfCheck();

/// Parts of `Gather`: count the entries of the mail log's databases, and the lines of the scanner's
/// logs, whose year follows from `now` (their lines have none).
std::optional<MailCounts> CountMail(const Period& period);
std::optional<ScanCounts> CountScans(const Period& period, std::int64_t now);

}  // namespace report

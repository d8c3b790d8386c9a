// What the report tells about a period: gathered from the mail log, the scanner's log, the queue,
// the disks and the self-check.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace report {

/// Seconds since the epoch; the end does not belong to it.
struct Period {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

struct Volume {
    std::int64_t messages = 0;  ///< one per message and recipient
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
    std::vector<Rank> senders;        ///< those with most messages, first the greatest
    std::vector<Rank> recipients;
};

struct ScanCounts {
    std::int64_t viruses = 0;
    std::int64_t spam = 0;
};

struct QueueState {
    bool isWhole = true;      ///< false: the queue is longer than what was counted
    int waiting = 0;          ///< messages of all queues
    int deferred = 0;         ///< of these, waiting for another try
    std::int64_t oldest = 0;  ///< age of the oldest, seconds
};

struct Disk {
    const char* name;
    std::uint64_t freeBytes;
    std::uint64_t totalBytes;
};

struct CheckResult {
    std::string key;
    std::string status;
};

/// What could not be had is empty.
struct Data {
    std::string host;  ///< name of the mail server
    Period period;
    std::optional<MailCounts> mail;
    std::optional<ScanCounts> scans;
    std::optional<QueueState> queue;
    std::vector<Disk> disks;
    std::vector<CheckResult> checks;  ///< empty when the self-check failed
};

Data Gather(const Period& period);

/// Parts of `Gather` that read files: the mail log's databases, and the scanner's logs as they are
/// on `now` (their lines have no year).
std::optional<MailCounts> CountMail(const Period& period);
std::optional<ScanCounts> CountScans(const Period& period, std::int64_t now);

}  // namespace report

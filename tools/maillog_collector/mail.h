// A message as far as the log lines read so far tell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/mailvane/mail_log.h"

namespace collector {

/// Marks an entry that has no outcome yet and is not counted in the totals.
constexpr int kCountsNowhere = -1;

/// An entry of the mail log: one recipient of a message. `to` is empty while the recipient is
/// unknown.
struct Recipient {
    std::string to;
    int status = MAIL_RECEIVE;
    int countsAs = kCountsNowhere;  ///< a `MailStatus`
};

/// A message, with all queue ids that it has had.
struct Mail {
    std::string key;  ///< `queue_id` of its entries in the database
    std::string messageId;
    std::string from;
    std::int64_t size = 0;  ///< in bytes, as received
    int recipients = 0;
    std::int64_t date = 0;  ///< time of receipt
    std::int64_t seen = 0;  ///< time of its last log line

    bool queued = false;      ///< completely received
    bool requeued = false;    ///< put into the queue again by an administrator
    bool waiting = false;     ///< its only entry is the one without recipient
    bool hasEntries = false;  ///< has entries in the database

    // Changes not yet stored:
    bool changed = false;
    bool headChanged = false;           ///< values that all its entries share have changed
    bool nowKnown = false;              ///< the stored entry without recipient must be removed
    std::vector<Recipient> entries;     ///< new or changed entries
    std::vector<std::string> absorbed;  ///< keys of stored messages that are the same message
    std::vector<std::string> ids;       ///< queue ids that later lines may still have
};

}  // namespace collector

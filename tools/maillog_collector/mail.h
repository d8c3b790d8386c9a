// A message on its way, as the lines so far tell it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/mailvane/mail_log.h"

namespace collector {

/// What an entry counts as in the totals while nothing has become of it.
constexpr int kCountsNowhere = -1;

/// An entry of the log: one recipient of a message. Not known yet while `to` is empty.
struct Recipient {
    std::string to;
    int status = MAIL_RECEIVE;
    int countsAs = kCountsNowhere;  ///< a `MailStatus`
};

/// A message with all queue ids it has had.
struct Mail {
    std::string key;  ///< `queue_id` of its entries
    std::string messageId;
    std::string from;
    std::int64_t size = 0;  ///< as it came in, in bytes
    int recipients = 0;
    std::int64_t date = 0;  ///< when it came in
    std::int64_t seen = 0;  ///< last mentioned

    bool queued = false;      ///< accepted whole
    bool requeued = false;    ///< by an administrator
    bool waiting = false;     ///< its one entry has no recipient yet
    bool hasEntries = false;  ///< stored ones

    // Since the last time it was stored:
    bool changed = false;
    bool headChanged = false;           ///< what all its entries share
    bool nowKnown = false;              ///< the stored entry without recipient is out of date
    std::vector<Recipient> entries;     ///< that are new or have changed
    std::vector<std::string> absorbed;  ///< keys of stored mails that turned out to be this one
    std::vector<std::string> ids;       ///< queue ids under which it may still be mentioned
};

}  // namespace collector

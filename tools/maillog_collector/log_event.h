// Parsing log lines of Postfix into events. The texts of an event point into the line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/maillog_collector/log_line.h"

namespace collector {

enum class EventKind {
    kAccepted,   ///< a new message from a client or a local user
    kJoined,     ///< the message `id` continues `other`, as after the scanner
    kMessageId,  ///< `messageId`
    kQueued,     ///< `from`, `size`, `recipients`
    kExpired,    ///< too old; the remaining recipients are given up
    kRemoved,    ///< the message has left the queue
    kDeleted,    ///< an administrator removed the message
    kSent,       ///< delivered to `to`; `local`: into a mailbox of this machine
    kPassedOn,   ///< delivered as the new message `other`
    kScanned,    ///< passed to the scanner; `other`, if set, came back from it
    kBounced,    ///< `to` cannot be reached
    kDeferred,   ///< delivery to `to` is put off
    kKept,       ///< accepted for `to`, then held or dropped
    kProbed,     ///< no message: the mail server only asked whether `to` can be reached
    kRefused     ///< not accepted
};

struct Event {
    EventKind kind = EventKind::kAccepted;
    std::string_view id;  ///< empty: refused before it got an id
    std::string_view other;
    std::string_view messageId;
    std::string_view from;
    std::string_view to;
    std::int64_t size = 0;
    int recipients = 0;
    bool local = false;
    bool requeued = false;  ///< joined since an administrator requeued the message
};

/// The event of a line; nothing for a line that is not about a message.
std::optional<Event> ParseEvent(const LogLine& line);

}  // namespace collector

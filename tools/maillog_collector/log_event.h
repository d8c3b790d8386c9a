// What a line of Postfix says about a message. Texts refer to the line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/maillog_collector/log_line.h"

namespace collector {

enum class EventKind {
    kAccepted,   ///< a client or a local user hands in a new message
    kJoined,     ///< the message `id` continues the message `other`
    kMessageId,  ///< `messageId`
    kQueued,     ///< `from`, `size`, `recipients`
    kExpired,    ///< recipients that still wait are given up
    kRemoved,    ///< the message has left the queue
    kDeleted,    ///< an administrator removed the message
    kSent,       ///< `to` has it; `local`: in a mailbox here
    kPassedOn,   ///< delivered as the new message `other`
    kScanned,    ///< handed to the scanner, which may have made `other` of it
    kBounced,    ///< `to` cannot get it
    kDeferred,   ///< `to` gets it later
    kKept,       ///< accepted for `to` and put aside or thrown away
    kProbed,     ///< no message: the mail server only asked whether `to` can be reached
    kRefused     ///< not accepted
};

struct Event {
    EventKind kind = EventKind::kAccepted;
    std::string_view id;  ///< empty: refused before it had one
    std::string_view other;
    std::string_view messageId;
    std::string_view from;
    std::string_view to;
    std::int64_t size = 0;
    int recipients = 0;
    bool local = false;
    bool requeued = false;  ///< joined because an administrator put it into the queue again
};

/// What the line says; nothing for a line that says nothing about a message.
std::optional<Event> ParseEvent(const LogLine& line);

}  // namespace collector

// The messages in the mail server's queues, by the names of their files alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/result.h"

namespace upkeep {

enum class Queue { kMaildrop, kIncoming, kActive, kDeferred, kHold };

/// The queue's name: "maildrop", "incoming", "active", "deferred" or "hold".
const char* NameOf(Queue queue);

struct QueueName {
    std::string id;
    Queue queue = Queue::kIncoming;
};

/// Whether a text can be the id of a message: letters and digits, at most 30.
bool IsQueueId(std::string_view text);

/// When the message arrived, in seconds since the epoch, as a long id says it; nothing for a short
/// one, as mail has that came before they were switched on.
std::optional<std::int64_t> ArrivalOf(std::string_view id);

/// All messages in the queues below the mail server's queue directory, the oldest first; those with
/// short ids, in no order, before the others. One that was moved meanwhile is told once.
host::Result<std::vector<QueueName>> ReadQueueNames(const std::string& spool);

/// The queue in which a message lies now; nothing when it has gone.
std::optional<QueueName> FindQueued(const std::string& spool, const std::string& id);

/// Opens a message's file; none when it has gone from that queue.
host::Descriptor OpenQueued(const std::string& spool, const QueueName& message);

/// The path of the file that says why a message was not delivered yet.
std::string DeferLogOf(const std::string& spool, std::string_view id);

}  // namespace upkeep

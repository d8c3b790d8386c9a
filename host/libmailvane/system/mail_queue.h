// The messages in the mail server's queues.
#pragma once

#include <cstdint>
#include <vector>

#include "host/libhaldcore/run_program.h"

namespace host::system {

struct QueuedMessage {
    bool deferred = false;     ///< waits for another attempt at delivery
    std::int64_t arrival = 0;  ///< seconds since the epoch
};

struct MailQueue {
    std::vector<QueuedMessage> messages;
    bool isWhole = true;  ///< false when the list was longer than what was read
};

/// Lists the queues. Fails when postqueue does or takes longer than `limit`.
Result<MailQueue> ReadMailQueue(std::chrono::milliseconds limit = ProgramOptions().limit);

}  // namespace host::system

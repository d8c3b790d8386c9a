// The mail that waits in the mail server's queues.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/libhaldcore/run_program.h"

namespace host::system {

struct QueuedMessage {
    bool deferred = false;     ///< it waits for another try
    std::int64_t arrival = 0;  ///< seconds since the epoch
};

struct MailQueue {
    std::vector<QueuedMessage> messages;
    bool isWhole = true;  ///< false: the queue is longer than what was read
};

/// Lists the queues. Nothing when the mail server's tool fails or takes longer than `limit`.
std::optional<MailQueue> ReadMailQueue(std::chrono::milliseconds limit = ProgramOptions().limit);

}  // namespace host::system

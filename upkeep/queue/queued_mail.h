// The mail that waits to be delivered, with what its files say.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "upkeep/queue/queue_file.h"
#include "upkeep/queue/queue_names.h"

namespace upkeep {

struct QueuedMail {
    QueueName name;
    Envelope envelope;
};

/// Reads what the file of a message says, with `most` of its recipients. Nothing when the message
/// has gone.
std::optional<QueuedMail> ReadQueuedMail(const std::string& spool, const QueueName& name,
                                         std::size_t most);

enum class QueueOrder { kArrival, kSize, kSender };

struct QueueQuery {
    std::string text;  ///< in the id, the sender or a recipient, without regard to ASCII case
    QueueOrder order = QueueOrder::kArrival;
    bool descending = false;
    std::size_t start = 0;
    std::size_t count = 50;
};

struct QueuePage {
    std::vector<QueuedMail> mail;
    std::size_t total = 0;  ///< of all pages
};

/// One page of the mail that waits. By arrival and without a text it opens the files of that page
/// alone, unless there are short ids; else those of all messages, and fails with `kTooMany` about
/// the query when that takes longer than `patience`.
host::Result<QueuePage> ReadQueuePage(const std::string& spool, const QueueQuery& query,
                                      std::chrono::milliseconds patience);

}  // namespace upkeep

// A message's file in the mail server's queue.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "upkeep/mail_text/header_block.h"

namespace upkeep {

/// What the envelope of a queued message says.
struct Envelope {
    std::int64_t arrival = 0;             ///< seconds since the epoch
    std::uint64_t size = 0;               ///< bytes of the message
    std::uint64_t content = 0;            ///< where in the file the message begins
    std::string sender;                   ///< empty for a notice of non-delivery
    std::vector<std::string> recipients;  ///< who have not got it yet, `most` at most
    std::size_t waiting = 0;              ///< how many there are
};

/// Reads the envelope from a file of the queue. The file changes while it is read and ends where
/// somebody wants it to: nothing when it is none, not complete yet, or longer than any envelope.
std::optional<Envelope> ReadEnvelope(int file, std::size_t most);

/// Reads the header of the message from a file of the queue.
HeaderBlock ReadHeader(int file, const Envelope& envelope);

}  // namespace upkeep

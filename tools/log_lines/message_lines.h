// The lines of one message in the mail server's log.
#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace log_lines {

/// What was found of a message, and where it was looked for.
struct Found {
    std::vector<std::string> lines;  ///< the oldest first, as they stand in the log
    std::set<std::string> ids;       ///< the message's queue ids
    std::string since;               ///< stamp of the oldest line that was looked at; may be empty
    bool cut = false;                ///< there are older lines of the message than these
    bool whole = false;              ///< nothing older could have any, or all of the log was read
};

/// A line as it can be shown: UTF-8 of at most 2,000 bytes. Control characters, those that turn the
/// direction of a text, and bytes that are no UTF-8 become `?`.
std::string Shown(std::string_view line);

struct Bounds {
    std::size_t lines = 200;
    std::chrono::milliseconds patience{2000};
};

/// Looks for the lines of a message in the log at `path` and its older parts, the newest first.
/// `id` is a queue id, or a message id without brackets, which leads to its queue ids; what has
/// control characters is none. Throws std::runtime_error when a part cannot be read.
Found FindLines(const std::string& path, const std::string& id, const Bounds& bounds);

}  // namespace log_lines

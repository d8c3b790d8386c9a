// Splitting a line of Postfix's log. The parts point into the line.
#pragma once

#include <optional>
#include <string_view>

namespace collector {

/// `STAMP HOST postfix/SERVICE/DAEMON[PID]: TEXT`
struct LogLine {
    std::string_view stamp;
    std::string_view machine;  ///< that wrote it
    std::string_view daemon;   ///< after the last "/": smtpd
    std::string_view text;
};

/// Splits a line without its line feed; nothing when it is not from a daemon of Postfix.
std::optional<LogLine> ParseLine(std::string_view line);

/// Whether a text is a queue id: short, `3F2A01B7C2` (hexadecimal), or long, `4Xy1Pq2bRzz9Q`
/// (digits and consonants; the last `z` separates time and file number).
bool IsQueueId(std::string_view text);

/// Whether this is a short id; Postfix uses these again after a while.
bool IsShortId(std::string_view id);

}  // namespace collector

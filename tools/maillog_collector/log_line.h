// One line of the mail server's log, taken apart. Everything refers to the line's own text.
#pragma once

#include <optional>
#include <string_view>

namespace collector {

/// `STAMP HOST postfix/SERVICE/DAEMON[PID]: TEXT`
struct LogLine {
    std::string_view stamp;
    std::string_view daemon;  ///< the last part of the program's name
    std::string_view text;
};

/// Takes a line (without its line feed) apart; nothing for what no daemon of Postfix wrote.
std::optional<LogLine> ParseLine(std::string_view line);

/// Whether a text is a queue id: short (hexadecimal) or long (digits and consonants; the last `z`
/// parts time and file).
bool IsQueueId(std::string_view text);

/// Whether an id is a short one, which Postfix uses again.
bool IsShortId(std::string_view id);

}  // namespace collector

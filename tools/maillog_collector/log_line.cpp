// Splitting a line of Postfix's log.
#include "tools/maillog_collector/log_line.h"

#include <algorithm>

#include "host/libhaldcore/text.h"

namespace collector {
namespace {

constexpr std::string_view kProgram = "postfix/";
constexpr std::size_t kClassicStamp = 15;  // "Nov 21 04:16:18"
constexpr std::size_t kShortestShortId = 6;
constexpr std::size_t kLongestId = 32;
constexpr std::size_t kTimePart = 10;  // of a long id: its least length

using host::IsDigit;

bool IsHex(char letter)
{
    return IsDigit(letter) || (letter >= 'A' && letter <= 'F');
}

/// Whether a character can be in a long id, which has no vowels.
bool IsConsonantOrDigit(char letter)
{
    if (IsDigit(letter)) return true;
    const char lower = static_cast<char>(letter | 0x20);
    return lower >= 'a' && lower <= 'z' &&
           std::string_view("aeiou").find(lower) == std::string_view::npos;
}

/// Removes and returns the text before the next blank.
std::string_view TakeWord(std::string_view& rest)
{
    const std::size_t end = std::min(rest.find(' '), rest.size());
    const std::string_view word = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return word;
}

std::string_view TakeStamp(std::string_view& rest)
{
    if (!rest.empty() && IsDigit(rest.front())) return TakeWord(rest);
    if (rest.size() <= kClassicStamp || rest[kClassicStamp] != ' ') return {};

    const std::string_view stamp = rest.substr(0, kClassicStamp);
    rest.remove_prefix(kClassicStamp + 1);
    return stamp;
}

/// The daemon in `postfix/SERVICE/DAEMON[PID]:`; empty for other texts.
std::string_view DaemonOf(std::string_view program)
{
    if (program.substr(0, kProgram.size()) != kProgram) return {};
    const std::size_t open = program.find('[');
    if (open == std::string_view::npos || program.size() < open + 4) return {};

    const std::string_view tail = program.substr(program.size() - 2);
    const std::string_view number = program.substr(open + 1, program.size() - open - 3);
    if (tail != "]:" || !std::all_of(number.begin(), number.end(), IsDigit)) return {};

    const std::string_view name = program.substr(0, open);
    return name.substr(name.rfind('/') + 1);
}

}  // namespace

std::optional<LogLine> ParseLine(std::string_view line)
{
    LogLine parts;
    parts.stamp = TakeStamp(line);
    if (parts.stamp.empty()) return std::nullopt;

    parts.machine = TakeWord(line);
    parts.daemon = DaemonOf(TakeWord(line));
    parts.text = line;
    return parts.daemon.empty() ? std::nullopt : std::make_optional(parts);
}

bool IsShortId(std::string_view id)
{
    return id.size() >= kShortestShortId && id.size() <= kLongestId &&
           std::all_of(id.begin(), id.end(), IsHex);
}

bool IsQueueId(std::string_view text)
{
    if (IsShortId(text)) return true;
    if (text.size() > kLongestId || !std::all_of(text.begin(), text.end(), IsConsonantOrDigit))
        return false;

    const std::size_t separator = text.rfind('z');
    return separator != std::string_view::npos && separator >= kTimePart &&
           separator + 1 < text.size();
}

}  // namespace collector

// Reading the fields of a log line one after the other.
#include "tools/maillog_collector/log_fields.h"

#include <charconv>

namespace collector {
namespace {

bool IsTail(char letter)
{
    return (static_cast<unsigned char>(letter) & 0xc0) == 0x80;
}

/// Bytes that the lead byte promises, by UTF-8; 0 for no lead byte.
std::size_t PromisedLength(unsigned char lead)
{
    if (lead < 0x80) return 1;
    if (lead >= 0xc2 && lead <= 0xdf) return 2;
    if (lead >= 0xe0 && lead <= 0xef) return 3;
    return lead >= 0xf0 && lead <= 0xf4 ? 4 : 0;
}

/// Whether the second byte makes an overlong form, a surrogate, something beyond Unicode, or a
/// control character of two bytes.
bool IsForbiddenPair(unsigned char lead, unsigned char second)
{
    switch (lead) {
        case 0xc2:
        case 0xe0:
            return second < 0xa0;
        case 0xed:
            return second >= 0xa0;
        case 0xf0:
            return second < 0x90;
        case 0xf4:
            return second >= 0x90;
        default:
            return false;
    }
}

/// Length of the printable character that the text begins with; 0 when it begins with none.
std::size_t CharacterLength(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = PromisedLength(lead);
    if (length == 1) return lead < 0x20 || lead == 0x7f || lead == '<' || lead == '>' ? 0 : 1;
    if (length == 0 || length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsTail(text[i])) return 0;
    }
    return IsForbiddenPair(lead, static_cast<unsigned char>(text[1])) ? 0 : length;
}

}  // namespace

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool SkipPrefix(std::string_view& rest, std::string_view prefix)
{
    if (rest.substr(0, prefix.size()) != prefix) return false;
    rest.remove_prefix(prefix.size());
    return true;
}

std::string_view TakeUntil(std::string_view& rest, char end)
{
    const std::size_t found = rest.find(end);
    const std::string_view taken = rest.substr(0, found);
    rest.remove_prefix(found == std::string_view::npos ? rest.size() : found + 1);
    return taken;
}

bool TakeAddress(std::string_view& rest, std::string_view& address)
{
    if (rest.empty() || rest.front() != '<') return false;
    bool quoted = false;
    for (std::size_t i = 1; i < rest.size(); ++i) {
        if (quoted && rest[i] == '\\') {
            ++i;
        } else if (rest[i] == '"') {
            quoted = !quoted;
        } else if (rest[i] == '>' && !quoted) {
            address = rest.substr(1, i - 1);
            rest.remove_prefix(i + 1);
            return true;
        }
    }
    return false;
}

bool TakeNumber(std::string_view& rest, std::int64_t& number)
{
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (error != std::errc() || number < 0) return false;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return true;
}

std::string CleanText(std::string_view text)
{
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (clean.size() + (length == 0 ? 1 : length) > kLongestText) break;
        if (length == 0) {
            clean += '?';
        } else {
            clean += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return clean;
}

}  // namespace collector

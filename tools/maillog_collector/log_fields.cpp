// Reading the fields of a log line in order.
#include "tools/maillog_collector/log_fields.h"

#include <charconv>
#include <cstring>

#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"

namespace collector {
namespace {

/// Length in bytes of the first character, if pages can show it unchanged; else 0.
std::size_t PlainLength(std::string_view text)
{
    const char first = text.front();
    if (static_cast<unsigned char>(first) < 0x80) {
        return host::IsControl(first) || first == '<' || first == '>' ? 0 : 1;
    }
    const std::size_t length = host::CharacterLength(text);
    const std::string_view character = text.substr(0, length);
    const bool isControl = character >= "\xc2\x80" && character < "\xc2\xa0";
    return isControl ? 0 : length;
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
        const std::size_t length = PlainLength(text);
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

std::string CleanId(std::string_view id)
{
    std::string clean = CleanText(id);
    const std::size_t first = clean.find_first_not_of(' ');
    if (first != std::string::npos && std::strchr("=+-@", clean[first]) != nullptr) {
        clean[first] = '?';
    }
    return clean;
}

}  // namespace collector

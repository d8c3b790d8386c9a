// The values of the header fields that say what a part of a message is (RFC 2045, RFC 2231).
#include "upkeep/mail_text/parameters.h"

#include <map>

#include "host/libhaldcore/text.h"
#include "tools/attachment_names/decoding.h"
#include "upkeep/mail_text/charset.h"

namespace upkeep {

namespace {

constexpr std::size_t kMostPieces = 100;

/// Cuts a value off a field: a quoted one up to its quote, another up to the semicolon.
std::string CutValue(std::string_view& rest)
{
    std::string value;
    bool quoted = false;
    std::size_t at = 0;
    for (; at < rest.size() && (quoted || rest[at] != ';'); ++at) {
        if (rest[at] == '"') {
            quoted = !quoted;
            continue;
        }
        if (quoted && rest[at] == '\\' && at + 1 < rest.size()) ++at;
        value += rest[at];
    }
    rest.remove_prefix(at);
    return quoted || at == 0 ? value : std::string(host::Trim(value));
}

/// The number of a piece, from its name behind the first "*": "0*", "12", or nothing.
std::size_t NumberOf(std::string_view piece)
{
    std::size_t number = 0;
    for (const char c : piece) {
        if (!host::IsDigit(c) || number > kMostPieces) break;
        number = 10 * number + static_cast<std::size_t>(c - '0');
    }
    return number;
}

/// A text that may have its character set in front, utf-8'en'text, of which the rest is encoded.
std::string Extended(const std::string& text)
{
    const std::size_t set = text.find('\'');
    const std::size_t language = set == std::string::npos ? set : text.find('\'', set + 1);
    if (language == std::string::npos) return attachment_names::PercentDecoded(text);
    return ToUtf8(text.substr(0, set), attachment_names::PercentDecoded(text.substr(language + 1)));
}

}  // namespace

std::string MainValue(std::string_view field)
{
    return host::InLowerCase(host::Trim(field.substr(0, field.find(';'))));
}

std::string Parameter(std::string_view field, std::string_view name)
{
    std::string plain;
    std::map<std::size_t, std::string> pieces;
    bool isExtended = false;
    field.remove_prefix(std::min(field.find(';'), field.size()));
    while (!field.empty()) {
        field.remove_prefix(1);  // the semicolon
        const std::size_t equals = field.find_first_of("=;");
        if (equals == std::string_view::npos) break;
        const std::string whole = host::InLowerCase(host::Trim(field.substr(0, equals)));
        field.remove_prefix(equals);
        if (field.front() == ';') continue;
        field.remove_prefix(1);
        std::string value = CutValue(field);

        const std::size_t star = std::min(whole.find('*'), whole.size());
        if (whole.substr(0, star) != name) continue;
        if (star == whole.size()) {
            if (plain.empty()) plain = std::move(value);
        } else if (pieces.size() < kMostPieces) {
            isExtended = isExtended || whole.back() == '*';
            pieces.emplace(NumberOf(std::string_view(whole).substr(star + 1)), std::move(value));
        }
    }
    if (pieces.empty()) return attachment_names::WordsDecoded(plain, true, ToUtf8);

    std::string joined;
    for (const auto& [number, piece] : pieces) joined += piece;
    return isExtended ? Extended(joined) : joined;
}

}  // namespace upkeep

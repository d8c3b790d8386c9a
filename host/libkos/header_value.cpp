// Header values with parameters.
#include "host/libkos/header_value.h"

#include <algorithm>

#include "host/libkos/text.h"

namespace kos {

namespace {

/// Removes a quoted text, which begins with its quote, from `rest` and returns it without quotes.
std::string TakeQuoted(std::string_view& rest)
{
    std::string text;
    std::size_t at = 1;
    while (at < rest.size() && rest[at] != '"') {
        // Only \" is an escape; other backslashes are kept, as in C:\mail.
        if (rest[at] == '\\' && at + 1 < rest.size() && rest[at + 1] == '"') ++at;
        text += rest[at++];
    }
    rest.remove_prefix(std::min(at + 1, rest.size()));
    return text;
}

}  // namespace

HeaderValue HeaderValue::Parse(std::string_view text)
{
    HeaderValue header;
    header.value_ = InLowerCase(Trim(CutAt(text, ';')));
    while (!text.empty()) {
        const std::size_t equals = text.find_first_of("=;");
        if (equals == std::string_view::npos) break;
        if (text[equals] == ';') {
            (void)CutAt(text, ';');
            continue;
        }

        std::string name = InLowerCase(Trim(CutAt(text, '=')));
        text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
        const bool quoted = !text.empty() && text.front() == '"';
        std::string value = quoted ? TakeQuoted(text) : std::string();
        const std::string_view plain = Trim(CutAt(text, ';'));
        header.parameters_.emplace_back(std::move(name), quoted ? value : std::string(plain));
    }
    return header;
}

std::optional<std::string> HeaderValue::Parameter(std::string_view name) const
{
    for (const auto& parameter : parameters_) {
        if (parameter.first == name) return parameter.second;
    }
    return std::nullopt;
}

}  // namespace kos

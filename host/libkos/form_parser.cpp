// Request parameters: query string, form bodies, text fields of an upload.
#include "host/libkos/form_parser.h"

#include <charconv>

#include "host/libhaldcore/utf8.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

/// The byte of two hexadecimal digits; -1 when they are none.
int HexByte(std::string_view digits)
{
    unsigned char byte = 0;  // unsigned, since from_chars accepts "-" for signed types
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, byte, 16);
    return digits.size() == 2 && result.ptr == end ? byte : -1;
}

std::string Decode(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const int byte = text[at] == '%' ? HexByte(text.substr(at + 1, 2)) : -1;
        if (byte >= 0) {
            decoded += static_cast<char>(byte);
            at += 2;
        } else {
            decoded += text[at] == '+' ? ' ' : text[at];
        }
    }
    return decoded;
}

/// Whether a text is UTF-8 without a NUL.
bool IsGoodText(const std::string& text)
{
    return text.find('\0') == std::string::npos && host::IsUtf8(text);
}

}  // namespace

bool Parameters::Add(std::string name, std::string value)
{
    bytes_ += name.size() + value.size();
    if (bytes_ > kMaxParameterBytes || list_.size() >= kMaxParameters) return false;
    if (!IsGoodText(name) || !IsGoodText(value)) return false;

    list_.emplace_back(std::move(name), std::move(value));
    return true;
}

const std::string* Parameters::Find(std::string_view name) const
{
    for (const auto& parameter : list_) {
        if (parameter.first == name) return &parameter.second;
    }
    return nullptr;
}

bool ParseForm(std::string_view text, Parameters& parameters)
{
    while (!text.empty()) {
        std::string_view value = CutAt(text, '&');
        if (value.empty()) continue;

        std::string name = Decode(CutAt(value, '='));
        if (!parameters.Add(std::move(name), Decode(value))) return false;
    }
    return true;
}

}  // namespace kos

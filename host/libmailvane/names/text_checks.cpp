// Checks of texts that are written into generated files.
#include "host/libmailvane/names/text_checks.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "host/libmailvane/names/login_key.h"

namespace host::names {

namespace {

constexpr std::string::size_type kLongestHostName = 253;
constexpr std::string::size_type kLongestLabel = 63;
constexpr std::string::size_type kLongestAddress = 254;
constexpr std::string::size_type kLongestLogin = 255;
constexpr std::string::size_type kLongestShortDomain = 15;

bool IsOneOf(const std::string& text, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(),
                       [&text](const char* word) { return text == word; });
}

/// Whether this is an IPv4 or IPv6 address. inet_pton() would stop at a NUL.
bool IsAddress(const std::string& text)
{
    if (text.find('\0') != std::string::npos) return false;

    unsigned char bytes[sizeof(in6_addr)];
    return text.find('\0') == std::string::npos && (inet_pton(AF_INET, text.c_str(), bytes) == 1 ||
                                                    inet_pton(AF_INET6, text.c_str(), bytes) == 1);
}

/// Whether a byte may be in an address: those excluded would end or change the line of a map.
bool IsAddressCharacter(char c)
{
    return !IsControl(c) && std::strchr(" \"\\<>(),;:[]|#/", c) == nullptr;
}

}  // namespace

bool IsPlainText(const std::string& text)
{
    return std::none_of(text.begin(), text.end(), IsControl) && IsUtf8(text);
}

bool IsLabel(const std::string& text)
{
    return !text.empty() && text.size() <= kLongestLabel && text.front() != '-' &&
           text.back() != '-' && std::all_of(text.begin(), text.end(), [](char c) {
               return IsLetterOrDigit(c) || c == '-';
           });
}

bool IsHostName(const std::string& text)
{
    if (text.empty() || text.size() > kLongestHostName) return false;

    std::string::size_type start = 0;
    while (start <= text.size()) {
        const auto dot = std::min(text.find('.', start), text.size());
        if (!IsLabel(text.substr(start, dot - start))) return false;
        start = dot + 1;
    }
    return true;
}

bool IsHostNameOrEmpty(const std::string& text)
{
    return text.empty() || IsHostName(text);
}

bool IsDomain(const std::string& text)
{
    const std::string last = text.substr(text.rfind('.') + 1);  // npos + 1 is 0
    return IsHostName(text) && !std::all_of(last.begin(), last.end(), IsDigit);
}

bool IsBlocklistType(const std::string& text)
{
    return IsOneOf(text, {"rbl_client", "rhsbl_sender", "rhsbl_helo"});
}

bool IsLogin(const std::string& text)
{
    return !LoginKey(text).empty() && text.size() <= kLongestLogin && IsPlainText(text);
}

bool IsRelayAccount(const std::string& text)
{
    return IsPlainText(text) && text.find(':') == std::string::npos;
}

bool IsHostOrAddressOrEmpty(const std::string& text)
{
    const bool inBrackets = text.size() > 2 && text.front() == '[' && text.back() == ']';
    const std::string bare = inBrackets ? text.substr(1, text.size() - 2) : text;
    return IsHostNameOrEmpty(bare) || IsAddress(bare);
}

bool IsShortDomainOrEmpty(const std::string& text)
{
    return text.empty() ||
           (text.size() <= kLongestShortDomain && std::all_of(text.begin(), text.end(), [](char c) {
                return IsLetterOrDigit(c) || c == '-' || c == '_';
            }));
}

bool IsMailAddress(const std::string& text)
{
    const auto at = text.find('@');
    const std::string local = text.substr(0, at);
    if (local.empty() || text.size() > kLongestAddress || !IsUtf8(text)) return false;
    if (!std::all_of(local.begin(), local.end(), IsAddressCharacter)) return false;

    return at == std::string::npos || IsDomain(text.substr(at + 1));
}

bool IsFullAddress(const std::string& text)
{
    return IsMailAddress(text) && text.find('@') != std::string::npos;
}

}  // namespace host::names

// The names in the access lists and the black and white list.
#include "host/libmailvane/names/list_names.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr int kBitsOfIpv4 = 32;
constexpr int kBitsOfIpv6 = 128;
constexpr int kBitsOfWrapping = kBitsOfIpv6 - kBitsOfIpv4;
constexpr std::size_t kLongestPrefix = 3;  // digits

/// An IP address in network byte order.
struct IpAddress {
    int family = AF_INET;
    unsigned char bytes[sizeof(in6_addr)] = {};

    int Bits() const { return family == AF_INET ? kBitsOfIpv4 : kBitsOfIpv6; }
};

bool WrapsIpv4(const IpAddress& address)
{
    in6_addr wrapped;
    std::memcpy(&wrapped, address.bytes, sizeof(wrapped));
    return address.family == AF_INET6 && IN6_IS_ADDR_V4MAPPED(&wrapped);
}

std::optional<IpAddress> ParseIp(const std::string& text)
{
    IpAddress address;
    if (text.find('\0') != std::string::npos) return std::nullopt;
    if (inet_pton(AF_INET, text.c_str(), address.bytes) == 1) return address;

    address.family = AF_INET6;
    if (inet_pton(AF_INET6, text.c_str(), address.bytes) == 1) return address;
    return std::nullopt;
}

/// Turns an IPv4-mapped IPv6 address, ::ffff:192.0.2.1, into IPv4, which is how Postfix shows such
/// clients.
void Unwrap(IpAddress& address)
{
    constexpr std::size_t size = kBitsOfIpv4 / 8;
    std::memmove(address.bytes, address.bytes + kBitsOfWrapping / 8, size);
    address.family = AF_INET;
}

std::string IpText(const IpAddress& address)
{
    char text[INET6_ADDRSTRLEN] = "";
    (void)inet_ntop(address.family, address.bytes, text, sizeof(text));
    return text;
}

std::optional<std::string> StoredIp(const std::string& text)
{
    std::optional<IpAddress> address = ParseIp(text);
    if (!address) return std::nullopt;

    if (WrapsIpv4(*address)) Unwrap(*address);
    return IpText(*address);
}

void ClearHostBits(IpAddress& address, int prefix)
{
    for (int bit = prefix; bit < address.Bits(); ++bit) {
        const auto mask = static_cast<unsigned char>(0x80U >> static_cast<unsigned>(bit % 8));
        address.bytes[bit / 8] &= static_cast<unsigned char>(~mask);
    }
}

/// The length of a network's prefix; -1 when the text is no such number.
int ParsePrefix(const std::string& text)
{
    if (text.empty() || text.size() > kLongestPrefix) return -1;
    if (text.find_first_not_of(kDigits) != std::string::npos) return -1;
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

std::optional<std::string> StoredNetwork(const std::string& text)
{
    const auto slash = text.find('/');
    if (slash == std::string::npos) return std::nullopt;

    std::optional<IpAddress> address = ParseIp(text.substr(0, slash));
    int prefix = ParsePrefix(text.substr(slash + 1));
    if (!address || prefix < 0 || prefix > address->Bits()) return std::nullopt;

    if (WrapsIpv4(*address) && prefix >= kBitsOfWrapping) {
        Unwrap(*address);
        prefix -= kBitsOfWrapping;
    }
    ClearHostBits(*address, prefix);
    return IpText(*address) + "/" + std::to_string(prefix);
}

std::optional<std::string> StoredTree(const std::string& text)
{
    const bool dotted = !text.empty() && text.front() == '.';
    return StoredDomain(dotted ? text.substr(1) : text);
}

std::optional<std::string> StoredAddress(const std::string& text)
{
    const std::string address = InLowerCase(WithALabels(text));
    return IsFullAddress(address) ? std::make_optional(address) : std::nullopt;
}

}  // namespace

std::optional<std::string> StoredName(NameType kind, const std::string& text)
{
    // A NUL would end the text in programs that read it as a C string.
    if (text.find('\0') != std::string::npos) return std::nullopt;

    switch (kind) {
        case NAME_ADDRESS:
            return StoredAddress(text);
        case NAME_DOMAIN:
            return StoredDomain(text);
        case NAME_DOMAIN_TREE:
            return StoredTree(text);
        case NAME_IP:
            return StoredIp(text);
        case NAME_NETWORK:
            return StoredNetwork(text);
    }
    return std::nullopt;
}

bool IsNameOfKind(NameType kind, const std::string& text)
{
    return StoredName(kind, text).has_value();
}

std::vector<std::string> AccessKeys(NameType kind, const std::string& name)
{
    if (kind == NAME_DOMAIN_TREE) return {name, "." + name};
    return {name};
}

std::string NameInText(NameType kind, const std::string& name)
{
    return (kind == NAME_DOMAIN_TREE ? "." : "") + name;
}

NameType KindInText(const std::string& name)
{
    if (name.find('@') != std::string::npos) return NAME_ADDRESS;
    if (!name.empty() && name.front() == '.') return NAME_DOMAIN_TREE;
    if (name.find('/') != std::string::npos) return NAME_NETWORK;
    return IsNameOfKind(NAME_IP, name) ? NAME_IP : NAME_DOMAIN;
}

}  // namespace host::names

// Where attempts come from, and how web servers tell.
#include "tools/login_guard/source.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace guard {

namespace {

/// lighttpd writes "DATE TIME: (mod_auth.c.LINE) password doesn't match for PATH username: NAME IP:
/// ADDRESS", the others "TIME failed login IP: ADDRESS", as their configurations say.
constexpr std::string_view kModule = ": (mod_auth.c.";
constexpr std::string_view kMismatch = ") password doesn't match for ";
constexpr std::string_view kFailed = " failed login";
constexpr std::string_view kAddress = " IP: ";

constexpr std::size_t kMappedPrefix = 12;  // bytes before the address of IPv4
constexpr std::size_t kNetwork = 8;        // bytes of an IPv6 network

bool HasAt(std::string_view text, std::size_t place, std::string_view part)
{
    return place < text.size() && text.substr(place, part.size()) == part;
}

/// What stands before the address.
bool TellsFailure(std::string_view text)
{
    if (const std::size_t blank = text.find(' ');
        text.substr(std::min(blank, text.size())) == kFailed)
        return true;
    constexpr std::size_t kTimeLength = 19;
    return HasAt(text, kTimeLength, kModule) &&
           HasAt(text, text.find_first_not_of("0123456789", kTimeLength + kModule.size()),
                 kMismatch);
}

std::optional<Source> SourceOfIpv4(const in_addr& address)
{
    if (*reinterpret_cast<const unsigned char*>(&address) == IN_LOOPBACKNET) return std::nullopt;
    std::array<char, INET_ADDRSTRLEN> text = {};
    (void)inet_ntop(AF_INET, &address, text.data(), text.size());
    return Source{false, text.data()};
}

}  // namespace

std::optional<Source> SourceOf(const std::string& address)
{
    in_addr four = {};
    if (inet_pton(AF_INET, address.c_str(), &four) == 1) return SourceOfIpv4(four);

    in6_addr six = {};
    if (inet_pton(AF_INET6, address.c_str(), &six) != 1 || IN6_IS_ADDR_LOOPBACK(&six)) {
        return std::nullopt;
    }
    if (IN6_IS_ADDR_V4MAPPED(&six)) {
        std::memcpy(&four, six.s6_addr + kMappedPrefix, sizeof four);
        return SourceOfIpv4(four);
    }
    std::fill(std::begin(six.s6_addr) + kNetwork, std::end(six.s6_addr), 0);
    std::array<char, INET6_ADDRSTRLEN> text = {};
    (void)inet_ntop(AF_INET6, &six, text.data(), text.size());
    return Source{true, text.data()};
}

std::optional<Source> FailedLogin(std::string_view line)
{
    const std::size_t end = line.rfind(kAddress);
    if (end == std::string_view::npos || !TellsFailure(line.substr(0, end))) return std::nullopt;
    return SourceOf(std::string(line.substr(end + kAddress.size())));
}

}  // namespace guard

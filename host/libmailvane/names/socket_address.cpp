// Addresses of servers with their ports, as texts.
#include "host/libmailvane/names/socket_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <charconv>
#include <cstdint>

namespace host::names {

namespace {

/// A port in digits, in network order; 0 for other texts.
std::uint16_t PortIn(const std::string& text)
{
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && rest == end ? htons(port) : std::uint16_t{0};
}

}  // namespace

std::optional<SocketAddress> ParseSocketAddress(const std::string& text)
{
    const auto colon = text.rfind(':');
    if (colon == std::string::npos || text.find('\0') != std::string::npos) return std::nullopt;
    const std::uint16_t port = PortIn(text.substr(colon + 1));
    std::string host = text.substr(0, colon);
    if (port == 0) return std::nullopt;

    SocketAddress address;
    auto* const four = reinterpret_cast<sockaddr_in*>(&address.storage);
    auto* const six = reinterpret_cast<sockaddr_in6*>(&address.storage);
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (isBracketed) host = host.substr(1, host.size() - 2);
    if (isBracketed && inet_pton(AF_INET6, host.c_str(), &six->sin6_addr) == 1) {
        six->sin6_family = AF_INET6;
        six->sin6_port = port;
        address.size = sizeof *six;
    } else if (!isBracketed && inet_pton(AF_INET, host.c_str(), &four->sin_addr) == 1) {
        four->sin_family = AF_INET;
        four->sin_port = port;
        address.size = sizeof *four;
    }
    return address.size == 0 ? std::nullopt : std::make_optional(address);
}

}  // namespace host::names

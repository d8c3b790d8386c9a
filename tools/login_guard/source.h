// Where attempts come from, as they are counted and kept away.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace guard {

/// An address of IPv4, or a network of 64 bits of IPv6, of which one client may have every address.
struct Source {
    bool isIpv6 = false;
    std::string address;

    bool operator<(const Source& other) const { return address < other.address; }
};

/// The source that an address belongs to; nothing for one of this machine's own loopback, behind
/// which anybody may be, and for what is no address.
std::optional<Source> SourceOf(const std::string& address);

/// Whose login failed, by a line of the web server's log; nothing when the line says something
/// else. The names in it are the client's, the address is the server's own word.
std::optional<Source> FailedLogin(std::string_view line);

}  // namespace guard

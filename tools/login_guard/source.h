// Sources of failed logins.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace guard {

/// An IPv4 address or an IPv6 /64, of which one client can use every address.
struct Source {
    bool isIpv6 = false;
    std::string address;

    bool operator<(const Source& other) const { return address < other.address; }
};

/// The source of an address. Nothing for a loopback address, which may stand for any client of a
/// proxy, and for invalid text.
std::optional<Source> SourceOf(const std::string& address);

/// The source of the failed login that a line of the web server's log tells of; nothing for other
/// lines. The client chooses the user name in the line, but not the address after it.
std::optional<Source> FailedLogin(std::string_view line);

}  // namespace guard

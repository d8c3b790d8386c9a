// Questions to the DNS, past /etc/hosts: what the rest of the world is told.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host::system {

enum class DnsType { kAddress, kIpv6Address, kName, kMailServer, kText };  // A, AAAA, PTR, MX, TXT

/// The records of a name: addresses, names in lower case without the last dot, or texts with
/// their parts joined. Empty when there are none; nothing when no server answered. Takes a few
/// seconds at most.
std::optional<std::vector<std::string>> DnsRecords(const std::string& name, DnsType type);

/// The IPv4 and IPv6 addresses of a name; otherwise as `DnsRecords`.
std::optional<std::vector<std::string>> DnsAddresses(const std::string& name);

/// The name under which `zone` tells about an address: the numbers of an IPv4 address or the
/// hexadecimal digits of an IPv6 address, in reverse.
std::string ReverseName(const std::string& address, const std::string& zone);

/// The name under which the DNS tells the name of an address.
std::string ReverseName(const std::string& address);

}  // namespace host::system

// DNS queries. /etc/hosts is not used, so that the answers are those that other hosts get.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host::system {

/// A, AAAA, PTR, MX, TXT, SRV.
enum class DnsType { kAddress, kIpv6Address, kName, kMailServer, kText, kService };

/// The records of a name: addresses, names in lower case without the final dot, texts with their
/// parts joined, or of a service "PORT NAME". Empty when there are none; nothing when no server
/// answers. Takes a few seconds at most.
std::optional<std::vector<std::string>> DnsRecords(const std::string& name, DnsType type);

/// The IPv4 and IPv6 addresses of a name, otherwise as `DnsRecords`.
std::optional<std::vector<std::string>> DnsAddresses(const std::string& name);

/// The name for an address in `zone`: the numbers of IPv4 or the hex digits of IPv6, reversed.
/// 192.0.2.1 in bl.example is 1.2.0.192.bl.example.
std::string ReverseName(const std::string& address, const std::string& zone);

/// The name whose PTR record has the name of an address: 1.2.0.192.in-addr.arpa for 192.0.2.1.
std::string ReverseName(const std::string& address);

}  // namespace host::system

// Questions to the DNS, past /etc/hosts: what the rest of the world is told.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

enum class DnsType { kAddress, kName, kMailServer, kText };  // A, PTR, MX, TXT

/// The records of a name: dotted addresses, names in lower case without the last dot, or texts with
/// their parts joined. Empty when there are none; nothing when no server answered. Takes a few
/// seconds at most.
std::optional<std::vector<std::string>> DnsRecords(const std::string& name, DnsType type);

/// The name under which `zone` tells about a dotted IPv4 address: its numbers in reverse.
std::string ReverseName(const std::string& address, const std::string& zone);

}  // namespace host

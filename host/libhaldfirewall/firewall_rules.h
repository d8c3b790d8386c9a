// The packet filter's rules as a text.
#pragma once

#include <string>

#include "host/libhaldcore/key_value_file.h"

namespace host {

/// The rules for nft that follow the stored settings: a table `inet mailvane` that accepts new
/// connections to the ports of the services that are on and resets those to the others' ports, but
/// for the machine's own. Loading it replaces the table in one transaction.
std::string FirewallRules(const KeyValueFile& settings);

}  // namespace host

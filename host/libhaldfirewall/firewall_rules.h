// Text of the packet filter's rules.
#pragma once

#include <string>

#include "host/libhaldcore/key_value_file.h"

namespace host {

/// The nft rules for the stored settings: a table `inet mailvane` that accepts new connections to
/// the ports of services that are on and resets those to ports of services that are off, except
/// local ones. Loading the text replaces the table in one transaction.
std::string FirewallRules(const KeyValueFile& settings);

}  // namespace host

// The source of the accounts, as the settings name it.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

/// The selector of platform/hlib/accounts.h of an account type.
int AccountSourceOf(const std::string& type);

/// Fails when this machine's name service is not told to ask a source, whether it answers or not.
Result<void> AccountSourceIsNamed(const std::string& type);

}  // namespace host::system

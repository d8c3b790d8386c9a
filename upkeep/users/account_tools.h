// Accounts made, changed and removed with Debian's own tools.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libhaldsdk/account_engine.h"

namespace upkeep {

/// Makes an account that can have and read mail, with a home of its own and no shell. The name has
/// been checked. After a failure there is no account.
host::Result<void> MakeAccount(const std::string& name, const std::string& password);

/// Sets the password of an account. It stands on no command line and in no environment.
host::Result<void> SetAccountPassword(const std::string& name, const std::string& password);

/// Removes an account: locks it, disconnects its mail programs, waits a few seconds for the end of
/// its processes. After a failure it is as before. The home stays.
host::Result<void> RemoveAccount(const std::string& name);

}  // namespace upkeep

// The logins of the package's web server, with the hashes of their passwords.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace upkeep {

/// Replaces the password of a login. Fails with `kMissing` when the web server's file has no such
/// login, and with `kRefused` about the member `old` when that is not its password.
host::Result<void> ChangeWebPassword(const std::string& login, const std::string& old,
                                     const std::string& wanted);

}  // namespace upkeep

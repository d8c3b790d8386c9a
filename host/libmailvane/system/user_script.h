// The package's Sieve script in a user's home.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Installs a script for a user as ~/.mailvane.sieve, replacing the old one atomically after a test
/// by the compiler. An empty text removes the script. Done in a child with the user's rights, so
/// links that the user puts into the home gain nothing. On failure the old script stays.
Result<void> PutUserScript(const MailAccount& account, const std::string& text);

}  // namespace host::system

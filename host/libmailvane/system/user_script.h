// The package's filter script in a user's home.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/system/mail_account.h"

namespace host::system {

/// Puts a script in force for a user: compiled for a trial, then put in place in one step as
/// ~/.mailvane.sieve. An empty text removes the script. All of it is done by a child that has
/// become the user, so that the home holds nothing that could lead further than its owner's own
/// rights. On failure the script that was there stays in force.
Result<void> PutUserScript(const MailAccount& account, const std::string& text);

}  // namespace host::system

// One name for a login, however it is spelled.
#pragma once

#include <string>

namespace host::names {

/// The account's own name in lower case: what stands between a Windows domain ("DOMAIN\") and a
/// suffix ("@suffix"). The mail server calls logins by it, whatever the account source.
std::string LoginKey(const std::string& login);

}  // namespace host::names

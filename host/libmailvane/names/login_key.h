// The name of the account behind a login.
#pragma once

#include <string>

namespace host::names {

/// The account's name in lower case, without a Windows domain or a suffix: `OFFICE\Anna` and
/// `anna@a.example` become `anna`. Postfix logs logins under this name.
std::string LoginKey(const std::string& login);

}  // namespace host::names

// The account of one mail user, as needed for personal settings.
#pragma once

#include <sys/types.h>

#include <string>

namespace host::system {

struct MailAccount {
    std::string name;  ///< as in the account database; without "/" and control characters
    uid_t uid = 0;
    gid_t gid = 0;
    std::string home;  ///< an absolute path
};

/// Finds the account of a login. Returns "" on success, else the key of the message that tells why
/// there are no personal settings: "no_such_user", "no_user_home" or "accounts_unavailable".
std::string FindMailAccount(const std::string& user, MailAccount& account);

}  // namespace host::system

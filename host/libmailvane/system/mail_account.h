// The account of one mail user, as its personal settings need it.
#pragma once

#include <sys/types.h>

#include <string>

namespace host::system {

struct MailAccount {
    std::string name;  ///< as the account database spells it; free of "/" and control characters
    uid_t uid = 0;
    gid_t gid = 0;
    std::string home;  ///< an absolute path
};

/// Finds the account behind a login name. Returns nothing but "" on success, else the message key
/// that tells why there are no personal settings: "no_such_user", "no_user_home" or
/// "accounts_unavailable".
std::string FindMailAccount(const std::string& user, MailAccount& account);

}  // namespace host::system

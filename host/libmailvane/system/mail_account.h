// The account of one mail user, as its personal settings need it.
#pragma once

#include <sys/types.h>

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

struct MailAccount {
    std::string name;  ///< as the account database spells it; free of "/" and control characters
    uid_t uid = 0;
    gid_t gid = 0;
    std::string home;  ///< an absolute path
};

/// Finds the account behind a login name. Fails as missing when there is no such mail user, as
/// unreadable without a home that is the user's, and as a daemon that is down when the source of
/// the accounts does not answer.
Result<MailAccount> FindMailAccount(const std::string& user);

}  // namespace host::system

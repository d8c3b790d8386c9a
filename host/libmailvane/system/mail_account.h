// The account of one mail user, as needed for personal settings.
#pragma once

#include <sys/types.h>

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

struct MailAccount {
    std::string name;  ///< as in the account database; without "/" and control characters
    uid_t uid = 0;
    gid_t gid = 0;
    std::string home;  ///< an absolute path
};

/// Finds the account of a login. Fails with `kMissing` when there is no such mail user, with
/// `kUnreadable` when the home directory does not belong to it, and with `kDaemonIsDown` when the
/// source of the accounts does not answer.
Result<MailAccount> FindMailAccount(const std::string& user);

}  // namespace host::system

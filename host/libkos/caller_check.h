// Who may administer the mail server.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace kos {

enum class Caller {
    kAdministrator,
    kNobody,     ///< the web server authenticated nobody
    kBadName,    ///< the name has control characters
    kNoAccount,  ///< no such account
    kExpired,    ///< the account has expired
    kNoMember,   ///< not a member of the administrators' group
    kUnknown     ///< accounts or groups could not be read
};

struct CallerAccount {
    std::string name;  ///< as in the account source
    gid_t group = 0;
    std::optional<long> expires;  ///< first day on which it is not valid, in days since 1970
};

struct CallerGroup {
    gid_t id = 0;
    std::vector<std::string> members;
};

/// Decides whether an account is one of an administrator. `today` is in days since 1970.
Caller JudgeCaller(const CallerAccount& account, const CallerGroup& administrators, long today);

/// Finds the group of the administrators; nothing when there is none. Fails when the groups cannot
/// be read.
host::Result<std::optional<CallerGroup>> FindAdministrators();

/// Looks `user` up. /etc/haldinfo.conf has the name of the group (`admin_group`, default
/// "administrators") and the source of accounts: local files, or the name services with
/// `admin_source="nss"`. Nothing is cached between requests.
Caller CheckCaller(const std::string& user);

}  // namespace kos

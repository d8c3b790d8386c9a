// Who may administer the mail server.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace kos {

enum class Caller {
    kAdministrator,
    kNobody,     ///< no name
    kBadName,    ///< a name with control characters
    kNoAccount,  ///< no such account
    kExpired,    ///< its account has expired
    kNoMember,   ///< not in the administrators group
    kUnknown     ///< accounts or groups could not be read
};

struct CallerAccount {
    std::string name;  ///< as the account source spells it
    gid_t group = 0;
    std::optional<long> expires;  ///< first day it is no longer valid, in days since 1970
};

struct CallerGroup {
    gid_t id = 0;
    std::vector<std::string> members;
};

/// Judges an account against the administrators group. `today` in days since 1970.
Caller JudgeCaller(const CallerAccount& account, const CallerGroup& administrators, long today);

/// Looks `user` up. /etc/haldinfo.conf names the group (`admin_group`, else "administrators") and
/// where accounts come from: /etc/passwd, /etc/group and /etc/shadow, or the name services of the
/// machine with `admin_source="nss"`. Nothing is remembered between requests.
Caller CheckCaller(const std::string& user);

}  // namespace kos

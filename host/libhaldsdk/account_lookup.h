// Finding single accounts and groups.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// User ids of the accounts that can have mail, and that of "nobody" after them.
constexpr unsigned kFirstMailUser = 1000;
constexpr unsigned kLastMailUser = 65533;
constexpr unsigned kNobody = 65534;

/// Whether an account can have mail: system accounts and "nobody" cannot.
bool IsMailUser(const User& user);

/// Whether a group can stand for mail users: system groups cannot, except "users" (100), the
/// primary group of all users where users have no groups of their own.
bool IsMailGroup(const Group& group);

/// Finds an account in the local files, then by the name service. The LDAP engine is asked again
/// for `name` without its suffix when nothing is found with it. Fails when nothing is found and an
/// engine does not answer.
Result<std::optional<User>> FindUser(const std::string& name);

/// The same: calls `take` with the account, if there is one, and tells whether there is.
Result<bool> FindUser(const std::string& name, const UserVisitor& take);

struct FoundGroup {
    Group group;
    bool isLocal;  ///< it is in the local files
};

/// Finds a group in the same order.
Result<std::optional<FoundGroup>> FindGroup(const std::string& name);

/// The day (since 1970) on which an account expires, -1 for never. Nothing when it is not in
/// /etc/shadow.
Result<std::optional<long>> FindExpiry(const std::string& account);

}  // namespace host

// Finding single accounts and groups.
#pragma once

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
/// for `name` without its suffix when nothing is found with it.
Lookup FindUser(const std::string& name, User& user);

/// Finds a group in the same order. `local` tells whether it is in the local files.
Lookup FindGroup(const std::string& name, Group& group, bool& local);

/// The day (since 1970) on which an account expires, -1 for never. Absent when it is not in
/// /etc/shadow.
Lookup FindExpiry(const std::string& account, long& day);

}  // namespace host

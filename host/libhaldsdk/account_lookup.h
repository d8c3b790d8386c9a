// Finds single accounts and groups, wherever they are.
#pragma once

#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// Numbers of the accounts that get mail, and that of the account "nobody" behind them.
constexpr unsigned kFirstMailUser = 1000;
constexpr unsigned kLastMailUser = 65533;
constexpr unsigned kNobody = 65534;

/// Whether an account can have mail: those of the system and "nobody" cannot.
bool IsMailUser(const User& user);

/// Whether a group can stand for mail users: those of the system cannot, but "users" (100), which
/// is the primary group of everybody where users have no groups of their own.
bool IsMailGroup(const Group& group);

/// Finds an account: in the machine's own files, then through the name service. The LDAP engine is
/// asked for `name` without its suffix when nobody knows it with the suffix.
Lookup FindUser(const std::string& name, User& user);

/// Finds a group in the same order. `local` says whether it is one of the machine's own.
Lookup FindGroup(const std::string& name, Group& group, bool& local);

/// The day (since 1970) on which an account expires, -1 for never. Absent when the account has no
/// shadow entry.
Lookup FindExpiry(const std::string& account, long& day);

}  // namespace host

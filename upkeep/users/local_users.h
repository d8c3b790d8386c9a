// The users of the mail server in the machine's own account files.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libhaldsdk/account_engine.h"
#include "host/libkos/caller_check.h"

namespace upkeep {

/// The shell of an account that nobody can log in to.
inline constexpr char kNoShell[] = "/usr/sbin/nologin";

/// The users by name. Fails when the files cannot be read.
host::Result<std::vector<host::User>> LocalUsers();

/// The user of a name; `kMissing` for any other account.
host::Result<host::User> LocalUser(const std::string& name);

/// Whether somebody can log in to this machine by an account.
bool HasShell(const host::User& user);

bool IsAdministrator(const host::User& user, const std::optional<kos::CallerGroup>& group);

/// The user of a name, if `caller` may change it: no administrator, not the caller, and nobody with
/// a shell, whose password opens more than a mailbox.
host::Result<host::User> ChangeableUser(const std::string& name, const std::string& caller);

/// Refuses what cannot be the name of a new user: at most 32 small letters, digits, "_" and "-",
/// the first a letter or "_"; `postmaster` and `abuse`, whose mail goes elsewhere; a name that an
/// alias, an account or somebody's home has.
host::Result<void> CheckNewName(const std::string& name);

/// The aliases of which a user is a member.
host::Result<std::vector<std::string>> AliasesOf(const std::string& name);

}  // namespace upkeep

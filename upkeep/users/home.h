// The home of a user that is removed.
#pragma once

#include <sys/types.h>

#include "host/libhaldcore/result.h"
#include "host/libhaldsdk/account_engine.h"

namespace upkeep {

/// Whether a home belongs to this user alone: a folder of the user below one of root's, in which
/// no other account lives.
host::Result<bool> IsOwnHome(const host::User& user);

/// Gives a user's own home to another account, and takes from all others what they may do there.
host::Result<void> GiveHome(const host::User& user, uid_t uid, gid_t gid);

/// Deletes a home that was given to root.
host::Result<void> DeleteHome(const host::User& user);

}  // namespace upkeep

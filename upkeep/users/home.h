// The home of a user that was removed.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libhaldsdk/account_engine.h"

namespace upkeep {

/// Whether a home belongs to this user alone: a folder of the user below one of root's, in which
/// no other account lives.
host::Result<bool> IsOwnHome(const host::User& user);

/// Gives a user's own home to root, since a later account may get the same number, and with
/// `deletes` deletes it then.
host::Result<void> LeaveHome(const host::User& user, bool deletes);

}  // namespace upkeep

// Changes that are taken back unless somebody confirms them: for those that may cut the
// administrator off.
//
// Such a change is a save like any other, but it makes a generation in any case, and what it
// replaces is kept. A note that names this generation is written before the commit, so that the
// commit begins the waiting. Taking it back is a save too: all files of the generation before come
// back as they were, and the kept files with them; its commit ends the waiting. Who is killed in
// between leaves one or the other.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/save/unconfirmed_state.h"

namespace host::save {

/// How long a change may wait, in seconds.
constexpr std::int64_t kShortestWait = 10;
constexpr std::int64_t kLongestWait = 86400;

/// Makes a change that waits to be confirmed, for `seconds` from its end on. `change` gets what its
/// save has to do before its commit. Fails as the change does, and for a time out of range.
Result<void> MakeUnconfirmed(std::int64_t seconds, const Replacement& replacement,
                             const std::function<Result<void>(const BeforeCommit&)>& change);

/// Has the change that waits stay in force. Fails when none does, or when it is not that of
/// `generation`, unless this is empty.
Result<UnconfirmedChange> Confirm(const std::string& generation = "");

/// Takes the change that waits back at once; fails as `Confirm`, and as a save does.
Result<UnconfirmedChange> TakeBack(const std::string& generation = "");

/// Waits until the change has waited long enough, and takes it back. Does nothing when it has been
/// confirmed or another generation is in force.
Result<void> TakeBackWhenDue();

/// At the boot: takes a change back when its time is up, or `atOnce`; or else goes on waiting. What
/// fails is logged and tried again.
void WaitOrTakeBack(bool atOnce);

}  // namespace host::save

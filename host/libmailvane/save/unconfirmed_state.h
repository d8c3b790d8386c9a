// What a change that has to be confirmed replaces: kept in etc/unconfirmed until it is confirmed or
// taken back.
#pragma once

#include <set>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::save {

/// What a change is about to put in force.
struct Replacement {
    std::string staged;  ///< folder with the stored files that it brings; empty for none
    settings::AccountCombination account;
};

/// Keeps the stored files that a change replaces, and what is parked when it changes the account
/// combination. Gives what is known of the change before it is made. Requires the request lock.
Result<UnconfirmedChange> KeepReplaced(const Replacement& replacement);

/// Makes `folder` a copy of the kept files.
Result<void> CopyKept(const std::string& folder);

/// The names of the files that the change has added.
std::set<std::string> AddedBy(const UnconfirmedChange& change);

/// Ends what is neither waiting nor under way any more: a change that was confirmed or taken back,
/// or never came in force. Failures are logged, and left to the next writer. Requires the request
/// lock.
void SettleUnconfirmedState();

}  // namespace host::save

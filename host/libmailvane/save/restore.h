// Putting an earlier state in force, as one transaction with the steps of a save.
#pragma once

#include <list>
#include <optional>
#include <set>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/save/list_files.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// Restores the state in `staged`: a directory in etc/ that only root can enter, with
/// mailvane.conf, domains, dnsbl, rules.cf (the spam rules in force) and the stored files. `staged`
/// is used up. After a refusal or a failed step the previous state is in force.
Result<void> RestoreState(const std::string& staged);

/// A part of the stored state that is to come in force.
struct StateChange {
    std::string staged;                   ///< as above, with the stored files that change alone
    settings::StoredSettings settings;    ///< all of them
    std::optional<std::string> rules;     ///< of the spam filter, when they change
    Lists lists;                          ///< those that change
    std::set<std::string> leaving = {};   ///< stored files that go
    std::string generation = {};          ///< an earlier one that comes back as it was
    BeforeCommit beforeCommit = nullptr;  ///< of the save
};

/// Puts a change of the stored state in force as one transaction: what it does not touch stays and
/// runs on. Gives the plan that it has run. Failures as for `RestoreState`.
Result<std::list<Callback>> PutInForce(const StateChange& change);

/// The plan of that, after validating the change. `staged` has all databases here, and stays.
Result<std::list<Callback>> Rehearse(const StateChange& change);

/// Replaces the certificate by the one in `staged`, which has only the folder `tls`; an empty `tls`
/// brings back the package's self-signed certificate. Failures as for `RestoreState`.
Result<void> ReplaceCertificate(const std::string& staged);

/// Restores the settings, domains and blocklists of an earlier generation; lists and keys stay as
/// they are. Failures as for `RestoreState`.
Result<void> RollBack(const std::string& generation, const BeforeCommit& beforeCommit = nullptr);

}  // namespace host::save

// Putting an earlier state in force, as one transaction with the steps of a save.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Restores the state in `staged`: a directory in etc/ that only root can enter, with
/// mailvane.conf, domains, dnsbl, rules.cf (the spam rules in force) and the stored files. `staged`
/// is used up. After a refusal or a failed step the previous state is in force.
Result<void> RestoreState(const std::string& staged);

/// Replaces the certificate by the one in `staged`, which has only the folder `tls`; an empty `tls`
/// brings back the package's self-signed certificate. Failures as for `RestoreState`.
Result<void> ReplaceCertificate(const std::string& staged);

/// Restores the settings, domains and blocklists of an earlier generation; lists and keys stay as
/// they are. Failures as for `RestoreState`.
Result<void> RollBack(const std::string& generation);

}  // namespace host::save

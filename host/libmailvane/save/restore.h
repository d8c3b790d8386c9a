// Putting an earlier state in force, as one transaction with the steps of a save.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Puts the whole state that lies in `staged` in force: a directory of root's alone in etc/, with
/// mailvane.conf, domains, dnsbl and rules.cf (the rules in force) and the stored data. It is used
/// up. When it was refused or a step failed, the state before is in force.
Result<void> RestoreState(const std::string& staged);

/// Puts the certificate in force that lies in `staged`, which holds nothing but the folder `tls`;
/// an empty one brings back the certificate that the package signs itself. As `RestoreState`.
Result<void> ReplaceCertificate(const std::string& staged);

/// Puts the settings, domains and blocklists of an earlier generation in force; lists and keys stay
/// as they are. As `RestoreState`.
Result<void> RollBack(const std::string& generation);

}  // namespace host::save

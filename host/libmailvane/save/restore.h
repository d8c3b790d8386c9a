// Putting an earlier state in force, as one transaction with the steps of a save.
#pragma once

#include <string>

namespace host::save {

/// Puts the whole state that lies in `staged` in force: a directory of root's alone in etc/, with
/// mailvane.conf, domains, dnsbl and rules.cf (the rules in force) and the stored data. It is used
/// up. 0; -1, logged, when it was refused or a step failed: the state before is then in force.
int RestoreState(const std::string& staged);

/// Puts the certificate in force that lies in `staged`, which holds nothing but the folder `tls`;
/// an empty one brings back the certificate that the package signs itself. As `RestoreState`.
int ReplaceCertificate(const std::string& staged);

/// Puts the settings, domains and blocklists of an earlier generation in force; lists and keys stay
/// as they are. As `RestoreState`.
int RollBack(const std::string& generation);

}  // namespace host::save

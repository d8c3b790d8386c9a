// Putting another certificate in force, with the services that show it.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace upkeep {

/// A certificate with its chain, and its key, in PEM; both empty for that of the package's own.
struct CertificatePair {
    std::string certificate;
    std::string key;
};

/// What becomes of the web server when a change is in force.
enum class WebServerFate {
    kUntouched,  ///< it does not show the certificate
    kRestarted,
    kRestarts  ///< by another process, once the answer to this request has got out
};

/// Puts a pair in force as a save does, then has the web server show it. When a service does not
/// come up with it, the pair before is in force. With `kRestarts` that is found out later: then the
/// system log tells, and what is installed.
host::Result<WebServerFate> PutInForce(const CertificatePair& pair);

}  // namespace upkeep

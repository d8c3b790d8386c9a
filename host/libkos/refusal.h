// A request that is not carried out.
#pragma once

#include <string>

namespace kos {

struct Refusal {
    int status;          ///< HTTP status
    const char* error;   ///< one word for the client
    std::string reason;  ///< for the system log
};

/// Writes the whole answer to `stdout` (a short JSON body under the status) and one line naming
/// the caller and the reason to the system log. Texts may hold anything.
void WriteRefusal(const Refusal& refusal, const std::string& user, const std::string& address);

}  // namespace kos

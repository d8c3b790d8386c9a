// Refused requests.
#pragma once

#include <string>

namespace kos {

struct Refusal {
    int status;          ///< HTTP status
    const char* error;   ///< one word for the client
    std::string reason;  ///< for the system log
};

/// Writes a refusal to `stdout`, a short JSON body under the HTTP status, and logs caller, client
/// address and reason. Texts may have any bytes.
void WriteRefusal(const Refusal& refusal, const std::string& user, const std::string& address);

}  // namespace kos

// What is wrong with a document, and where.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/libhaldcore/reason_code.h"
#include "host/libhaldcore/result.h"

namespace document {

struct Fault {
    int line;           ///< of the document, see overlays.h; 0 when it is about no line of it
    std::string about;  ///< the path of what is meant, such as "settings.smtp_port"
    host::ReasonCode code;
    std::string why;  ///< in words, for what the code does not tell; never a value
};
using Faults = std::vector<Fault>;

/// Why something in a document is refused, for a reason from further down.
inline Fault FaultAt(int line, std::string about, const host::Reason& reason)
{
    return {line, std::move(about), reason.code, reason.text};
}

}  // namespace document

// Why the current request fails, for its answer.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"

namespace host {

struct NotedReason {
    Subject about;
    ReasonCode code;

    bool operator==(const NotedReason& other) const
    {
        return about == other.about && code == other.code;
    }
};

/// Remembers of a reason and its causes what may be told; when that is nothing, its code alone. Of
/// equal ones the first is kept, and of many the first hundred.
void NoteReason(const Reason& reason);

/// In the order in which they were noted.
const std::vector<NotedReason>& NotedReasons();

}  // namespace host

// The mark of a save that is under way: etc/generated/pending.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::generation {

struct PendingSave {
    std::string before;  ///< the generation that was in force when the save began; may be empty
};

/// The save under way, or left behind by a killed process.
std::optional<PendingSave> ReadPendingSave();

/// Sets and removes the mark.
Result<void> MarkPendingSave(const PendingSave& save);
Result<void> ClearPendingSave();

}  // namespace host::generation

// The mark of a change that is under way: etc/generated/pending. Whoever finds it finishes or
// undoes what it names.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::generation {

struct PendingSave {
    std::string before;  ///< the generation that was in force when it began; may be empty
    std::string change;  ///< words that name what is under way; empty for a save of settings
};

/// The words for a switch of the account source.
constexpr char kAccountSwitch[] = "accounts";

/// Whether the mark is that of such a switch.
bool SwitchIsMarked();

/// The change under way, or left behind by a killed process.
std::optional<PendingSave> ReadPendingSave();

/// Sets and removes the mark.
Result<void> MarkPendingSave(const PendingSave& save);
Result<void> ClearPendingSave();

}  // namespace host::generation

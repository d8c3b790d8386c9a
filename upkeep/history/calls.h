// Calls about what was changed, and how a change goes on.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `generations`: the states of the settings that are kept, the oldest first: `items` of `number`,
/// `name`, `date` (seconds), `who` (empty: the machine itself), `action` (empty: not known),
/// `in_force`, `settings` and `files` (names of what differs from the one before), `different`
/// (names of the settings that differ from those in force).
Answer Generations(const Request& request);

/// `rollback`: puts the settings of the state `number` in force, as a save does. Answers its number
/// and the names of the settings that have changed.
Answer RollBack(const Request& request);

/// `progress`: the step that the change under way is at: `running`, `step`, `of` (0: not known
/// yet), `name`, `since` (seconds). Without one `running` is false, the numbers are 0.
Answer Progress(const Request& request);

}  // namespace upkeep

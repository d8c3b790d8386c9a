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
/// and the names of the settings that have changed. With `confirm`, a number of seconds, it waits
/// to be confirmed.
Answer RollBack(const Request& request);

/// `confirm`: the change that waits stays in force. `number`: that of its generation, which has to
/// be the one in force when it is given. Answers it.
Answer Confirm(const Request& request);

/// `take_back`: takes the change that waits back at once; the same `number`. Answers it.
Answer TakeBack(const Request& request);

/// `progress`: the step that the change under way is at: `running`, `step`, `of` (0: not known
/// yet), `name`, `since` (seconds). Without one `running` is false, the numbers are 0.
Answer Progress(const Request& request);

}  // namespace upkeep

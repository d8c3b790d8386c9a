// Validates a generation before it is put in force.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Refuses the files of a complete generation that the daemons would not take: no port may be given
/// twice or be in others' hands, every parameter is known, every map answers, each daemon's own
/// check passes for what changed.
Result<void> ValidateGeneration(const generation::NextGeneration& next,
                                const settings::StoredSettings& wanted);

/// Refuses a complete generation whose Postfix files name a map that cannot be queried.
Result<void> MapsAnswer(const generation::NextGeneration& next);

}  // namespace host::save

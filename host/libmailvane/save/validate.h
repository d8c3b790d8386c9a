// Validates a generation before it is put in force.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Refuses a complete generation that the daemons would not accept: shared counters that cannot be
/// called, a port given to two services or
/// held by another program, an unknown parameter, a map that cannot be queried, or files that a
/// daemon's own check rejects.
Result<void> ValidateGeneration(const generation::NextGeneration& next,
                                const settings::StoredSettings& wanted);

/// Refuses a complete generation whose Postfix files have an unknown parameter or name a map that
/// cannot be queried.
Result<void> MapsAnswer(const generation::NextGeneration& next);

}  // namespace host::save

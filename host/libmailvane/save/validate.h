// Judging a generation before it is put in force.
#pragma once

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Whether the daemons would take the files of a complete generation: no port twice or in others'
/// hands, every parameter known, every map answers, each daemon's own check passes for what
/// changed. False, logged, otherwise.
bool JudgeGeneration(const generation::NextGeneration& next,
                     const settings::StoredSettings& wanted);

/// Whether every map that the Postfix files of a complete generation name can be queried.
bool MapsAnswer(const generation::NextGeneration& next);

}  // namespace host::save

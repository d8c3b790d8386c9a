// From the stored settings to the daemons' files.
#pragma once

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Puts all files that follow from the settings into the next generation, and empty maps where the
/// generation in force has none yet.
void PutSettingsFiles(generation::NextGeneration& next, const settings::StoredSettings& settings);

}  // namespace host::render

// The files made from the stored settings.
#pragma once

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Puts all files made from the settings into the next generation, and empty maps and tables where
/// the generation in force has none.
void PutSettingsFiles(generation::NextGeneration& next, const settings::StoredSettings& settings);

}  // namespace host::render

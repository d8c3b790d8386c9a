// The folder for spam in the mailboxes: what is filed there, and who learns from it.
#pragma once

#include <string>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Dovecot's lines for the folder; none while nothing is filed there and nobody learns from it.
std::string JunkFolderText(const settings::StoredSettings& settings, const RenderContext& context);

/// Puts the Sieve scripts of these lines into the next generation.
void PutJunkFolderScripts(generation::NextGeneration& next,
                          const settings::StoredSettings& settings, const RenderContext& context);

}  // namespace host::render

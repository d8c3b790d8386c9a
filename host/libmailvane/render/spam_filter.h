// The files of the spam filter (SpamAssassin inside the mail scanner).
#pragma once

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// The rules that were fetched last, and those of the distribution.
constexpr char kFetchedRules[] = "/var/lib/mailvane/spam_rules/in_force";
constexpr char kShippedRules[] = "/usr/share/spamassassin";

/// Puts the filter's plugins and settings into the next generation; rules of the page stay.
void PutSpamFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                        const RenderContext& context);

}  // namespace host::render

// The files of the mail scanner (amavis with SpamAssassin inside, called as a milter) and of the
// anti-virus engine (clamd) that it asks.
#pragma once

#include <string>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Paths in a generation: the scanner's configuration, and the files that the package's lists fill.
constexpr char kScannerFile[] = "amavis/amavisd.conf";
constexpr char kSpamRules[] = "amavis/rules.cf";

/// Text of the scanner's configuration, a Perl program that runs as the scanner's user. Texts of
/// users are quoted in it or kept in other files.
std::string RenderScanner(const settings::StoredSettings& settings, const RenderContext& context);

/// Puts the files of scanner and engine into the next generation, whether they run or not.
void PutScannerFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                     const RenderContext& context);

}  // namespace host::render

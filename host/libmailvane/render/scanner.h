// The mail scanner (amavis with SpamAssassin inside, behind a milter) and the anti-virus engine it
// asks (clamd): when they run, and the files they read.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Paths in a generation: the scanner's own file (`amavisd showkeys` checks it), and what lists of
/// the package fill.
constexpr char kScannerFile[] = "amavis/amavisd.conf";
constexpr char kSpamRules[] = "amavis/rules.cf";

/// Text of the scanner's configuration. It is a program in Perl, read by the scanner's user: all
/// that comes from users is quoted, or read from files of its own.
std::string RenderScanner(const settings::StoredSettings& settings);

/// Puts the files of scanner and engine into the next generation, whether they run or not.
void PutScannerFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                     const RenderContext& context);

}  // namespace host::render

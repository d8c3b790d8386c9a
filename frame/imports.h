// Imports of lists and rules from an uploaded file.
#pragma once

#include <string>

#include "frame/import_staging.h"

/// Carries out the import that was staged, from the file at `path`. 0, or -1 (logged) when it
/// failed; an unknown type imports nothing.
int RunImport(const StagedImport& staged, const std::string& path);

// Imports of lists and rules from an uploaded file.
#pragma once

#include <string>

#include "frame/import_staging.h"

/// Runs a staged import from the file at `path`. 0, or -1 (logged) on failure; an unknown type
/// imports nothing.
int RunImport(const StagedImport& staged, const std::string& path);

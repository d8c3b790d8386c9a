// Signature files of the anti-virus engine.
#pragma once

#include <filesystem>

namespace host::daemons {

/// Whether a file of this name has virus signatures: "main.cvd", "own.ndb". Other files of the
/// folder have lists of clean files or the state of the updater.
bool IsSignatureFile(const std::filesystem::path& name);

}  // namespace host::daemons

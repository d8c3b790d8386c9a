// Files of the anti-virus engine.
#pragma once

#include <filesystem>

namespace host::daemons {

/// Whether the engine finds viruses with what is in a file, by its name: "main.cvd", "own.ndb".
/// Others beside them hold what is known to be clean, or the state of the updater.
bool IsSignatureFile(const std::filesystem::path& name);

}  // namespace host::daemons

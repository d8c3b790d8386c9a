// Requests that are answered one at a time.
#pragma once

#include <string>

namespace kos {

/// Takes the turn of `name`, which must be safe as a part of a file's name, until the process ends.
/// False when another process has it, or when it cannot be taken; the latter is logged.
bool TakeTurn(const std::string& name);

}  // namespace kos

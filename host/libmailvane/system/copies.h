// Copies of files and folders that survive a power failure.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

/// Copies a file, or a folder with all that is in it, to a free name, with the modes that they
/// have, and syncs the copy. After a failure or a kill a part of it may be there.
Result<void> CopyDurably(const std::string& from, const std::string& to);

}  // namespace host::system

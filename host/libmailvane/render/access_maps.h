// The maps of the access lists.
#pragma once

#include <vector>

#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The maps and tables that the access lists fill; a missing store is an empty one. Throws when it
/// cannot be read.
std::vector<generation::ListFile> AccessFiles();

}  // namespace host::render

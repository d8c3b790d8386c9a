// The maps of the access lists.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The maps and tables that the access lists fill; a missing store is an empty one.
Result<std::vector<generation::ListFile>> AccessFiles();

}  // namespace host::render

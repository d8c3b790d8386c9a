// The maps of the access lists.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The maps and tables made from the access lists; empty ones when there is no store.
Result<std::vector<generation::ListFile>> AccessFiles();

}  // namespace host::render

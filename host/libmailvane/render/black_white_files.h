// The files of the black and white list.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The files of the mail server and of the scanner that the black and white list fills; a missing
/// store is an empty one.
Result<std::vector<generation::ListFile>> BlackWhiteFiles();

}  // namespace host::render

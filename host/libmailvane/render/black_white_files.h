// The files made from the black and white list.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The files of mail server and scanner made from the black and white list; empty ones when there
/// is no store.
Result<std::vector<generation::ListFile>> BlackWhiteFiles();

}  // namespace host::render

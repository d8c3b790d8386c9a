// The header checks that refuse attachments by name.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The table of header checks made from the refused attachment types.
Result<std::vector<generation::ListFile>> AttachmentFiles();

}  // namespace host::render

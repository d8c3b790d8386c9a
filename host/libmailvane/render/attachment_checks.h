// The header checks that refuse attachments by name.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// The header checks that the refused attachment types fill.
Result<std::vector<generation::ListFile>> AttachmentFiles();

}  // namespace host::render

// The checks of attachments' names.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::render {

/// What Postfix asks about the headers of attachments.
extern const char kAttachmentChecks[];

/// The files of mail server and scanner made from the refused attachment types.
Result<std::vector<generation::ListFile>> AttachmentFiles();

/// Puts them into the next generation.
void PutAttachmentFiles(generation::NextGeneration& next);

}  // namespace host::render

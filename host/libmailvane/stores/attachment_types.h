// The types of attachments that are refused: etc/attachment_types.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host::stores {

/// The types in stored order: file name extensions in lower case, without a dot in front. None when
/// there is no list.
Result<std::vector<std::string>> AttachmentTypes();

/// Replaces the list. Requires the request lock.
Result<void> StoreAttachmentTypes(const std::vector<std::string>& types);

/// The one spelling under which a type is stored (`.EXE` and `*.exe` are `exe`); nothing when
/// `text` is no extension: letters, digits, "_", "+", "-", inner dots, 32 bytes at most.
std::optional<std::string> StoredAttachmentType(const std::string& text);

}  // namespace host::stores

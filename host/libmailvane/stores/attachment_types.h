// The refused attachment types: etc/attachment_types.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/result.h"

namespace host::stores {

/// The types in stored order: file name extensions in lower case without the dot, such as "exe".
/// None when there is no file in the folder.
Result<std::vector<std::string>> AttachmentTypes(const std::string& folder = PackagePath("etc"));

/// Replaces the list in the folder. Requires the request lock.
Result<void> StoreAttachmentTypes(const std::vector<std::string>& types,
                                  const std::string& folder = PackagePath("etc"));

/// The stored spelling of a type: `.EXE` and `*.exe` become `exe`. Nothing when `text` is no
/// extension: letters, digits, "_", "+", "-" and inner dots, at most 32 bytes.
std::optional<std::string> StoredAttachmentType(const std::string& text);

}  // namespace host::stores

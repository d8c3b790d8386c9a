// The types of attachments that the administrator has refused.
#pragma once

#include <string>
#include <vector>

namespace host {

/// The refused types as they are stored, one a line of etc/attachment_types: extensions without
/// their dot, or MIME types. None when the file is missing.
std::vector<std::string> AttachmentTypes();

}  // namespace host

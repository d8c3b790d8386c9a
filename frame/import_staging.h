// The description of an import that waits for its upload: written by one request, read by the next.
#pragma once

#include <string>

/// What is imported, and the one detail that its kind asks for.
struct StagedImport {
    std::string type;  ///< "access", "bcc", "spam_rule", "spam_blackwhite" or "alias"
    int nameType = 0;  ///< the list, of "access" and "bcc"
    std::string ruleName;
    int blackWhiteType = 0;  ///< a `BlackWhiteType`
};

/// Whether an import was staged.
bool ImportIsStaged();

/// Reads the description; a part that the import has no use for is empty or 0. False, logged, when
/// it cannot be read.
bool ReadStagedImport(StagedImport& staged);

// Staged imports: the description of an import, written by one request and read by the upload that
// follows.
#pragma once

#include <string>

/// What is imported; the other members depend on `type`.
struct StagedImport {
    std::string type;  ///< "access", "bcc", "spam_rule", "spam_blackwhite" or "alias"
    int nameType = 0;  ///< of "access" and "bcc": the list
    std::string ruleName;
    int blackWhiteType = 0;  ///< a `BlackWhiteType`
};

/// Whether an import was staged.
bool ImportIsStaged();

/// Reads the description; members that `type` does not use are empty or 0. False (logged) on
/// failure.
bool ReadStagedImport(StagedImport& staged);

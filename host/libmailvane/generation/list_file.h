// Files of a generation that lists fill.
#pragma once

#include <string>

#include "host/libmailvane/generation/long_text.h"

namespace host::generation {

/// One file of the next generation that a list fills.
struct ListFile {
    std::string name;  ///< of a map in postfix/maps, or a path in the generation
    LongText text;
    bool isMap = true;  ///< to be compiled for lookups

    /// Its path in the generation.
    std::string Path() const { return isMap ? "postfix/maps/" + name : name; }
};

/// Path in a generation of the file that the rate policy reads.
constexpr char kQuotaFile[] = "policy/limits";

/// Paths in a generation of tables that Postfix reads without compiling.
constexpr char kClientNetworksFile[] = "postfix/maps/client_networks";
constexpr char kBlackClientsFile[] = "postfix/maps/black_clients";
constexpr char kAttachmentChecksFile[] = "postfix/maps/attachment_checks";

}  // namespace host::generation

// What the recorded list classes share.
#pragma once

#include <algorithm>
#include <fstream>
#include <list>
#include <string>

#include "platform/mailvane/filter.h"
#include "tests/recording/call.h"

namespace recording {

inline Words Describe(const Filter& filter)
{
    return {Line("{start", filter.start) + " " + Line("limit", filter.limit) + " " +
            Line("search", filter.searchType, filter.searchKey) + "}"};
}

/// Writes the text of an export to a file that exists.
inline void WriteExport(const std::string& path)
{
    std::ofstream(path, std::ios::binary) << TheWorld().exportText;
}

}  // namespace recording

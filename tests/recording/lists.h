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

/// Writes the text of an export to a file that exists; gives `result` through.
inline int Export(int result, const std::string& path)
{
    if (result >= 0) std::ofstream(path, std::ios::binary) << TheWorld().exportText;
    return result;
}

}  // namespace recording

// The mail server's log from its end to its beginning.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace log_lines {

using Clock = std::chrono::steady_clock;

/// Takes a piece of whole lines. False: nothing older is wanted.
using TakePiece = std::function<bool(std::string_view piece)>;

enum class Reached {
    kBeginning,  ///< every piece was passed on
    kWanted,     ///< as far as was wanted
    kNowhere     ///< the time was over, or a part is too large
};

/// Passes on the log at `path` and its older parts, in pieces from the newest to the oldest. A part
/// that is packed is one piece, of at most 64 MiB: the last ones.
Reached EachPiece(const std::string& path, Clock::time_point end, const TakePiece& take);

}  // namespace log_lines

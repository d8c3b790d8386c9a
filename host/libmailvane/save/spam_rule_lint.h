// The spam filter's own check of its rules.
#pragma once

#include <string>

namespace host::save {

/// Whether the spam filter takes these rules, next to those that it brings along. It is asked as
/// the scanner's user, with a home of its own that is gone afterwards; what it complains about is
/// logged. False also when it cannot be asked or takes too long.
bool SpamFilterTakes(const std::string& rules);

}  // namespace host::save

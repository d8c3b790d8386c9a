// The number of messages that a login may send in an hour.
#pragma once

#include <string>

namespace rate_policy {

/// The limit of a login (its key) in the file at `path`, with lines "messages key"; `general` when
/// there is none or the file cannot be read. The file is small and read each time, so that a saved
/// change applies at once.
unsigned int LimitOf(const std::string& path, const std::string& login, unsigned int general);

}  // namespace rate_policy

// How many messages a login may send in an hour.
#pragma once

#include <string>

namespace rate_policy {

/// The limit of a login, by its key, from the file at `path`, whose lines are "messages key"; the
/// general one when it has none of its own or the file cannot be read. The file is read each time:
/// it is small, and what is saved is in force.
unsigned int LimitOf(const std::string& path, const std::string& login, unsigned int general);

}  // namespace rate_policy

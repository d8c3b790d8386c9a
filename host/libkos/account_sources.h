// Where the accounts of administrators come from.
#pragma once

#include <string>

#include "host/libkos/caller_check.h"

namespace kos {

enum class Lookup {
    kFound,
    kAbsent,
    kFailed  ///< the source does not answer
};

/// /etc/passwd with the expiry of /etc/shadow, and /etc/group. They are read directly, so that no
/// further module of the name services is loaded and their set-up for later questions stays.
Lookup FindLocalAccount(const std::string& name, CallerAccount& account);
Lookup FindLocalGroup(const std::string& name, CallerGroup& group);

/// The same through the name services of the machine.
Lookup FindNssAccount(const std::string& name, CallerAccount& account);
Lookup FindNssGroup(const std::string& name, CallerGroup& group);

}  // namespace kos

// Sources of the administrators' accounts.
#pragma once

#include <string>

#include "host/libkos/caller_check.h"

namespace kos {

enum class Lookup {
    kFound,
    kAbsent,
    kFailed  ///< the source does not answer
};

/// Find in /etc/passwd, with the expiry in /etc/shadow, and in /etc/group. Read directly, so that
/// no module of the name services is loaded and their state for later calls is not changed.
Lookup FindLocalAccount(const std::string& name, CallerAccount& account);
Lookup FindLocalGroup(const std::string& name, CallerGroup& group);

/// Find by the name services of the machine.
Lookup FindNssAccount(const std::string& name, CallerAccount& account);
Lookup FindNssGroup(const std::string& name, CallerGroup& group);

}  // namespace kos

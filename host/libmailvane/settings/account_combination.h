// The account combination.
#pragma once

#include <string>

namespace host::settings {

/// The accounts that the mail server serves: source ("local", "ldap" or "win") and domain.
struct AccountCombination {
    std::string type;
    std::string domain;

    bool operator==(const AccountCombination& other) const
    {
        return type == other.type && domain == other.domain;
    }
};

}  // namespace host::settings

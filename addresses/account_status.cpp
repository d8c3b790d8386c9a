// Whether the accounts that an alias can have as members can receive mail.
#include "addresses/account_status.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "addresses/string_list.h"
#include "frame/log.h"
#include "platform/hald/account.h"

namespace {

struct FreeUser {
    void operator()(HALDUser* user) const { HALDUserFree(user); }
};

/// Whether a name can stand before an @: it has no blanks and is plain ASCII.
bool CanBeAddress(std::string_view name)
{
    return !name.empty() && std::none_of(name.begin(), name.end(), [](char c) {
        return c == ' ' || static_cast<unsigned char>(c) >= 128;
    });
}

}  // namespace

AccountStatus UserStatus(const char* name)
{
    if (name == nullptr) return kStatusUnknown;

    HALDUser* found = nullptr;
    if (HALDUserGet(name, &found) < 0) {
        LogError(Here(), "Fail to get user info (%s)", name);
        return kStatusUnknown;
    }
    const std::unique_ptr<HALDUser, FreeUser> user(found);
    if (user->name == nullptr || !CanBeAddress(user->name)) return kStatusNoAddress;
    return HALDUserCheckExpired(name, nullptr) == 1 ? kStatusExpired : kStatusUsable;
}

AccountStatus GroupStatus(const char* name)
{
    if (name == nullptr) return kStatusUnknown;

    StringList members;
    if (!members.Ok()) {
        LogError(Here(), "Out of memory");
        return kStatusUnknown;
    }
    if (HALDGroupListMember(name, members.Address()) < 0) {
        LogError(Here(), "fail to get member list");
        return kStatusUnknown;
    }
    for (int i = 0; i < members.Size(); ++i) {
        if (UserStatus(members[i]) != kStatusUsable) return kStatusMemberUnusable;
    }
    return kStatusUsable;
}

// Accounts and groups: the platform's functions.
#include "platform/hlib/accounts.h"
#include "platform/hald/account.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/libhaldcore/error.h"
#include "host/libhaldsdk/account_engine.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libhaldsdk/local_accounts.h"
#include "platform/hlib/string_list.h"

namespace {

using host::Lookup;

constexpr long kSecondsOfDay = 86400;

/// A platform record, and the text to which its pointers point.
struct OwnedUser : HALDUser {
    std::string text;
};

/// The result for a lookup: 0, or negative with the error stored.
int Result(Lookup lookup)
{
    if (lookup == Lookup::kFound) return 0;
    return lookup == Lookup::kAbsent ? host::Fail(ENOENT) : host::FailWithErrno();
}

int FindMailUser(const char* name, host::User& user)
{
    if (name == nullptr || *name == '\0') return host::Fail(EINVAL);
    const int result = Result(host::FindUser(name, user));
    if (result < 0) return result;
    return host::IsMailUser(user) ? 0 : host::Fail(ENOENT);
}

/// Whether a name from winbind, `DOMAIN\name` or plain in the machine's own domain, belongs to
/// `domain`.
bool BelongsTo(const std::string& name, const char* domain)
{
    const std::size_t backslash = name.find('\\');
    if (domain == nullptr || *domain == '\0' || backslash == std::string::npos) return true;
    return strcasecmp(name.substr(0, backslash).c_str(), domain) == 0;
}

/// Appends all names to the list; returns their number.
int Append(HLIBCSzList** list, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        if (HLIBCSzListPush(list, name.c_str()) < 0) return -1;
    }
    return static_cast<int>(names.size());
}

/// The mail users of all engines other than the local files, by primary group. Read only once,
/// since that takes long with many users and a page may show many groups. Null, with errno set,
/// when an engine does not answer.
const std::unordered_map<gid_t, std::vector<std::string>>* RemoteUsersByGroup()
{
    static std::unordered_map<gid_t, std::vector<std::string>> names;
    static bool read = false;
    if (read) return &names;

    names.clear();
    for (const std::unique_ptr<host::AccountEngine>& engine : host::RemoteEngines()) {
        const bool answered = engine && engine->EachUser([](const host::User& user) {
            if (host::IsMailUser(user)) names[user.gid].push_back(user.name);
        });
        if (!answered) return nullptr;
    }
    read = true;
    return &names;
}

/// Adds the users whose primary group this is.
bool AddPrimaryMembers(const host::Group& group, bool local, std::vector<std::string>& members)
{
    if (local) {
        return host::EachLocalUserOf(group.gid, [&members](const host::User& user) {
            if (host::IsMailUser(user)) members.push_back(user.name);
        });
    }
    const auto* names = RemoteUsersByGroup();
    if (names == nullptr) return false;

    const auto found = names->find(group.gid);
    if (found == names->end()) return true;
    members.insert(members.end(), found->second.begin(), found->second.end());
    return true;
}

/// The names without duplicates, in their order.
std::vector<std::string> Distinct(const std::vector<std::string>& names)
{
    std::unordered_set<std::string> seen;
    std::vector<std::string> distinct;
    for (const std::string& name : names) {
        if (seen.insert(name).second) distinct.push_back(name);
    }
    return distinct;
}

}  // namespace

int HLIBUserEnum(HLIBCSzList** list, int source, const char* domain)
{
    const std::unique_ptr<host::AccountEngine> engine = host::EngineOf(source);
    if (!engine) return host::FailWithErrno();

    std::vector<std::string> names;
    const bool answered = engine->EachUser([&](const host::User& user) {
        if (host::IsMailUser(user) && BelongsTo(user.name, domain)) names.push_back(user.name);
    });
    return answered ? Append(list, names) : host::FailWithErrno();
}

int HLIBGroupEnum(HLIBCSzList** list, int source, const char* domain)
{
    const std::unique_ptr<host::AccountEngine> engine = host::EngineOf(source);
    if (!engine) return host::FailWithErrno();

    std::vector<std::string> names;
    const bool answered = engine->EachGroup([&](const host::Group& group) {
        if (host::IsMailGroup(group) && BelongsTo(group.name, domain)) names.push_back(group.name);
    });
    return answered ? Append(list, names) : host::FailWithErrno();
}

int HLIBUserRealNameGet(const char* login, char* buffer, int size)
{
    if (buffer == nullptr || size < 0) return host::Fail(EINVAL);
    buffer[0] = '\0';
    host::User user;
    if (FindMailUser(login, user) < 0) return -1;

    const std::size_t length = std::min(user.realName.size(), static_cast<std::size_t>(size));
    memcpy(buffer, user.realName.data(), length);
    buffer[length] = '\0';
    return 0;
}

int HALDUserGet(const char* name, HALDUser** user)
{
    if (user == nullptr) return host::Fail(EINVAL);
    *user = nullptr;
    host::User found;
    if (FindMailUser(name, found) < 0) return -1;

    auto owned = std::make_unique<OwnedUser>();
    owned->text = found.name;
    owned->name = owned->text.c_str();
    *user = owned.release();
    return 0;
}

void HALDUserFree(HALDUser* user)
{
    delete static_cast<OwnedUser*>(user);
}

int HALDUserCheckExpired(const char* name, void* /*reserved*/)
{
    if (name == nullptr || *name == '\0') return host::Fail(EINVAL);
    host::User user;
    if (Result(host::FindUser(name, user)) < 0) return -1;

    long day = -1;
    const Lookup lookup = host::FindExpiry(user.name, day);
    if (lookup == Lookup::kFailed) return host::FailWithErrno();
    const bool expired =
        lookup == Lookup::kFound && day >= 0 && time(nullptr) / kSecondsOfDay >= day;
    return expired ? 1 : 0;
}

int HALDGroupListMember(const char* group, HLIBCSzList** list)
{
    if (group == nullptr || *group == '\0') return host::Fail(EINVAL);
    host::Group found;
    bool local = false;
    if (Result(host::FindGroup(group, found, local)) < 0) return -1;

    std::vector<std::string> members = found.members;
    if (!AddPrimaryMembers(found, local, members)) return host::FailWithErrno();
    return Append(list, Distinct(members)) < 0 ? -1 : 0;
}

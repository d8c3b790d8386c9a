// Accounts and groups: the platform's functions.
#include "platform/hlib/accounts.h"
#include "platform/hald/account.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/result.h"
#include "host/libhaldsdk/account_engine.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libhaldsdk/file_version.h"
#include "host/libhaldsdk/local_accounts.h"
#include "platform/hlib/string_list.h"

namespace {

constexpr long kSecondsOfDay = 86400;

/// What is asked about the accounts of a list is answered as of the moment when it was made.
void BeginMoment()
{
    static std::optional<host::AccountsOfOneMoment> moment;
    moment.reset();
    moment.emplace();
}

/// A platform record, and the text to which its pointers point.
struct OwnedUser : HALDUser {
    std::string text;
};

/// Logs the reason of a failure and stores the error that callers know it by.
int FailFor(const host::Reason& reason)
{
    host::LogReason(reason);
    if (reason.code == host::ReasonCode::kDaemonIsDown) return host::Fail(ECONNREFUSED);
    return host::Fail(reason.code == host::ReasonCode::kMissing ? ENOENT : EIO);
}

/// 0 when an entry was found; else negative with the error stored.
int StatusOf(const host::Result<bool>& found)
{
    if (!found) return FailFor(found.reason());
    return *found ? 0 : host::Fail(ENOENT);
}

/// Calls `take` with an account that can have mail.
template <typename Take>
int FindMailUser(const char* name, const Take& take)
{
    if (name == nullptr || *name == '\0') return host::Fail(EINVAL);
    bool hasMail = false;
    const int result = StatusOf(host::FindUser(name, [&](const host::User& user) {
        hasMail = host::IsMailUser(user);
        if (hasMail) take(user);
    }));
    return result < 0 || hasMail ? result : host::Fail(ENOENT);
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

using UsersByGroup = std::unordered_map<gid_t, std::vector<std::string>>;

/// The mail users of all engines other than the local files, by primary group. Read only once,
/// since that takes long with many users and a page may show many groups. Fails when an engine does
/// not answer.
host::Result<const UsersByGroup*> RemoteUsersByGroup()
{
    static UsersByGroup names;
    static bool read = false;
    if (read) return &names;

    names.clear();
    for (const auto& engine : host::RemoteEngines()) {
        if (!engine) return engine.reason();
        const host::Result<void> answered = (*engine)->EachUser([](const host::User& user) {
            if (host::IsMailUser(user)) names[user.gid].push_back(user.name);
        });
        if (!answered) return answered.reason();
    }
    read = true;
    return &names;
}

/// Adds the users whose primary group this is.
host::Result<void> AddPrimaryMembers(const host::FoundGroup& found,
                                     std::vector<std::string>& members)
{
    const gid_t group = found.group.gid;
    if (found.isLocal) {
        return host::EachLocalUserOf(group, [&members](const host::User& user) {
            if (host::IsMailUser(user)) members.push_back(user.name);
        });
    }
    const host::Result<const UsersByGroup*> names = RemoteUsersByGroup();
    if (!names) return names.reason();

    const auto ofGroup = (*names)->find(group);
    if (ofGroup == (*names)->end()) return {};
    members.insert(members.end(), ofGroup->second.begin(), ofGroup->second.end());
    return {};
}

/// Appends the names without duplicates, in their order.
int AppendOnce(HLIBCSzList** list, const std::vector<std::string>& names)
{
    std::unordered_set<std::string_view> seen;
    for (const std::string& name : names) {
        if (seen.insert(name).second && HLIBCSzListPush(list, name.c_str()) < 0) return -1;
    }
    return 0;
}

}  // namespace

int HLIBUserEnum(HLIBCSzList** list, int source, const char* domain)
{
    BeginMoment();
    const host::Result<host::EnginePointer> engine = host::EngineOf(source);
    if (!engine) return FailFor(engine.reason());

    std::vector<std::string> names;
    const host::Result<void> answered = (*engine)->EachUser([&](const host::User& user) {
        if (host::IsMailUser(user) && BelongsTo(user.name, domain)) names.push_back(user.name);
    });
    return answered ? Append(list, names) : FailFor(answered.reason());
}

int HLIBGroupEnum(HLIBCSzList** list, int source, const char* domain)
{
    BeginMoment();
    const host::Result<host::EnginePointer> engine = host::EngineOf(source);
    if (!engine) return FailFor(engine.reason());

    std::vector<std::string> names;
    const host::Result<void> answered = (*engine)->EachGroup([&](const host::Group& group) {
        if (host::IsMailGroup(group) && BelongsTo(group.name, domain)) names.push_back(group.name);
    });
    return answered ? Append(list, names) : FailFor(answered.reason());
}

int HLIBUserRealNameGet(const char* login, char* buffer, int size)
{
    if (buffer == nullptr || size < 0) return host::Fail(EINVAL);
    buffer[0] = '\0';
    const int result = FindMailUser(login, [buffer, size](const host::User& user) {
        const std::size_t length = std::min(user.realName.size(), static_cast<std::size_t>(size));
        memcpy(buffer, user.realName.data(), length);
        buffer[length] = '\0';
    });
    return result < 0 ? -1 : 0;
}

int HALDUserGet(const char* name, HALDUser** user)
{
    if (user == nullptr) return host::Fail(EINVAL);
    *user = nullptr;
    const int result = FindMailUser(name, [user](const host::User& found) {
        auto owned = std::make_unique<OwnedUser>();
        owned->text = found.name;
        owned->name = owned->text.c_str();
        *user = owned.release();
    });
    return result < 0 ? -1 : 0;
}

void HALDUserFree(HALDUser* user)
{
    delete static_cast<OwnedUser*>(user);
}

int HALDUserCheckExpired(const char* name, void* /*reserved*/)
{
    if (name == nullptr || *name == '\0') return host::Fail(EINVAL);
    std::string account;
    const auto take = [&account](const host::User& user) { account = user.name; };
    if (StatusOf(host::FindUser(name, take)) < 0) return -1;

    const host::Result<std::optional<long>> day = host::FindExpiry(account);
    if (!day) return FailFor(day.reason());
    return *day && **day >= 0 && time(nullptr) / kSecondsOfDay >= **day ? 1 : 0;
}

int HALDGroupListMember(const char* group, HLIBCSzList** list)
{
    if (group == nullptr || *group == '\0') return host::Fail(EINVAL);
    host::Result<std::optional<host::FoundGroup>> found = host::FindGroup(group);
    if (!found) return FailFor(found.reason());
    if (!*found) return host::Fail(ENOENT);

    std::vector<std::string> members = std::move((*found)->group.members);
    const host::Result<void> complete = AddPrimaryMembers(**found, members);
    if (!complete) return FailFor(complete.reason());
    return AppendOnce(list, members) < 0 ? -1 : 0;
}

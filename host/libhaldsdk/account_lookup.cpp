// Finding single accounts and groups: in local files first, whatever the order in nsswitch.conf.
#include "host/libhaldsdk/account_lookup.h"

#include <shadow.h>

#include <array>

#include "host/libhaldsdk/account_records.h"
#include "host/libhaldsdk/local_accounts.h"
#include "platform/hald/directory.h"
#include "platform/hlib/accounts.h"

namespace host {

namespace {

constexpr gid_t kFirstMailGroup = kFirstMailUser;
constexpr gid_t kUsers = 100;

/// Asks the C library's name service by `get`, which is getpwnam_r, getgrnam_r or getspnam_r.
template <typename Record, typename Convert>
auto AskNameService(int (*get)(const char*, Record*, char*, std::size_t, Record**),
                    const std::string& name, const Convert& convert)
{
    const auto call = [&](Record* record, char* bytes, std::size_t size, int* code) {
        Record* found = nullptr;
        *code = get(name.c_str(), record, bytes, size, &found);
        if (*code == 0) return found != nullptr ? NSS_STATUS_SUCCESS : NSS_STATUS_NOTFOUND;
        if (*code == ENOENT) return NSS_STATUS_NOTFOUND;
        return *code == ERANGE ? NSS_STATUS_TRYAGAIN : NSS_STATUS_UNAVAIL;
    };
    return FindRecord<Record>("the name service", call, convert);
}

/// Asks the engines other than the local files one by one, since the C library reports an engine
/// that does not answer as one without accounts.
template <typename Entry>
Result<std::optional<Entry>> AskRemoteEngines(
    Result<std::optional<Entry>> (AccountEngine::*find)(const std::string&),
    const std::string& name)
{
    Result<std::optional<Entry>> result(std::nullopt);
    for (const Result<EnginePointer>& engine : RemoteEngines()) {
        auto one =
            engine ? ((*engine).get()->*find)(name) : Result<std::optional<Entry>>(engine.reason());
        if (one && *one) return one;
        if (!one) result = std::move(one);
    }
    return result;
}

/// Asks whoever is left. The C library would have the module of local files read all of them again.
Result<std::optional<User>> AskOthers(const std::string& name)
{
    for (const Result<EnginePointer>& engine : OtherEngines()) {
        auto user =
            engine ? (*engine)->FindUser(name) : Result<std::optional<User>>(engine.reason());
        if (!user) return AskNameService(getpwnam_r, name, ToUser);
        if (*user) return user;
    }
    return {std::nullopt};
}

/// `name` without the suffix of the LDAP directory; empty when it does not end with that.
std::string WithoutLdapSuffix(const std::string& name)
{
    if (name.find('@') == std::string::npos) return "";
    std::array<char, 1024> suffix;
    if (HALDLDAPIsBinded() == 0 || HALDLDAPLoginSuffixGet(suffix.data(), suffix.size()) < 0) {
        return "";
    }
    const std::string ending = std::string("@") + suffix.data();
    if (name.size() <= ending.size()) return "";
    const std::size_t length = name.size() - ending.size();
    return name.compare(length, ending.size(), ending) == 0 ? name.substr(0, length) : "";
}

Result<std::optional<User>> FindInLdap(const std::string& name)
{
    const std::string bare = WithoutLdapSuffix(name);
    if (bare.empty()) return {std::nullopt};

    Result<EnginePointer> engine = EngineOf(HLIB_ACCOUNT_LDAP);
    if (!engine) return std::move(engine).reason();
    return (*engine)->FindUser(bare);
}

/// Finds an account that the local files do not have, or that may be in them, if they cannot be
/// read.
Result<std::optional<User>> FindElsewhere(const std::string& name, bool filesAreRead)
{
    // An engine that hangs is not waited for twice: the name service would ask it again.
    auto user = AskRemoteEngines(&AccountEngine::FindUser, name);
    if (!user || *user) return user;
    user = filesAreRead ? AskOthers(name) : AskNameService(getpwnam_r, name, ToUser);
    return !user || *user ? user : FindInLdap(name);
}

}  // namespace

bool IsMailUser(const User& user)
{
    return user.uid >= kFirstMailUser && user.uid != kNobody;
}

bool IsMailGroup(const Group& group)
{
    return group.gid == kUsers || (group.gid >= kFirstMailGroup && group.gid != kNobody);
}

Result<bool> FindUser(const std::string& name, const UserVisitor& take)
{
    const Result<const User*> local = FindLocalUser(name);
    if (local && *local != nullptr) {
        take(**local);
        return true;
    }
    const Result<std::optional<User>> user = FindElsewhere(name, static_cast<bool>(local));
    if (!user) return user.reason();
    if (*user) take(**user);
    return user->has_value();
}

Result<std::optional<User>> FindUser(const std::string& name)
{
    std::optional<User> user;
    const Result<bool> found = FindUser(name, [&user](const User& one) { user = one; });
    if (!found) return found.reason();
    return user;
}

Result<std::optional<FoundGroup>> FindGroup(const std::string& name)
{
    const Result<const Group*> local = FindLocalGroup(name);
    if (local && *local != nullptr) return std::make_optional(FoundGroup{**local, true});

    auto group = AskRemoteEngines(&AccountEngine::FindGroup, name);
    if (group && !*group) group = AskNameService(getgrnam_r, name, ToGroup);
    if (!group) return std::move(group).reason();
    if (!*group) return {std::nullopt};
    return std::make_optional(FoundGroup{**std::move(group), false});
}

Result<std::optional<long>> FindExpiry(const std::string& account)
{
    const Result<const User*> local = FindLocalUser(account);
    if (local && *local != nullptr) return FindLocalExpiry(account);
    return AskNameService(getspnam_r, account, [](const spwd& record) { return record.sp_expire; });
}

}  // namespace host

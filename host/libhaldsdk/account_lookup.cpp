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
    for (const Result<std::unique_ptr<AccountEngine>>& engine : RemoteEngines()) {
        auto one =
            engine ? ((*engine).get()->*find)(name) : Result<std::optional<Entry>>(engine.reason());
        if (one && *one) return one;
        if (!one) result = std::move(one);
    }
    return result;
}

/// `name` without the suffix of the LDAP directory; empty when it does not end with that.
std::string WithoutLdapSuffix(const std::string& name)
{
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

    Result<std::unique_ptr<AccountEngine>> engine = EngineOf(HLIB_ACCOUNT_LDAP);
    if (!engine) return std::move(engine).reason();
    return (*engine)->FindUser(bare);
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

Result<std::optional<User>> FindUser(const std::string& name)
{
    auto user = LocalAccounts()->FindUser(name);
    if (user && *user) return user;
    // An engine that hangs is not waited for twice: the name service would ask it again.
    user = AskRemoteEngines(&AccountEngine::FindUser, name);
    if (!user || *user) return user;
    user = AskNameService(getpwnam_r, name, ToUser);
    return !user || *user ? user : FindInLdap(name);
}

Result<std::optional<FoundGroup>> FindGroup(const std::string& name)
{
    auto group = FindLocalGroup(name);
    if (group && *group) return std::make_optional(FoundGroup{**std::move(group), true});

    group = AskRemoteEngines(&AccountEngine::FindGroup, name);
    if (group && !*group) group = AskNameService(getgrnam_r, name, ToGroup);
    if (!group) return std::move(group).reason();
    if (!*group) return {std::nullopt};
    return std::make_optional(FoundGroup{**std::move(group), false});
}

Result<std::optional<long>> FindExpiry(const std::string& account)
{
    const auto user = LocalAccounts()->FindUser(account);
    if (user && *user) return FindLocalExpiry(account);
    return AskNameService(getspnam_r, account, [](const spwd& record) { return record.sp_expire; });
}

}  // namespace host

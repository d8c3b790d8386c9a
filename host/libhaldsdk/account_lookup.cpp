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

/// Asks the C library's name service by `get`, which is getpwnam_r or getgrnam_r.
template <typename Record>
Lookup AskNameService(int (*get)(const char*, Record*, char*, std::size_t, Record**),
                      const std::string& name, RecordBuffer& buffer, Record& record)
{
    const nss_status status = CallWithBuffer(buffer, [&](char* bytes, std::size_t size, int* code) {
        Record* found = nullptr;
        *code = get(name.c_str(), &record, bytes, size, &found);
        if (*code == 0) return found != nullptr ? NSS_STATUS_SUCCESS : NSS_STATUS_NOTFOUND;
        if (*code == ENOENT) return NSS_STATUS_NOTFOUND;
        return *code == ERANGE ? NSS_STATUS_TRYAGAIN : NSS_STATUS_UNAVAIL;
    });
    if (status == NSS_STATUS_SUCCESS) return Lookup::kFound;
    return status == NSS_STATUS_NOTFOUND ? Lookup::kAbsent : Lookup::kFailed;
}

/// Asks the engines other than the local files one by one, since the C library reports an engine
/// that does not answer as one without accounts.
template <typename Record>
Lookup AskRemoteEngines(Lookup (AccountEngine::*find)(const std::string&, Record&),
                        const std::string& name, Record& record)
{
    int failure = 0;
    for (const std::unique_ptr<AccountEngine>& engine : RemoteEngines()) {
        const Lookup one = engine ? (engine.get()->*find)(name, record) : Lookup::kFailed;
        if (one == Lookup::kFound) return one;
        if (one == Lookup::kFailed) failure = errno;
    }
    errno = failure;
    return failure == 0 ? Lookup::kAbsent : Lookup::kFailed;
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

Lookup FindInLdap(const std::string& name, User& user)
{
    const std::string bare = WithoutLdapSuffix(name);
    if (bare.empty()) return Lookup::kAbsent;

    const std::unique_ptr<AccountEngine> engine = EngineOf(HLIB_ACCOUNT_LDAP);
    return engine ? engine->FindUser(bare, user) : Lookup::kFailed;
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

Lookup FindUser(const std::string& name, User& user)
{
    if (LocalAccounts()->FindUser(name, user) == Lookup::kFound) return Lookup::kFound;

    RecordBuffer buffer;
    passwd record;
    if (AskNameService(getpwnam_r, name, buffer, record) == Lookup::kFound) {
        user = ToUser(record);
        return Lookup::kFound;
    }
    const Lookup result = AskRemoteEngines(&AccountEngine::FindUser, name, user);
    if (result != Lookup::kAbsent) return result;
    return FindInLdap(name, user);
}

Lookup FindGroup(const std::string& name, Group& group, bool& local)
{
    local = FindLocalGroup(name, group) == Lookup::kFound;
    if (local) return Lookup::kFound;

    RecordBuffer buffer;
    ::group record;
    if (AskNameService(getgrnam_r, name, buffer, record) == Lookup::kFound) {
        group = ToGroup(record);
        return Lookup::kFound;
    }
    return AskRemoteEngines(&AccountEngine::FindGroup, name, group);
}

Lookup FindExpiry(const std::string& account, long& day)
{
    User user;
    if (LocalAccounts()->FindUser(account, user) == Lookup::kFound) {
        return FindLocalExpiry(account, day);
    }

    RecordBuffer buffer;
    spwd record;
    const Lookup result = AskNameService(getspnam_r, account, buffer, record);
    if (result == Lookup::kFound) day = record.sp_expire;
    return result;
}

}  // namespace host

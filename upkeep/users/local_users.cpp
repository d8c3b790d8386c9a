// The users of the mail server: reads /etc/passwd, /etc/group and the aliases.
#include "upkeep/users/local_users.h"

#include <algorithm>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr std::size_t kLongestName = 32;
constexpr const char* kRoles[] = {"postmaster", "abuse"};
constexpr const char* kNoShells[] = {kNoShell, "/sbin/nologin", "/bin/false", "/usr/bin/false"};

const Subject kName = Subject::Setting("name");

using host::stores::AccountDatabase;
using host::stores::ReadAccountDatabase;

Result<bool> IsAlias(const std::string& name)
{
    Result<SQLite::Database> database = ReadAccountDatabase(AccountDatabase::kAlias);
    if (!database) return std::move(database).reason();
    return host::system::Attempt("aliases", [&]() -> Result<bool> {
        return host::stores::AliasFinder(*database).Find(name).has_value();
    });
}

bool HasUser(const std::list<MemberInfo>& members, const std::string& name)
{
    return std::any_of(members.begin(), members.end(), [&](const MemberInfo& member) {
        return member.type == host::names::kUserMember && host::InLowerCase(member.name) == name;
    });
}

bool IsNewName(const std::string& name)
{
    const auto isSmall = [](char c) { return c == '_' || (c >= 'a' && c <= 'z'); };
    return !name.empty() && name.size() <= kLongestName && isSmall(name.front()) &&
           std::all_of(name.begin(), name.end(),
                       [&](char c) { return isSmall(c) || host::IsDigit(c) || c == '-'; });
}

Reason Taken(const std::string& why)
{
    return {ReasonCode::kTaken, kName, why};
}

}  // namespace

Result<std::vector<host::User>> LocalUsers()
{
    std::vector<host::User> users;
    const Result<void> read = host::LocalAccounts()->EachUser([&](const host::User& user) {
        if (host::IsMailUser(user)) users.push_back(user);
    });
    if (!read) return read.reason();
    std::sort(users.begin(), users.end(),
              [](const auto& one, const auto& other) { return one.name < other.name; });
    return users;
}

Result<host::User> LocalUser(const std::string& name)
{
    Result<std::optional<host::User>> found = host::LocalAccounts()->FindUser(name);
    if (!found) return std::move(found).reason();
    if (*found && host::IsMailUser(**found)) return std::move(**found);
    return Reason{ReasonCode::kMissing, kName,
                  "there is no mail user of that name among this machine's accounts"};
}

bool HasShell(const host::User& user)
{
    return std::find(std::begin(kNoShells), std::end(kNoShells), user.shell) == std::end(kNoShells);
}

bool IsAdministrator(const host::User& user, const std::optional<kos::CallerGroup>& group)
{
    return group &&
           kos::JudgeCaller({user.name, user.gid, {}}, *group, 0) == kos::Caller::kAdministrator;
}

Result<host::User> ChangeableUser(const std::string& name, const std::string& caller)
{
    Result<host::User> user = LocalUser(name);
    if (!user) return user;
    const Result<std::optional<kos::CallerGroup>> administrators = kos::FindAdministrators();
    if (!administrators) return administrators.reason();

    if (user->name == caller || IsAdministrator(*user, *administrators)) {
        return Reason{ReasonCode::kRefused, kName, "an administrator is not changed here"};
    }
    if (HasShell(*user)) {
        return Reason{ReasonCode::kRefused, kName, "a user with a shell is not changed here"};
    }
    return user;
}

Result<void> CheckNewName(const std::string& name)
{
    if (!IsNewName(name)) {
        return Reason{ReasonCode::kNoName, kName, "no name for a mail user"};
    }
    if (std::find(std::begin(kRoles), std::end(kRoles), name) != std::end(kRoles)) {
        return Taken("mail to " + name + " goes elsewhere: to an administrator");
    }
    const Result<bool> isAlias = IsAlias(name);
    if (!isAlias) return isAlias.reason();
    if (*isAlias) return Taken("mail to " + name + " goes elsewhere: it is an alias");

    const Result<std::optional<host::User>> account = host::FindUser(name);
    if (!account) return account.reason();
    if (*account) return Taken("there is an account " + name + " already");
    // A home that is there stays the old owner's; a new user must not get that mail.
    if (host::system::NameExists(host::Path("/home/" + name))) {
        return Reason{ReasonCode::kTaken, Subject::List("home"),
                      "/home/" + name + " is there already: move it away first"};
    }
    return {};
}

Result<std::vector<std::string>> AliasesOf(const std::string& name)
{
    Result<SQLite::Database> database = ReadAccountDatabase(AccountDatabase::kAlias);
    if (!database) return std::move(database).reason();
    return host::system::Attempt("aliases", [&]() -> Result<std::vector<std::string>> {
        std::vector<std::string> found;
        for (host::stores::AliasReader reader(*database); reader.Next();) {
            if (HasUser(reader.members(), name)) found.push_back(reader.name());
        }
        return found;
    });
}

}  // namespace upkeep

// Calls about users and the caller's own login.
#include "upkeep/users/calls.h"

#include <algorithm>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/system/durable_move.h"
#include "upkeep/users/account_tools.h"
#include "upkeep/users/home.h"
#include "upkeep/users/local_users.h"
#include "upkeep/users/mail_access.h"
#include "upkeep/users/passwords.h"
#include "upkeep/users/web_logins.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using host::settings::StoredSettings;

constexpr std::size_t kUsualPage = 50;
constexpr std::size_t kLargestPage = 1000;
constexpr char kLocal[] = "local";

/// The settings; refused when the users are not accounts of this machine.
Result<StoredSettings> OwnAccounts()
{
    Result<StoredSettings> settings = StoredSettings::Read();
    if (settings && settings->Text("account_type") != kLocal) {
        return Reason{ReasonCode::kRefused, Subject::Setting("account_type"),
                      "the users live in a directory and are managed there"};
    }
    return settings;
}

/// The user of a request, if the caller may change it.
Result<host::User> UserToChange(const Request& request)
{
    const Result<StoredSettings> settings = OwnAccounts();
    if (!settings) return settings.reason();
    return ChangeableUser(request.Text("name"), request.Caller());
}

Json::Value Told(const host::User& user, const StoredSettings& settings,
                 const std::optional<kos::CallerGroup>& administrators)
{
    Json::Value told;
    told["name"] = user.name;
    told["uid"] = Json::UInt64{user.uid};
    told["address"] = AddressOf(user.name, settings);
    told["home"] = user.home;
    told["administrator"] = IsAdministrator(user, administrators);
    told["shell"] = HasShell(user);
    return told;
}

/// Removes the stored forwarding and replies of a user, which a later one of that name must not
/// inherit.
Result<void> ForgetPersonal(const std::string& name)
{
    return host::system::RemoveDurably(host::PackagePath("etc/personal/" + name + ".json"))
        .About(Subject::List("personal"));
}

/// What becomes of the mailbox; true when it is deleted.
Result<bool> MailboxGoes(const Request& request)
{
    const std::string wish = request.Text("mailbox");
    if (wish == "keep" || wish == "delete") return wish == "delete";
    return Reason{ReasonCode::kNoChoice, Subject::Setting("mailbox"), "neither keep nor delete"};
}

/// Removes a user with all that is its own. The home is root's before its owner goes: the next user
/// may get the number. What cannot be cleared away after that is no failure any more.
Result<void> Remove(const host::User& user, bool isOwnHome, bool deletes)
{
    Result<void> done = isOwnHome ? GiveHome(user, 0, 0) : Result<void>();
    if (done) done = RemoveAccount(user.name);
    if (!done) {
        if (isOwnHome) (void)host::Succeeded(GiveHome(user, user.uid, user.gid));
        return done;
    }
    (void)host::Succeeded(ForgetPersonal(user.name));
    if (isOwnHome && deletes) (void)host::Succeeded(DeleteHome(user));
    return {};
}

}  // namespace

Answer UserList(const Request& request)
{
    const Result<StoredSettings> settings = OwnAccounts();
    if (!settings) return settings.reason();
    Result<std::vector<host::User>> users = LocalUsers();
    if (!users) return std::move(users).reason();
    const auto administrators = kos::FindAdministrators();
    if (!administrators) return administrators.reason();

    const std::string query = request.Text("query");
    users->erase(std::remove_if(users->begin(), users->end(),
                                [&](const host::User& user) {
                                    return user.name.find(query) == std::string::npos;
                                }),
                 users->end());
    const std::size_t start = request.Number("start", 0, users->size());
    const std::size_t count =
        std::min(request.Number("limit", kUsualPage, kLargestPage), users->size() - start);
    Json::Value answer;
    answer["users"] = Json::Value(Json::arrayValue);
    for (std::size_t at = start; at < start + count; ++at) {
        answer["users"].append(Told((*users)[at], *settings, *administrators));
    }
    answer["total"] = Json::UInt64{users->size()};
    return answer;
}

Answer UserShow(const Request& request)
{
    const Result<StoredSettings> settings = OwnAccounts();
    if (!settings) return settings.reason();
    const Result<host::User> user = LocalUser(request.Text("name"));
    if (!user) return user.reason();
    return MailAccess(user->name, *settings);
}

Answer UserAdd(const Request& request)
{
    KeepOutOfCores();
    const Result<StoredSettings> settings = OwnAccounts();
    if (!settings) return settings.reason();
    const std::string name = request.Text("name");
    const std::string password = request.Text("password");
    Result<void> done = CheckNewName(name);
    if (done) done = CheckPassword(password, Subject::Setting("password"));
    if (!done) return std::move(done).reason();

    host::NoteChange(name);
    // What an earlier user of that name may have left is none of this one's.
    done = ForgetPersonal(name);
    if (done) done = MakeAccount(name, password);
    if (!done) return std::move(done).reason();
    return MailAccess(name, *settings);
}

Answer UserPassword(const Request& request)
{
    KeepOutOfCores();
    const Result<host::User> user = UserToChange(request);
    if (!user) return user.reason();
    const std::string password = request.Text("password");
    const Result<void> checked = CheckPassword(password, Subject::Setting("password"));
    if (!checked) return checked.reason();

    host::NoteChange(user->name);
    return Done(SetAccountPassword(user->name, password));
}

Answer UserRemove(const Request& request)
{
    const Result<host::User> user = UserToChange(request);
    if (!user) return user.reason();
    const Result<bool> deletes = MailboxGoes(request);
    if (!deletes) return deletes.reason();
    const Result<std::vector<std::string>> aliases = AliasesOf(user->name);
    if (!aliases) return aliases.reason();
    // Asked before: afterwards nobody has this number.
    const Result<bool> isOwnHome = IsOwnHome(*user);
    if (!isOwnHome) return isOwnHome.reason();

    host::NoteChange(user->name);
    const Result<void> done = Remove(*user, *isOwnHome, *deletes);
    if (!done) return done.reason();
    Json::Value answer;
    answer["home"] = user->home;
    answer["kept"] = host::system::NameExists(host::Path(user->home));
    answer["aliases"] = Json::Value(Json::arrayValue);
    for (const std::string& alias : *aliases) answer["aliases"].append(alias);
    return answer;
}

Answer OwnPassword(const Request& request)
{
    KeepOutOfCores();
    const std::string wanted = request.Text("new");
    const Result<void> checked = CheckPassword(wanted, Subject::Setting("new"));
    if (!checked) return checked.reason();

    host::NoteChange("logins");
    return Done(ChangeWebPassword(request.Caller(), request.Text("old"), wanted));
}

}  // namespace upkeep

// The account of one mail user. Reads the account databases and checks the home directory.
#include "host/libmailvane/system/mail_account.h"

#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/system/user_child.h"

namespace host::system {

namespace {

constexpr std::string::size_type kLongestName = 200;
constexpr std::chrono::seconds kHomeLimit{5};
constexpr char kMember[] = "user";

/// Whether a name is safe as part of a path.
bool IsAccountName(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && names::IsPlainText(name);
}

/// Whether the home directory belongs to the user. Checked with the user's rights, since the user
/// can mount file systems there that hang or refuse root.
Result<void> CheckHome(const MailAccount& account)
{
    if (account.home.empty() || account.home.front() != '/') {
        return Reason{ReasonCode::kUnreadable, Subject::Setting(kMember),
                      "home of " + account.name + ": none"};
    }
    Result<void> had = RunAsUser(account, "home", kHomeLimit, [](int) { return Result<void>(); });
    if (had) return had;
    return Reason{ReasonCode::kUnreadable, Subject::Setting(kMember), std::move(had).reason().text};
}

Reason NoMailUser(const std::string& name)
{
    return {ReasonCode::kMissing, Subject::Setting(kMember),
            "there is no mail user '" + name + "'"};
}

}  // namespace

Result<MailAccount> FindMailAccount(const std::string& user)
{
    if (!IsAccountName(user)) return NoMailUser(user.substr(0, kLongestName));

    Result<std::optional<User>> found = FindUser(user);
    if (!found) {
        return Reason{ReasonCode::kDaemonIsDown,
                      Subject::Service(kAccountSource),
                      "the account of '" + user + "' cannot be looked up",
                      {std::move(found).reason()}};
    }
    if (!*found || !IsMailUser(**found) || !IsAccountName((*found)->name)) {
        return NoMailUser(user);
    }

    MailAccount account{(*found)->name, (*found)->uid, (*found)->gid, (*found)->home};
    Result<void> home = CheckHome(account);
    if (!home) return std::move(home).reason();
    return account;
}

}  // namespace host::system

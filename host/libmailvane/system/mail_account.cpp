// The account of one mail user. Reads the account databases and checks the home directory.
#include "host/libmailvane/system/mail_account.h"

#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/system/user_child.h"

namespace host::system {

namespace {

constexpr std::string::size_type kLongestName = 200;
constexpr std::chrono::seconds kHomeLimit{5};

/// Whether a name is safe as part of a path.
bool IsAccountName(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && names::IsPlainText(name);
}

/// Whether the home directory belongs to the user. Checked with the user's rights, since the user
/// can mount file systems there that hang or refuse root.
bool OwnsHome(const MailAccount& account)
{
    return !account.home.empty() && account.home.front() == '/' &&
           RunAsUser(account, "home", kHomeLimit, [](int) { return true; });
}

}  // namespace

std::string FindMailAccount(const std::string& user, MailAccount& account)
{
    if (!IsAccountName(user)) return "no_such_user";

    User found;
    const Lookup lookup = FindUser(user, found);
    if (lookup == Lookup::kFailed) return "accounts_unavailable";
    if (lookup == Lookup::kAbsent || !IsMailUser(found) || !IsAccountName(found.name)) {
        return "no_such_user";
    }

    account = {found.name, found.uid, found.gid, found.home};
    return OwnsHome(account) ? "" : "no_user_home";
}

}  // namespace host::system

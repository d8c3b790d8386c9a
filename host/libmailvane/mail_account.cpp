// The account of one mail user. Asks the account databases and looks at the home directory.
#include "host/libmailvane/mail_account.h"

#include <sys/stat.h>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_lookup.h"
#include "host/libmailvane/text_checks.h"

namespace host {

namespace {

constexpr std::string::size_type kLongestName = 200;

/// A name that can be part of a path.
bool IsAccountName(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && IsPlainText(name);
}

bool OwnsHome(const MailAccount& account)
{
    struct stat status;
    return !account.home.empty() && account.home.front() == '/' &&
           stat(Path(account.home).c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == account.uid;
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

}  // namespace host

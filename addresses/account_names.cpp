// Names of mail users as the administrator types them.
#include "addresses/account_names.h"

#include <algorithm>
#include <list>

#include "frame/settings_json.h"
#include "platform/hald/account.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/postfix.h"

namespace {

bool IsAccount(const std::string& name)
{
    HALDUser* user = nullptr;
    if (HALDUserGet(AccountLoginName(name).c_str(), &user) != 0) return false;

    HALDUserFree(user);
    return true;
}

bool IsAlias(const std::string& name)
{
    Alias alias;
    if (alias.load() < 0) return false;

    const std::list<std::string> names = alias.getAliasNameList();
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::string AccountLoginName(const std::string& name)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return name;

    const auto type = Setting<std::string>(postfix, "account_type");
    const auto suffix = Setting<std::string>(postfix, "acc_domain_name");
    const auto domain = Setting<std::string>(postfix, "win_domain_short_name");
    if (type == "ldap") return name + "@" + suffix;
    if (type == "win") return domain + "\\" + name;
    return name;
}

bool IsValidBccTarget(const std::string& name)
{
    return name.find('@') != std::string::npos || IsAccount(name) || IsAlias(name);
}

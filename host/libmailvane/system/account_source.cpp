// The source of the accounts, as the settings name it.
#include "host/libmailvane/system/account_source.h"

#include "host/libhaldsdk/account_engine.h"
#include "platform/hlib/accounts.h"

namespace host::system {

int AccountSourceOf(const std::string& type)
{
    if (type == "ldap") return HLIB_ACCOUNT_LDAP;
    return type == "win" ? HLIB_ACCOUNT_DOMAIN : HLIB_ACCOUNT_LOCAL;
}

Result<void> AccountSourceIsNamed(const std::string& type)
{
    if (IsNamedSource(AccountSourceOf(type))) return {};
    return Reason{ReasonCode::kNotSetUp, Subject::Setting("account_type"),
                  "/etc/nsswitch.conf names no service of passwd for the account source " + type};
}

}  // namespace host::system

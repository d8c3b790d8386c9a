// Settings of the SMTP server, with its domains and blocklists.
#include "platform/mailvane/postfix.h"

#include <algorithm>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/config.h"
#include "host/libmailvane/save/account_switch.h"

using host::ReasonCode;
using host::Subject;

namespace {

template <typename T>
bool Contains(const std::list<T>& list, const T& element)
{
    return std::find(list.begin(), list.end(), element) != list.end();
}

/// A domain as it is stored; what is none may have been stored by an earlier version.
std::string StoredOrAsItIs(const std::string& domain)
{
    return host::names::StoredDomain(domain).value_or(host::InLowerCase(domain));
}

}  // namespace

Postfix::DNSBL::DNSBL(const std::string& zone, const std::string& kind) : server(zone), type(kind)
{
}

Postfix::Postfix()
{
    state_->object = host::settings::SettingsObject::kPostfix;
}

Postfix::~Postfix()
{
    // A switch of the account combination that was not saved is undone when the object is
    // destroyed.
    if (state_->loaded && !state_->saved && host::LockIsHeld()) {
        (void)host::Succeeded(host::save::HealAccounts(state_->account));
    }
}

int Postfix::LoadSettings()
{
    if (host::pages::LoadConfig(*state_) < 0) return -1;

    // Healing a second time would undo the switch that this process is making.
    static bool healed = false;
    if (healed) return 0;

    healed = true;
    // Lost account data keeps its own changes away, not those of the settings.
    (void)host::Succeeded(host::save::HealAccounts(state_->account));
    return 0;
}

int Postfix::SaveSettings(const std::list<Callback>& steps)
{
    return host::pages::SaveConfig(*state_, steps);
}

std::list<std::string> Postfix::GetAdditionDomain()
{
    return state_->domains;
}

int Postfix::AddDomain(const std::string& domain)
{
    const auto name = host::names::StoredMailDomain(domain);
    if (!name) {
        return host::pages::Refuse(*state_, {ReasonCode::kBadFormat, Subject::Setting("domain"),
                                             "refused a value for a mail domain"});
    }

    state_->listsChanged = true;
    if (!Contains(state_->domains, *name)) state_->domains.push_back(*name);
    return 0;
}

int Postfix::DeleteDomain(const std::string& domain)
{
    state_->listsChanged = true;
    state_->domains.remove(StoredOrAsItIs(domain));
    return 0;
}

std::list<Postfix::DNSBL> Postfix::GetDNSBLList()
{
    std::list<DNSBL> entries;
    for (const host::settings::Blocklist& entry : state_->blocklists) {
        entries.emplace_back(entry.server, entry.type);
    }
    return entries;
}

int Postfix::AddDNSBL(const DNSBL& entry)
{
    const auto server = host::names::StoredMailDomain(entry.server);
    const char kRefused[] = "refused a value for a blocklist";
    if (!server) {
        return host::pages::Refuse(*state_,
                                   {ReasonCode::kBadFormat, Subject::Setting("server"), kRefused});
    }
    if (!host::names::IsBlocklistType(entry.type)) {
        return host::pages::Refuse(*state_,
                                   {ReasonCode::kNoChoice, Subject::Setting("type"), kRefused});
    }

    const host::settings::Blocklist stored{*server, entry.type};
    state_->listsChanged = true;
    if (!Contains(state_->blocklists, stored)) state_->blocklists.push_back(stored);
    return 0;
}

int Postfix::DeleteDNSBL(const DNSBL& entry)
{
    state_->listsChanged = true;
    state_->blocklists.remove(host::settings::Blocklist{StoredOrAsItIs(entry.server), entry.type});
    return 0;
}

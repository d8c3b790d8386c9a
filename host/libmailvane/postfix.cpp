// Settings of the SMTP server, with its domains and blocklists.
#include "platform/mailvane/postfix.h"

#include <algorithm>

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/account_switch.h"
#include "host/libmailvane/config_state.h"

Postfix::DNSBL::DNSBL(const std::string& zone, const std::string& kind) : server(zone), type(kind)
{
}

Postfix::Postfix()
{
    state_->object = host::SettingsObject::kPostfix;
}

Postfix::~Postfix()
{
    // A switch of the account source that was not completed is taken back with the object.
    if (state_->loaded && !state_->saved && host::LockIsHeld()) (void)host::HealAccounts();
}

int Postfix::LoadSettings()
{
    if (host::LoadConfig(*state_) < 0) return -1;

    // Healing twice in a process would undo the switch that it is making.
    static bool healed = false;
    if (healed) return 0;

    healed = true;
    return host::HealAccounts();
}

int Postfix::SaveSettings(const std::list<Callback>& steps)
{
    return host::SaveConfig(*state_, steps);
}

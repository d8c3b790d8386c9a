// Postfix's configuration, and the maps made from settings.
#pragma once

#include <string>

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Text of Postfix's main.cf. Parameters that the administrator's fragment sets are left out:
/// Postfix warns about a parameter set twice.
std::string RenderPostfixMain(const settings::StoredSettings& settings,
                              const RenderContext& context);

/// Text of Postfix's master.cf.
std::string RenderPostfixMaster(const settings::StoredSettings& settings,
                                const RenderContext& context);

/// What precedes the account's name in logins of a Windows domain, `DOMAIN\`; empty without a
/// domain.
std::string LoginPrefix(const settings::StoredSettings& settings);

/// Text of the rule that maps an address in a mail domain to its name: anna@a.example to anna.
std::string RenderOwnNames(const settings::StoredSettings& settings);

/// Text of the rule that lets a login send from the addresses of its name in the mail domains. In a
/// Windows domain a login may be `anna` or `OFFICE\anna`.
std::string RenderLoginRule(const settings::StoredSettings& settings);

/// Text of the rule by which strangers have to prove senders of this server.
std::string RenderOwnSenders(const settings::StoredSettings& settings);

/// Text of the map with the address that gets a copy of all mail.
std::string RenderAlwaysBcc(const settings::StoredSettings& settings);

/// Text of the map with user name and password for the relay host.
std::string RenderRelayPassword(const settings::StoredSettings& settings);

/// The roles whose mail somebody must read.
constexpr const char* kRoles[] = {"postmaster", "abuse", "root"};

/// Text of the map that sends the mail of the roles to the administrator.
std::string RenderRoles(const RenderContext& context);

}  // namespace host::render

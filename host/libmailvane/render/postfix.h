// Postfix's configuration, and the maps that follow from settings.
#pragma once

#include <string>

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Text of Postfix's main.cf. Parameters that the administrator's fragment sets are left out, so
/// that none stands twice.
std::string RenderPostfixMain(const settings::StoredSettings& settings,
                              const RenderContext& context);

/// Text of Postfix's master.cf.
std::string RenderPostfixMaster(const settings::StoredSettings& settings,
                                const RenderContext& context);

/// What logins of a Windows domain have before the name of the account, `DOMAIN\`; else empty.
std::string LoginPrefix(const settings::StoredSettings& settings);

/// Text of the rule that leaves the name of an address in a mail domain.
std::string RenderOwnNames(const settings::StoredSettings& settings);

/// Text of the rule by which a login owns the addresses made of its name and a mail domain. In a
/// Windows domain logins are known with and without the domain.
std::string RenderLoginRule(const settings::StoredSettings& settings);

/// Text of the rule by which strangers have to prove senders of this server.
std::string RenderOwnSenders(const settings::StoredSettings& settings);

/// Text of the map with the address that gets a copy of all mail.
std::string RenderAlwaysBcc(const settings::StoredSettings& settings);

/// Text of the map with the login at the relay host.
std::string RenderRelayPassword(const settings::StoredSettings& settings);

/// The roles of the machine that somebody must answer.
constexpr const char* kRoles[] = {"postmaster", "abuse", "root"};

/// Text of the map that brings mail for postmaster, abuse and root to the administrator.
std::string RenderRoles(const RenderContext& context);

}  // namespace host::render

// From the stored settings to the daemons' files.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/generation.h"
#include "host/libmailvane/stored_settings.h"

namespace host {

/// What the texts below depend on besides the settings.
struct Surroundings {
    bool hasIpv6 = false;
    std::string administrator;             ///< gets the mail of the machine's roles; empty for none
    std::string certificate;               ///< path of the server's certificate chain (PEM)
    std::string privateKey;                ///< path of its key (PEM)
    std::string mainFragment;              ///< the administrator's own etc/local.d/main.cf
    std::string masterFragment;            ///< the administrator's own etc/local.d/master.cf
    std::string updaterFragment;           ///< the administrator's own etc/local.d/freshclam.conf
    std::vector<std::string> nameServers;  ///< addresses of the machine's name servers
};

/// Whether the kernel knows IPv6: it can be started without.
bool KernelHasIpv6();

/// Whether Dovecot's configuration is one for a kernel with IPv6.
bool ListensOnIpv6(const std::string& dovecotConfiguration);

/// Text of Postfix's main.cf. Parameters that the administrator's fragment sets are left out, so
/// that none stands twice.
std::string RenderPostfixMain(const StoredSettings& settings, const Surroundings& around);

/// Text of Postfix's master.cf.
std::string RenderPostfixMaster(const StoredSettings& settings, const Surroundings& around);

/// Text of Dovecot's configuration.
std::string RenderDovecot(const StoredSettings& settings, const Surroundings& around);

/// What logins of a Windows domain have before the name of the account, `DOMAIN\`; else empty.
std::string LoginPrefix(const StoredSettings& settings);

/// Text of the rule that leaves the name of an address in a mail domain.
std::string RenderOwnNames(const StoredSettings& settings);

/// Text of the rule by which a login owns the addresses made of its name and a mail domain. In a
/// Windows domain logins are known with and without the domain.
std::string RenderLoginRule(const StoredSettings& settings);

/// Text of the map with the login at the relay host.
std::string RenderRelayPassword(const StoredSettings& settings);

/// The roles of the machine that somebody must answer.
constexpr const char* kRoles[] = {"postmaster", "abuse", "root"};

/// The first member of the administrators' group; empty when there is none.
std::string FirstAdministrator();

/// Text of the map that brings mail for postmaster, abuse and root to the administrator.
std::string RenderRoles(const Surroundings& around);

/// Puts all files that follow from the settings into the next generation, and empty maps where the
/// generation in force has none yet.
void PutSettingsFiles(NextGeneration& next, const StoredSettings& settings);

}  // namespace host

// Values derived from the stored settings: ports of the mail services, mail domains.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/mail_services.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::settings {

/// The mail services that are switched on.
std::vector<const MailService*> EnabledServices(const StoredSettings& settings);

/// Their ports; a port of two services is in the list twice.
std::vector<int> EnabledPorts(const StoredSettings& settings);

/// Host name, domain of the accounts and additional domains, without duplicates.
std::vector<std::string> MailDomains(const StoredSettings& settings);

}  // namespace host::settings

// What follows from the stored settings: the ports of the mail services, the mail domains.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/settings/stored_settings.h"

namespace host::settings {

/// The ports of all services that are on; one given to two services stands there twice.
std::vector<int> EnabledPorts(const StoredSettings& settings);

/// The host name, the accounts' domain and the additional domains, each once.
std::vector<std::string> MailDomains(const StoredSettings& settings);

}  // namespace host::settings

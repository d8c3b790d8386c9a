// The domains whose mail this server takes in.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/stored_settings.h"

namespace host {

/// The host name, the accounts' domain and the additional domains, each once.
std::vector<std::string> MailDomains(const StoredSettings& settings);

}  // namespace host

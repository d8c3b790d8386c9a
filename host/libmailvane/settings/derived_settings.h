// What follows from the stored settings: the ports of the mail services, the mail domains.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/settings/stored_settings.h"

namespace host::settings {

/// Whether the IMAP and POP3 server runs: for its mailbox services, or for SMTP, which needs it for
/// logins and delivery.
bool MailboxServerRuns(const StoredSettings& settings);

/// The ports of all services that are on; one given to two services stands there twice.
std::vector<int> EnabledPorts(const StoredSettings& settings);

/// The host name, the accounts' domain and the additional domains, each once.
std::vector<std::string> MailDomains(const StoredSettings& settings);

}  // namespace host::settings

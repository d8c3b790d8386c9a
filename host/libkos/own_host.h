// Host names of this machine.
#pragma once

#include <string>

namespace kos {

/// Whether a Host header names this machine: localhost, an IP address, the host name of the machine
/// or of the mail server, a name in MAILVANE_WEB_HOSTS of /etc/default/mailvane, or a name of the
/// certificate (runs openssl). This prevents DNS rebinding, by which a foreign page's host name
/// resolves to this machine and the page counts as same-origin. A missing header passes, since
/// browsers always send one. Every name passes on older installations while MAILVANE_WEB_HOSTS is
/// empty.
bool IsOwnHost(const std::string& header);

}  // namespace kos

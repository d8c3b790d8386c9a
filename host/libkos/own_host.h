// The names under which pages may ask for this machine.
#pragma once

#include <string>

namespace kos {

/// Whether a Host header, port included, is one of ours. A browser can be led here under a name of
/// somebody else, whose pages would then count as ours. Ours are localhost, addresses, the name of
/// the machine and of the mail server, those of MAILVANE_WEB_HOSTS in /etc/default/mailvane, and
/// those of the certificate, for which a program is run; without a header there is no page. On an
/// installation from before names were judged, all are while MAILVANE_WEB_HOSTS is empty.
bool IsOwnHost(const std::string& header);

}  // namespace kos

// Where the package's web server listens, as the environment or the machine's file has it.
#pragma once

#include <string>

namespace host::daemons {

constexpr char kWebPort[] = "MAILVANE_WEB_PORT";
constexpr char kWebTlsPort[] = "MAILVANE_WEB_TLS_PORT";

/// The table of the packet filter that keeps away who fails to log in to the web.
constexpr char kWebGuardTable[] = "inet mailvane_web";

/// The port on 127.0.0.1.
std::string WebPort();

/// The port for the network, with TLS; empty when the package's web server is to have none.
std::string WebTlsPort();

/// The port by which the network reaches whatever web server is there.
int WebPortOfNetwork();

}  // namespace host::daemons
